// The video port's life, flips, lists and queries.
#include "tests/driver/video/port_rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using test::PortRig;
using test::PortSteps;

constexpr uint32_t kInvalid = 0x80070057, kNotActive = 0x887602B7, kStillDrawing = 0x8876021C,
                   kNotImplemented = 0x80004001;

// A data record of an entry that takes a port.
template <class Record>
Record DataOf(PortRig& rig) {
    Record data{};
    data.lpDD = &rig.local;
    data.ddRVal = 77;
    if constexpr (requires { data.lpVideoPort; }) {
        data.lpVideoPort = &rig.port;
    }
    return data;
}

uint32_t CanCreate(PortRig& rig) {
    auto data = DataOf<DDHAL_CANCREATEVPORTDATA>(rig);
    data.lpDDVideoPortDesc = &rig.description;
    EXPECT_EQ(CanCreateVideoPort32(&data), 1u);
    return data.ddRVal;
}

// --- descriptions ---

TEST(VideoPort, AFieldWidthOf2048PassesAnd2049Fails) {
    PortRig rig;
    rig.description.dwFieldWidth = 2048;
    EXPECT_EQ(CanCreate(rig), 0u);
    rig.description.dwFieldWidth = 2049;
    EXPECT_EQ(CanCreate(rig), kInvalid);
}

TEST(VideoPort, HeightAndBlankWidthHaveTheSameLimit) {
    for (DWORD DDVIDEOPORTDESC::*const extent :
         {&DDVIDEOPORTDESC::dwVBIWidth, &DDVIDEOPORTDESC::dwFieldHeight}) {
        PortRig rig;
        rig.description.*extent = 2048;
        EXPECT_EQ(CanCreate(rig), 0u);
        rig.description.*extent = 2049;
        EXPECT_EQ(CanCreate(rig), kInvalid);
    }
}

TEST(VideoPort, ThereIsOnePort) {
    PortRig rig;
    rig.description.dwVideoPortID = 1;
    EXPECT_EQ(CanCreate(rig), kInvalid);
}

TEST(VideoPort, DecoderBusesAreRefused) {
    PortRig rig;
    for (const GUID& type : {DDVPTYPE_CCIR656, DDVPTYPE_BROOKTREE, DDVPTYPE_PHILIPS}) {
        rig.description.VideoPortType.guidTypeID = type;
        EXPECT_EQ(CanCreate(rig), kInvalid) << type.Data1;
    }
    for (const GUID& type : {DDVPTYPE_E_HREFH_VREFH, DDVPTYPE_E_HREFH_VREFL, DDVPTYPE_E_HREFL_VREFH,
                             DDVPTYPE_E_HREFL_VREFL}) {
        rig.description.VideoPortType.guidTypeID = type;
        EXPECT_EQ(CanCreate(rig), 0u) << type.Data1;
    }
}

TEST(VideoPort, PortsAre8Or16BitsWide) {
    PortRig rig;
    for (const uint32_t width : {0u, 4u, 7u, 9u, 24u, 32u}) {
        rig.description.VideoPortType.dwPortWidth = width;
        EXPECT_EQ(CanCreate(rig), kInvalid) << width;
    }
    rig.description.VideoPortType.dwPortWidth = 16;
    EXPECT_EQ(CanCreate(rig), 0u);
}

TEST(VideoPort, ThreeConnectFlagsAreRefused) {
    for (uint32_t bit = 1; bit <= 0x80; bit <<= 1) {
        PortRig rig;
        rig.description.VideoPortType.dwFlags = bit;
        EXPECT_EQ(CanCreate(rig), (bit & 0xC1) != 0 ? kInvalid : 0u) << bit;
    }
}

// --- create and destroy ---

void FillState(DriverData* driver) {
    driver->VideoSurfaceCount = driver->VideoFlags = driver->VideoStartLine = 77;
    driver->VideoBase[0] = driver->VideoBase[1] = driver->VideoBase[2] = 77;
    driver->VideoHeight = driver->VideoWidth = driver->VideoCurrentBuffer = 77;
    driver->VideoPortActive = driver->VideoNeedSample = driver->VideoLastLine = 77;
    driver->VideoLastBuffer = driver->VideoLastTime = driver->VideoFailures = 77;
    driver->VideoPortCreated = 77;
    std::memset(&driver->VideoPortDesc, 0x77, sizeof(driver->VideoPortDesc));
}

