// Regional settings of the Linux edition, from the locale that the environment names. The process's own locale is never
// set: numbers in texts must not depend on it.
#pragma once

#include <locale.h>

#include <memory>
#include <optional>
#include <type_traits>

#include "ports/locale.h"

namespace tsly {

// $TSLY_CODEPAGE: the code page of INI files, which the program then reports as the system's.
std::optional<std::uint32_t> CodePageFromEnvironment();

class PosixLocale : public Locale {
 public:
  // Without a code page the locale's codeset tells it.
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
