// Small text routines that every module may use. Text is narrow, UTF-8 as a rule; bytes that are no UTF-8 stay as they
// are. Nothing here depends on the locale.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tsly {

// Lower case by Unicode's simple mappings, letter by letter (UnicodeData.txt, field 13); one that would change the
// length of a text is left out.
std::string LowerCase(std::string_view text);
bool EqualIgnoringCase(std::string_view a, std::string_view b);

// Whether all of it is well-formed UTF-8.
bool IsUtf8(std::string_view text);

// Without the blanks at one or both ends; blanks only, no other white space.
std::string Trim(std::string_view text);
std::string TrimStart(std::string_view text);
std::string TrimEnd(std::string_view text);

// The parts between separators; an empty text has no parts.
std::vector<std::string> Split(std::string_view text, std::string_view separator);

// Every `from`, found without regard to letter case, becomes `to`, from left to right; what was put in isn't searched.
std::string Replace(std::string_view text, std::string_view from, std::string_view to);

// The folder in one backslash at its end; an empty text becomes a lone backslash.
std::string WithBackslash(std::string folder);

// A whole number in the range of 32 bits: blanks round it and a sign may stand, then digits only.
std::optional<std::int32_t> ToInt32(std::string_view text);

// A number with an optional sign, fraction and exponent, blanks round it allowed; a full stop is the decimal sign.
std::optional<double> ToDouble(std::string_view text);

// The number that a text begins with, blanks before it left out; 0 if it begins with none. Only its whole part counts,
// and one beyond the range of 32 bits is 0.
std::int32_t LeadingInt32(std::string_view text);
// The same for any number, with fraction and exponent.
double LeadingDouble(std::string_view text);

// Hexadecimal digits up to the first other character, as a 32-bit two's complement value; of more than eight digits the
// low 32 bits count.
std::int32_t LeadingHex(std::string_view text);

// Upper-case hexadecimal digits of the 32-bit pattern, without leading zeros.
std::string Hex(std::int32_t number);

// The shortest decimal text that reads back as the same double, in the plain form: a full stop as decimal sign, no
// trailing zeros, "0.5" for a half. Up to 15 significant digits.
std::string PlainDecimal(double number);

}  // namespace tsly
