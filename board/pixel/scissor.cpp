#include "board/pixel/scissor.h"

#include <algorithm>

namespace board {

ClipRectangle ScissorRectangle(const RegisterFile& registers) {
    constexpr int64_t kFar = int64_t{1} << 40; // beyond every pixel that an edge can reach
    ClipRectangle clip{-kFar, -kFar, kFar, kFar};
    if (registers.Get(field::ScissorMode_UserEnable) != 0) {
        const PackedPoint low = UnpackPoint(registers[tag::ScissorMinXY]);
        const PackedPoint high = UnpackPoint(registers[tag::ScissorMaxXY]);
        clip = {low.x, low.y, high.x, high.y};
    }
    if (registers.Get(field::ScissorMode_ScreenEnable) != 0) {
        const uint32_t size = registers[tag::ScreenSize];
        clip.left = std::max<int64_t>(clip.left, 0);
        clip.top = std::max<int64_t>(clip.top, 0);
        clip.right = std::min<int64_t>(clip.right, size & 0xFFFF);
        clip.bottom = std::min<int64_t>(clip.bottom, size >> 16);
    }
    return clip;
}

} // namespace board
