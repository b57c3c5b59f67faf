#include "posix/curl_address.h"

#include <curl/curl.h>

#include <memory>

#include "common/transfer_address.h"
#include "common/transfer_errors.h"

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

}  // namespace

Fault UsableAddress(const std::string& given, std::string& address) {
  std::string text;
  if (Fault fault = AddressWithScheme(given, text)) return fault;
  const Url url(curl_url());
  if (curl_url_set(url.get(), CURLUPART_URL, text.c_str(), CURLU_URLENCODE) != CURLUE_OK ||
      Part(url, CURLUPART_HOST).empty()) {
    return InternetError(kInternetInvalidUrl);
  }
  address = Part(url, CURLUPART_URL);
  return {};
}

}  // namespace tsly
