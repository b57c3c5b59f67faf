#include "posix/transfer_address.h"

#include <curl/curl.h>

#include <algorithm>
#include <memory>

#include "base/text.h"
#include "posix/curl_errors.h"

namespace tsly {
namespace {

struct UrlDeleter {
  void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
struct TextDeleter {
  void operator()(char* text) const { curl_free(text); }
};
using Url = std::unique_ptr<CURLU, UrlDeleter>;

std::string Part(const Url& url, CURLUPart part) {
  char* text = nullptr;
  if (curl_url_get(url.get(), part, &text, 0) != CURLUE_OK) return "";
  return std::unique_ptr<char, TextDeleter>(text).get();
}

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// "http:..." has one, "host:80/..." and "host/..." have none.
bool HasScheme(const std::string& address) {
  const std::size_t colon = address.find(':');
  if (colon == std::string::npos || colon == 0 || !IsLetter(address[0])) return false;
  const bool named = std::all_of(address.begin(), address.begin() + static_cast<std::ptrdiff_t>(colon),
                                 [](char c) { return IsLetter(c) || IsDigit(c) || c == '+' || c == '-' || c == '.'; });
  return named && !(colon + 1 < address.size() && IsDigit(address[colon + 1]));
}

// Servers separate folders only by "/".
void TurnBackslashes(std::string& address) {
  const std::size_t end = std::min(address.find_first_of("?#"), address.size());
  std::replace(address.begin(), address.begin() + static_cast<std::ptrdiff_t>(end), '\\', '/');
}

}  // namespace

Fault UsableAddress(const std::string& given, std::string& address) {
  std::string text = Trim(given);
  if (text.empty() || text.find('\0') != std::string::npos) return InternetError(kInternetInvalidUrl);
  TurnBackslashes(text);
  if (!HasScheme(text)) text.insert(0, "http://");
  const std::string scheme = LowerCase(text.substr(0, text.find(':')));
  if (scheme != "http" && scheme != "https") return InternetError(kInternetUnrecognizedScheme);
  const Url url(curl_url());
  if (curl_url_set(url.get(), CURLUPART_URL, text.c_str(), CURLU_URLENCODE) != CURLUE_OK ||
      Part(url, CURLUPART_HOST).empty()) {
    return InternetError(kInternetInvalidUrl);
  }
  address = Part(url, CURLUPART_URL);
  return {};
}

}  // namespace tsly
