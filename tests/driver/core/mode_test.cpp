#include "driver/blit/pmdirecx.h"
#include "driver/core/glintutl.h"
#include "driver/core/korv32.h"
#include "tests/support/rig.h"
#include "tests/support/tag_names.h"
#include "tests/support/words.h"

#include <gtest/gtest.h>

namespace {

using test::BusEvent;
using test::Rig;
using test::RigOptions;
using test::Words;
using Pairs = std::vector<std::pair<uint32_t, uint32_t>>;

Words Flat(const Pairs& pairs) {
    Words words;
    for (const auto& [tagNumber, data] : pairs) {
        words.push_back(tagNumber);
        words.push_back(data);
    }
    return words;
}

// Products of 640 = 512 + 128 pixels, codes 5 and 3: whole units of the chip's largest product come
// first, which 512 is on the first Permedia alone; single bits follow from the low end up.
uint32_t Products640(uint32_t device) {
    return device == 4 || device == 0x3D04 ? 5 + 3 * 8 : 3 + 5 * 8;
}

void BringMode(Rig& rig) {
    rig.Ready();
    rig.driver->RenderSolid = rig.driver->RenderCopy = rig.driver->RenderClear =
        rig.driver->RenderSpare = 0x40;
    rig.bus->Clear();
    ChangeDDHAL32Mode(rig.driver);
}

Pairs CommonPairs(uint32_t products, uint32_t writeMode = 1) {
    const uint32_t size = 480u << 16 | 640;
    return {{t::LBReadMode, products},
            {t::FBReadMode, products},
            {t::FBWriteMode, writeMode},
            {t::FBPixelOffset, 0},
            {t::FBHardwareWriteMask, 0xFFFFFFFF},
            {t::FBSoftwareWriteMask, 0xFFFFFFFF},
            {t::ScissorMinXY, 0},
            {t::ScissorMaxXY, size},
            {t::ScreenSize, size},
            {t::WindowOrigin, 0},
            {t::dXDom, 0},
            {t::dXSub, 0}};
}

Pairs operator+(Pairs left, const Pairs& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

TEST(ModeChange, SendsThePermediaWordsInOrder) {
    for (const uint32_t device : {4u, 0x3D04u, 7u, 0x3D07u}) {
        Rig rig({.deviceId = device});
        BringMode(rig);
        const uint32_t products = Products640(device);
        EXPECT_EQ(rig.Sent(),
                  Flat(CommonPairs(products) + Pairs{{t::TextureReadMode, 0x17601},
                                                     {t::TextureMapFormat, (1 << 19) + products},
                                                     {t::TextureDataFormat, 0x21},
                                                     {t::LBWriteFormat, 0},
                                                     {t::Window, 0x40000},
                                                     {t::FBReadPixel, 1}}))
            << device;
        EXPECT_EQ(rig.driver->LocalBufferShift, 1u);
        EXPECT_EQ(rig.driver->RenderSolid, 0x48u);
        EXPECT_EQ(rig.driver->RenderClear, 0x48u);
        EXPECT_EQ(rig.driver->RenderCopy, 0x40u);
    }
}

TEST(ModeChange, SendsTheTexelFormatOfAnEightBitPermediaMode) {
    Rig rig({.bits = 8});
    BringMode(rig);
    const Words sent = rig.Sent();
    EXPECT_EQ(sent[24 + 4], t::TextureDataFormat);
    EXPECT_EQ(sent[24 + 5], 0x2Eu);
}

TEST(ModeChange, SendsTheGlintWordsWithTheAlphaWordFirst) {
    for (const uint32_t device : {2u, 6u}) {
        for (const auto& [bits, alpha, select] :
             {std::tuple{8u, 0x32E02u, 2u}, {16u, 0x32102u, 1u}, {32u, 0x32002u, 0u}}) {
            Rig rig({.deviceId = device, .bits = bits});
            BringMode(rig);
            EXPECT_EQ(rig.Sent(),
                      Flat(Pairs{{t::AlphaBlendMode, alpha}} + CommonPairs(Products640(device)) +
                           Pairs{{t::TextureFilterMode, 0},
                                 {t::TextureColorMode, 0},
                                 {t::GlintTextureReadMode, 0},
                                 {t::TextureAddressMode, 0},
                                 {t::LBWriteFormat, 2},
                                 {t::Window, 0x18},
                                 {t::DepthMode, 0x79},
                                 {t::PixelSize, select}}))
                << device << " at " << bits;
            EXPECT_EQ(rig.driver->LocalBufferShift, 2u);
            EXPECT_EQ(rig.driver->RenderSolid, 0x48u);
            EXPECT_EQ(rig.driver->RenderCopy, 0x40048u);
            EXPECT_EQ(rig.driver->RenderClear, 0x40u);
        }
    }
}

TEST(ModeChange, OnSXTheDepthIsSelectedPastTheStreamAfterASync) {
    for (const auto& [bits, select] : {std::pair{8u, 4u}, {16u, 2u}, {32u, 0u}}) {
        Rig rig({.deviceId = DeviceSX, .bits = bits});
        rig.Ready();
        rig.bus->registers[t::FBModeSel] = 0x86; // depth bits are replaced, the others stay
        ChangeDDHAL32Mode(rig.driver);
        const std::vector<BusEvent> writes = rig.bus->Writes();
        ASSERT_EQ(writes.size(), 4u);
        EXPECT_EQ(writes[1], (BusEvent{'w', t::Mapped(t::Sync), 0}));
        EXPECT_EQ(writes[3], (BusEvent{'w', t::FBModeSel, 0x80 | select})) << bits;
        const Words sent = rig.Sent();
        EXPECT_EQ(sent.size(), 2 * (12u + 7u));
    }
}

TEST(ModeChange, OnSXTheFastFillSizeGoesIntoTheRenderWord) {
    Rig rig({.deviceId = DeviceSX, .bits = 16});
    BringMode(rig);
    EXPECT_EQ(rig.driver->RenderSolid, 0x48u); // n = 8
    EXPECT_EQ(rig.driver->FBWriteMode, 1u);    // n >> 3 has no bit above 0

    // 32 bits: n = 2 << (bit 0 + a + bits 8-9) = 2 << (1 + 2 + 1) = 32.
    Rig wide({.deviceId = DeviceSX, .bits = 32});
    wide.Ready();
    wide.driver->RenderSolid = 0x40;
    wide.bus->registers[t::FBModeSel] = 2 << 10 | 1 << 8 | 1;
    ChangeDDHAL32Mode(wide.driver);
    EXPECT_EQ(wide.driver->RenderSolid, 0x40u | 32 | 8);
    EXPECT_EQ(wide.driver->FBWriteMode, 1u | 4);
    EXPECT_EQ(wide.Sent()[5], 5u); // what tag 0x157 carries
}

TEST(ModeChange, OnAnyOtherFamilyTheCommonWordsAreAll) {
    Rig rig({.deviceId = DevicePermedia});
    rig.Ready();
    rig.chip->Family = 2;
    rig.driver->RenderSolid = rig.driver->RenderClear = 0x40;
    rig.bus->Clear();
    ChangeDDHAL32Mode(rig.driver);
    EXPECT_EQ(rig.Sent(), Flat(CommonPairs(3 + 5 * 8))); // the low end first
    EXPECT_EQ(rig.driver->RenderSolid, 0x40u);
    EXPECT_EQ(rig.driver->RenderClear, 0x40u);
    EXPECT_EQ(rig.driver->FBDepth, 1u);
}

TEST(ModeChange, OnSXAtThirtyTwoBitsTheNarrowBlockCountsHalf) {
    Rig rig({.deviceId = DeviceSX, .bits = 32});
    rig.Ready();
    rig.driver->RenderSolid = 0x40;
    rig.bus->registers[t::FBModeSel] = 1 << 10 | 1 << 8 | 1; // n = 2 << (1 + 1 + 1) = 16
    ChangeDDHAL32Mode(rig.driver);
    EXPECT_EQ(rig.driver->RenderSolid, 0x40u | 16 | 8);
    EXPECT_EQ(rig.driver->FBWriteMode, 1u | 2);
}

TEST(ModeChange, OnTXAt24BitsThereIsNoAlphaWord) {
    Rig rig({.deviceId = DeviceTX, .bits = 24});
    BringMode(rig);
    EXPECT_EQ(rig.Sent()[0], t::LBReadMode);
    EXPECT_EQ(rig.driver->RenderSolid, 0x48u);
}

TEST(ModeChange, OnSXAtThirtyTwoBitsNoWidthKeepsTheRenderWord) {
    for (const uint32_t a : {0u, 3u}) {
        Rig rig({.deviceId = DeviceSX, .bits = 32});
        rig.Ready();
        rig.driver->RenderSolid = 0x40;
        rig.bus->registers[t::FBModeSel] = a << 10 | 0x301;
        ChangeDDHAL32Mode(rig.driver);
        EXPECT_EQ(rig.driver->RenderSolid, 0x40u);
        EXPECT_EQ(rig.driver->FBWriteMode, 1u);
    }
}

TEST(ModeChange, RevisionOneOfSXHasNoFastFill) {
    Rig rig({.deviceId = DeviceSX, .revision = 0x10000});
    BringMode(rig);
    EXPECT_EQ(rig.driver->RenderSolid, 0x40u);
    EXPECT_EQ(rig.driver->FBWriteMode, 1u);
}

TEST(ModeChange, TwiceCountsTwiceAndLeavesTheRenderWordsStable) {
    Rig rig({.deviceId = DeviceTX});
    BringMode(rig);
    const uint32_t solid = rig.driver->RenderSolid;
    const uint32_t copy = rig.driver->RenderCopy;
    rig.driver->ModeChanged = 1;
    rig.driver->FlipLimitOn = 1;
    ChangeDDHAL32Mode(rig.driver);
    EXPECT_EQ(rig.driver->ModeChangeCount, 2u);
    EXPECT_EQ(rig.driver->RenderSolid, solid);
    EXPECT_EQ(rig.driver->RenderCopy, copy);
    EXPECT_EQ(rig.driver->ModeChanged, 0u);
    EXPECT_EQ(rig.driver->FlipLimitOn, 0u);
    EXPECT_EQ(rig.chip->Flags & CursorExclude, 0u);
}

TEST(ModeChange, RepairsTheHeapsFlatRingAndSetsTheModeKey) {
    Rig rig;
    rig.Ready();
    NodeGroup& first = rig.driver->Heap.FirstGroup;
    first.Next = first.Prev = first.Linear = nullptr;
    ChangeDDHAL32Mode(rig.driver);
    EXPECT_EQ(first.Next, &first);
    EXPECT_EQ(first.Prev, &first);
    EXPECT_EQ(first.Linear, &first);
    EXPECT_EQ(rig.driver->ModeKey, ((480u << 15 | 640) << 2) | 1);
    EXPECT_EQ(CHIPRender.ModeKey, rig.driver->ModeKey);
}

TEST(ModeChange, TakesTheChipForContextFiveFirst) {
    Rig rig;
    rig.Ready();
    rig.chip->CurrentContext = 4;
    ChangeDDHAL32Mode(rig.driver);
    EXPECT_EQ(rig.chip->CurrentContext, kContext2D);
}

TEST(ModeChange, WaitsForWhatEachGroupOfPairsNeeds) {
    // Groups of pairs with the wait in front of each. Every read in a row grants one entry more.
    struct Group {
        size_t reads, words;
        bool operator==(const Group&) const = default;
    };
    struct Row {
        uint32_t device;
        std::vector<Group> groups;
    };
    for (const Row& row :
         {Row{2, {{2, 2}, {12, 24}, {16, 14}, {1, 2}}}, Row{4, {{12, 24}, {16, 10}, {1, 2}}}}) {
        Rig rig({.deviceId = row.device});
        rig.Ready();
        uint32_t granted = 0;
        rig.bus->readFIFOSpace = [&] {
            const auto& events = rig.bus->events;
            const bool again = !events.empty() && events.back().kind == 'r' &&
                               events.back().offset == t::InFIFOSpace;
            return granted = again ? granted + 1 : 1;
        };
        ChangeDDHAL32Mode(rig.driver);
        std::vector<Group> seen;
        bool reading = false;
        for (const BusEvent& event : rig.bus->events) {
            if (event.kind == 'r' && event.offset == t::InFIFOSpace) {
                if (!reading) {
                    seen.push_back({0, 0});
                }
                ++seen.back().reads;
                reading = true;
            } else if (event.kind == 'f') {
                ASSERT_FALSE(seen.empty());
                ++seen.back().words;
                reading = false;
            }
        }
        EXPECT_EQ(seen, row.groups) << row.device;
    }
}

TEST(ModeChange, KeepsTheCursorAwayWhileWordsGoOut) {
    void (*const routines[])(DriverData*) = {ChangeDDHAL32Mode, DisableAllUnits};
    for (const auto routine : routines) {
        Rig rig({.deviceId = DeviceMX});
        rig.Ready();
        uint32_t asked = 0, excluded = 0;
        rig.bus->readFIFOSpace = [&] {
            ++asked;
            excluded += (rig.chip->Flags & CursorExclude) != 0;
            return 16u;
        };
        routine(rig.driver);
        EXPECT_GE(asked, 3u);
        EXPECT_EQ(excluded, asked);
        EXPECT_EQ(rig.chip->Flags & CursorExclude, 0u);
    }
}

TEST(DepthTable, A24BitDepthOnSXSelectsFromItsOwnRow) {
    Rig rig({.deviceId = DeviceSX, .bits = 24});
    rig.Ready();
    rig.driver->RenderSolid = rig.driver->RenderCopy = rig.driver->RenderClear = 0x40;
    rig.bus->registers[t::FBModeSel] = 0x86;
    ChangeDDHAL32Mode(rig.driver);
    EXPECT_EQ(rig.driver->DepthTable[2].select, 0x80u);
    EXPECT_EQ(rig.bus->Writes().back(), (BusEvent{'w', t::FBModeSel, 0}));
}

TEST(DepthTable, HoldsTheStrideAsEachDepthSeesIt) {
    // 672 pixels: 512 + 128 + 32, codes 1, 3, 5 from the low bits up; with the largest product
    // 2048.
    const uint32_t plain = 1 + 3 * 8 + 5 * 64;
    Rig rig({.deviceId = DeviceTX, .width = 672, .bits = 8});
    rig.Ready();
    rig.bus->registers[t::FBModeSel] = 0x100;
    ChangeDDHAL32Mode(rig.driver);
    EXPECT_EQ(rig.driver->DepthTable[0].word, plain);
    EXPECT_EQ(rig.driver->DepthTable[1].word, 0 + 2 * 8 + 4 * 64u);
    EXPECT_EQ(rig.driver->DepthTable[2].word, 0 + 1 * 8 + 3 * 64u);
    EXPECT_EQ(rig.driver->DepthTable[0].select, 0x104u);
    EXPECT_EQ(rig.driver->DepthTable[1].select, 0x102u);
    EXPECT_EQ(rig.driver->DepthTable[2].select, 0x100u);
    EXPECT_EQ(rig.driver->PartialProducts, plain);
}

TEST(DepthTable, KeepsRowsBelowTheModesDepth) {
    Rig rig({.deviceId = DeviceTX, .width = 672, .bits = 8});
    rig.Ready();
    ChangeDDHAL32Mode(rig.driver);
    const uint32_t eight = rig.driver->DepthTable[0].word;
    const uint32_t sixteen = rig.driver->DepthTable[1].word;
    rig.driver->PixelSize = 2;
    rig.driver->ScreenWidth = 640;
    ChangeDDHAL32Mode(rig.driver);
    EXPECT_EQ(rig.driver->DepthTable[0].word, eight);
    EXPECT_EQ(rig.driver->DepthTable[1].word, sixteen);
    EXPECT_EQ(rig.driver->DepthTable[2].word, 3 + 5 * 8u);
    EXPECT_EQ(rig.driver->FBDepth, 2u);
}

TEST(DepthTable, A24BitModeHasItsOwnSlotBehindTheRows) {
    Rig rig({.deviceId = DevicePermedia2, .bits = 24});
    rig.Ready();
    ChangeDDHAL32Mode(rig.driver);
    EXPECT_EQ(rig.driver->DepthRow24.word, 3 + 5 * 8u);
    EXPECT_EQ(rig.driver->DepthTable[2].word, 0u);
    EXPECT_EQ(rig.driver->PartialProducts, 3 + 5 * 8u);
    EXPECT_EQ(rig.Sent().back(), 4u);
}

TEST(DisableAllUnits, QuietsEachBlockInOrder) {
    const Words first = {
        t::RasterizerMode, t::AreaStippleMode, t::LineStippleMode, t::ScissorMode,
        t::ColorDDAMode,   t::FogMode,         t::AntialiasMode,   t::AlphaTestMode,
        t::LBReadMode,     t::Window,          t::StencilMode,     t::DepthMode,
        t::LBWriteMode,    t::FBReadMode,      t::PatternRamMode,  t::DitherMode,
        t::LogicalOpMode,  t::FBWriteMode,     t::StatisticMode,   t::AlphaBlendMode,
        t::FilterMode,     t::PixelSize,       t::FBSourceData,    t::LBWriteFormat};
    struct Row {
        uint32_t device;
        Words tags;
    };
    const Words permedia = {t::TextureReadMode, t::TextureMapFormat, t::TextureDataFormat,
                            t::TexelLUTMode,    t::TextureColorMode, t::YUVMode,
                            t::AStart};
    Words permedia2 = permedia;
    permedia2.insert(permedia2.end(),
                     {t::TextureBaseAddress, t::TexelLUTIndex, t::TexelLUTTransfer});
    const Words glint = {t::GlintTextureReadMode, t::TextureAddressMode, t::TextureColorMode};
    Words mx = glint;
    mx.insert(mx.end(), {t::ChromaTestMode, t::TextureFilterMode, t::TexelLUTTransfer,
                         t::TexelLUTIndex, t::TexelLUTAddress});
    for (const Row& row : {Row{4, permedia},
                           {0x3D04, permedia},
                           {7, permedia2},
                           {0x3D07, permedia2},
                           {1, glint},
                           {2, glint},
                           {6, mx}}) {
        Rig rig({.deviceId = row.device});
        rig.Ready();
        DisableAllUnits(rig.driver);
        Words expected;
        for (const Words& part : {first, row.tags}) {
            for (const uint32_t tagNumber : part) {
                expected.push_back(tagNumber);
                expected.push_back(tagNumber == t::AStart ? 0x7F8000 : 0);
            }
        }
        EXPECT_EQ(rig.Sent(), expected) << row.device;
    }
}

TEST(DisableAllUnits, WaitsFor16InFrontOfEachBlock) {
    Rig rig;
    rig.Ready();
    rig.bus->fifoSpace = 16;
    DisableAllUnits(rig.driver);
    std::vector<size_t> wordsBeforeRead;
    size_t words = 0;
    for (const BusEvent& event : rig.bus->events) {
        words += event.kind == 'f';
        if (event.kind == 'r') {
            EXPECT_EQ(event.offset, t::InFIFOSpace);
            wordsBeforeRead.push_back(words);
        }
    }
    EXPECT_EQ(wordsBeforeRead, (std::vector<size_t>{0, 30, 48}));
}

} // namespace
