#pragma once
// Cases as plain files, for those who have none of our code. docs/conformance.md tells their form.
#include "tools/korv/conform/case.h"

#include <filesystem>
#include <span>

namespace korv::conform {

// Writes the cases into a folder, which is made. UserError if that fails.
void Export(std::span<const Case> cases, const std::filesystem::path& folder);

} // namespace korv::conform