// All but flags, description and VideoPortCreated.
void ExpectRestCleared(const DriverData* driver) {
    for (const uint32_t word :
         {driver->VideoSurfaceCount, driver->VideoBase[0], driver->VideoBase[1],
          driver->VideoBase[2], driver->VideoStartLine, driver->VideoHeight, driver->VideoWidth,
          driver->VideoCurrentBuffer, driver->VideoPortActive, driver->VideoNeedSample,
          driver->VideoLastLine, driver->VideoLastBuffer, driver->VideoLastTime,
          driver->VideoFailures}) {
        EXPECT_EQ(word, 0u);
    }
}

TEST(VideoPort, CreationClearsTheStateAndTurnsTheChipOff) {
    PortRig rig;
    FillState(rig.driver);
    rig.Create();
    ExpectRestCleared(rig.driver);
    EXPECT_EQ(rig.Take(),
              (PortSteps{{t::InFIFOSpace, 2}, {t::VSStreamControl, 0}, {t::VSControl, 0}}));
    EXPECT_EQ(rig.driver->VideoPortCreated, 1u);
    EXPECT_EQ(std::memcmp(&rig.driver->VideoPortDesc, &rig.description, sizeof(rig.description)),
              0);
}

TEST(VideoPort, CreationDerivesTheFlagsFromTheConnection) {
    struct Case {
        GUID type;
        uint32_t connectFlags, flags;
    };
    for (const Case& c :
         {Case{DDVPTYPE_E_HREFH_VREFH, 4, 0x003}, Case{DDVPTYPE_E_HREFH_VREFL, 4, 0x001},
          Case{DDVPTYPE_E_HREFL_VREFH, 4, 0x002}, Case{DDVPTYPE_E_HREFL_VREFL, 4, 0x000},
          Case{DDVPTYPE_CCIR656, 4, 0x000}, Case{DDVPTYPE_E_HREFL_VREFL, 0, 0x100},
          Case{DDVPTYPE_E_HREFL_VREFL, 0x24, 0x010}, Case{DDVPTYPE_E_HREFL_VREFL, 0x06, 0x200},
          Case{DDVPTYPE_E_HREFH_VREFH, 0x2A, 0x313}}) {
        PortRig rig;
        rig.description.VideoPortType.guidTypeID = c.type;
        rig.description.VideoPortType.dwFlags = c.connectFlags;
        rig.Create();
        EXPECT_EQ(rig.driver->VideoFlags, c.flags) << c.type.Data1 << " " << c.connectFlags;
    }
}

TEST(VideoPort, DestructionClearsAllAndLeavesTheRestToTheRuntime) {
    PortRig rig;
    FillState(rig.driver);
    auto data = DataOf<DDHAL_DESTROYVPORTDATA>(rig);
    EXPECT_EQ(DestroyVideoPort32(&data), 0u);
    EXPECT_EQ(data.ddRVal, 0u);
    EXPECT_EQ(rig.Take(),
              (PortSteps{{t::InFIFOSpace, 2}, {t::VSStreamControl, 0}, {t::VSControl, 0}}));
    ExpectRestCleared(rig.driver);
    EXPECT_EQ(rig.driver->VideoFlags, 0u);
    EXPECT_EQ(rig.driver->VideoPortCreated, 0u);
    const DDVIDEOPORTDESC none{};
    EXPECT_EQ(std::memcmp(&rig.driver->VideoPortDesc, &none, sizeof(none)), 0);
}

// --- flips ---

TEST(VideoPort, FlipsGoRoundTheBuffers) {
    PortRig rig;
    rig.driver->VideoPortActive = 1;
    rig.driver->VideoSurfaceCount = 3;
    auto data = DataOf<DDHAL_FLIPVPORTDATA>(rig);
    for (const uint32_t buffer : {1u, 2u, 0u, 1u}) {
        data.ddRVal = 77;
        rig.bus->Clear();
        EXPECT_EQ(FlipVideoPort32(&data), 1u);
        EXPECT_EQ(data.ddRVal, 0u);
        EXPECT_EQ(rig.driver->VideoCurrentBuffer, buffer);
        EXPECT_EQ(rig.Register(t::VSNextBuffer), buffer);
    }
}

