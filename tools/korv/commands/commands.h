#pragma once
// All commands: a file each in this folder, NAME.cpp, with a row `kNameCommand`. The build gathers
// the rows by the names of the files.
#include "tools/korv/cli/command.h"

#include <span>

namespace korv {

// In the order in which help lists them.
std::span<const Command* const> Commands();

} // namespace korv
