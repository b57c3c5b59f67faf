#include "common/transfer_address.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "base/text.h"
#include "common/transfer_errors.h"

namespace tsly {
namespace {

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

Fault AddressWithScheme(const std::string& given, std::string& address) {
  std::string text = Trim(given);
  if (text.empty() || text.find('\0') != std::string::npos) return InternetError(kInternetInvalidUrl);
  TurnBackslashes(text);
  if (!HasScheme(text)) text.insert(0, "http://");
  const std::string scheme = LowerCase(text.substr(0, text.find(':')));
  if (scheme != "http" && scheme != "https") return InternetError(kInternetUnrecognizedScheme);
  address = std::move(text);
  return {};
}

bool MayBeOpened(std::string_view address) {
  static constexpr std::string_view kSchemes[] = {"http", "https", "mailto"};
  const std::string scheme = LowerCase(address.substr(0, address.find(':')));
  return address.find(':') != address.npos && std::ranges::find(kSchemes, scheme) != std::end(kSchemes);
}

}  // namespace tsly