TEST(VideoPort, AFlipFromAboveTheLastBufferRunsOn) {
    PortRig rig;
    rig.driver->VideoPortActive = 1;
    rig.driver->VideoSurfaceCount = 2;
    rig.driver->VideoCurrentBuffer = 0x11; // a start without a front buffer
    auto data = DataOf<DDHAL_FLIPVPORTDATA>(rig);
    FlipVideoPort32(&data);
    EXPECT_EQ(rig.driver->VideoCurrentBuffer, 0x12u);
    EXPECT_EQ(rig.Register(t::VSNextBuffer), 0x12u);
    FlipVideoPort32(&data);
    EXPECT_EQ(rig.Register(t::VSNextBuffer), 0x13u);
}

TEST(VideoPort, AFlipLetsTheChipFinishFirst) {
    PortRig rig;
    rig.driver->VideoPortActive = 1;
    rig.driver->VideoSurfaceCount = 2;
    auto data = DataOf<DDHAL_FLIPVPORTDATA>(rig);
    FlipVideoPort32(&data);
    EXPECT_EQ(rig.Take(), (PortSteps{{t::InFIFOSpace, 3},
                                     {t::Mapped(t::FilterMode), 0x400},
                                     {t::Mapped(t::Sync), 0},
                                     {t::Mapped(t::FilterMode), 0},
                                     {t::InFIFOSpace, 1},
                                     {t::VSNextBuffer, 1}}));
}

TEST(VideoPort, APortThatIsOffDoesNotFlip) {
    PortRig rig;
    rig.driver->VideoSurfaceCount = 3;
    auto data = DataOf<DDHAL_FLIPVPORTDATA>(rig);
    EXPECT_EQ(FlipVideoPort32(&data), 1u);
    EXPECT_EQ(data.ddRVal, 0u);
    EXPECT_TRUE(rig.bus->events.empty());
    EXPECT_EQ(rig.driver->VideoCurrentBuffer, 0u);
}

TEST(VideoPort, AFlipIsDueWhileTheCurrentBufferIsFilled) {
    PortRig rig;
    auto data = DataOf<DDHAL_GETVPORTFLIPSTATUSDATA>(rig);
    rig.driver->VideoCurrentBuffer = 2;
    rig.bus->registers[t::VSCurrentBuffer] = 2;
    EXPECT_EQ(GetVideoPortFlipStatus32(&data), 1u);
    EXPECT_EQ(data.ddRVal, 0u); // off
    rig.driver->VideoPortActive = 1;
    rig.bus->registers[t::FreeRunningTimer] = 5000;
    GetVideoPortFlipStatus32(&data);
    EXPECT_EQ(data.ddRVal, kStillDrawing);
    EXPECT_EQ(rig.driver->VideoLastTime, 0u); // no sample was taken
    rig.bus->registers[t::VSCurrentBuffer] = 1;
    GetVideoPortFlipStatus32(&data);
    EXPECT_EQ(data.ddRVal, 0u);
}

TEST(VideoPort, APortFoundDeadOwesNoFlip) {
    PortRig rig;
    rig.driver->VideoPortActive = 1;
    rig.driver->VideoFailures = 50;
    rig.bus->registers[t::FreeRunningTimer] = 470001;
    auto data = DataOf<DDHAL_GETVPORTFLIPSTATUSDATA>(rig);
    GetVideoPortFlipStatus32(&data);
    EXPECT_EQ(data.ddRVal, 0u);
    EXPECT_EQ(rig.driver->VideoPortActive, 0u);
}

// --- queries ---

TEST(VideoPort, TheFieldQueryReportsSuccessInEveryCase) {
    PortRig rig;
    auto data = DataOf<DDHAL_GETVPORTFIELDDATA>(rig);
    data.bField = 55;
    EXPECT_EQ(GetVideoPortField32(&data), 1u);
    EXPECT_EQ(data.ddRVal, 0u);
    EXPECT_EQ(data.bField, 55);
    rig.driver->VideoPortActive = 1;
    data.ddRVal = 77;
    EXPECT_EQ(GetVideoPortField32(&data), 1u);
    EXPECT_EQ(data.ddRVal, 0u);
    EXPECT_EQ(data.bField, 1);
}

