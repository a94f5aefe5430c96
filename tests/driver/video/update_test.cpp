// Starting, changing and stopping of the video port: every register word.
#include "tests/driver/video/port_rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

namespace {

using test::PortRig;
using test::PortSteps;
using test::RigSurface;

using test::kStart;

constexpr uint32_t kStop = 2, kUpdate = 3;

// A created port whose traffic so far is forgotten.
struct UpdateRig : PortRig {
    void Begin() {
        Create();
        Take();
    }
    void BeginAndStart() {
        Begin();
        Update(kStart);
    }
    uint32_t AddressOf(uint32_t offset) {
        return reinterpret_cast<uint32_t>(FrameBuffer()) + offset;
    }
    static void Attach(RigSurface& to, RigSurface& next, ATTACHLIST& node) {
        node.lpAttached = &next.local;
        to.local.lpAttachList = &node;
    }
};

TEST(VideoPortUpdate, StartProgramsThePortInOrder) {
    UpdateRig rig;
    rig.info.dwVPFlags = 1;
    rig.autoflip = 3;
    rig.AddSurface(0x180000, 0);
    rig.AddSurface(0x200000, 0x20);
    rig.Begin();
    rig.bus->registers[t::IntEnable] = 0x13;
    EXPECT_EQ(rig.Update(kStart), 1u);
    EXPECT_EQ(rig.Take(), (PortSteps{{t::InFIFOSpace, 16},
                                     {t::VSStreamControl, 0},
                                     {t::VSControl, 0},
                                     // 8 bits, both references high, fixed bit, not inverted
                                     {t::VSControl, 0x3 + 0x200 + 0x400 + 0x1000 + 0x2000},
                                     {t::VSStreamControl, 0x5}, // on, three buffers
                                     {t::VSNextBuffer, 2},
                                     {t::VSBufferStride, 180}, // 1440 / 8
                                     {t::VSStartLine, 17},
                                     {t::VSEndLine, 257}, // 240 + 17
                                     {t::VSStartPixel, 155},
                                     {t::VSEndPixel, 875}, // 720 + 155
                                     {t::VSBufferBase0, 0x20000},
                                     {t::VSBufferBase1, 0x30000},
                                     {t::VSBufferBase2, 0x40000},
                                     {t::IntEnable, 0x213}}));
}

TEST(VideoPortUpdate, StartLeavesTheStateOfARunningPort) {
    UpdateRig rig;
    rig.info.dwVPFlags = 1;
    rig.autoflip = 2;
    rig.AddSurface(0x180000, 0x20);
    rig.Begin();
    rig.driver->VideoFailures = 9;
    rig.Update(kStart);
    EXPECT_EQ(rig.driver->VideoSurfaceCount, 2u);
    EXPECT_EQ(rig.driver->VideoBase[0], rig.AddressOf(0x100000));
    EXPECT_EQ(rig.driver->VideoBase[1], rig.AddressOf(0x180000));
    EXPECT_EQ(rig.driver->VideoBase[2], 0u);
    EXPECT_EQ(rig.driver->VideoCurrentBuffer, 1u);
    EXPECT_EQ(rig.driver->VideoHeight, 240u);
    EXPECT_EQ(rig.driver->VideoWidth, 720u);
    EXPECT_EQ(rig.driver->VideoStartLine, 17u);
    EXPECT_EQ(rig.driver->VideoPortActive, 1u);
    EXPECT_EQ(rig.driver->VideoNeedSample, 1u);
    EXPECT_EQ(rig.driver->VideoFailures, 0u);
    EXPECT_EQ(rig.Register(t::VSStreamControl), 1u);
}

TEST(VideoPortUpdate, UpdateDoesAllThatStartDoes) {
    UpdateRig rig;
    rig.BeginAndStart();
    const PortSteps started = rig.Take();
    rig.driver->VideoPortActive = 0;
    rig.Update(kUpdate);
    EXPECT_EQ(rig.Take(), started);
    EXPECT_EQ(started.size(), 15u);
    EXPECT_EQ(rig.driver->VideoPortActive, 1u);
}

TEST(VideoPortUpdate, StopTurnsTheChipOffAndTheInterruptOn) {
    UpdateRig rig;
    rig.BeginAndStart();
    rig.Take();
    rig.bus->registers[t::IntEnable] = 0x1;
    rig.driver->VideoNeedSample = 0;
    rig.driver->VideoFailures = 9;
    EXPECT_EQ(rig.Update(kStop), 1u);
    EXPECT_EQ(rig.Take(), (PortSteps{{t::InFIFOSpace, 2},
                                     {t::IntEnable, 0x201},
                                     {t::VSStreamControl, 0},
                                     {t::VSControl, 0}}));
    EXPECT_EQ(rig.driver->VideoPortActive, 0u);
    EXPECT_EQ(rig.driver->VideoNeedSample, 1u);
    EXPECT_EQ(rig.driver->VideoFailures, 0u);
    EXPECT_EQ(rig.driver->VideoPortCreated, 1u);
}

TEST(VideoPortUpdate, AnyOtherRequestDoesNothing) {
    for (const uint32_t flags : {0u, 4u, 5u, 0x80000001u}) {
        UpdateRig rig;
        rig.Begin();
        EXPECT_EQ(rig.Update(flags), 1u);
        EXPECT_TRUE(rig.Take().empty()) << flags;
        EXPECT_EQ(rig.driver->VideoPortActive, 0u);
    }
}

TEST(VideoPortUpdate, AutoflipWithoutACountUsesOneSurface) {
    UpdateRig rig;
    rig.info.dwVPFlags = 1;
    rig.autoflip = 0;
    rig.AddSurface(0x180000, 0x20);
    rig.BeginAndStart();
    EXPECT_EQ(rig.driver->VideoSurfaceCount, 1u);
    EXPECT_EQ(rig.driver->VideoBase[0], rig.AddressOf(0x100000));
    EXPECT_EQ(rig.driver->VideoBase[1], 0u);
}

TEST(VideoPortUpdate, AutoflipTakesNoMoreThanThreeSurfaces) {
    UpdateRig rig;
    rig.info.dwVPFlags = 1;
    rig.autoflip = 4;
    for (const uint32_t offset : {0x180000u, 0x200000u, 0x280000u}) {
        rig.AddSurface(offset, 0);
    }
    rig.BeginAndStart();
    EXPECT_EQ(rig.driver->VideoSurfaceCount, 3u);
    EXPECT_EQ(rig.driver->VideoBase[2], rig.AddressOf(0x200000));
    EXPECT_EQ(rig.driver->VideoFlags, 0x103u); // the word behind the bases
}

TEST(VideoPortUpdate, WithoutAFrontBufferTheFlagWordIsTheBufferNumber) {
    UpdateRig rig;
    rig.info.dwVPFlags = 0x11;
    rig.autoflip = 1;
    rig.BeginAndStart();
    EXPECT_EQ(rig.driver->VideoCurrentBuffer, 0x11u);
    EXPECT_EQ(rig.Register(t::VSNextBuffer), 0x11u);
}

TEST(VideoPortUpdate, WithoutAutoflipTheAttachedChainIsWalked) {
    UpdateRig rig;
    RigSurface& second = rig.AddSurface(0x180000, 0x20);
    RigSurface& third = rig.AddSurface(0x200000, 0);
    ATTACHLIST nodes[3]{};
    UpdateRig::Attach(rig.surface, third, nodes[0]);
    UpdateRig::Attach(third, second, nodes[1]);
    UpdateRig::Attach(second, rig.surface, nodes[2]); // back to the first
    rig.autoflip = 1;                                 // of no account
    rig.BeginAndStart();
    EXPECT_EQ(rig.driver->VideoSurfaceCount, 3u);
    EXPECT_EQ(rig.driver->VideoBase[1], rig.AddressOf(0x200000));
    EXPECT_EQ(rig.driver->VideoBase[2], rig.AddressOf(0x180000));
    EXPECT_EQ(rig.driver->VideoCurrentBuffer, 2u);
    EXPECT_EQ(rig.Register(t::VSStreamControl), 0x5u);
}

TEST(VideoPortUpdate, OfALongChainThreeSurfacesAreTaken) {
    UpdateRig rig;
    ATTACHLIST nodes[3]{};
    RigSurface& second = rig.AddSurface(0x180000, 0);
    RigSurface& third = rig.AddSurface(0x200000, 0);
    RigSurface& fourth = rig.AddSurface(0x280000, 0);
    UpdateRig::Attach(rig.surface, second, nodes[0]);
    UpdateRig::Attach(second, third, nodes[1]);
    UpdateRig::Attach(third, fourth, nodes[2]);
    rig.BeginAndStart();
    EXPECT_EQ(rig.driver->VideoSurfaceCount, 3u);
    EXPECT_EQ(rig.driver->VideoBase[2], rig.AddressOf(0x200000));
}

TEST(VideoPortUpdate, TheChainMayEnd) {
    UpdateRig rig;
    rig.surface.local.ddsCaps.dwCaps |= 0x20;
    RigSurface& second = rig.AddSurface(0x180000, 0);
    ATTACHLIST node{};
    UpdateRig::Attach(rig.surface, second, node);
    rig.BeginAndStart();
    EXPECT_EQ(rig.driver->VideoSurfaceCount, 2u);
    EXPECT_EQ(rig.driver->VideoBase[1], rig.AddressOf(0x180000));
    EXPECT_EQ(rig.driver->VideoCurrentBuffer, 0u);
}

TEST(VideoPortUpdate, TheControlWordFollowsConnectionAndPort) {
    struct Case {
        GUID type;
        uint32_t width, connectFlags, vpFlags, word;
    };
    const Case cases[] = {
        {DDVPTYPE_E_HREFH_VREFH, 8, 0, 0, 0x3603},   // bits 9, 10, 12, 13
        {DDVPTYPE_E_HREFH_VREFL, 8, 0, 0, 0x3203},   // bits 9, 12, 13
        {DDVPTYPE_E_HREFL_VREFH, 8, 0, 0, 0x3C03},   // bits 10, 11, 12, 13
        {DDVPTYPE_E_HREFL_VREFL, 8, 0, 0, 0x3803},   // bits 11, 12, 13
        {DDVPTYPE_E_HREFL_VREFL, 16, 0, 0, 0x3804},  // the other format
        {DDVPTYPE_E_HREFL_VREFL, 8, 4, 0, 0x1803},   // inverted
        {DDVPTYPE_E_HREFL_VREFL, 8, 0, 8, 0x13803},  // interleave: bit 16
        {DDVPTYPE_E_HREFL_VREFL, 8, 0x20, 0, 0x3803} // interlaced alone changes nothing
    };
    for (const Case& c : cases) {
        UpdateRig rig;
        rig.description.VideoPortType.guidTypeID = c.type;
        rig.description.VideoPortType.dwPortWidth = c.width;
        rig.description.VideoPortType.dwFlags = c.connectFlags;
        rig.info.dwVPFlags = c.vpFlags;
        rig.BeginAndStart();
        EXPECT_EQ(rig.Register(t::VSControl), c.word) << c.type.Data1;
    }
}

TEST(VideoPortUpdate, TheStreamWordFollowsTheRequest) {
    struct Case {
        uint32_t vpFlags, word, videoFlags;
    };
    for (const Case& c :
         {Case{0, 0x001, 0x103}, Case{0x10, 0x081, 0x183}, Case{0x20, 0x101, 0x143},
          Case{0x8, 0x801, 0x123}, Case{0x38, 0x981, 0x1E3}, Case{0x6, 0x001, 0x103}}) {
        UpdateRig rig;
        rig.info.dwVPFlags = c.vpFlags;
        rig.BeginAndStart();
        EXPECT_EQ(rig.Register(t::VSStreamControl), c.word) << c.vpFlags;
        EXPECT_EQ(rig.driver->VideoFlags, c.videoFlags) << c.vpFlags;
        // What was asked for once doesn't stay.
        rig.info.dwVPFlags = 0;
        rig.Update(kUpdate);
        EXPECT_EQ(rig.Register(t::VSStreamControl), 0x001u) << c.vpFlags;
        EXPECT_EQ(rig.driver->VideoFlags, 0x103u) << c.vpFlags;
    }
}

TEST(VideoPortUpdate, PrescaleRatiosBecomeCodesPerAxis) {
    struct Case {
        uint32_t width, height, word;
    };
    // The field is 720 by 240. X code in bits 3-4, Y code in bits 5-6.
    for (const Case& c :
         {Case{720, 240, 0x01}, Case{360, 240, 0x09}, Case{180, 240, 0x11}, Case{90, 240, 0x19},
          Case{720, 120, 0x21}, Case{720, 60, 0x41}, Case{720, 30, 0x61}, Case{360, 60, 0x49},
          Case{300, 240, 0x09}, // a ratio of 2.4 counts as 2
          Case{1440, 480, 0x01}, Case{0, 0, 0x01}}) {
        UpdateRig rig;
        rig.info.dwVPFlags = 0x40;
        rig.info.dwPrescaleWidth = c.width;
        rig.info.dwPrescaleHeight = c.height;
        rig.BeginAndStart();
        EXPECT_EQ(rig.Register(t::VSStreamControl), c.word) << c.width << " " << c.height;
    }
}

TEST(VideoPortUpdate, APrescaleRatioOf3GivesCode0) {
    UpdateRig rig;
    rig.info.dwVPFlags = 0x40;
    rig.info.dwPrescaleWidth = 240;
    rig.info.dwPrescaleHeight = 80;
    rig.BeginAndStart();
    EXPECT_EQ(rig.Register(t::VSStreamControl), 0x01u);
}

TEST(VideoPortUpdate, PrescaleSizesCountOnlyWithTheirFlag) {
    UpdateRig rig;
    rig.info.dwPrescaleWidth = 360;
    rig.info.dwPrescaleHeight = 120;
    rig.BeginAndStart();
    EXPECT_EQ(rig.Register(t::VSStreamControl), 0x01u);
}

TEST(VideoPortUpdate, MirroringUpDownMovesAllBasesByAPicture) {
    UpdateRig rig;
    rig.info.dwVPFlags = 0x21;
    rig.autoflip = 2;
    rig.AddSurface(0x180000, 0x20);
    rig.BeginAndStart();
    EXPECT_EQ(rig.driver->VideoBase[0], rig.AddressOf(0x100000 + 1440 * 240));
    EXPECT_EQ(rig.driver->VideoBase[1], rig.AddressOf(0x180000 + 1440 * 240));
    EXPECT_EQ(rig.driver->VideoBase[2], 1440u * 240);
    EXPECT_EQ(rig.Register(t::VSBufferBase0), (0x100000u + 1440 * 240) / 8);
}

TEST(VideoPortUpdate, APrescaledPictureMovesThemByItsOwnHeight) {
    UpdateRig rig;
    rig.info.dwVPFlags = 0x60;
    rig.info.dwPrescaleWidth = 720;
    rig.info.dwPrescaleHeight = 60;
    rig.BeginAndStart();
    EXPECT_EQ(rig.driver->VideoBase[0], rig.AddressOf(0x100000 + 1440 * 60));
    // A height that gives no code doesn't count.
    rig.info.dwPrescaleHeight = 80;
    rig.Update(kUpdate);
    EXPECT_EQ(rig.driver->VideoBase[0], rig.AddressOf(0x100000 + 1440 * 240));
}

TEST(VideoPortUpdate, APortOf16BitsDoublesThePixelRange) {
    UpdateRig rig;
    rig.description.VideoPortType.dwPortWidth = 16;
    rig.BeginAndStart();
    EXPECT_EQ(rig.Register(t::VSStartPixel), 310u);
    EXPECT_EQ(rig.Register(t::VSEndPixel), 1750u); // (720 + 155) * 2
}

TEST(VideoPortUpdate, ASourceThatMarksItsPixelsHasTheWholeRange) {
    for (const uint32_t width : {8u, 16u}) {
        UpdateRig rig;
        rig.description.VideoPortType.dwFlags = 2;
        rig.description.VideoPortType.dwPortWidth = width;
        rig.Begin();
        rig.bus->registers[t::VSStartPixel] = 99;
        rig.Update(kStart);
        EXPECT_EQ(rig.Register(t::VSStartPixel), 0u);
        EXPECT_EQ(rig.Register(t::VSEndPixel), 2047u);
    }
}

TEST(VideoPortUpdate, TheSizesAreThoseOfTheCreation) {
    UpdateRig rig;
    rig.Begin();
    rig.description.dwFieldWidth = 1;
    rig.port.ddvpDesc.dwFieldHeight = 2;
    rig.Update(kStart);
    EXPECT_EQ(rig.driver->VideoWidth, 720u);
    EXPECT_EQ(rig.driver->VideoHeight, 240u);
}

} // namespace
