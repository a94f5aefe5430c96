#include "host/d3d/execute_buffer.h"

#include <bit>
#include <stdexcept>

namespace host {

namespace {

template <class Record>
std::span<const uint8_t> BytesOf(std::span<const Record> records) {
    return {reinterpret_cast<const uint8_t*>(records.data()), records.size_bytes()};
}

template <class Record>
uint16_t CountOf(std::span<const Record> records) {
    if (records.size() > 0xFFFF) {
        throw std::invalid_argument("an instruction has at most 65535 records");
    }
    return static_cast<uint16_t>(records.size());
}

} // namespace

RenderState FloatState(D3DRENDERSTATETYPE type, float value) {
    return {type, std::bit_cast<uint32_t>(value)};
}

ExecuteBuffer& ExecuteBuffer::States(std::span<const RenderState> states) {
    static_assert(sizeof(RenderState) == sizeof(D3DSTATE));
    return Instruction(D3DOP_STATERENDER, sizeof(D3DSTATE), CountOf(states), BytesOf(states));
}

ExecuteBuffer& ExecuteBuffer::Triangles(std::span<const D3DTRIANGLE> triangles) {
    return Instruction(D3DOP_TRIANGLE, sizeof(D3DTRIANGLE), CountOf(triangles), BytesOf(triangles));
}

ExecuteBuffer& ExecuteBuffer::Lines(std::span<const D3DLINE> lines) {
    return Instruction(D3DOP_LINE, sizeof(D3DLINE), CountOf(lines), BytesOf(lines));
}

ExecuteBuffer& ExecuteBuffer::Points(std::span<const D3DPOINT> points) {
    return Instruction(D3DOP_POINT, sizeof(D3DPOINT), CountOf(points), BytesOf(points));
}

ExecuteBuffer& ExecuteBuffer::Exit() {
    return Instruction(D3DOP_EXIT, 0, 0, {});
}

ExecuteBuffer& ExecuteBuffer::Instruction(uint8_t opcode, uint8_t recordBytes, uint16_t count,
                                          std::span<const uint8_t> records) {
    bytes_.push_back(opcode);
    bytes_.push_back(recordBytes);
    bytes_.push_back(static_cast<uint8_t>(count));
    bytes_.push_back(static_cast<uint8_t>(count >> 8));
    bytes_.insert(bytes_.end(), records.begin(), records.end());
    return *this;
}

} // namespace host
