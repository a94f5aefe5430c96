#pragma once
#include <filesystem>

#include "host/picture.h"

namespace korv {

// Writes the colours of `picture`, without alpha, as a PNG, whole or not at all. UserError if that
// fails.
void WritePng(const std::filesystem::path& path, const host::Picture& picture);

} // namespace korv
