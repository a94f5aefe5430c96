#pragma once
#include "host/picture.h"

#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string_view>

namespace korv {

// Of a picture. Three copies of its pixels are made on the way from a file or to one.
inline constexpr int64_t kMostPngPixels = int64_t{1} << 26;

// Reads a PNG of any kind. UserError for a file that cannot be read or is none.
host::Picture ReadPng(const std::filesystem::path& path);

// The picture in the bytes of a PNG of any kind. UserError, with the reason alone, for bytes that
// are none.
host::Picture DecodePng(std::string_view bytes);

// What a PNG keeps of a picture.
enum class PngChannels { Rgb = 3, Rgba = 4 };

// UserError for a file name that says another kind of picture than PNG. Devices have any name.
void CheckPngName(const std::filesystem::path& path);

// Writes `picture` as a PNG.
void WritePng(std::ostream& out, const host::Picture& picture,
              PngChannels channels = PngChannels::Rgb);

// Writes `picture` as a PNG, whole or not at all. UserError if that fails.
void WritePng(const std::filesystem::path& path, const host::Picture& picture,
              PngChannels channels = PngChannels::Rgb);

} // namespace korv
