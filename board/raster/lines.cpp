#include "board/raster/lines.h"

namespace board {

int64_t LineBias(const RegisterFile& registers) {
    return registers.Get(field::RasterizerMode_HalfBias) != 0 ? kHalfPixel : 0;
}

void LineWalker::Begin(const RegisterFile& registers) {
    x_ = EdgeOfWords(registers[tag::StartXDom], registers[tag::dXDom]);
    y_ = EdgeOfWords(registers[tag::StartY], registers[tag::dY]);
    const int64_t bias = LineBias(registers);
    x_.position += bias;
    y_.position += bias;
}

} // namespace board
