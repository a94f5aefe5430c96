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

void DrawStrips(Painter& painter, const Mesh& grid, int columns, const Camera& camera,
                const DrawOptions& options) {
    SetLightStates(painter, options);
    const size_t row = static_cast<size_t>(columns) + 1;
    const std::vector<ClipVertex> vertices = Transform(grid, camera, options);
    for (size_t top = 0; top + 2 * row <= vertices.size(); top += row) {
        Batch batch;
        // Upper and lower corner by turns.
        for (size_t i = 0; i < row; ++i) {
            for (const size_t at : {top + i, top + row + i}) {
                batch.vertices.push_back(Project(vertices[at], painter.Size()));
            }
        }
        const auto visible = [&](size_t i) {
            return Outcode(vertices[top + i % 2 * row + i / 2].position) == 0;
        };
        bool begun = false;
        for (size_t i = 0; i + 2 < batch.vertices.size(); ++i) {
            if (!visible(i) || !visible(i + 1) || !visible(i + 2)) {
                begun = false;
                continue;
            }
            const auto a = static_cast<WORD>(i), b = static_cast<WORD>(i + 1),
                       c = static_cast<WORD>(i + 2);
            // An even triangle shares the first and the last corner of the one before, an odd one
            // its last two; the turn stays the same throughout.
            const bool odd = i % 2 != 0;
            const WORD strip = !begun ? D3DTRIFLAG_START : odd ? D3DTRIFLAG_ODD : D3DTRIFLAG_EVEN;
            const auto flags = static_cast<WORD>(D3DTRIFLAG_EDGEENABLETRIANGLE | strip);
            if (odd) {
                batch.triangles.push_back({{b}, {a}, {c}, flags});
            } else {
                batch.triangles.push_back({{a}, {b}, {c}, flags});
            }
            begun = true;
        }
        if (!batch.triangles.empty()) {
            painter.Triangles(batch.vertices, batch.triangles);
        }
    }
}

} // namespace korv