TEST(VideoPort, TheLineIsKnownOnlyWhileThePortRuns) {
    PortRig rig;
    rig.bus->registers[t::VSCurrentLine] = 123;
    auto data = DataOf<DDHAL_GETVPORTLINEDATA>(rig);
    data.dwLine = 55;
    EXPECT_EQ(GetVideoPortLine32(&data), 1u);
    EXPECT_EQ(data.ddRVal, kNotActive);
    EXPECT_EQ(data.dwLine, 55u);
    rig.driver->VideoPortActive = 1;
    EXPECT_EQ(GetVideoPortLine32(&data), 1u);
    EXPECT_EQ(data.ddRVal, 0u);
    EXPECT_EQ(data.dwLine, 123u);
}

TEST(VideoPort, ASignalStatusOnTheCurrentBufferTakesASample) {
    PortRig rig;
    rig.driver->VideoPortActive = 1;
    rig.driver->VideoCurrentBuffer = 1;
    rig.bus->registers[t::VSCurrentBuffer] = 1;
    rig.bus->registers[t::VSCurrentLine] = 9;
    rig.bus->registers[t::FreeRunningTimer] = 5000;
    auto data = DataOf<DDHAL_GETVPORTSIGNALDATA>(rig);
    EXPECT_EQ(GetVideoSignalStatus32(&data), 1u);
    EXPECT_EQ(data.dwStatus, 2u);
    EXPECT_EQ(data.ddRVal, 0u);
    EXPECT_EQ(rig.driver->VideoLastTime, 5000u);
    EXPECT_EQ(rig.driver->VideoLastLine, 9u);
    EXPECT_EQ(rig.driver->VideoLastBuffer, 1u);
}

TEST(VideoPort, ASignalStatusOnAnotherBufferTakesNone) {
    PortRig rig;
    rig.bus->registers[t::VSCurrentBuffer] = 1;
    auto data = DataOf<DDHAL_GETVPORTSIGNALDATA>(rig);
    GetVideoSignalStatus32(&data);
    EXPECT_EQ(data.dwStatus, 2u); // even while the port is off
    EXPECT_EQ(rig.bus->ReadsOf(t::FreeRunningTimer), 0u);
}

TEST(VideoPort, APortThatIsOffHasNoSignal) {
    PortRig rig;
    auto data = DataOf<DDHAL_GETVPORTSIGNALDATA>(rig);
    EXPECT_EQ(GetVideoSignalStatus32(&data), 1u);
    EXPECT_EQ(data.dwStatus, 1u);
    EXPECT_EQ(data.ddRVal, 0u);
}

TEST(VideoPort, WaitingForALineIsNotImplemented) {
    PortRig rig;
    auto data = DataOf<DDHAL_WAITFORVPORTSYNCDATA>(rig);
    EXPECT_EQ(WaitForVideoPortSync32(&data), 1u);
    EXPECT_EQ(data.ddRVal, kNotImplemented);
}

// --- lists ---

void ExpectYUY2(const DDPIXELFORMAT& format) {
    uint32_t words[8];
    std::memcpy(words, &format, sizeof(words));
    const uint32_t expected[8] = {32, 4, 0x32595559, 16, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0};
    EXPECT_EQ(std::memcmp(words, expected, sizeof(words)), 0);
}

TEST(VideoPort, TheOneInputFormatIsYUY2) {
    PortRig rig;
    auto data = DataOf<DDHAL_GETVPORTINPUTFORMATDATA>(rig);
    EXPECT_EQ(GetVideoPortInputFormats32(&data), 1u); // the count alone
    EXPECT_EQ(data.dwNumFormats, 1u);
    EXPECT_EQ(data.ddRVal, 0u);
    DDPIXELFORMAT format{};
    data.lpddpfFormat = &format;
    GetVideoPortInputFormats32(&data);
    ExpectYUY2(format);
}

TEST(VideoPort, YUY2GoesOutAsItComesIn) {
    PortRig rig;
    DDPIXELFORMAT in{}, out{};
    in.dwFlags = 4;
    in.dwFourCC = 0x32595559;
    auto data = DataOf<DDHAL_GETVPORTOUTPUTFORMATDATA>(rig);
    data.lpddpfInputFormat = &in;
    EXPECT_EQ(GetVideoPortOutputFormats32(&data), 1u);
    EXPECT_EQ(data.dwNumFormats, 1u);
    data.lpddpfOutputFormats = &out;
    EXPECT_EQ(GetVideoPortOutputFormats32(&data), 1u);
    EXPECT_EQ(data.ddRVal, 0u);
    ExpectYUY2(out);
}

