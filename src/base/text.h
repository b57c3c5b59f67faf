// Small text functions for all modules. Text is usually UTF-8; other bytes stay unchanged. Independent of the locale.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tsly {

// Lower case by Unicode's simple mappings (UnicodeData.txt, field 13), except those that would change the number of
// bytes.
std::string LowerCase(std::string_view text);
bool EqualIgnoringCase(std::string_view a, std::string_view b);

// Whether all of it is well-formed UTF-8.
bool IsUtf8(std::string_view text);
// The letter that a text, which must not be empty, begins with. The result is its length in bytes; 0 when there is no
// well-formed one.
std::size_t DecodeUtf8(std::string_view text, char32_t& letter);
void AppendUtf8(char32_t letter, std::string& text);

// Removes blanks at one or both ends, but no other white space.
std::string Trim(std::string_view text);
std::string TrimStart(std::string_view text);
std::string TrimEnd(std::string_view text);

// The parts between separators; none for an empty text.
std::vector<std::string> Split(std::string_view text, std::string_view separator);

// Replaces every `from` by `to` from left to right, ignoring case; doesn't search in replacements.
std::string Replace(std::string_view text, std::string_view from, std::string_view to);

// The folder with one backslash at its end; an empty text becomes a backslash.
std::string WithBackslash(std::string folder);

// A whole number of 32 bits: digits with an optional sign and blanks around them.
std::optional<std::int32_t> ToInt32(std::string_view text);

// A number with an optional sign, fraction and exponent, and blanks around it; the decimal sign is a full stop.
std::optional<double> ToDouble(std::string_view text);

// The whole part of the number at the start of a text, after blanks; 0 if there is none or it exceeds 32 bits.
std::int32_t LeadingInt32(std::string_view text);
// The number at the start of a text, with fraction and exponent.
double LeadingDouble(std::string_view text);

// Hexadecimal digits up to the first other character, as a 32-bit two's complement value; only the low 32 bits of more
// than eight digits count.
std::int32_t LeadingHex(std::string_view text);

// Upper-case hexadecimal digits of the 32-bit pattern, without leading zeros.
std::string Hex(std::int32_t number);

// The shortest decimal text that reads back as the same double, with up to 15 significant digits: a full stop as
// decimal sign, no trailing zeros, "0.5" for a half.
std::string PlainDecimal(double number);

}  // namespace tsly
