#include "driver/core/korv32_flip.h"
#include "host/win32/clock.h"
#include "tests/support/rig.h"
#include "tests/support/tag_names.h"

#include <gtest/gtest.h>

namespace {

using test::BusEvent;
using test::Rig;
using test::RigOptions;
using test::RigSurface;

constexpr uint32_t kStillDrawing = 0x8876021C;
constexpr uint32_t kBlankLines = 45;

// A display with a front and a back buffer whose beam the test moves.
struct FlipRig : Rig {
    explicit FlipRig(const RigOptions& options) : Rig(options) {
        Ready();
        flipRecord = {};
        flipRecord.DurationStale = 1;
        bBlankReturn = 0;
        bus->registers[reg::BlankEndGlint] = kBlankLines;
        bus->registers[reg::BlankEndPermedia] = kBlankLines;
        Beam(100);
    }
    // The beam on visible line `line`, or in blank.
    void Beam(uint32_t line) { bus->registers[reg::LineCounter] = kBlankLines + line; }
    void BeamInBlank() { bus->registers[reg::LineCounter] = 3; }

    RigSurface& front = MakeSurface(640, 480, DDSCAPS_FLIP, 1, 0x100000);
    RigSurface& back = MakeSurface(640, 480, DDSCAPS_FLIP, 1, 0x400000);

