#pragma once
// Files read and written at once.
#include "tools/korv/base/output_file.h"

#include <filesystem>
#include <span>
#include <string>

namespace korv {

// All of a file's bytes, which must not be those of an output. UserError if it cannot be read or
// has more than `most` bytes.
std::string ReadFile(const std::filesystem::path& path, size_t most = size_t{1} << 30);

bool FileExists(const std::filesystem::path& path);

// Writes `bytes` to `path`, whole or not at all. UserError if that fails.
void WriteFile(const std::filesystem::path& path, std::span<const std::byte> bytes);

// Makes the folder and those above it. UserError if that fails.
void MakeFolder(const std::filesystem::path& path);

} // namespace korv
