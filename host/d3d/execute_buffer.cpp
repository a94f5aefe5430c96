#include "host/d3d/execute_buffer.h"

#include <algorithm>
#include <bit>
#include <cstring>
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

std::optional<uint32_t> VerticesReached(const D3DINSTRUCTION& instruction,
                                        std::span<const uint8_t> records) {
    const uint32_t opcode = instruction.bOpcode, stride = instruction.bSize;
    const uint32_t used = opcode == D3DOP_TRIANGLE                        ? sizeof(D3DTRIANGLE)
                          : opcode == D3DOP_LINE || opcode == D3DOP_POINT ? sizeof(D3DLINE)
                                                                          : 0;
    if (used == 0 || instruction.wCount == 0) {
        return 0;
    }
    if (stride < used || stride % 2 != 0 ||
        records.size() < size_t{stride} * (instruction.wCount - 1u) + used) {
        return {};
    }
    uint32_t vertices = 0;
    for (uint32_t i = 0; i < instruction.wCount; ++i) {
        uint16_t words[4] = {};
        std::memcpy(words, &records[size_t{stride} * i], used);
        if (opcode == D3DOP_POINT) {
            vertices = std::max<uint32_t>(vertices, words[0] + words[1]);
        } else {
            const uint32_t corners = opcode == D3DOP_TRIANGLE ? 3 : 2;
            vertices = std::max<uint32_t>(vertices, *std::max_element(words, words + corners) + 1u);
        }
    }
    return vertices;
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
