#pragma once
// What the tests of Direct3D contexts share: making and ending contexts on a rig, and reading the
// pairs and waits that reached the chip.
#include "driver/core/dma.h"
#include "driver/d3d/dcontext.h"
#include "tests/support/rig.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <ostream>
#include <vector>

namespace test {

inline constexpr uint32_t kOnes = 0xFFFFFFFF;
inline constexpr uint32_t kInvalid = 0x80070057; // DDERR_INVALIDPARAMS

// A pair in the stream, or a wait for FIFO space in front of the next one.
struct Step {
    uint32_t tag;
    uint32_t word;
    bool operator==(const Step&) const = default;
};

// Step.tag of a wait; Step.word is then the number of entries.
inline constexpr uint32_t kWaitStep = 0xFFFF0000;

inline Step Wait(uint32_t entries) {
    return {kWaitStep, entries};
}

inline std::ostream& operator<<(std::ostream& out, const Step& step) {
    if (step.tag == kWaitStep) {
        return out << "wait " << std::dec << step.word;
    }
    return out << std::hex << step.tag << "=" << step.word << std::dec;
}

using Steps = std::vector<Step>;

inline Steps WithoutWaits(const Steps& steps) {
    Steps pairs;
    for (const Step& step : steps) {
        if (step.tag != kWaitStep) {
            pairs.push_back(step);
        }
    }
    return pairs;
}

// Words that hold nothing but plain pairs.
inline Steps PairsOf(const std::vector<uint32_t>& words) {
    EXPECT_EQ(words.size() % 2, 0u);
    Steps pairs;
    for (size_t i = 0; i + 1 < words.size(); i += 2) {
        pairs.push_back({words[i], words[i + 1]});
    }
    return pairs;
}

inline void SetProducts(RigSurface& surface, uint32_t pp0, uint32_t pp1, uint32_t pp2) {
    surface.priv.PartialProduct0 = pp0;
    surface.priv.PartialProduct1 = pp1;
    surface.priv.PartialProduct2 = pp2;
}

// Forgets what waits in the sub-buffer at hand.
inline void DropPending(D3DContext* ctx) {
    ctx->Stream.WritePointer = ctx->Stream.Current().Linear;
}

// A rig that is ready, with no context listed.
class ContextRig : public Rig {
  public:
    explicit ContextRig(const RigOptions& options = {}) : Rig(options) {
        lpD3DContextList = nullptr;
        Ready();
    }

    void MeterFIFO() { bus->MeterFIFO(); }

    // The waits and pairs of the FIFO window on a metered bus, from the first pair on.
    Steps MeteredSteps() const {
        Steps steps;
        uint32_t reads = 0;
        bool haveTag = false;
        uint32_t tagWord = 0;
        for (const BusEvent& event : bus->events) {
            if (event.IsSpaceRead()) {
                ++reads;
                continue;
            }
            if (event.kind == 'f') {
                if (reads != 0) {
                    steps.push_back(Wait(reads));
                }
                if (haveTag) {
                    steps.push_back({tagWord, event.value});
                }
                tagWord = event.value;
                haveTag = !haveTag;
            }
            reads = 0;
        }
        return steps;
    }

    RigSurface& MakeTarget(uint32_t pixelSize = PixelSize16, uint32_t width = 640,
                           uint32_t height = 480) {
        return MakeSurface(width, height, DDSCAPS_VIDEOMEMORY | DDSCAPS_3DDEVICE, pixelSize,
                           kTargetOffset);
    }
    RigSurface& MakeZ(uint32_t width = 640, uint32_t height = 480) {
        const bool glint = chip->Family == FamilyGlint;
        return MakeSurface(width, height, DDSCAPS_VIDEOMEMORY | DDSCAPS_ZBUFFER,
                           glint ? PixelSize32 : PixelSize16, glint ? kLocalOffset : kZOffset);
    }
    static constexpr uint32_t kTargetOffset = 0x60000;
    static constexpr uint32_t kZOffset = 0x80000;
    static constexpr uint32_t kLocalOffset = 0x4000; // of the local buffer

    D3DHAL_CONTEXTCREATEDATA CreateData(RigSurface* target, RigSurface* z = nullptr,
                                        uint32_t pid = 1) {
        D3DHAL_CONTEXTCREATEDATA data{};
        data.lpDDGbl = &directDraw;
        data.lpDDS = target != nullptr ? &target->interface : nullptr;
        data.lpDDSZ = z != nullptr ? &z->interface : nullptr;
        data.dwPID = pid;
        data.ddrval = 0xDEADBEEF;
        return data;
    }

    // A context, or null with a failure noted.
    D3DContext* Create(RigSurface& target, RigSurface* z = nullptr, uint32_t pid = 1) {
        D3DHAL_CONTEXTCREATEDATA data = CreateData(&target, z, pid);
        EXPECT_EQ(CreateDirect3DContext(&data), 1u);
        EXPECT_EQ(data.ddrval, 0u);
        return data.ddrval == 0 ? ContextSlots[data.dwhContext] : nullptr;
    }

    static uint32_t Delete(uint32_t handle) {
        D3DHAL_CONTEXTDESTROYDATA data{handle, 0xDEADBEEF};
        EXPECT_EQ(DeleteDirect3DContext(&data), 1u);
        return data.ddrval;
    }
};

} // namespace test
