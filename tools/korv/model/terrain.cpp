#include "tools/korv/model/terrain.h"

#include <cmath>

namespace korv {

namespace {

double HeightAt(double x, double y) {
    const double hills = 0.16 * std::sin(3.1 * x + 0.4) * std::cos(2.7 * y) +
                         0.07 * std::sin(7.3 * x - 4.1 * y) + 0.03 * std::cos(13 * x + 11 * y);
    const double valley = x - 0.35 * std::sin(2.2 * y);
    return hills * (1 - std::exp(-8 * valley * valley)) - 0.08 * std::exp(-30 * valley * valley);
}

} // namespace

Mesh Terrain(int cells) {
    constexpr double kSlopeStep = 1e-3;
    constexpr int kRepeats = 6;
    constexpr Vec3 kLow{0.75, 0.85, 1}, kHigh{1, 1, 1};
    Mesh mesh;
    for (int j = 0; j <= cells; ++j) {
        for (int i = 0; i <= cells; ++i) {
            const double x = 2.0 * i / cells - 1, y = 1 - 2.0 * j / cells;
            const double z = HeightAt(x, y);
            const Vec3 normal = Normalised({-(HeightAt(x + kSlopeStep, y) - z) / kSlopeStep,
                                            -(HeightAt(x, y + kSlopeStep) - z) / kSlopeStep, 1});
            const double high = std::min(1.0, std::max(0.0, (z + 0.1) / 0.3));
            mesh.vertices.push_back({{x, y, z},
                                     normal,
                                     kLow * (1 - high) + kHigh * high,
                                     1.0 * kRepeats * i / cells,
                                     1.0 * kRepeats * j / cells});
        }
    }
    const auto index = [&](int i, int j) { return static_cast<uint32_t>(j * (cells + 1) + i); };
    for (int j = 0; j < cells; ++j) {
        for (int i = 0; i < cells; ++i) {
            mesh.triangles.push_back({index(i, j), index(i, j + 1), index(i + 1, j)});
            mesh.triangles.push_back({index(i + 1, j), index(i, j + 1), index(i + 1, j + 1)});
        }
    }
    return mesh;
}

} // namespace korv
