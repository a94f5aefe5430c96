#include "tools/korv/painting/screen_batch.h"
#include "tools/korv/scenes/scene.h"

#include <fmt/format.h>

#include <span>
#include <string_view>
#include <vector>

namespace korv {

namespace {

struct FactorPair {
    DWORD source, dest;
};

// What a chip without the full set can do. The first is no blending at all.
constexpr FactorPair kFewPairs[] = {{D3DBLEND_ONE, D3DBLEND_ZERO},
                                    {D3DBLEND_ONE, D3DBLEND_ONE},
                                    {D3DBLEND_ONE, D3DBLEND_INVSRCALPHA},
                                    {D3DBLEND_SRCALPHA, D3DBLEND_INVSRCALPHA}};
constexpr int kFewColumns = 2;

// The full set: a row for each source factor, a column for each destination factor.
constexpr DWORD kSources[] = {D3DBLEND_ZERO,         D3DBLEND_ONE,          D3DBLEND_DESTCOLOR,
                              D3DBLEND_INVDESTCOLOR, D3DBLEND_SRCALPHA,     D3DBLEND_INVSRCALPHA,
                              D3DBLEND_DESTALPHA,    D3DBLEND_INVDESTALPHA, D3DBLEND_SRCALPHASAT};
constexpr DWORD kDests[] = {D3DBLEND_ZERO,        D3DBLEND_ONE,         D3DBLEND_SRCCOLOR,
                            D3DBLEND_INVSRCCOLOR, D3DBLEND_SRCALPHA,    D3DBLEND_INVSRCALPHA,
                            D3DBLEND_DESTALPHA,   D3DBLEND_INVDESTALPHA};

// What lies under each pair, from top to bottom.
constexpr D3DCOLOR kBands[] = {0xFF102040, 0xFF309048, 0xFFE8D880};

// Opaque, half and a quarter, from left to right. No grey: the driver sends no alpha with greys.
constexpr D3DCOLOR kPanes[] = {0xFFC86420, 0x80C86420, 0x40C86420};

struct Cell {
    double left, top, width, height;
};

void Under(ScreenBatch& batch, const Cell& cell) {
    const double band = cell.height / std::size(kBands);
    for (size_t i = 0; i < std::size(kBands); ++i) {
        batch.Rectangle(cell.left, cell.top + band * i, cell.left + cell.width,
                        cell.top + band * (i + 1), kBands[i]);
    }
}

void Over(ScreenBatch& batch, const Cell& cell) {
    const double pane = cell.width / std::size(kPanes), margin = cell.height / 8;
    for (size_t i = 0; i < std::size(kPanes); ++i) {
        batch.Rectangle(cell.left + pane * i + pane / 8, cell.top + margin,
                        cell.left + pane * (i + 1) - pane / 8, cell.top + cell.height - margin,
                        kPanes[i]);
    }
}

void DrawGrid(Painter& painter, std::span<const FactorPair> pairs, int columns) {
    const int rows = static_cast<int>(pairs.size()) / columns;
    const double width = 1.0 * painter.Size().width / columns,
                 height = 1.0 * painter.Size().height / rows;
    const auto cell = [&](size_t i) {
        const int column = static_cast<int>(i) % columns, row = static_cast<int>(i) / columns;
        const double gapX = width / 24, gapY = height / 24;
        return Cell{column * width + gapX, row * height + gapY, width - 2 * gapX,
                    height - 2 * gapY};
    };
    painter.Clear(0xFF000000);
    ScreenBatch batch;
    for (size_t i = 0; i < pairs.size(); ++i) {
        Under(batch, cell(i));
    }
    batch.Draw(painter);
    painter.State(D3DRENDERSTATE_ALPHABLENDENABLE, 1);
    for (size_t i = 0; i < pairs.size(); ++i) {
        painter.State(D3DRENDERSTATE_SRCBLEND, pairs[i].source);
        painter.State(D3DRENDERSTATE_DESTBLEND, pairs[i].dest);
        Over(batch, cell(i));
        batch.Draw(painter);
    }
}

struct Grid {
    std::vector<FactorPair> pairs;
    int columns;
};

Grid GridFor(const Painter& painter) {
    if (!painter.HasAllBlendFactors()) {
        return {{std::begin(kFewPairs), std::end(kFewPairs)}, kFewColumns};
    }
    Grid grid{{}, static_cast<int>(std::size(kDests))};
    for (DWORD source : kSources) {
        for (DWORD dest : kDests) {
            grid.pairs.push_back({source, dest});
        }
    }
    return grid;
}

// As published, without D3DBLEND_.
std::string_view FactorName(DWORD factor) {
    constexpr std::string_view kNames[] = {
        "ZERO",      "ONE",          "SRCCOLOR",  "INVSRCCOLOR",  "SRCALPHA",   "INVSRCALPHA",
        "DESTALPHA", "INVDESTALPHA", "DESTCOLOR", "INVDESTCOLOR", "SRCALPHASAT"};
    return kNames[factor - D3DBLEND_ZERO];
}

} // namespace

CellNames BlendCells(const Painter& painter) {
    const Grid grid = GridFor(painter);
    CellNames cells{static_cast<uint32_t>(grid.columns), {}};
    for (const FactorPair& pair : grid.pairs) {
        cells.names.push_back(
            fmt::format("{}\n{}", FactorName(pair.source), FactorName(pair.dest)));
    }
    return cells;
}

void DrawBlendFactors(Painter& painter) {
    const Grid grid = GridFor(painter);
    DrawGrid(painter, grid.pairs, grid.columns);
}

} // namespace korv
