#include "tools/korv/screen_batch.h"

namespace korv {

namespace {

constexpr D3DCOLOR kNoFog = 0xFF000000;

} // namespace

WORD ScreenBatch::Add(double x, double y, double z, D3DCOLOR colour) {
    batch_.vertices.push_back({static_cast<float>(x), static_cast<float>(y), static_cast<float>(z),
                               1, colour, kNoFog, 0, 0});
    return static_cast<WORD>(batch_.vertices.size() - 1);
}

void ScreenBatch::Triangle(WORD a, WORD b, WORD c) {
    batch_.triangles.push_back({{a}, {b}, {c}, D3DTRIFLAG_EDGEENABLETRIANGLE});
}

void ScreenBatch::Rectangle(double left, double top, double right, double bottom, D3DCOLOR colour,
                            double z) {
    const WORD a = Add(left, top, z, colour), b = Add(right, top, z, colour),
               c = Add(right, bottom, z, colour), d = Add(left, bottom, z, colour);
    Triangle(a, b, c);
    Triangle(a, c, d);
}

void ScreenBatch::Draw(Painter& painter) {
    painter.Triangles(batch_.vertices, batch_.triangles);
    batch_ = {};
}

} // namespace korv
