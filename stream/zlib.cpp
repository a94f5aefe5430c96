#include "stream/zlib.h"

#include <cstdlib>
#include <memory>

// A copy for this file alone: whoever links it may have his own.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_WRITE_NO_STDIO
#include <stb_image_write.h>
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#define STBI_NO_STDIO
#define STBI_ONLY_PNG
#include <stb_image.h>
#pragma GCC diagnostic pop

namespace stream {

namespace {
constexpr int kQuality = 8; // matches tried for each byte
}

std::vector<uint8_t> Deflate(std::span<const uint8_t> bytes) {
    int length = 0;
    const std::unique_ptr<unsigned char, decltype(&std::free)> result(
        stbi_zlib_compress(const_cast<unsigned char*>(bytes.data()), static_cast<int>(bytes.size()),
                           &length, kQuality),
        std::free);
    if (result == nullptr) {
        return {};
    }
    return {result.get(), result.get() + length};
}

bool Inflate(std::span<const uint8_t> stored, std::span<uint8_t> out) {
    const int length = stbi_zlib_decode_buffer(
        reinterpret_cast<char*>(out.data()), static_cast<int>(out.size()),
        reinterpret_cast<const char*>(stored.data()), static_cast<int>(stored.size()));
    return length >= 0 && static_cast<size_t>(length) == out.size();
}

} // namespace stream