TEST(VideoPort, AnyOtherInputFormatLeavesTheCountAlone) {
    struct Case {
        uint32_t flags, fourCC;
    };
    for (const Case& c : {Case{0x40, 0x32595559}, Case{4, 0x59565955}}) {
        PortRig rig;
        DDPIXELFORMAT in{}, out{};
        in.dwFlags = c.flags;
        in.dwFourCC = c.fourCC;
        auto data = DataOf<DDHAL_GETVPORTOUTPUTFORMATDATA>(rig);
        data.lpddpfInputFormat = &in;
        data.lpddpfOutputFormats = &out;
        data.dwNumFormats = 55;
        EXPECT_EQ(GetVideoPortOutputFormats32(&data), 1u);
        EXPECT_EQ(data.dwNumFormats, 55u);
        EXPECT_EQ(data.ddRVal, 0u);
        EXPECT_EQ(out.dwSize, 0u);
    }
}

TEST(VideoPort, EightConnectionsAreReported) {
    PortRig rig;
    auto data = DataOf<DDHAL_GETVPORTCONNECTDATA>(rig);
    EXPECT_EQ(GetVideoPortConnectInfo32(&data), 1u); // the count alone
    EXPECT_EQ(data.dwNumEntries, 8u);
    EXPECT_EQ(data.ddRVal, 0u);
    uint32_t words[8 * 7 + 1];
    std::memset(words, 0x5A, sizeof(words));
    data.lpConnect = reinterpret_cast<DDVIDEOPORTCONNECT*>(words);
    EXPECT_EQ(GetVideoPortConnectInfo32(&data), 1u);
    const uint32_t types[4] = {0x54F39980, 0x92783220, 0xA07A02E0, 0xE09C77E0};
    for (uint32_t i = 0; i < 8; ++i) {
        const uint32_t* entry = words + 7 * i;
        EXPECT_EQ(entry[0], 28u) << i;
        EXPECT_EQ(entry[1], i % 2 == 0 ? 8u : 16u) << i;
        EXPECT_EQ(entry[2], types[i / 2]) << i;
        EXPECT_EQ(entry[3], 0x11CFDA60u) << i;
        EXPECT_EQ(entry[4], 0xA000069Bu) << i;
        EXPECT_EQ(entry[5], 0xB8A303C9u) << i;
        EXPECT_EQ(entry[6], 0x2Au) << i;
    }
    EXPECT_EQ(words[56], 0x5A5A5A5Au);
}

TEST(VideoPort, TheBandwidthQueryAnswersNothing) {
    PortRig rig;
    auto data = DataOf<DDHAL_GETVPORTBANDWIDTHDATA>(rig);
    auto expected = data;
    expected.ddRVal = 0;
    EXPECT_EQ(GetVideoPortBandwidth32(&data), 1u);
    EXPECT_EQ(std::memcmp(&data, &expected, sizeof(data)), 0);
    EXPECT_TRUE(rig.bus->events.empty());
}

TEST(VideoPort, SyncAndOverlayEntriesSucceedWithNothingToDo) {
    DDHAL_SYNCSURFACEDATA surface{};
    DDHAL_SYNCVIDEOPORTDATA port{};
    DDHAL_UPDATEOVERLAYDATA overlay{};
    surface.ddRVal = port.ddRVal = overlay.ddRVal = 77;
    EXPECT_EQ(SyncSurfaceData32(&surface), 1u);
    EXPECT_EQ(SyncVideoPortData32(&port), 1u);
    EXPECT_EQ(UpdateOverlay32(&overlay), 1u);
    EXPECT_EQ(surface.ddRVal, 0u);
    EXPECT_EQ(port.ddRVal, 0u);
    EXPECT_EQ(overlay.ddRVal, 0u);
}

TEST(VideoPort, GuidsAreEqualInAllOfTheirBits) {
    const GUID guid = DDVPTYPE_E_HREFH_VREFH;
    EXPECT_TRUE(IsEqualGuid(guid, DDVPTYPE_E_HREFH_VREFH));
    for (uint32_t bit = 0; bit < 128; ++bit) {
        GUID other = guid;
        reinterpret_cast<uint8_t*>(&other)[bit / 8] ^= static_cast<uint8_t>(1u << bit % 8);
        EXPECT_FALSE(IsEqualGuid(guid, other)) << bit;
        EXPECT_FALSE(IsEqualGuid(other, guid)) << bit;
    }
}

