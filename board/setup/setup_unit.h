#pragma once
// The setup unit: takes vertices instead of edges and slopes, and works those out itself.
#include "board/raster/interpolants.h"
#include "board/raster/lines.h"
#include "board/setup/setup_line.h"
#include "board/setup/setup_triangle.h"
#include "board/setup/vertex_store.h"
#include "board/values/fault_counts.h"
#include "board/values/registers.h"

#include <cstdint>
#include <optional>

namespace board {

class SetupUnit {
  public:
    // Registers that this unit keeps: the vertex groups and AStart.
    static bool Takes(uint32_t tagNumber);
    // Takes a word. The fixed alpha words of `registers` follow what the vertices then have.
    void Write(RegisterWrite write, RegisterFile& registers, FaultCounts& faults);

    // The triangle of the stored vertices, or the line from slot `from` to slot `to`. Quantities
    // that DeltaMode has on replace those in `interpolants`. Empty: a vertex has no coordinates.
    std::optional<SetupTriangle> Triangle(const RegisterFile& registers, Interpolants& interpolants,
                                          FaultCounts& faults) const;
    std::optional<SetupLine> Line(uint32_t from, uint32_t to, const RegisterFile& registers,
                                  Interpolants& interpolants, FaultCounts& faults) const;

    void Visit(StateVisitor& visit) {
        auto& [store] = *this;
        visit.Within("vertex", store);
    }

  private:
    VertexStore store_;
};

} // namespace board
