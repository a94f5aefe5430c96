#include "tools/korv/painting/clip.h"

#include <utility>

namespace korv {

namespace {

constexpr int kPlanes = 6;

// Signed distance of sorts: not negative inside.
double Inside(const Vec4& p, int plane) {
    switch (plane) {
    case 0:
        return p.z;
    case 1:
        return p.w - p.z;
    case 2:
        return p.w + p.x;
    case 3:
        return p.w - p.x;
    case 4:
        return p.w + p.y;
    default:
        return p.w - p.y;
    }
}

ClipVertex Between(const ClipVertex& a, const ClipVertex& b, double t) {
    const auto mix = [t](const auto& from, const auto& to) { return from + (to - from) * t; };
    return {mix(a.position, b.position),     mix(a.colour, b.colour), mix(a.alpha, b.alpha),
            mix(a.visibility, b.visibility), mix(a.u, b.u),           mix(a.v, b.v),
            mix(a.highlight, b.highlight)};
}

} // namespace

uint32_t Outcode(const Vec4& position) {
    uint32_t code = 0;
    for (int plane = 0; plane < kPlanes; ++plane) {
        if (Inside(position, plane) < 0) {
            code |= 1u << plane;
        }
    }
    return code;
}

std::vector<ClipVertex> ClipTriangle(const ClipVertex& a, const ClipVertex& b,
                                     const ClipVertex& c) {
    std::vector<ClipVertex> polygon{a, b, c}, kept;
    const uint32_t crossed = Outcode(a.position) | Outcode(b.position) | Outcode(c.position);
    for (int plane = 0; plane < kPlanes && !polygon.empty(); ++plane) {
        if (!(crossed >> plane & 1)) {
            continue;
        }
        kept.clear();
        for (size_t i = 0; i < polygon.size(); ++i) {
            const ClipVertex& from = polygon[i];
            const ClipVertex& to = polygon[(i + 1) % polygon.size()];
            const double dFrom = Inside(from.position, plane), dTo = Inside(to.position, plane);
            if (dFrom >= 0) {
                kept.push_back(from);
            }
            // Always cut from the inside out: neighbours that share the edge get the same vertex.
            if (dFrom >= 0 && dTo < 0) {
                kept.push_back(Between(from, to, dFrom / (dFrom - dTo)));
            } else if (dFrom < 0 && dTo >= 0) {
                kept.push_back(Between(to, from, dTo / (dTo - dFrom)));
            }
        }
        std::swap(polygon, kept);
    }
    return polygon;
}

} // namespace korv
