#include "tools/korv/png.h"

#include <vector>

#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>

#include "tools/korv/files.h"

namespace korv {

void WritePng(const std::filesystem::path& path, const host::Picture& picture) {
    constexpr int kChannels = 3;
    std::vector<uint8_t> rgb;
    rgb.reserve(picture.rgba.size() / 4 * kChannels);
    for (size_t i = 0; i < picture.rgba.size(); i += 4)
        rgb.insert(rgb.end(), {picture.rgba[i], picture.rgba[i + 1], picture.rgba[i + 2]});
    std::vector<std::byte> png;
    const auto append = [](void* context, void* data, int size) {
        const auto* bytes = static_cast<const std::byte*>(data);
        auto& all = *static_cast<std::vector<std::byte>*>(context);
        all.insert(all.end(), bytes, bytes + size);
    };
    const int width = static_cast<int>(picture.width), height = static_cast<int>(picture.height);
    stbi_write_png_to_func(append, &png, width, height, kChannels, rgb.data(), width * kChannels);
    WriteFile(path, png);
}

} // namespace korv