    HRESULT Flip() {
        DDHAL_FLIPDATA data{};
        data.lpDD = &directDraw;
        data.lpSurfCurr = &front.local;
        data.lpSurfTarg = &back.local;
        data.ddRVal = 0xEEEEEEEE;
        EXPECT_EQ(Flip32(&data), 1u);
        return data.ddRVal;
    }
    uint32_t Status(uint32_t surface = 0) { return updateFlipStatus(driver, surface); }
    uint32_t FrontAddress() { return front.Global().fpVidMem; }
};

const RigOptions kGlint{.deviceId = DeviceTX};
const RigOptions kPermedia{.deviceId = DevicePermedia};

TEST(Flip, OnGlintWritesBaseAndBank) {
    FlipRig rig(kGlint);
    EXPECT_EQ(rig.Flip(), 0u);
    EXPECT_EQ(rig.bus->registers[t::ScreenBaseGlint], 0x400000u >> 13);
    EXPECT_EQ(rig.bus->registers[t::ScreenBank], 0xFFu);
    rig.back.Global().fpVidMem -= 0x2000;
    flipRecord.InProgress = 0;
    EXPECT_EQ(rig.Flip(), 0u);
    EXPECT_EQ(rig.bus->registers[t::ScreenBank], 0xFEu);
    EXPECT_EQ(rig.driver->TargetLost, 1u);
}

TEST(Flip, OnSXThereIsNoBankRegister) {
    FlipRig rig({.deviceId = DeviceSX});
    EXPECT_EQ(rig.Flip(), 0u);
    EXPECT_EQ(rig.bus->registers.count(0x6008), 0u);
}

TEST(Flip, OnPermediaWritesBaseAndClearsTheRetraceFlag) {
    FlipRig rig(kPermedia);
    rig.bus->registers[t::IntFlags] = 16;
    EXPECT_EQ(rig.Flip(), 0u);
    EXPECT_EQ(rig.bus->registers[t::ScreenBasePermedia], 0x400000u >> 3);
    const auto writes = rig.bus->Writes();
    EXPECT_EQ(writes.back(), (BusEvent{'w', t::IntFlags, 16}));
    EXPECT_EQ(flipRecord.InProgress, 0u);
}

TEST(Flip, OnPermediaWithInterruptsTheSeenBitIsUsedInstead) {
    FlipRig rig({.deviceId = DevicePermedia, .chipFlags = VBlankByInterrupt | VBlankSeen});
    EXPECT_EQ(rig.Flip(), 0u);
    EXPECT_EQ(rig.chip->Flags & VBlankSeen, 0u);
    EXPECT_EQ(rig.bus->ReadsOf(t::IntFlags), 0u);
    EXPECT_EQ(rig.Flip(), kStillDrawing);
    SetFlag(rig.chip, VBlankSeen);
    EXPECT_EQ(rig.Flip(), 0u);
}

TEST(Flip, OnAnyOtherFamilyTheChipIsOnlyBroughtToRest) {
    FlipRig rig(kPermedia);
    rig.chip->Family = 2;
    EXPECT_EQ(rig.Flip(), 0u);
    EXPECT_EQ(rig.bus->Writes(), test::SyncWrites());
    EXPECT_EQ(rig.driver->TargetLost, 1u);
}

TEST(Flip, WhileDmaRunsAnswersStillDrawing) {
    FlipRig rig(kGlint);
    rig.bus->readDMACount = [] { return 5u; };
    EXPECT_EQ(rig.Flip(), kStillDrawing); // the system asks again, also for those that will wait
    EXPECT_TRUE(rig.bus->Writes().empty());
    EXPECT_EQ(rig.driver->TargetLost, 0u);
}

TEST(Flip, WithNoFlipSetStillSyncsAndLosesTheTarget) {
    FlipRig rig(kGlint);
    DXGlobals.NoFlip = 1;
    EXPECT_EQ(rig.Flip(), 0u);
    EXPECT_EQ(rig.bus->Writes().size(), 3u); // the sync alone
    EXPECT_EQ(rig.driver->TargetLost, 1u);
    EXPECT_EQ(flipRecord.InProgress, 0u);
}

TEST(Flip, WhileAnotherIsUnderWayTouchesNothing) {
    FlipRig rig(kGlint);
    rig.Flip();
    rig.driver->TargetLost = 0;
    rig.bus->Clear();
    EXPECT_EQ(rig.Flip(), kStillDrawing);
    EXPECT_TRUE(rig.bus->Writes().empty());
    EXPECT_EQ(rig.driver->TargetLost, 0u);
}

TEST(FlipStatus, AFramesTimeIsWorkedOutOnceAfterAStart) {
    FlipRig rig(kGlint);
    rig.chip->RefreshRate = 72;
    EXPECT_EQ(rig.Status(), 0u);
    EXPECT_EQ(flipRecord.Duration, 13u); // 1000 / 72
    EXPECT_EQ(flipRecord.DurationStale, 0u);
    rig.chip->RefreshRate = 100;
    rig.Status();
    EXPECT_EQ(flipRecord.Duration, 13u);
    flipRecord.DurationStale = 1;
    rig.Status();
    EXPECT_EQ(flipRecord.Duration, 10u);
}

TEST(FlipStatus, OnPermediaTheRecordIsNotUsed) {
    FlipRig rig(kPermedia);
    rig.bus->registers[t::IntFlags] = 16;
    flipRecord.InProgress = 1;
    flipRecord.Surface = rig.FrontAddress();
    EXPECT_EQ(rig.Status(rig.FrontAddress()), 0u);
    EXPECT_EQ(flipRecord.InProgress, 1u);
    EXPECT_EQ(flipRecord.DurationStale, 1u);
    rig.bus->registers[t::IntFlags] = 0xFFEF; // all but the retrace flag
    EXPECT_EQ(rig.Status(1), kStillDrawing);
}

TEST(FlipStatus, WithNoVBlankWaitIsDoneAndTheRecordStays) {
    FlipRig rig(kGlint);
    rig.Flip();
    DXGlobals.NoVBlankWait = 1;
    EXPECT_EQ(rig.Status(), 0u);
    EXPECT_EQ(flipRecord.InProgress, 1u);
}

TEST(FlipStatus, WithNoVBlankWaitIsDoneOnPermediaWithoutARetraceToo) {
    FlipRig rig(kPermedia);
    EXPECT_EQ(rig.Status(), kStillDrawing);
    DXGlobals.NoVBlankWait = 1;
    EXPECT_EQ(rig.Status(), 0u);
}

TEST(FlipStatus, ABeamThatHasWrappedEndsTheFlipAtOnce) {
    FlipRig rig(kGlint);
    host::clock::Set(1000);
    rig.Flip(); // at line 100
    EXPECT_EQ(flipRecord.FlipLine, 100u);
    rig.Beam(300);
    host::clock::Set(1016); // 60 frames a second: 16 ms
    EXPECT_EQ(rig.Status(), kStillDrawing);
    rig.Beam(40);
    EXPECT_EQ(rig.Status(), 0u);
    EXPECT_EQ(flipRecord.InProgress, 0u);
}

TEST(FlipStatus, AWholeFramesTimeEndsTheFlipWhateverTheBeamSeemedToDo) {
    FlipRig rig(kGlint);
    host::clock::Set(0xFFFFFFF8); // the clock wraps meanwhile
    rig.Flip();
    rig.Beam(300);
    host::clock::Set(8); // 16 ms later
    EXPECT_EQ(rig.Status(), kStillDrawing);
    host::clock::Set(9);
    EXPECT_EQ(rig.Status(), 0u);
}

TEST(FlipStatus, ABlankAfterTheFlipCountsAndTheNextLookOutsideEndsIt) {
    FlipRig rig(kGlint);
    rig.Flip();
    rig.BeamInBlank();
    EXPECT_EQ(rig.Status(), 0u);
    EXPECT_EQ(flipRecord.InProgress, 1u);
    EXPECT_EQ(flipRecord.BlankPassed, 1u);
    rig.Beam(300);
    EXPECT_EQ(rig.Status(), 0u);
    EXPECT_EQ(flipRecord.InProgress, 0u);
}

TEST(FlipStatus, AFlipMadeInBlankNeedsThePictureToBeginFirst) {
    FlipRig rig(kGlint);
    rig.BeamInBlank();
    rig.Flip();
    EXPECT_EQ(flipRecord.FlipLine, 0u);
    EXPECT_EQ(flipRecord.OutsideBlank, 0u);
    EXPECT_EQ(rig.Status(), kStillDrawing);
    rig.Beam(0);
    EXPECT_EQ(rig.Status(), kStillDrawing);
    rig.BeamInBlank();
    EXPECT_EQ(rig.Status(), 0u);
}

TEST(FlipStatus, ConcernsTheSurfaceFlippedFromAlone) {
    FlipRig rig(kGlint);
    rig.Flip();
    EXPECT_EQ(rig.Status(rig.FrontAddress()), kStillDrawing);
    EXPECT_EQ(rig.Status(rig.FrontAddress() + 4), 0u);
}

TEST(Lock, OfAnotherSurfaceSucceedsDuringAFlip) {
    FlipRig rig(kGlint);
    rig.Flip();
    DDHAL_LOCKDATA data{};
    data.lpDD = &rig.directDraw;
    data.lpDDSurface = &rig.back.local;
    EXPECT_EQ(Lock32(&data), 1u);
    EXPECT_EQ(data.ddRVal, 0u);
    EXPECT_EQ(data.lpSurfData, reinterpret_cast<void*>(rig.back.Global().fpVidMem));
    data.lpDDSurface = &rig.front.local;
    EXPECT_EQ(Lock32(&data), 1u);
    EXPECT_EQ(data.ddRVal, kStillDrawing);
}

TEST(Lock, OfASurfaceWithoutARecordSendsNobodysWords) {
    FlipRig rig(kGlint);
    rig.back.Global().dwReserved1 = 0;
    DDHAL_LOCKDATA data{};
    data.lpDD = &rig.directDraw;
    data.lpDDSurface = &rig.back.local;
    EXPECT_EQ(Lock32(&data), 1u);
    EXPECT_EQ(data.ddRVal, 0u);
    EXPECT_EQ(rig.bus->Writes(), test::SyncWrites());
}

TEST(Lock, WithTheWaitFlagDoesNotFailOnRunningDma) {
    FlipRig rig(kGlint);
    uint32_t left = 3;
    rig.bus->readDMACount = [&] { return left == 0 ? 0 : left--; };
    rig.chip->DMAState = 0;
    DDHAL_LOCKDATA data{};
    data.lpDD = &rig.directDraw;
    data.lpDDSurface = &rig.back.local;
    EXPECT_EQ(Lock32(&data), 1u);
    EXPECT_EQ(data.ddRVal, kStillDrawing);
    data.dwFlags = DDLOCK_WAIT;
    EXPECT_EQ(Lock32(&data), 1u);
    EXPECT_EQ(data.ddRVal, 0u);
}

TEST(Lock, ARectangleMovesTheAddressByBitsPerPixel) {
    struct Row {
        uint32_t bits, offset;
    };
    for (const Row& row : {Row{4, 2}, {8, 5}, {16, 10}, {24, 15}, {32, 20}}) {
        FlipRig rig(kPermedia);
        rig.bus->registers[t::IntFlags] = 16;
        rig.back.local.dwFlags |= DDRAWISURF_HASPIXELFORMAT;
        rig.back.Global().ddpfSurface.dwRGBBitCount = row.bits;
        rig.back.Global().lPitch = 1000;
        DDHAL_LOCKDATA data{};
        data.lpDD = &rig.directDraw;
        data.lpDDSurface = &rig.back.local;
        data.bHasRect = 1;
        data.rArea = {5, 3, 9, 9};
        EXPECT_EQ(Lock32(&data), 1u);
        EXPECT_EQ(reinterpret_cast<uint32_t>(data.lpSurfData),
                  rig.back.Global().fpVidMem + 3000 + row.offset)
            << row.bits;
    }
}

TEST(Lock, WithoutAFormatOfItsOwnTheDisplaysBitsCount) {
    FlipRig rig({.deviceId = DevicePermedia, .bits = 32});
    rig.bus->registers[t::IntFlags] = 16;
    rig.back.Global().ddpfSurface.dwRGBBitCount = 8;
    DDHAL_LOCKDATA data{};
    data.lpDD = &rig.directDraw;
    data.lpDDSurface = &rig.back.local;
    data.bHasRect = 1;
    data.rArea = {5, 0, 9, 9};
    Lock32(&data);
    EXPECT_EQ(reinterpret_cast<uint32_t>(data.lpSurfData), rig.back.Global().fpVidMem + 20);
}

TEST(Lock, SendsWhatTheOwnerHasPendingAndGivesTheChipBack) {
    FlipRig rig(kGlint);
    D3DContext* ctx = rig.PlainContext(true);
    ctx->Stream.HardwareContext =
        CreateContext(rig.driver, rig.chip, 3, 1, reinterpret_cast<uint32_t>(ctx));
    rig.back.priv.OwnerContext = ContextSlots[4] = ctx;
    ReserveSpace(ctx, 8);
    EmitTag(ctx->Stream, tag::FogMode, 1);
    DDHAL_LOCKDATA data{};
    data.lpDD = &rig.directDraw;
    data.lpDDSurface = &rig.back.local;
    data.dwFlags = DDLOCK_WAIT;
    Lock32(&data);
    EXPECT_EQ(data.ddRVal, 0u);
    ASSERT_EQ(rig.bus->transfers.size(), 1u);
    EXPECT_EQ(rig.bus->transfers[0].words, (std::vector<uint32_t>{0xD2, 1}));
    EXPECT_EQ(rig.chip->CurrentContext, kContext2D);
    rig.bus->Clear();
    Lock32(&data); // nothing pending: no change of context
    EXPECT_TRUE(rig.bus->transfers.empty());
    EXPECT_EQ(rig.bus->Writes().size(), 3u);
}

TEST(Lock, OfATargetWhoseOwnerHasTheChipSendsWithoutAChangeOfContext) {
    FlipRig rig(kGlint);
    D3DContext* ctx = rig.PlainContext(true);
    ctx->Stream.HardwareContext = kContext2D;
    rig.back.priv.OwnerContext = ContextSlots[4] = ctx;
    ReserveSpace(ctx, 8);
    EmitTag(ctx->Stream, tag::FogMode, 1);
    DDHAL_LOCKDATA data{};
    data.lpDD = &rig.directDraw;
    data.lpDDSurface = &rig.back.local;
    Lock32(&data);
    EXPECT_EQ(data.ddRVal, 0u);
    EXPECT_EQ(rig.bus->transfers.size(), 1u);
    EXPECT_EQ(rig.bus->Writes().size(), 2u + 3u); // the transfer and one sync
}

TEST(Lock, SendsNothingForAnOwnerWithItsHeadAloneOrInFifoMode) {
    for (const bool dma : {true, false}) {
        FlipRig rig(kPermedia);
        rig.bus->registers[t::IntFlags] = 16;
        D3DContext* ctx = rig.PlainContext(dma);
        ctx->Stream.HardwareContext =
            CreateContext(rig.driver, rig.chip, 3, 1, reinterpret_cast<uint32_t>(ctx));
        rig.back.priv.OwnerContext = ContextSlots[4] = ctx;
        for (int pair = 0; pair < 6; ++pair) { // as many words as a head has
            ReserveSpace(ctx, 8);
            EmitTag(ctx->Stream, tag::FogMode, 1);
        }
        rig.bus->Clear();
        DDHAL_LOCKDATA data{};
        data.lpDD = &rig.directDraw;
        data.lpDDSurface = &rig.back.local;
        Lock32(&data);
        EXPECT_EQ(data.ddRVal, 0u);
        EXPECT_TRUE(rig.bus->transfers.empty());
        EXPECT_EQ(rig.bus->Writes().size(), 3u); // the sync alone
        EXPECT_EQ(rig.chip->CurrentContext, kContext2D);
    }
}

class BlankTest : public testing::Test {
  protected:
    FlipRig rig{kPermedia};
    DDHAL_WAITFORVERTICALBLANKDATA data{};
    DWORD Wait(uint32_t flags) {
        data = {};
        data.lpDD = &rig.directDraw;
        data.dwFlags = flags;
        data.ddRVal = 0xEEEEEEEE;
        data.bIsInVB = 7;
        return WaitForVerticalBlank32(&data);
    }
};

TEST_F(BlankTest, TheAnswerAlternatesFromOneWhenNothingMayWait) {
    DXGlobals.NoVBlankWait = 1;
    for (const uint32_t expected : {1u, 0u, 1u}) {
        EXPECT_EQ(Wait(12345), 1u);
        EXPECT_EQ(data.ddRVal, 0u);
        EXPECT_EQ(data.bIsInVB, expected);
    }
}

TEST_F(BlankTest, TheTestTellsWhereTheBeamIs) {
    EXPECT_EQ(Wait(DDWAITVB_I_TESTVB), 1u);
    EXPECT_EQ(data.bIsInVB, 0u);
    rig.BeamInBlank();
    EXPECT_EQ(Wait(DDWAITVB_I_TESTVB), 1u);
    EXPECT_EQ(data.bIsInVB, 1u);
    EXPECT_EQ(data.ddRVal, 0u);
}

TEST_F(BlankTest, ABeginIsWaitedForOutOfThePresentBlankIntoTheNext) {
    const std::vector<uint32_t> lines = {3, 44, 45, 500, 0, 1};
    size_t read = 0;
    rig.bus->readLineCounter = [&] { return lines.at(read++); };
    EXPECT_EQ(Wait(DDWAITVB_BLOCKBEGIN), 1u);
    EXPECT_EQ(data.ddRVal, 0u);
    EXPECT_EQ(data.bIsInVB, 7u);
    EXPECT_EQ(lines[read - 1], 0u); // the first line of the blank that begins
}

TEST_F(BlankTest, AnEndIsWaitedForThroughTheNextBlankOrTheRestOfThisOne) {
    const std::vector<uint32_t> outside = {500, 501, 0, 44, 45, 46};
    size_t read = 0;
    rig.bus->readLineCounter = [&] { return outside.at(read++); };
    EXPECT_EQ(Wait(DDWAITVB_BLOCKEND), 1u);
    EXPECT_EQ(data.ddRVal, 0u);
    EXPECT_EQ(outside[read - 1], 45u);

    // Begun in blank, no other blank is waited for: a second look at the first line may be had.
    const std::vector<uint32_t> inside = {20, 20, 44, 45, 46, 500, 0};
    read = 0;
    rig.bus->readLineCounter = [&] { return inside.at(read++); };
    EXPECT_EQ(Wait(DDWAITVB_BLOCKEND), 1u);
    EXPECT_EQ(inside[read - 1], 45u);
}

TEST_F(BlankTest, AnUnknownFlagIsNotHandled) {
    EXPECT_EQ(Wait(2), 0u);
    EXPECT_EQ(data.ddRVal, 0xEEEEEEEEu);
}

TEST_F(BlankTest, TheFamilysOwnRegisterTellsTheBlank) {
    rig.bus->registers[reg::LineCounter] = 50;
    rig.bus->registers[reg::BlankEndPermedia] = 60;
    Wait(DDWAITVB_I_TESTVB);
    EXPECT_EQ(data.bIsInVB, 1u);
    FlipRig glint(kGlint);
    glint.bus->registers[reg::LineCounter] = 50;
    glint.bus->registers[reg::BlankEndPermedia] = 60;
    data.lpDD = &glint.directDraw;
    WaitForVerticalBlank32(&data);
    EXPECT_EQ(data.bIsInVB, 0u);
}

TEST(ScanLine, CountsFromTheGlintRegisterOnBothFamilies) {
    FlipRig rig(kPermedia);
    rig.bus->registers[reg::BlankEndGlint] = 40;
    DDHAL_GETSCANLINEDATA data{};
    data.lpDD = &rig.directDraw;
    EXPECT_EQ(GetScanLine32(&data), 1u);
    EXPECT_EQ(data.dwScanLine, kBlankLines + 100 - 40);
    EXPECT_EQ(data.ddRVal, 0u);
    rig.BeamInBlank();
    GetScanLine32(&data);
    EXPECT_EQ(data.dwScanLine, 0u);
    EXPECT_EQ(data.ddRVal, 0x88760219u);
}

TEST(Status, OfABlitLooksAtTheFlipOnlyWhenAskedWhetherItCanBlit) {
    FlipRig rig(kGlint);
    rig.Flip();
    DDHAL_GETBLTSTATUSDATA data{};
    data.lpDD = &rig.directDraw;
    data.lpDDSurface = &rig.front.local;
    data.dwFlags = 1;
    GetBltStatus32(&data);
    EXPECT_EQ(data.ddRVal, kStillDrawing);
    data.dwFlags = 2;
    GetBltStatus32(&data);
    EXPECT_EQ(data.ddRVal, 0u);
    rig.bus->readDMACount = [] { return 1u; };
    GetBltStatus32(&data);
    EXPECT_EQ(data.ddRVal, kStillDrawing);
}

TEST(Status, OfAFlipLooksAtDmaOnlyWhenAskedWhetherItCanFlip) {
    FlipRig rig(kGlint);
    rig.bus->readDMACount = [] { return 1u; };
    DDHAL_GETFLIPSTATUSDATA data{};
    data.lpDD = &rig.directDraw;
    data.dwFlags = 1;
    GetFlipStatus32(&data);
    EXPECT_EQ(data.ddRVal, kStillDrawing);
    data.dwFlags = 2;
    GetFlipStatus32(&data);
    EXPECT_EQ(data.ddRVal, 0u);
    rig.bus->readDMACount = nullptr;
    rig.Flip();
    GetFlipStatus32(&data);
    EXPECT_EQ(data.ddRVal, kStillDrawing);
}

TEST(FlipStatus, OfAFlipWithinTheBlankEndsAFrameLaterThoughTheBeamIsInOneAgain) {
    FlipRig rig(kGlint);
    rig.BeamInBlank();
    host::clock::Set(1000);
    rig.Flip();
    EXPECT_EQ(flipRecord.OutsideBlank, 0u);
    EXPECT_EQ(rig.Status(), kStillDrawing);
    host::clock::Set(1017); // 60 frames a second: 16 ms
    EXPECT_EQ(rig.Status(), 0u);
    EXPECT_EQ(flipRecord.InProgress, 0u);
}

TEST(FlipStatus, ABlankThatPassedCountsForItsOwnFlipAlone) {
    FlipRig rig(kGlint);
    rig.Flip();
    rig.BeamInBlank();
    rig.Flip(); // allowed: the blank ends the first one
    EXPECT_EQ(flipRecord.BlankPassed, 0u);
    rig.Beam(200);
    EXPECT_EQ(rig.Status(), kStillDrawing);
}

TEST(FlipStatus, AskingForAFlipOnAnIdleChipIsAllowed) {
    FlipRig rig(kGlint);
    DDHAL_GETFLIPSTATUSDATA data{};
    data.lpDD = &rig.directDraw;
    data.dwFlags = DDGFS_CANFLIP;
    GetFlipStatus32(&data);
    EXPECT_EQ(data.ddRVal, 0u);
    rig.Flip();
    GetFlipStatus32(&data);
    EXPECT_EQ(data.ddRVal, kStillDrawing);
}

} // namespace
