#pragma once
// Floats as text and back, as std::from_chars and std::to_chars have them (general form, shortest),
// for a standard library that lacks both.
#include <charconv>

namespace float_text {

// As std::from_chars: no blanks, no plus sign, no hexadecimal digits; `value` stays where there is
// an error.
std::from_chars_result Parse(const char* first, const char* last, double& value);
std::from_chars_result Parse(const char* first, const char* last, float& value);

// As std::to_chars: the fewest digits that give the same float again, in whichever form is shorter.
// std::errc::value_too_large where there is no room.
std::to_chars_result Write(char* first, char* last, float value);

} // namespace float_text
