#include "board/raster/rasteriser.h"

namespace board {

namespace {

// First pixel whose centre is at or to the right of `x` (16.16).
int64_t FirstCentre(int64_t x) {
    return (x + kOnePixel / 2 - 1) >> 16;
}

} // namespace

Span CoveredSpan(int64_t y, int64_t dominantX, int64_t subordinateX) {
    Span span{};
    span.y = y;
    span.leftward = dominantX > subordinateX;
    span.left = FirstCentre(span.leftward ? subordinateX : dominantX);
    span.right = FirstCentre(span.leftward ? dominantX : subordinateX);
    const int64_t centre = span.First() * kOnePixel + kOnePixel / 2;
    span.lead = span.leftward ? dominantX - centre : centre - dominantX;
    return span;
}

void Rasteriser::Begin(const RegisterFile& registers) {
    NewDominant(registers);
    NewSubordinate(registers);
    y_ = EdgeOfWords(registers[tag::StartY], registers[tag::dY]);
}

void Rasteriser::Begin(int64_t firstRow, Edge dominant, Edge subordinate) {
    dominant_ = Shifted(dominant);
    subordinate_ = Shifted(subordinate);
    constexpr int64_t kOneRow = int64_t{1} << 32;
    y_ = {firstRow * kOneRow, kOneRow};
}

void Rasteriser::NewSubordinate(const RegisterFile& registers) {
    subordinate_ = Shifted(EdgeOfWords(registers[tag::StartXSub], registers[tag::dXSub]));
}

void Rasteriser::NewDominant(const RegisterFile& registers) {
    dominant_ = Shifted(EdgeOfWords(registers[tag::StartXDom], registers[tag::dXDom]));
}

} // namespace board
