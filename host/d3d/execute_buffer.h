#pragma once
// Builds execute buffers: instructions with their records, back to back.
#include "driver/platform/d3dhal.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace host {

struct RenderState {
    D3DRENDERSTATETYPE type;
    uint32_t value;
};

// A render state with a float value.
RenderState FloatState(D3DRENDERSTATETYPE type, float value);

// Vertices that a drawing instruction reaches, 0 for another. The driver takes records and their
// indices as they are, so whoever hands them over looks first. None: the records lead out of
// `records`, are shorter than the opcode's, or of an odd number of bytes.
std::optional<uint32_t> VerticesReached(const D3DINSTRUCTION& instruction,
                                        std::span<const uint8_t> records);

class ExecuteBuffer {
  public:
    // Each adds one instruction with the records given. Counts are at most 65535.
    ExecuteBuffer& States(std::span<const RenderState> states);
    ExecuteBuffer& Triangles(std::span<const D3DTRIANGLE> triangles);
    ExecuteBuffer& Lines(std::span<const D3DLINE> lines);
    ExecuteBuffer& Points(std::span<const D3DPOINT> points);
    ExecuteBuffer& Exit();
    // Any opcode with any record size.
    ExecuteBuffer& Instruction(uint8_t opcode, uint8_t recordBytes, uint16_t count,
                               std::span<const uint8_t> records);

    std::span<const uint8_t> Bytes() const { return bytes_; }
    void Clear() { bytes_.clear(); }

  private:
    std::vector<uint8_t> bytes_;
};

} // namespace host
