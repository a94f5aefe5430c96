#pragma once
// Names in Windows: compared without regard to case.
#include <algorithm>
#include <string>
#include <string_view>

namespace host {

inline std::string FoldCase(std::string_view name) {
    std::string folded(name);
    std::transform(folded.begin(), folded.end(), folded.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return folded;
}

} // namespace host
