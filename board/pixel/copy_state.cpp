#include "board/pixel/copy_state.h"

namespace board {

namespace {

// Both round towards minus infinity.
constexpr int64_t FloorDivide(int64_t value, int64_t divisor) {
    return value / divisor - (value % divisor < 0 ? 1 : 0);
}

// Words stand where they hold pixels. A distance to the source counts whole words; of 24-bit
// pixels, four of which lie in three words, it is cut to the word that holds the pixel's first
// byte, and stands for the pixel that holds that word's first byte.
void DecodePacked(const RegisterFile& registers, int64_t distance, int64_t bytes, CopyState& copy) {
    copy.limits = LoadPackedLimits(registers);
    copy.wordShift = FloorDivide(distance * bytes, kWordBytes);
    const int64_t pixels = FloorDivide(copy.wordShift * kWordBytes, bytes);
    copy.byteShift = (pixels - copy.limits.relative) * bytes;
}

bool CheckPacked(const RegisterFile& registers, const CopyState& copy, const Plane& target) {
    const uint32_t write = registers[tag::FBWriteConfig];
    return field::FBReadMode_Packed.Get(write) != 0 && !copy.source.patched && !target.patched &&
           registers.Get(field::Render_Primitive) == primitive::Trapezoid;
}

// Coordinates that TX and MX read pixels by.
bool CheckTexels(const RegisterFile& registers, uint32_t bytes) {
    const uint32_t logBits = registers.Get(field::GlintTextureReadMode_TexelSize);
    return registers.Get(field::Render_Texture) != 0 &&
           registers.Get(field::TextureAddressMode_Enable) != 0 &&
           registers.Get(field::TextureAddressMode_Perspective) == 0 &&
           registers.Get(field::GlintTextureReadMode_Enable) != 0 &&
           registers.Get(field::GlintTextureReadMode_MagFilter) == 0 &&
           registers.Get(field::GlintTextureReadMode_MinFilter) == 0 && 1u << logBits == bytes * 8;
}

} // namespace

CopyState DecodeCopy(const DeviceRow& chip, const RegisterFile& registers, const Plane& target,
                     FaultCounts& faults) {
    CopyState copy{};
    if (registers.Get(field::FBReadMode_ReadSource) == 0) {
        return copy;
    }
    const int64_t distance = Signed(registers[tag::FBSourceOffset]);
    copy.source = target;
    copy.source.pitch = PitchFromProducts(registers[tag::FBReadMode]);
    if (!chip.IsPermedia() && registers.Get(field::FBReadMode_ReadTexels) != 0) {
        if (!chip.textures) {
            ++faults.unmodelled["texture unit"];
            return copy;
        }
        if (!CheckTexels(registers, target.bytesPerElement)) {
            ++faults.unmodelled["texels of the frame buffer in this mode"];
            return copy;
        }
        copy.way = CopyState::Way::Texels;
        // The source is a surface here, and no distance.
        copy.source.base = distance;
    } else if (chip.IsPermedia() && registers.Get(field::FBReadMode_Packed) != 0) {
        copy.source.patched = registers.Get(field::FBReadMode_Patched) != 0;
        if (!CheckPacked(registers, copy, target)) {
            ++faults.unmodelled["packed copy that is no plain one"];
            return copy;
        }
        copy.way = CopyState::Way::Packed;
        DecodePacked(registers, distance, target.bytesPerElement, copy);
    } else {
        copy.way = CopyState::Way::Pixels;
        copy.source.patched = chip.IsPermedia() && registers.Get(field::FBReadMode_Patched) != 0;
        copy.source.base += distance;
    }
    if (chip.IsGlint() && chip.textures) {
        copy.key = DecodeSourceKey(registers, target.bytesPerElement, faults);
    } else if (chip.IsGlint() && registers.Get(field::ChromaTestMode_Enable) != 0) {
        ++faults.unmodelled["chroma test"];
    }
    return copy;
}

} // namespace board
