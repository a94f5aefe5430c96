#pragma once
// The rig for the members of a Delta setup unit, and which records of a batch they draw.
#include "tests/driver/raster/del_reference.h"
#include "tests/driver/raster/p2_rig.h"

#include <cstddef>
#include <vector>

namespace test {

class DeltaRig : public P2Rig {
  public:
    explicit DeltaRig(bool dma = true) : P2Rig(dma) {
        chip.DeviceId = DevicePermedia;
        ctx.UseDelta = 1;
    }
};

// A record that is drawn, and whether the vertex store then holds its vertices: behind a culled
// continuation, whose vertex was not sent, it does not.
struct DrawnRecord {
    size_t record;
    bool complete;
};

// By the meaning of the strip flags: EVEN goes on from a kept triangle, and a START of n answers
// for the n records behind it.
inline std::vector<DrawnRecord> RecordsDrawn(uint32_t cullMode,
                                             const std::vector<D3DTLVERTEX>& vertices,
                                             const std::vector<D3DTRIANGLE>& records) {
    std::vector<DrawnRecord> drawn;
    bool goesOn = false, complete = false;
    size_t answered = 0; // continuations below this place are not tested
    for (size_t i = 0; i < records.size(); ++i) {
        const D3DTRIANGLE& record = records[i];
        const float det = reference::DeltaReference::Det(vertices[record.v1], vertices[record.v2],
                                                         vertices[record.v3]);
        const bool away =
            cullMode != D3DCULL_NONE && reference::DeltaReference::FacesAway(cullMode, det);
        const uint32_t code = record.wFlags & 0x1F;
        if (goesOn && code == D3DTRIFLAG_EVEN) {
            if (away && i >= answered) {
                complete = false;
            } else {
                drawn.push_back({i, complete});
            }
            continue;
        }
        const size_t run = goesOn && code <= 29 ? code : 0;
        if (away) {
            i += run;
            goesOn = false;
            continue;
        }
        drawn.push_back({i, true});
        complete = true;
        goesOn = cullMode != D3DCULL_NONE;
        answered = i + 1 + run;
    }
    return drawn;
}

// Fans whose records share what their flags say, cut by culled triangles and runs of every length.
inline std::vector<D3DTRIANGLE> RandomFans(P2Random& random, uint32_t vertices, size_t count) {
    std::vector<D3DTRIANGLE> records;
    while (records.size() < count) {
        const uint32_t centre = random.Pick(vertices);
        uint32_t other = random.Pick(vertices), newest = random.Pick(vertices);
        const uint32_t starts[] = {D3DTRIFLAG_START, random.Pick(30), D3DTRIFLAG_ODD};
        records.push_back(TriangleRecord(centre, other, newest, starts[random.Pick(3)]));
        for (uint32_t length = random.Pick(8); length != 0; --length) {
            other = newest;
            newest = random.Pick(vertices);
            records.push_back(TriangleRecord(centre, other, newest, D3DTRIFLAG_EVEN));
        }
    }
    return records;
}

} // namespace test
