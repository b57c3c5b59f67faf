// Code pages of the C library's converter.
#pragma once

#include <memory>

#include "common/code_page_converter.h"

namespace tsly {

// Null for a code page that the library doesn't know.
std::unique_ptr<CodePageConverter> OpenIconv(std::uint32_t code_page);

}  // namespace tsly
