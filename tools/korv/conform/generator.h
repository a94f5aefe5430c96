#pragma once
// Makes the cases that descriptions tell: one for each chip and each combination of variants.
#include "tools/korv/conform/case.h"
#include "tools/korv/conform/description.h"

#include <span>

namespace korv::conform {

// The cases of all descriptions, in their order; macros of those without a unit are for all. The
// same descriptions make the same cases. DescriptionError for what no case can be made of.
std::vector<Case> MakeCases(std::span<const Description> descriptions);

// The chips that a name in a description stands for: one, or a group. None: no such name.
std::vector<std::string> ChipsNamed(const std::string& name);

} // namespace korv::conform
