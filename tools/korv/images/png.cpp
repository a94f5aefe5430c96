#include "tools/korv/images/png.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>

#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_PNG
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb_image.h>
#pragma GCC diagnostic pop

#include "tools/korv/base/errors.h"
#include "tools/korv/base/files.h"

#include <fmt/format.h>

#include <strings.h>

namespace korv {

namespace {

// Of bytes that could not be read as a PNG.
const char* WhyNoPng(std::string_view bytes, std::string_view reason) {
    constexpr std::string_view kSignature = "\x89PNG\r\n\x1A\n";
    if (!bytes.starts_with(kSignature)) {
        return "unknown image type, expected a PNG";
    }
    return reason == "too large" || reason == "outofmem"
               ? "the image is too large, expected at most 67,108,864 pixels"
               : "the PNG is damaged or cut short, expected a whole one";
}

// The chunks of `bytes` up to the last one, without those of pixels that hold none: the reader
// copies them to nowhere. Nothing if one does not lie within `bytes`: the reader goes wherever a
// length leads.
std::optional<std::string> WholeChunks(std::string_view bytes) {
    constexpr size_t kSignature = 8, kLength = 4, kType = 4, kChecksum = 4,
                     kBare = kLength + kType + kChecksum;
    std::string whole(bytes.substr(0, kSignature));
    for (size_t at = kSignature; at + kBare <= bytes.size();) {
        size_t length = 0;
        for (size_t i = 0; i < kLength; ++i) {
            length = length << 8 | static_cast<uint8_t>(bytes[at + i]);
        }
        if (length > bytes.size() - at - kBare) {
            return std::nullopt;
        }
        const std::string_view chunk = bytes.substr(at, kBare + length);
        const std::string_view type = chunk.substr(kLength, kType);
        if (length != 0 || type != "IDAT") {
            whole += chunk;
        }
        if (type == "IEND") {
            return whole;
        }
        at += chunk.size();
    }
    return std::nullopt;
}

} // namespace

host::Picture DecodePng(std::string_view bytes) {
    constexpr int kRgba = 4;
    const std::optional<std::string> whole = WholeChunks(bytes);
    if (!whole) {
        throw UserError(WhyNoPng(bytes, "cut short"));
    }
    const auto* const file = reinterpret_cast<const stbi_uc*>(whole->data());
    const int length = static_cast<int>(whole->size());
    int width = 0, height = 0, channels = 0;
    if (stbi_info_from_memory(file, length, &width, &height, &channels) != 0 &&
        int64_t{width} * height > kMostPngPixels) {
        throw UserError(WhyNoPng(bytes, "too large"));
    }
    const std::unique_ptr<stbi_uc, decltype(&stbi_image_free)> pixels(
        stbi_load_from_memory(file, length, &width, &height, &channels, kRgba), &stbi_image_free);
    if (!pixels) {
        // Some failures of the compressed data have no reason.
        const char* const reason = stbi_failure_reason();
        throw UserError(WhyNoPng(bytes, reason != nullptr ? reason : ""));
    }
    const auto size = static_cast<size_t>(width) * static_cast<size_t>(height) * kRgba;
    return {static_cast<uint32_t>(width),
            static_cast<uint32_t>(height),
            {pixels.get(), pixels.get() + size}};
}

host::Picture ReadPng(const std::filesystem::path& path) {
    const std::string bytes = ReadFile(path);
    try {
        return DecodePng(bytes);
    } catch (const UserError& error) {
        throw UserError(fmt::format("cannot read '{}': {}", path.string(), error.what()));
    }
}

void CheckPngName(const std::filesystem::path& path) {
    const std::string extension = path.extension().string();
    if (!extension.empty() && strcasecmp(extension.c_str(), ".png") != 0 &&
        !TargetOf(path).IsSpecial()) {
        throw UserError(fmt::format("cannot write '{}': pictures are PNG, expected a name that "
                                    "ends in .png",
                                    path.string()));
    }
}

void WritePng(std::ostream& out, const host::Picture& picture, PngChannels channels) {
    const int count = static_cast<int>(channels);
    std::vector<uint8_t> pixels;
    pixels.resize(picture.rgba.size() / 4 * static_cast<size_t>(count));
    uint8_t* next = pixels.data();
    for (size_t i = 0; i < picture.rgba.size(); i += 4) {
        next = std::copy_n(&picture.rgba[i], count, next);
    }
    const auto append = [](void* context, void* data, int size) {
        static_cast<std::ostream*>(context)->write(static_cast<const char*>(data), size);
    };
    const int width = static_cast<int>(picture.width), height = static_cast<int>(picture.height);
    // Difference to the left in every row: drawn pictures get smaller by it than by a choice for
    // each row, and the choice takes a third of the time.
    stbi_write_force_png_filter = 1;
    stbi_write_png_compression_level = 5; // the lowest that there is; files grow by a fortieth
    stbi_write_png_to_func(append, &out, width, height, count, pixels.data(), width * count);
}

void WritePng(const std::filesystem::path& path, const host::Picture& picture,
              PngChannels channels) {
    OutputFile file(path);
    WritePng(file.Stream(), picture, channels);
    file.Commit();
}

} // namespace korv
