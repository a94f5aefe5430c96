#pragma once
#include "host/picture.h"

#include <filesystem>

namespace korv {

// Reads a PNG of any kind. UserError for a file that cannot be read or is none.
host::Picture ReadPng(const std::filesystem::path& path);

// What a PNG keeps of a picture.
enum class PngChannels { Rgb = 3, Rgba = 4 };

// Writes `picture` as a PNG, whole or not at all. UserError if that fails.
void WritePng(const std::filesystem::path& path, const host::Picture& picture,
              PngChannels channels = PngChannels::Rgb);

} // namespace korv
