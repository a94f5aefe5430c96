// What a blit does before and after its decision, alike on both families.
#include "driver/core/korv32_flip.h"
#include "driver/services/context.h"
#include "tests/driver/blit/blit_rig.h"
#include "tests/support/tag_names.h"

namespace {

using test::BlitCall;
using test::BlitRig;
using test::RigOptions;
using test::RigSurface;

using test::kStillDrawing;
constexpr uint32_t kNoRasterOp = 0x88760118;

struct BlitOn : testing::TestWithParam<uint32_t> {
    BlitOn() { flipRecord = {}; }
    ~BlitOn() override { flipRecord = {}; }
    bool Permedia() const { return GetParam() != DeviceTX; }
    std::string ClearSlot() const { return Permedia() ? "FastClear" : "GlintClear"; }
    bool Excluded() const { return (rig.chip->Flags & 0x10) != 0; }

    BlitRig rig{RigOptions{.deviceId = GetParam()}};
    RigSurface& dest = rig.MakeSurface(640, 480, DDSCAPS_OFFSCREENPLAIN, 1, 0x100000);
};

TEST_P(BlitOn, AModeChangeIsDealtWithFirst) {
    rig.driver->ModeChanged = 1;
    rig.driver->ScreenWidth = 800;
    rig.driver->ScreenHeight = 600;
    rig.bus->registers[reg::IntFlags] = 0; // whatever becomes of the blit
    rig.FillOf(dest, DDBLT_COLORFILL, 0);
    rig.Blt();
    EXPECT_EQ(rig.driver->ModeChanged, 0u);
    EXPECT_EQ(rig.driver->ModeChangeCount, 1u);
    EXPECT_EQ(CHIPRender.ModeKey, (600u << 15 | 800u) << 2 | 1u);
}

TEST_P(BlitOn, TheDisplayIsFoundByTheThirdReservedWordThenTheFirstThenThePrimary) {
    const auto own = reinterpret_cast<uint32_t>(rig.driver);
    rig.FillOf(dest, DDBLT_COLORFILL, 5);
    rig.directDraw.dwReserved3 = own;
    rig.directDraw.dwReserved1 = 1; // no address at all
    EXPECT_EQ(rig.Slots(), ClearSlot());
    rig.directDraw.dwReserved3 = 0;
    rig.directDraw.dwReserved1 = own;
    pDriverData = nullptr;
    EXPECT_EQ(rig.Slots(), ClearSlot());
    rig.directDraw.dwReserved1 = 0;
    pDriverData = rig.driver;
    EXPECT_EQ(rig.Slots(), ClearSlot());
}

TEST_P(BlitOn, AnAsynchronousBlitWhileDmaRunsChangesNothingAndReportsStillDrawing) {
    rig.bus->readDMACount = [] { return 3u; };
    rig.chip->CurrentContext = 9;
    rig.FillOf(dest, DDBLT_COLORFILL | DDBLT_ASYNC, 5);
    EXPECT_EQ(rig.Blt(), DDHAL_DRIVER_HANDLED);
    EXPECT_EQ(rig.data.ddRVal, kStillDrawing);
    EXPECT_TRUE(rig.calls.empty());
    EXPECT_TRUE(rig.bus->Writes().empty());
    EXPECT_TRUE(rig.Sent().empty());
    EXPECT_EQ(rig.chip->CurrentContext, 9u);
    EXPECT_FALSE(Excluded());
}

TEST_P(BlitOn, AnAsynchronousBlitOnAnIdleChipIsDone) {
    rig.FillOf(dest, DDBLT_COLORFILL | DDBLT_ASYNC, 5);
    EXPECT_EQ(rig.OneCall().slot, ClearSlot());
}

TEST_P(BlitOn, ABlitThatMayWaitDoesNotLookAtRunningDma) {
    rig.bus->readDMACount = [] { return 3u; };
    rig.FillOf(dest, DDBLT_COLORFILL, 5);
    EXPECT_EQ(rig.OneCall().slot, ClearSlot());
    EXPECT_EQ(rig.bus->ReadsOf(reg::DMACount), 0u);
}

TEST_P(BlitOn, TheTwoDimensionalContextIsMadeCurrent) {
    rig.chip->CurrentContext = CreateContext(rig.driver, rig.chip, kContextTypeDirect3D, 0, 0);
    uint32_t holder = 0;
    rig.duringCall = [&] { holder = rig.chip->CurrentContext; };
    rig.FillOf(dest, DDBLT_COLORFILL, 5);
    rig.OneCall();
    EXPECT_EQ(holder, 5u);
    EXPECT_EQ(rig.chip->CurrentContext, 5u);
}

TEST_P(BlitOn, NothingIsSwitchedWhenTheContextIsCurrentAlready) {
    rig.FillOf(dest, DDBLT_COLORFILL, 5);
    rig.OneCall();
    EXPECT_TRUE(rig.bus->Writes().empty());
    EXPECT_TRUE(rig.Sent().empty());
}

TEST_P(BlitOn, ATableOfAnotherModeIsFilledAnew) {
    CHIPRender.ModeKey ^= 4;
    rig.FillOf(dest, DDBLT_COLORFILL, 5);
    EXPECT_EQ(rig.Slots(), ""); // the recorders are gone
    EXPECT_EQ(CHIPRender.ModeKey, rig.driver->ModeKey);
    rig.Record();
    EXPECT_EQ(rig.Slots(), ClearSlot());
}

TEST_P(BlitOn, TheCursorStaysAwayWhileThePrimitiveRuns) {
    bool during = false;
    rig.duringCall = [&] { during = Excluded(); };
    rig.FillOf(dest, DDBLT_COLORFILL, 5);
    rig.OneCall();
    EXPECT_TRUE(during);
    EXPECT_FALSE(Excluded());
}

TEST_P(BlitOn, TheCursorMayDrawAgainAfterEveryRefusal) {
    RigSurface& source = rig.MakeSurface(640, 480, DDSCAPS_OFFSCREENPLAIN, 1, 0x200000);
    const auto refused = [&](const char* what) {
        rig.data.ddRVal = BlitRig::kUntouched;
        EXPECT_EQ(rig.Blt(), DDHAL_DRIVER_NOTHANDLED) << what;
        EXPECT_FALSE(Excluded()) << what;
        EXPECT_TRUE(rig.calls.empty()) << what;
    };
    rig.FillOf(dest, 0, 0);
    refused("no operation");
    rig.RopOf(dest, SRCCOPY);
    refused("a copy without a source");
    rig.RopOf(dest, 0x00550009);
    refused("an inverted destination");
    rig.RopOf(dest, 0x00F00021);
    refused("a pattern");
    rig.CopyOf(dest, source);
    source.Global().dwReserved1 = 0;
    refused("a source without a record");
    rig.CopyOf(source, dest);
    refused("a destination without a record");
}

TEST_P(BlitOn, TheRequestsOwnRectanglesStayAsTheyCame) {
    RigSurface& source = rig.MakeSurface(640, 480, DDSCAPS_OFFSCREENPLAIN, 1, 0x200000);
    rig.CopyOf(dest, source);
    const BlitCall& call = rig.OneCall(); // the recorder wrecks what it gets
    EXPECT_EQ(call.destRect.left, 10);
    EXPECT_EQ(call.srcRect.bottom, 48);
    EXPECT_EQ(rig.data.rDest.left, 10);
    EXPECT_EQ(rig.data.rDest.bottom, 28);
    EXPECT_EQ(rig.data.rSrc.left, 30);
    EXPECT_EQ(rig.data.rSrc.bottom, 48);
}

TEST_P(BlitOn, RasterOperationsThatNeitherFillNorCopyAreRefused) {
    struct Row {
        uint32_t rop;
        HRESULT result;
    };
    // The two halves of the code, each without its top bit, say whether there is an error.
    for (const Row& row : {Row{0x00550009, BlitRig::kUntouched}, // 101, 101
                           {0x00AA0029, BlitRig::kUntouched},    // 010, 010
                           {0x00880000, BlitRig::kUntouched},    // 000, 000
                           {0x00330008, BlitRig::kUntouched},    // 011, 011
                           {0x007F0000, BlitRig::kUntouched},    // 111, 111
                           {0x00080000, BlitRig::kUntouched},    // 000, 000: only top bits differ
                           {0x005A0049, kNoRasterOp},            // 101, 010
                           {0x00F00021, kNoRasterOp},            // 111, 000
                           {0x00A000C9, kNoRasterOp},            // 010, 000
                           {0x00010000, kNoRasterOp}}) {         // 000, 001
        rig.RopOf(dest, row.rop);
        rig.data.ddRVal = BlitRig::kUntouched;
        EXPECT_EQ(rig.Blt(), DDHAL_DRIVER_NOTHANDLED) << std::hex << row.rop;
        EXPECT_EQ(rig.data.ddRVal, row.result) << std::hex << row.rop;
        EXPECT_TRUE(rig.calls.empty()) << std::hex << row.rop;
    }
}

TEST_P(BlitOn, BlacknessAndWhitenessAreFills) {
    rig.RopOf(dest, BLACKNESS);
    EXPECT_EQ(rig.OneCall().slot, ClearSlot());
    EXPECT_EQ(rig.calls.front().fill, 0u);
    rig.RopOf(dest, WHITENESS);
    EXPECT_EQ(rig.OneCall().slot, ClearSlot());
    EXPECT_EQ(rig.calls.front().fill, 0xFFFFFFFFu);
}

TEST_P(BlitOn, ARasterOperationComesBeforeAColourFill) {
    rig.FillOf(dest, DDBLT_ROP | DDBLT_COLORFILL | DDBLT_DEPTHFILL, 7);
    rig.data.bltFX.dwROP = WHITENESS;
    EXPECT_EQ(rig.OneCall().fill, 0xFFFFFFFFu);
    rig.data.dwFlags = DDBLT_COLORFILL | DDBLT_DEPTHFILL;
    EXPECT_EQ(rig.OneCall().slot, ClearSlot());
    EXPECT_EQ(rig.calls.front().fill, 7u);
}

// The display's stream over two pieces of DMA buffer 0.
void StreamUnderDMA(BlitRig& rig) {
    CommandStream& stream = rig.driver->Stream;
    auto* linear = reinterpret_cast<uint32_t*>(rig.chip->DMABufferLinear[0]);
    stream.CommandMode = kCommandModeDMA;
    stream.SubBufferCount = 2;
    stream.SubBufferIndex = 0;
    for (uint32_t i = 0; i < 2; ++i) {
        stream.SubBuffers[i] = {rig.chip->DMABufferPhysical[0] + i * 0x1000, linear + i * 0x400,
                                linear + i * 0x400 + 0x3FF};
    }
    stream.WritePointer = linear;
    rig.duringCall = [&rig] { EmitTag(rig.driver->Stream, tag::FogMode, 0x55); };
}

TEST_P(BlitOn, UnderDmaNothingIsLeftWaitingInTheSubBuffer) {
    StreamUnderDMA(rig);
    rig.driver->Stream.Guard.Allow(rig.driver->Stream.WritePointer + 4);
    rig.FillOf(dest, DDBLT_COLORFILL, 5);
    rig.OneCall();
    ASSERT_EQ(rig.bus->transfers.size(), 1u);
    EXPECT_EQ(rig.bus->transfers[0].address, rig.chip->DMABufferPhysical[0]);
    EXPECT_EQ(rig.bus->transfers[0].words, (std::vector<uint32_t>{t::FogMode, 0x55}));
    EXPECT_EQ(rig.driver->Stream.SubBufferIndex, 1u);
    EXPECT_EQ(rig.driver->Stream.WritePointer, rig.driver->Stream.SubBuffers[1].Linear);
    EXPECT_FALSE(Excluded());

    rig.driver->Stream.Guard.Allow(rig.driver->Stream.WritePointer + 4);
    rig.OneCall();
    ASSERT_EQ(rig.bus->transfers.size(), 2u);
    EXPECT_EQ(rig.bus->transfers[1].address, rig.chip->DMABufferPhysical[0] + 0x1000);
    EXPECT_EQ(rig.driver->Stream.SubBufferIndex, 0u);
}

TEST_P(BlitOn, UnderDmaABlitWithoutWordsSendsNothing) {
    StreamUnderDMA(rig);
    rig.duringCall = nullptr;
    rig.FillOf(dest, DDBLT_COLORFILL, 5);
    rig.OneCall();
    EXPECT_TRUE(rig.bus->transfers.empty());
    EXPECT_EQ(rig.driver->Stream.SubBufferIndex, 0u);
}

INSTANTIATE_TEST_SUITE_P(EachFamily, BlitOn, testing::Values(DevicePermedia, DeviceTX),
                         [](const auto& info) {
                             return info.param == DeviceTX ? "Glint" : "Permedia";
                         });

TEST(BlitAndFlip, OnPermediaABlitWaitsForTheRetraceWhateverItsDestination) {
    BlitRig rig;
    RigSurface& dest = rig.MakeSurface(640, 480, DDSCAPS_OFFSCREENPLAIN, 1, 0x100000);
    rig.bus->registers[reg::IntFlags] = 0;
    rig.FillOf(dest, DDBLT_COLORFILL, 5);
    EXPECT_EQ(rig.Blt(), DDHAL_DRIVER_HANDLED);
    EXPECT_EQ(rig.data.ddRVal, kStillDrawing);
    EXPECT_TRUE(rig.calls.empty());
    EXPECT_EQ(rig.chip->Flags & CursorExclude, 0u);
    rig.bus->registers[reg::IntFlags] = 16;
    EXPECT_EQ(rig.OneCall().slot, "FastClear");
}

TEST(BlitAndFlip, OnGlintABlitIntoTheSurfaceFlippedFromWaits) {
    BlitRig rig(RigOptions{.deviceId = DeviceTX});
    RigSurface& dest = rig.MakeSurface(640, 480, DDSCAPS_OFFSCREENPLAIN, 1, 0x100000);
    RigSurface& other = rig.MakeSurface(640, 480, DDSCAPS_OFFSCREENPLAIN, 1, 0x200000);
    flipRecord = {};
    flipRecord.Surface = dest.Global().fpVidMem;
    flipRecord.InProgress = 1;
    flipRecord.Duration = 1000;
    rig.bus->registers[reg::BlankEndGlint] = 10;
    rig.bus->registers[reg::LineCounter] = 50;
    rig.FillOf(dest, DDBLT_COLORFILL, 5);
    EXPECT_EQ(rig.Blt(), DDHAL_DRIVER_HANDLED);
    EXPECT_EQ(rig.data.ddRVal, kStillDrawing);
    EXPECT_TRUE(rig.calls.empty());
    rig.FillOf(other, DDBLT_COLORFILL, 5);
    EXPECT_EQ(rig.OneCall().slot, "GlintClear");
    flipRecord = {};
}

} // namespace
