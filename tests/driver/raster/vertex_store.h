#pragma once
// The setup unit's vertex store as a simple model: words are decoded, land in three slots, and each
// draw word takes a picture of them.
#include "driver/d3d/dcontext.h"
#include "tests/driver/raster/raster_rig.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstdint>
#include <map>
#include <vector>

namespace test {

// One slot: its words by their place in the group. A word that was never sent is missing.
struct StoredVertex {
    std::map<uint32_t, uint32_t> fixed;
    std::map<uint32_t, uint32_t> floats;

    // A float word, for instance at(10) for X.
    uint32_t At(uint32_t place) const {
        const auto found = floats.find(place);
        return found == floats.end() ? 0xDEADDEAD : found->second;
    }
    uint32_t FixedAt(uint32_t place) const {
        const auto found = fixed.find(place);
        return found == fixed.end() ? 0xDEADDEAD : found->second;
    }
};

// A draw word, with the slots and all other registers as they then stood.
struct Drawn {
    uint32_t tag;
    uint32_t word;
    std::array<StoredVertex, 3> slots;
    std::map<uint32_t, uint32_t> registers;
};

class VertexStore {
  public:
    std::vector<Drawn> drawn;
    // Bursts into the float groups that held at least X and Y: vertices sent.
    size_t verticesSent = 0;

    void Replay(const std::vector<uint32_t>& words) {
        size_t i = 0;
        while (i < words.size()) {
            const uint32_t header = words[i++];
            if ((header & 0x8000) != 0) {
                const uint32_t group = header & 0x3F0;
                if (group >= t::V0Float && group <= t::V2Float && (header >> 26 & 3) == 3) {
                    ++verticesSent;
                }
                for (uint32_t place = 0; place < 16; ++place) {
                    if ((header >> (16 + place) & 1) != 0) {
                        ASSERT_LT(i, words.size());
                        Write(group + place, words[i++]);
                    }
                }
            } else {
                for (uint32_t count = (header >> 16) + 1; count != 0; --count) {
                    ASSERT_LT(i, words.size());
                    Write(header & 0x3FF, words[i++]);
                }
            }
        }
    }

  private:
    void Write(uint32_t number, uint32_t word) {
        if (number >= t::V0Fixed && number < t::V0Float) {
            slots_[(number - t::V0Fixed) >> 4].fixed[number & 0xF] = word;
        } else if (number >= t::V0Float && number < t::DeltaMode) {
            slots_[(number - t::V0Float) >> 4].floats[number & 0xF] = word;
        } else if (number >= t::DrawTriangle && number <= t::DrawLine10) {
            drawn.push_back({number, word, slots_, registers_});
        } else {
            registers_[number] = word;
        }
    }

    std::array<StoredVertex, 3> slots_;
    std::map<uint32_t, uint32_t> registers_;
};

// True if the three slots hold the positions of the record's vertices, each of them once.
inline bool HoldsTriangle(const Drawn& drawn, const std::vector<D3DTLVERTEX>& vertices,
                          const D3DTRIANGLE& record) {
    const auto key = [](uint32_t x, uint32_t y) { return uint64_t{x} << 32 | y; };
    std::multimap<uint64_t, int> held, wanted;
    for (const StoredVertex& slot : drawn.slots) {
        held.emplace(key(slot.At(10), slot.At(11)), 0);
    }
    for (const uint32_t index : {record.v1, record.v2, record.v3}) {
        wanted.emplace(key(std::bit_cast<uint32_t>(vertices[index].sx),
                           std::bit_cast<uint32_t>(vertices[index].sy)),
                       0);
    }
    return held == wanted;
}

// Draws the records of one instruction.
template <class Record>
void DrawRecords(RasterRig& rig, Renderer member, std::vector<D3DTLVERTEX>& vertices,
                 const std::vector<Record>& records, uint32_t recordBytes = sizeof(Record)) {
    std::vector<uint8_t> bytes(records.size() * recordBytes, 0xEE);
    for (size_t i = 0; i < records.size(); ++i) {
        __builtin_memcpy(bytes.data() + i * recordBytes, &records[i], sizeof(Record));
    }
    D3DINSTRUCTION ins{0, static_cast<BYTE>(recordBytes), static_cast<WORD>(records.size())};
    member(&rig.ctx, &ins, vertices.data(), bytes.data());
}

inline D3DTRIANGLE TriangleRecord(uint32_t v1, uint32_t v2, uint32_t v3, uint32_t flags = 0) {
    D3DTRIANGLE triangle{};
    triangle.v1 = static_cast<WORD>(v1);
    triangle.v2 = static_cast<WORD>(v2);
    triangle.v3 = static_cast<WORD>(v3);
    triangle.wFlags = static_cast<WORD>(flags);
    return triangle;
}

} // namespace test
