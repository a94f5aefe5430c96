#include "board/setup/setup_triangle.h"

#include "board/values/rounding.h"

#include <cmath>
#include <utility>

namespace board {

namespace {

// First row whose centre is at or below `y`.
int64_t FirstRow(double y) {
    return CeilInteger(y - 0.5);
}

// From the first row's centre to `y`, downwards positive, in rows.
double DistanceToCentre(double y) {
    return static_cast<double>(static_cast<int32_t>(FirstRow(y))) + 0.5 - y;
}

Edge EdgeBetween(const SetupVertex& top, const SetupVertex& bottom) {
    const double height = bottom.y - top.y;
    const double slope = height != 0 ? (bottom.x - top.x) / height : 0;
    return {Accumulator((top.x + slope * DistanceToCentre(top.y)) * kEdgeOne),
            Accumulator(slope * kEdgeOne)};
}

} // namespace

SetupTriangle SetUpTriangle(const SetupMode& mode, const std::array<SetupVertex, 3>& vertices) {
    const SetupVertex* top = &vertices[0];
    const SetupVertex* middleOne = &vertices[1];
    const SetupVertex* bottom = &vertices[2];
    if (middleOne->y < top->y) {
        std::swap(top, middleOne);
    }
    if (bottom->y < top->y) {
        std::swap(top, bottom);
    }
    if (bottom->y < middleOne->y) {
        std::swap(middleOne, bottom);
    }
    const SetupVertex& a = *top;
    const SetupVertex& b = *middleOne;
    const SetupVertex& c = *bottom;
    SetupTriangle result{};
    const int64_t middle = FirstRow(b.y);
    result.firstRow = FirstRow(a.y);
    result.upperRows = static_cast<uint32_t>(middle - result.firstRow);
    result.lowerRows = static_cast<uint32_t>(FirstRow(c.y) - middle);
    result.dominant = EdgeBetween(a, c);
    result.upper = EdgeBetween(a, b);
    result.lower = EdgeBetween(b, c);

    const double height = c.y - a.y;
    const double upperHeight = b.y - a.y;
    // Twice the area, positive when the middle vertex lies to the right of the dominant edge.
    const double area = (b.x - a.x) * height - (c.x - a.x) * upperHeight;
    const double correction = mode.subPixel ? DistanceToCentre(a.y) : 0;
    for (size_t i = 0; i < result.values.size(); ++i) {
        if (!mode.enabled[i]) {
            continue;
        }
        const double toMiddle = b.values[i] - a.values[i];
        const double toBottom = c.values[i] - a.values[i];
        // Per pixel away from the dominant edge, on whichever side the triangle lies.
        const double across =
            area != 0 ? (toMiddle * height - toBottom * upperHeight) / std::fabs(area) : 0;
        const double along = height != 0 ? toBottom / height : 0;
        result.values[i] = {Accumulator(a.values[i] + along * correction), Accumulator(across),
                            Accumulator(along)};
    }
    return result;
}

} // namespace board
