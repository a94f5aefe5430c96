#pragma once
// A display with a video port object of the runtime, and its register traffic as one list.
#include "driver/video/video.h"
#include "tests/support/rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace test {

// A register write (offset, value), or a wait (InFIFOSpace, entries).
using PortStep = std::pair<uint32_t, uint32_t>;
using PortSteps = std::vector<PortStep>;

inline constexpr uint32_t kStart = 1; // flag of an update

class PortRig : public Rig {
  public:
    PortRig() {
        Ready();
        bus->MeterFIFO();
        local.lpGbl = &directDraw;
        description.dwSize = 72;
        description.dwFieldWidth = 720;
        description.dwFieldHeight = 240;
        description.VideoPortType.dwSize = 28;
        description.VideoPortType.dwPortWidth = 8;
        description.VideoPortType.guidTypeID = DDVPTYPE_E_HREFH_VREFH;
        port.lpDD = &local;
        surface.interface.lpLcl = &surface.local;
        info.dwSize = 64;
    }

    void Create() {
        DDHAL_CREATEVPORTDATA data{};
        data.lpDD = &local;
        data.lpDDVideoPortDesc = &description;
        data.lpVideoPort = &port;
        data.ddRVal = 77;
        EXPECT_EQ(CreateVideoPort32(&data), 0u);
        EXPECT_EQ(data.ddRVal, 0u);
    }

    uint32_t Update(uint32_t flags) {
        DDHAL_UPDATEVPORTDATA data{};
        data.lpDD = &local;
        data.lpVideoPort = &port;
        data.lplpDDSurface = surfaces.data();
        data.lpVideoInfo = &info;
        data.dwFlags = flags;
        data.dwNumAutoflip = autoflip;
        data.ddRVal = 77;
        const uint32_t answer = UpdateVideoPort32(&data);
        EXPECT_EQ(data.ddRVal, 0u);
        return answer;
    }

    // Adds a surface at `offset` of the frame buffer to the list that the port gets.
    RigSurface& AddSurface(uint32_t offset, uint32_t caps) {
        RigSurface& added = MakeSurface(720, 480, DDSCAPS_VIDEOPORT | caps, 1, offset);
        added.interface.lpLcl = &added.local;
        surfaces.push_back(&added.interface);
        return added;
    }

    // Waits and register writes since the last call, in order.
    PortSteps Take() {
        PortSteps steps;
        uint32_t reads = 0;
        for (const BusEvent& event : bus->events) {
            if (event.IsSpaceRead()) {
                ++reads;
                continue;
            }
            if (reads != 0) {
                steps.emplace_back(t::InFIFOSpace, reads);
                reads = 0;
            }
            if (event.kind == 'w') {
                steps.emplace_back(event.offset, event.value);
            }
        }
        if (reads != 0) {
            steps.emplace_back(t::InFIFOSpace, reads);
        }
        bus->Clear();
        return steps;
    }

    uint32_t Register(uint32_t offset) { return bus->registers[offset]; }

    DDRAWI_DIRECTDRAW_LCL local{};
    DDRAWI_DDVIDEOPORT_LCL port{};
    DDVIDEOPORTDESC description{};
    DDVIDEOPORTINFO info{};
    uint32_t autoflip = 0;
    RigSurface& surface = MakeSurface(720, 480, DDSCAPS_VIDEOPORT, 1, 0x100000); // pitch 1440
    std::vector<DDRAWI_DDRAWSURFACE_INT*> surfaces{&surface.interface};
};

} // namespace test
