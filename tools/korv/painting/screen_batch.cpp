#include "tools/korv/painting/screen_batch.h"

namespace korv {

namespace {

constexpr D3DCOLOR kNoFog = 0xFF000000;

} // namespace

WORD ScreenBatch::Add(double x, double y, double z, D3DCOLOR colour, double u, double v) {
    batch_.vertices.push_back({static_cast<float>(x), static_cast<float>(y), static_cast<float>(z),
                               1, colour, kNoFog, static_cast<float>(u), static_cast<float>(v)});
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

void ScreenBatch::Tile(double left, double top, double right, double bottom, double u0, double v0,
                       double u1, double v1, D3DCOLOR colour) {
    constexpr double kDepth = 0.5;
    const WORD a = Add(left, top, kDepth, colour, u0, v0),
               b = Add(right, top, kDepth, colour, u1, v0),
               c = Add(right, bottom, kDepth, colour, u1, v1),
               d = Add(left, bottom, kDepth, colour, u0, v1);
    Triangle(a, b, c);
    Triangle(a, c, d);
}

void ScreenBatch::Draw(Painter& painter) {
    painter.Triangles(batch_.vertices, batch_.triangles);
    batch_ = {};
}

} // namespace korv
