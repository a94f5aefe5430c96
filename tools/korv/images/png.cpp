#include "tools/korv/images/png.h"

#include <memory>
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

namespace korv {

host::Picture ReadPng(const std::filesystem::path& path) {
    constexpr int kRgba = 4;
    const std::string bytes = ReadFile(path);
    int width = 0, height = 0, channels = 0;
    const std::unique_ptr<stbi_uc, decltype(&stbi_image_free)> pixels(
        stbi_load_from_memory(reinterpret_cast<const stbi_uc*>(bytes.data()),
                              static_cast<int>(bytes.size()), &width, &height, &channels, kRgba),
        &stbi_image_free);
    if (!pixels) {
        throw UserError(fmt::format("cannot read '{}': {}, expected a PNG", path.string(),
                                    stbi_failure_reason()));
    }
    const auto size = static_cast<size_t>(width) * static_cast<size_t>(height) * kRgba;
    return {static_cast<uint32_t>(width),
            static_cast<uint32_t>(height),
            {pixels.get(), pixels.get() + size}};
}

void WritePng(const std::filesystem::path& path, const host::Picture& picture,
              PngChannels channels) {
    const int count = static_cast<int>(channels);
    std::vector<uint8_t> pixels;
    pixels.reserve(picture.rgba.size());
    for (size_t i = 0; i < picture.rgba.size(); i += 4) {
        pixels.insert(pixels.end(), &picture.rgba[i], &picture.rgba[i] + count);
    }
    std::vector<std::byte> png;
    const auto append = [](void* context, void* data, int size) {
        const auto* bytes = static_cast<const std::byte*>(data);
        auto& all = *static_cast<std::vector<std::byte>*>(context);
        all.insert(all.end(), bytes, bytes + size);
    };
    const int width = static_cast<int>(picture.width), height = static_cast<int>(picture.height);
    stbi_write_png_to_func(append, &png, width, height, count, pixels.data(), width * count);
    WriteFile(path, png);
}

} // namespace korv
