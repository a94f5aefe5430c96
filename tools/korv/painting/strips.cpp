#include "tools/korv/painting/strips.h"

namespace korv {

void DrawStrips(Painter& painter, const Mesh& grid, int columns, const Camera& camera,
                const DrawOptions& options) {
    SetLightStates(painter, options);
    const size_t row = static_cast<size_t>(columns) + 1;
    const std::vector<ClipVertex> vertices = Transform(grid, painter.Seen(camera), options);
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
