// Regional settings of the Linux edition, from the locale in the environment. Never sets the process's locale, because
// numbers in texts must not depend on it.
#pragma once

#include <locale.h>

#include <memory>
#include <optional>
#include <type_traits>

#include "ports/locale.h"

namespace tsly {

// $TSLY_CODEPAGE: the code page of INI files, which then also counts as the system's.
std::optional<std::uint32_t> CodePageFromEnvironment();

class PosixLocale : public Locale {
 public:
  // Without a code page, uses the locale's codeset.
  explicit PosixLocale(std::optional<std::uint32_t> code_page);

  std::optional<std::uint32_t> DefaultCodePage() override;
  std::optional<std::int32_t> CharsetOf(std::uint32_t code_page) override;
  std::string DateSeparator() override;
  std::string TimeSeparator() override;

 private:
  std::string SeparatorIn(const char* format, const char* otherwise) const;

  std::optional<std::uint32_t> code_page_;
  std::unique_ptr<std::remove_pointer_t<locale_t>, void (*)(locale_t)> locale_;
};

}  // namespace tsly
