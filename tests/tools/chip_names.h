#pragma once
// Every chip that the tool knows, as a test parameter.
#include "tools/korv/chips/chips.h"

#include <string>
#include <vector>

namespace korv {

inline std::vector<std::string> AllChips() {
    std::vector<std::string> names;
    for (const ChipChoice& chip : Chips()) {
        names.emplace_back(chip.name);
    }
    return names;
}

} // namespace korv
