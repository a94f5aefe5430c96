#pragma once
// Words for messages.
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace korv {

// `text` with control characters and bytes that are no UTF-8 as \n, \t, \r or \xHH.
std::string Printable(std::string_view text);

// "1 step", "2 steps": `number` and `noun`, in the plural (with an s) for all but 1.
std::string Count(uint64_t number, std::string_view noun);

// The one of `names` that the fewest insertions, deletions and replacements of letters turn
// `word` into, the first of several; empty if there are no names.
std::string Nearest(std::string_view word, std::span<const std::string> names);

} // namespace korv