// --- which display ---

// Two displays; the line counter tells which one answered.
struct TwoDisplays {
    TwoDisplays() {
        first.driver->VideoPortActive = second.driver->VideoPortActive = 1;
        first.bus->registers[t::VSCurrentLine] = 1;
        second.bus->registers[t::VSCurrentLine] = 2;
        pDriverData = first.driver;
    }
    uint32_t Ask(DDRAWI_DIRECTDRAW_LCL* asking, DDRAWI_DDVIDEOPORT_LCL* port) {
        DDHAL_GETVPORTLINEDATA data{};
        data.lpDD = asking;
        data.lpVideoPort = port;
        GetVideoPortLine32(&data);
        return data.dwLine;
    }
    PortRig first, second;
};

TEST(VideoPort, AnObjectWithoutADisplayAsksThePrimary) {
    TwoDisplays both;
    DDRAWI_DIRECTDRAW_LCL none{};
    EXPECT_EQ(both.Ask(&none, nullptr), 1u);
}

TEST(VideoPort, TheDisplayIsThatOfThePort) {
    TwoDisplays both;
    EXPECT_EQ(both.Ask(&both.first.local, &both.second.port), 2u);
}

TEST(VideoPort, WithoutAPortItIsThatOfTheAskingObject) {
    TwoDisplays both;
    EXPECT_EQ(both.Ask(&both.second.local, nullptr), 2u);
    both.first.port.lpDD = nullptr;
    EXPECT_EQ(both.Ask(&both.second.local, &both.first.port), 2u);
}

TEST(VideoPort, AnObjectWithoutADisplayMeansThePrimaryOne) {
    TwoDisplays both;
    both.second.directDraw.dwReserved1 = 0;
    EXPECT_EQ(both.Ask(&both.second.local, &both.second.port), 1u);
    EXPECT_EQ(both.Ask(nullptr, nullptr), 1u);
}

// --- life ---

TEST(VideoPort, TheWatchdogLeavesTheChipAsItWasSet) {
    PortRig rig;
    rig.Create();
    rig.Update(test::kStart);
    rig.Take();
    rig.driver->VideoNeedSample = 0;
    rig.driver->VideoFailures = 50;
    rig.bus->registers[t::FreeRunningTimer] = 470001;
    EXPECT_EQ(CheckVideoPortStatus(rig.driver, 0), 0u);
    EXPECT_TRUE(rig.Take().empty());
    EXPECT_EQ(rig.Register(t::VSStreamControl), 1u);
    EXPECT_EQ(rig.driver->VideoPortCreated, 1u);
}

TEST(VideoPort, TheEntriesStandReadyForATable) {
    uint32_t slots[17];
    std::memcpy(slots, &kVideoPortEntries, sizeof(slots));
    const uint32_t expected[17] = {
        reinterpret_cast<uint32_t>(&CanCreateVideoPort32),
        reinterpret_cast<uint32_t>(&CreateVideoPort32),
        reinterpret_cast<uint32_t>(&DestroyVideoPort32),
        reinterpret_cast<uint32_t>(&FlipVideoPort32),
        reinterpret_cast<uint32_t>(&GetVideoPortBandwidth32),
        reinterpret_cast<uint32_t>(&GetVideoPortInputFormats32),
        reinterpret_cast<uint32_t>(&GetVideoPortOutputFormats32),
        reinterpret_cast<uint32_t>(&GetVideoPortField32),
        reinterpret_cast<uint32_t>(&GetVideoPortLine32),
        reinterpret_cast<uint32_t>(&GetVideoPortConnectInfo32),
        reinterpret_cast<uint32_t>(&GetVideoPortFlipStatus32),
        reinterpret_cast<uint32_t>(&UpdateVideoPort32),
        reinterpret_cast<uint32_t>(&WaitForVideoPortSync32),
        reinterpret_cast<uint32_t>(&GetVideoSignalStatus32),
        reinterpret_cast<uint32_t>(&SyncSurfaceData32),
        reinterpret_cast<uint32_t>(&SyncVideoPortData32),
        reinterpret_cast<uint32_t>(&UpdateOverlay32),
    };
    EXPECT_EQ(std::memcmp(slots, expected, sizeof(slots)), 0);
}

} // namespace
