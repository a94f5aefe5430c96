#pragma once
// Trapezoids: rows of pixels between a dominant and a subordinate edge.
#include "board/raster/edge.h"
#include "board/values/registers.h"
#include "board/values/span.h"

#include <cstdint>

namespace board {

// The span of row `y` between the edges' X (16.16). A pixel is covered when its centre lies on or
// to the right of the left edge and to the left of the right one, so that neighbours which share
// an edge neither overlap nor leave a gap, whichever way they are walked.
Span CoveredSpan(int64_t y, int64_t dominantX, int64_t subordinateX);

class Rasteriser {
  public:
    // Takes all edge registers: the start of a primitive.
    void Begin(const RegisterFile& registers);
    // The same with edges that were worked out on the board, rows going down from `firstRow`.
    void Begin(int64_t firstRow, Edge dominant, Edge subordinate);
    // Takes a new edge and keeps the other one.
    void NewSubordinate(const RegisterFile& registers);
    void NewSubordinate(Edge edge) { subordinate_ = Shifted(edge); }
    void NewDominant(const RegisterFile& registers);
    // Edges lie so much further right than they are set (32.32): of a board that is wrong on
    // purpose.
    void SetShift(int64_t shift) { shift_ = shift; }

    // Calls row(span) for each of `rows` rows, empty ones too, and steps down the edges.
    template <typename Row>
    void Walk(uint32_t rows, Row&& row) {
        for (; rows != 0; --rows) {
            row(CoveredSpan(y_.Pixel(), dominant_.position >> 16, subordinate_.position >> 16));
            dominant_.Step();
            subordinate_.Step();
            y_.Step();
        }
    }
    void Visit(StateVisitor& visit) {
        auto& [dominant, subordinate, y, shift] = *this;
        visit.Within("dominant", dominant);
        visit.Within("subordinate", subordinate);
        visit.Within("y", y);
    }

  private:
    Edge Shifted(Edge edge) const { return {WrapAdd(edge.position, shift_), edge.step}; }

    Edge dominant_{}, subordinate_{}; // X
    Edge y_{};
    int64_t shift_ = 0;
};

// Row counts are 16 bits wide.
inline constexpr uint32_t kRowCountMask = 0xFFFF;

} // namespace board
