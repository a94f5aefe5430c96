// The words with which a new context starts the chip, for every board, and the fields it starts
// with.
#include "driver/d3d/dcontext_setup.h"
#include "driver/d3d/dcontext_target.h"
#include "driver/d3d/execute.h"
#include "driver/d3d/statepm.h"
#include "driver/d3d/statesx.h"
#include "driver/raster/del_tex.h"
#include "driver/raster/gl_line.h"
#include "driver/raster/p2_tex.h"
#include "tests/driver/d3d/context_support.h"
#include "tests/support/tag_names.h"

#include <algorithm>
#include <string>
#include <tuple>

using namespace test;

namespace {

using test::kOnes;

struct Board {
    const char* name;
    uint32_t deviceId;
    bool delta; // a Delta in front
    bool glint;
    bool useDelta;
    uint32_t displayProducts; // of 640 pixels: 512 + 128
};

// On the first Permedia the greatest product is 512 and comes first; elsewhere the small one does.
const Board kBoards[] = {
    {"SX", 1, false, true, false, 0x2B},
    {"SXDelta", 1, true, true, true, 0x2B},
    {"TX", 2, false, true, false, 0x2B},
    {"TXDelta", 2, true, true, true, 0x2B},
    {"MX", 6, false, true, false, 0x2B},
    {"MXDelta", 6, true, true, true, 0x2B},
    {"Permedia", 4, false, false, false, 0x1D},
    {"PermediaDelta", 4, true, false, true, 0x1D},
    {"PermediaSecondId", 0x3D04, false, false, false, 0x1D},
    {"PermediaSecondIdDelta", 0x3D04, true, false, true, 0x1D},
    {"Permedia2", 7, false, false, true, 0x2B},
    {"Permedia2SecondId", 0x3D07, false, false, true, 0x2B},
};

// What a depth means to the words: bits per pixel, size code, window base of the target.
struct Depth {
    uint32_t bits;
    uint32_t pixelSize;
    uint32_t windowBase;
    uint32_t permediaDither, permediaBlend, permediaPixel;
    uint32_t glintDither, glintBlend, glintPixel;
};
const Depth kDepths[] = {
    {8, 0, 0x60000, 0x42D, 0x62B02, 0, 0x439, 0x32E02, 2},
    {16, 1, 0x30000, 0x405, 0x62102, 1, 0x405, 0x32102, 1},
    {32, 2, 0x18000, 0x401, 0x62002, 2, 0x401, 0x32002, 0},
    {24, 4, 0x20000, 0x401, 0x62002, 4, 0x401, 0x32002, 0},
};

bool IsFirst(const Board& board) {
    return board.deviceId == 4 || board.deviceId == 0x3D04;
}
bool IsSecond(const Board& board) {
    return board.deviceId == 7 || board.deviceId == 0x3D07;
}

constexpr uint32_t kTargetProducts = 0xD1; // codes 1, 2, 3
constexpr uint32_t kZProducts = 0x2C;      // codes 4, 5, 0

void Append(Steps& to, const Steps& more) {
    to.insert(to.end(), more.begin(), more.end());
}

Steps DisableSteps(const Board& board) {
    Steps s = {Wait(16),
               {t::RasterizerMode, 0},
               {t::AreaStippleMode, 0},
               {t::LineStippleMode, 0},
               {t::ScissorMode, 0},
               {t::ColorDDAMode, 0},
               {t::FogMode, 0},
               {t::AntialiasMode, 0},
               {t::AlphaTestMode, 0},
               {t::LBReadMode, 0},
               {t::Window, 0},
               {t::StencilMode, 0},
               {t::DepthMode, 0},
               {t::LBWriteMode, 0},
               {t::FBReadMode, 0},
               {t::PatternRamMode, 0},
               Wait(16),
               {t::DitherMode, 0},
               {t::AlphaBlendMode, 0},
               {t::LogicalOpMode, 0},
               {t::FBWriteMode, 0},
               {t::StatisticMode, 0},
               {t::FilterMode, 0},
               {t::PixelSize, 0},
               {t::FBSourceData, 0},
               {t::LBWriteFormat, 0},
               Wait(16)};
    if (board.glint) {
        Append(s, {{t::RouterMode, 0},
                   {t::GlintTextureReadMode, 0},
                   {t::TextureAddressMode, 0},
                   {t::TextureColorMode, 0}});
        if (board.deviceId == 6) {
            Append(s, {{t::ChromaTestMode, 0},
                       {t::TextureFilterMode, 0},
                       {t::TexelLUTTransfer, 0},
                       {t::TexelLUTIndex, 0},
                       {t::TexelLUTAddress, 0}});
        }
    } else {
        Append(s, {{t::TextureReadMode, 0},
                   {t::TextureMapFormat, 0},
                   {t::TextureDataFormat, 0},
                   {t::TexelLUTMode, 0},
                   {t::TextureColorMode, 0},
                   {t::AStart, 0x7F8000}});
        if (IsSecond(board)) {
            Append(s,
                   {{t::TextureBaseAddress, 0}, {t::TexelLUTIndex, 0}, {t::TexelLUTTransfer, 0}});
        }
    }
    return s;
}

Steps CommonSteps(const Board& board) {
    return {Wait(16),
            {t::ScissorMode, 2},
            {t::ColorDDAMode, 3},
            {t::FBSourceOffset, 0},
            {t::FBSoftwareWriteMask, kOnes},
            {t::FBHardwareWriteMask, kOnes},
            {t::FilterMode, 0},
            {t::StatisticMode, 0},
            {t::LBSourceOffset, 0},
            {t::WindowOrigin, 0},
            {t::FBWindowBase, 0},
            {t::RasterizerMode, board.useDelta ? 0u : 0x20u},
            {t::dY, 0xFFFF0000},
            {t::FogColor, kOnes}};
}

Steps PermediaSteps(const Board& board, const Depth& depth, bool z) {
    Steps s = {Wait(10),
               {t::FBReadMode, kTargetProducts},
               {t::LBReadMode, z ? kZProducts : board.displayProducts},
               {t::ScreenSize, 0x01E00280},
               {t::FBReadPixel, depth.permediaPixel},
               {t::AlphaBlendMode, depth.permediaBlend},
               {t::DitherMode, depth.permediaDither},
               Wait(16),
               {t::FBWriteMode, 1},
               {t::LBReadFormat, 0},
               {t::LBWriteFormat, 0},
               {t::LBWriteMode, 0},
               {t::DepthMode, 0x32},
               {t::StencilMode, 0},
               {t::FogMode, 1},
               {t::Window, 0x40000},
               {t::ChromaUpperBound, 0},
               {t::ChromaLowerBound, 0},
               {t::ChromaTestMode, kOnes},
               {t::Unit1E4, 0x11000000},
               Wait(3),
               {t::FBBlockColor, 0},
               {t::TextureAddressMode, IsFirst(board) && board.useDelta ? 9u : 1u},
               Wait(16),
               {t::TextureColorMode, 1},
               {t::TextureMapFormat, 0x80000 | board.displayProducts},
               {t::TextureDataFormat, 0x31},
               {t::TextureBaseAddress, 0},
               {t::TextureReadMode, 0x1100B},
               {t::YUVMode, 0},
               {t::TexelLUTMode, 0},
               {t::AreaStippleMode, 1}};
    if (board.useDelta) {
        s.push_back({t::DeltaMode, IsSecond(board) ? 0x44C76u : 0x4C76u});
    }
    return s;
}

Steps GlintSteps(const Board& board, const Depth& depth, bool z) {
    Steps s = {Wait(10),
               {t::LBReadMode, z ? kZProducts : board.displayProducts},
               {t::ScreenSize, 0x01E00280},
               {t::PixelSize, depth.glintPixel},
               {t::DitherMode, depth.glintDither},
               {t::AlphaBlendMode, depth.glintBlend},
               Wait(16),
               {t::LBReadFormat, 2},
               {t::LBWriteFormat, 2},
               {t::FBReadMode, board.displayProducts},
               {t::FBWriteMode, 1},
               {t::LBWriteMode, 1},
               {t::DepthMode, 0x72},
               {t::StencilMode, 0},
               Wait(16),
               {t::FogMode, 1},
               {t::Window, 0},
               {t::TextureChromaUpper, 0},
               {t::TextureChromaLower, 0},
               {t::Unit095, 0},
               {t::AlphaTestMode, 8},
               {t::ChromaTestMode, 0xA},
               {t::AreaStippleMode, 0x25}};
    if (board.useDelta) {
        s.push_back({t::DeltaMode, board.deviceId == 1 ? 0xC5Cu : 0x8C7Du});
    }
    if (board.deviceId == 1) {
        return s;
    }
    Append(s, {{t::TextureAddressMode, 0x2002B},
               {t::GlintTextureReadMode, 0x09540911},
               {t::TextureFormat, 0x4001E},
               {t::TextureColorMode, 1},
               {t::TextureCacheControl, 3},
               Wait(10),
               {t::Unit0CD, 0},
               {t::TextureBaseAddr0, 0},
               {0x0A1, 0},
               {t::RouterMode, 1}});
    if (board.deviceId == 6) {
        Append(s, {{t::ChromaTestMode, 9}, {t::TextureFilterMode, 5}});
    }
    return s;
}

// Everything that a new context sends, under FIFO with the change of context in front.
Steps StartSteps(const Board& board, const Depth& depth, bool z, bool dma) {
    Steps s;
    if (!dma && IsFirst(board)) {
        s = {Wait(5),
             {t::FogMode, 0},
             {t::FogColor, kOnes},
             {t::TextureColorMode, 0},
             {t::TextureAddressMode, 0},
             {t::AlphaBlendMode, 0}};
    }
    Append(s, DisableSteps(board));
    Append(s, {Wait(4), {t::FBPixelOffset, depth.windowBase}});
    if (z) {
        s.push_back({t::LBWindowBase, board.glint ? 0x1000u : 0x40000u});
    }
    Append(s, CommonSteps(board));
    Append(s, board.glint ? GlintSteps(board, depth, z) : PermediaSteps(board, depth, z));
    return dma ? WithoutWaits(s) : s;
}

RigOptions OptionsOf(const Board& board, uint32_t bits) {
    RigOptions options;
    options.deviceId = board.deviceId;
    options.bits = bits;
    options.chipFlags = board.delta ? 0x100 : 0;
    return options;
}

// The private record that the driver sees, wherever the rig keeps it.
RigSurface& Target(ContextRig& rig, uint32_t pixelSize = PixelSize16) {
    RigSurface& surface = rig.MakeTarget(pixelSize);
    SetProducts(surface, 1, 2, 3);
    return surface;
}
RigSurface& ZSurface(ContextRig& rig) {
    RigSurface& surface = rig.MakeZ();
    SetProducts(surface, 4, 5, 0);
    return surface;
}

class StartingWords
    : public testing::TestWithParam<std::tuple<Board, Depth, bool /*z*/, bool /*dma*/>> {};

std::string NameOf(const testing::TestParamInfo<StartingWords::ParamType>& info) {
    const auto& [board, depth, z, dma] = info.param;
    return std::string(board.name) + "_" + std::to_string(depth.bits) + (z ? "_Z" : "_NoZ") +
           (dma ? "_DMA" : "_FIFO");
}

TEST_P(StartingWords, AreExactlyTheChipsOwnInOrderWithTheirWaits) {
    const auto& [board, depth, z, dma] = GetParam();
    ContextRig rig(OptionsOf(board, depth.bits));
    if (!dma) {
        rig.SetRegistry("Direct3DHAL.NoDMA", "1");
    }
    rig.MeterFIFO();
    RigSurface& target = Target(rig, depth.pixelSize);
    RigSurface* zbuffer = z ? &ZSurface(rig) : nullptr;
    rig.bus->Clear();

    D3DContext* ctx = rig.Create(target, zbuffer);
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->UseDelta, board.useDelta ? 1u : 0u);
    const Steps expected = StartSteps(board, depth, z, dma);
    if (dma) {
        EXPECT_EQ(PairsOf(Rig::Pending(ctx)), expected);
        EXPECT_TRUE(rig.bus->Writes().empty());
        EXPECT_TRUE(rig.bus->FifoWords().empty());
        EXPECT_TRUE(rig.bus->transfers.empty());
        EXPECT_EQ(rig.bus->ReadsOf(reg::InFIFOSpace), 0u);
    } else {
        EXPECT_EQ(rig.MeteredSteps(), expected);
        EXPECT_EQ(rig.chip->CurrentContext, ctx->Stream.HardwareContext);
    }
    EXPECT_EQ(ctx->WindowBaseColour, depth.windowBase);
}

INSTANTIATE_TEST_SUITE_P(AllBoards, StartingWords,
                         testing::Combine(testing::ValuesIn(kBoards), testing::ValuesIn(kDepths),
                                          testing::Bool(), testing::Bool()),
                         NameOf);

class StartingFields : public testing::TestWithParam<Board> {};

std::string BoardName(const testing::TestParamInfo<Board>& info) {
    return info.param.name;
}

TEST_P(StartingFields, AreSetForTheFirstPrimitive) {
    const Board& board = GetParam();
    ContextRig rig(OptionsOf(board, 16));
    D3DContext* ctx = rig.Create(Target(rig));
    ASSERT_NE(ctx, nullptr);
    const bool textured = board.glint && board.deviceId != 1;
    EXPECT_EQ(ctx->RenderFlags, textured ? 0x21u : 0x01u);
    EXPECT_EQ(ctx->FogColor, 0u);
    EXPECT_EQ(ctx->SpecularEnabled, 1u);
    EXPECT_EQ(ctx->StippleEnabled, 0u);
    EXPECT_EQ(ctx->DitherEnabled, 0u);
    EXPECT_EQ(ctx->ColorKeyActive, 0u);
    EXPECT_EQ(ctx->BlendForcesZeroAlpha, 0u);
    EXPECT_EQ(ctx->RenderCommand, 0x10000u);
    EXPECT_EQ(ctx->DirtyFlags, 0x09u);
    EXPECT_EQ(ctx->BytesPerPixel, 2u);
    EXPECT_EQ(PartialProductCode(ctx->PartialProduct0, ctx->PartialProduct1, ctx->PartialProduct2),
              board.displayProducts);
    EXPECT_EQ(ctx->PartialProductExtra, 0u);
    EXPECT_EQ(ctx->PointRenderer, Dummy_Point_Renderer);
    EXPECT_EQ(ctx->TriangleRenderer, nullptr);
    Renderer line = Glint_Line_XYZ_STQ_RGBF;
    if (IsSecond(board)) {
        line = P2_Line_XYZ_STQ_RGBFS;
    } else if (board.useDelta) {
        line = Delta_Line_XYZ_STQ_RGBF;
    }
    EXPECT_EQ(ctx->LineRenderer, line);
    EXPECT_EQ(ctx->HandleDirtyState,
              board.glint ? HandleDirtyGlintState : HandleDirtyPermediaState);
    EXPECT_EQ(ctx->ProcessStates, board.glint ? ProcessGlintStates : ProcessPermediaStates);
    EXPECT_EQ(ctx->AlphaBlendModeOut, board.glint ? 0u : 0x62102u);
    EXPECT_EQ(ctx->Copies.AlphaTestModeKeyed, board.glint ? 9u : 0u);
    EXPECT_EQ(ctx->Copies.AlphaBlendModeKeyed, 0u);
    EXPECT_EQ(ctx->ForceCopyMode, 0u);
    EXPECT_EQ(ctx->Stream.DisconnectMode, 0u);
}

INSTANTIATE_TEST_SUITE_P(AllBoards, StartingFields, testing::ValuesIn(kBoards), BoardName);

TEST(SetupContext, PicksTheSpecularDeltaLineForAFamilyMemberOfAnotherId) {
    RigOptions options;
    options.chipFlags = 0x100;
    ContextRig rig(options);
    rig.chip->DeviceId = 5;
    D3DContext* ctx = rig.Create(Target(rig));
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->LineRenderer, Delta_Line_XYZ_STQ_RGBFS);
}

TEST(SetupContext, KeepsDirtyBitsThatWereSet) {
    ContextRig rig;
    D3DContext* ctx = rig.Create(Target(rig));
    ASSERT_NE(ctx, nullptr);
    ctx->DirtyFlags = 0x14;
    EXPECT_EQ(SetupContext(ctx), 1u);
    EXPECT_EQ(ctx->DirtyFlags, 0x1Du);
}

TEST(SetupContext, ClearsExactlyTheRegisterCopies) {
    ContextRig rig;
    RigSurface& target = Target(rig);
    D3DContext* ctx = rig.Create(target);
    ASSERT_NE(ctx, nullptr);
    ctx->Copies.GlintTextureFormat = 0x1234; // a chip without it never sets this
    ctx->Copies.AlphaTestModeKeyed = 0x1234;
    ctx->FillMode = 2;
    ctx->ContextHandle = 77;
    SetupContext(ctx);
    EXPECT_EQ(ctx->Copies.GlintTextureFormat, 0u);
    EXPECT_EQ(ctx->Copies.AlphaTestModeKeyed, 0u);
    EXPECT_EQ(ctx->FillMode, 2u);
    EXPECT_EQ(ctx->ContextHandle, 77u);
}

// Words over copies of all ones: shows which bits each step clears.

Steps PairsFromAllOnes(const Board& board, void (*setup)(D3DContext*), D3DContext** out,
                       ContextRig& rig) {
    D3DContext* ctx = rig.Create(Target(rig));
    if (ctx == nullptr) {
        return {};
    }
    EXPECT_EQ(ctx->UseDelta, board.useDelta ? 1u : 0u);
    auto* copies = reinterpret_cast<uint32_t*>(&ctx->Copies);
    std::fill(copies, copies + sizeof(ctx->Copies) / 4, kOnes);
    ctx->RenderFlags = kOnes & ~uint32_t{RF_TEXTURE};
    DropPending(ctx);
    setup(ctx);
    *out = ctx;
    return PairsOf(Rig::Pending(ctx));
}

TEST(SetupPermediaContext, TouchesOnlyItsOwnBitsOfTheCopies) {
    for (const Board& board : {kBoards[7], kBoards[10]}) {
        SCOPED_TRACE(board.name);
        ContextRig rig(OptionsOf(board, 16));
        D3DContext* ctx = nullptr;
        const bool second = IsSecond(board);
        const uint32_t pp = board.displayProducts;
        const Steps expected = {{t::FBReadMode, 0xF98478D1},
                                {t::LBReadMode, 0xFFF0F800 | pp},
                                {t::ScreenSize, 0x01E00280},
                                {t::FBReadPixel, 1},
                                {t::AlphaBlendMode, 0xFFFEA102},
                                {t::DitherMode, 0xFFFECC07},
                                {t::FBWriteMode, 0xFFFFFFF7},
                                {t::LBReadFormat, 0xFFFFFFF0},
                                {t::LBWriteFormat, 0xFFFFFFF0},
                                {t::LBWriteMode, 0xFFFFFFFE},
                                {t::DepthMode, 0xFFFFFFB2},
                                {t::StencilMode, 0xFFFFFF80},
                                {t::FogMode, kOnes},
                                {t::Window, 0xFFFFFFE7},
                                {t::ChromaUpperBound, 0},
                                {t::ChromaLowerBound, 0},
                                {t::ChromaTestMode, kOnes},
                                {t::Unit1E4, 0x11000000},
                                {t::FBBlockColor, 0},
                                {t::TextureAddressMode, second ? 0xFFFFFFF1 : 0xFFFFFFF9},
                                {t::TextureColorMode, 0xFFFFFF81},
                                {t::TextureMapFormat, 0xFFCCFE00 | pp},
                                {t::TextureDataFormat, 0xFFFFFFF1},
                                {t::TextureBaseAddress, 0},
                                {t::TextureReadMode, 0x111EB},
                                {t::YUVMode, 0xFFFFFFC0},
                                {t::TexelLUTMode, 0},
                                {t::AreaStippleMode, 1},
                                {t::DeltaMode, second ? 0xFFFC4C76 : 0xFFFE4C76}};
        EXPECT_EQ(PairsFromAllOnes(board, SetupPermediaContext, &ctx, rig), expected);
        ASSERT_NE(ctx, nullptr);
        // The words are kept.
        EXPECT_EQ(ctx->Copies.FBReadMode, 0xF98478D1u);
        EXPECT_EQ(ctx->Copies.LBReadFormat, 0xFFFFFFF0u);
        EXPECT_EQ(ctx->Copies.TextureMapFormat, 0xFFCCFE00u | pp);
        EXPECT_EQ(ctx->Copies.MXModeWord, kOnes);
    }
}

TEST(SetupGlintContext, TouchesOnlyItsOwnBitsOfTheCopies) {
    for (const Board& board : {kBoards[1], kBoards[3], kBoards[5]}) {
        SCOPED_TRACE(board.name);
        ContextRig rig(OptionsOf(board, 16));
        D3DContext* ctx = nullptr;
        Steps expected = {{t::LBReadMode, 0xFFF8F82B},
                          {t::ScreenSize, 0x01E00280},
                          {t::PixelSize, 1},
                          {t::DitherMode, 0xFFFFFC07},
                          {t::AlphaBlendMode, 0xFFFF2102},
                          {t::LBReadFormat, 0xFFFE0002},
                          {t::LBWriteFormat, 0xFFFE0002},
                          {t::FBReadMode, 0xFFFE782B},
                          {t::FBWriteMode, 0xFFFFFFF9},
                          {t::LBWriteMode, kOnes},
                          {t::DepthMode, 0xFFFFFFF2},
                          {t::StencilMode, 0xFFFE7F80},
                          {t::FogMode, 0xFFFFFFFD},
                          {t::Window, 0xFFF80000},
                          {t::TextureChromaUpper, 0},
                          {t::TextureChromaLower, 0},
                          {t::Unit095, 0},
                          {t::AlphaTestMode, 0xFFFFF008},
                          {t::ChromaTestMode, 0xFFFFFFFA},
                          {t::AreaStippleMode, 0x25}};
        if (board.deviceId == 1) {
            Append(expected, {{t::DeltaMode, 0xFFFE0E5C}});
        } else {
            Append(expected, {{t::DeltaMode, 0xFFFE8C7D},
                              {t::TextureAddressMode, 0xFFFFFE2B},
                              {t::GlintTextureReadMode, 0xF9540911},
                              {t::TextureFormat, 0xFFF7FC1E},
                              {t::TextureColorMode, 0xFFFFFF81},
                              {t::TextureCacheControl, 3},
                              {t::Unit0CD, 0},
                              {t::TextureBaseAddr0, 0},
                              {0x0A1, 0},
                              {t::RouterMode, 1}});
        }
        if (board.deviceId == 6) {
            Append(expected, {{t::ChromaTestMode, 0xFFFFFFF9}, {t::TextureFilterMode, 0xFFFFFFFD}});
        }
        EXPECT_EQ(PairsFromAllOnes(board, SetupGlintContext, &ctx, rig), expected);
        ASSERT_NE(ctx, nullptr);
        EXPECT_EQ(ctx->Copies.AlphaTestModeKeyed, 0xFFFFF009u);
        EXPECT_EQ(ctx->Copies.AlphaBlendModeKeyed, kOnes);
        EXPECT_EQ(ctx->Copies.LBReadFormat, 0xFFFE0002u);
        const uint32_t flags = kOnes & ~uint32_t{RF_FOG};
        EXPECT_EQ(ctx->RenderFlags, board.deviceId == 1 ? flags & ~uint32_t{RF_TEXTURE} : flags);
    }
}

// The switches.

struct Disconnects {
    uint32_t mode;       // DisconnectMode
    uint32_t plain;      // writes of DisconnectControl
    uint32_t delta;      // writes of DeltaDisconnectControl
    uint32_t spaceWaits; // reads of InFIFOSpace for the context's own words
};

Disconnects CreateWithDisconnects(uint32_t deviceId, uint32_t chipFlags, bool dma,
                                  const char* value = "1") {
    RigOptions options;
    options.deviceId = deviceId;
    options.chipFlags = chipFlags;
    ContextRig rig(options);
    rig.SetRegistry("Direct3DHAL.EnableDisconnects", value);
    if (!dma) {
        rig.SetRegistry("Direct3DHAL.NoDMA", "1");
    }
    rig.MeterFIFO();
    rig.bus->Clear();
    D3DContext* ctx = rig.Create(Target(rig));
    Disconnects result{99, 0, 0, 0};
    if (ctx == nullptr) {
        return result;
    }
    result.mode = ctx->Stream.DisconnectMode;
    for (const BusEvent& event : rig.bus->Writes()) {
        result.plain += event.offset == 0x68 && event.value == 1;
        result.delta += event.offset == 0x868 && event.value == 1;
    }
    for (const Step& step : rig.MeteredSteps()) {
        result.spaceWaits += step.tag == kWaitStep;
    }
    return result;
}

TEST(SetupContext, IgnoresEnableDisconnectsUnderDMAAndPokesNoRegister) {
    for (uint32_t flags : {0x1u, 0x100u, 0x101u}) {
        const Disconnects d = CreateWithDisconnects(4, flags, true);
        EXPECT_EQ(d.mode, 0u);
        EXPECT_EQ(d.plain + d.delta, 0u);
    }
}

TEST(SetupContext, LeavesDisconnectOffWithoutSetupUnitAndWithoutTheFlag) {
    const Disconnects d = CreateWithDisconnects(2, 0, false);
    EXPECT_EQ(d.mode, 0u);
    EXPECT_EQ(d.plain + d.delta, 0u);
    EXPECT_GT(d.spaceWaits, 0u);
}

TEST(SetupContext, TurnsTheDeltasDisconnectOnWithASetupUnit) {
    for (auto [id, flags] : {std::pair{2u, 0x101u}, std::pair{7u, 0x001u}}) {
        const Disconnects d = CreateWithDisconnects(id, flags, false);
        EXPECT_EQ(d.mode, 1u);
        EXPECT_EQ(d.delta, 1u);
        EXPECT_EQ(d.plain, 0u);
        EXPECT_EQ(d.spaceWaits, 0u);
    }
}

TEST(SetupContext, TurnsThePlainDisconnectOnWhereTheFlagAllowsIt) {
    const Disconnects d = CreateWithDisconnects(2, 0x001, false);
    EXPECT_EQ(d.mode, 1u);
    EXPECT_EQ(d.plain, 1u);
    EXPECT_EQ(d.delta, 0u);
    EXPECT_EQ(d.spaceWaits, 0u);
}

TEST(SetupContext, TakesOnlyTheValueOneForEnableDisconnects) {
    for (const char* value : {"0", "2"}) {
        const Disconnects d = CreateWithDisconnects(2, 0x101, false, value);
        EXPECT_EQ(d.mode, 0u);
        EXPECT_EQ(d.plain + d.delta, 0u);
    }
}

uint32_t WordOf(const Steps& steps, uint32_t tagNumber) {
    uint32_t word = 0xBAD0BAD0;
    for (const Step& step : steps) {
        if (step.tag == tagNumber) {
            word = step.word; // the last one
        }
    }
    return word;
}

TEST(SetupPermediaContext, FastPerspectiveSetsItsAddressModeBitForAnyNonzeroValue) {
    for (auto [value, word] : {std::pair{"0", 1u}, std::pair{"1", 5u}, std::pair{"3", 5u}}) {
        ContextRig rig;
        rig.SetRegistry("Direct3DHAL.FastPerspective", value);
        D3DContext* ctx = rig.Create(Target(rig));
        ASSERT_NE(ctx, nullptr);
        EXPECT_EQ(WordOf(PairsOf(Rig::Pending(ctx)), t::TextureAddressMode), word);
        EXPECT_EQ(ctx->Copies.TextureAddressMode, word);
    }
}

TEST(SetupPermediaContext, ForceCopyModeIsOneForAnyNonzeroValue) {
    for (auto [value, kept] : {std::pair{"0", 0u}, std::pair{"1", 1u}, std::pair{"7", 1u}}) {
        ContextRig rig;
        rig.SetRegistry("Direct3DHAL.ForceCopyMode", value);
        D3DContext* ctx = rig.Create(Target(rig));
        ASSERT_NE(ctx, nullptr);
        EXPECT_EQ(ctx->ForceCopyMode, kept);
    }
}

TEST(SetupPermediaContext, ZPatchSetsThePatchedBitOfTheDepthRead) {
    ContextRig rig;
    DXGlobals.ZPatch = 1;
    D3DContext* ctx = rig.Create(Target(rig), &ZSurface(rig));
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->Copies.LBReadMode, 0x80000u | kZProducts);
    EXPECT_EQ(WordOf(PairsOf(Rig::Pending(ctx)), t::LBReadMode), 0x80000u | kZProducts);
}

TEST(SetupGlintContext, ZPatchMeansNothingThere) {
    RigOptions options;
    options.deviceId = 2;
    ContextRig rig(options);
    DXGlobals.ZPatch = 1;
    D3DContext* ctx = rig.Create(Target(rig), &ZSurface(rig));
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(ctx->Copies.LBReadMode, kZProducts);
}

// First primitives.

// An instruction of no known kind: sends the dirty state and draws nothing.
uint32_t DrawNothing(ContextRig& rig, D3DContext* ctx) {
    RigSurface& execute = rig.MakeBuffer(16);
    RigSurface& vertices = rig.MakeBuffer(8 * 4);
    D3DHAL_RENDERPRIMITIVEDATA data{};
    data.dwhContext = ctx->ContextHandle;
    data.lpExeBuf = &execute.interface;
    data.lpTLBuf = &vertices.interface;
    data.diInstruction.bOpcode = 0xEE;
    data.diInstruction.wCount = 1;
    RenderPrimitive(&data);
    return data.ddrval;
}

TEST(SetupContext, NeverProgramsATextureRegisterOnSX) {
    RigOptions options;
    options.deviceId = 1;
    ContextRig rig(options);
    D3DContext* ctx = rig.Create(Target(rig));
    ASSERT_NE(ctx, nullptr);
    ctx->TextureHandle = 1; // even with a handle in force
    ctx->DirtyFlags |= DIRTY_TEXTURE | DIRTY_BLEND;
    // Past the units that were turned off, no pair names a texture register.
    Steps pairs = PairsOf(Rig::Pending(ctx));
    const size_t quieted = WithoutWaits(DisableSteps(kBoards[0])).size();
    ASSERT_GT(pairs.size(), quieted);
    pairs.erase(pairs.begin(), pairs.begin() + static_cast<ptrdiff_t>(quieted));
    DropPending(ctx);
    EXPECT_EQ(DrawNothing(rig, ctx), 0u);
    Append(pairs, PairsOf(Rig::Pending(ctx)));
    for (const Step& step : pairs) {
        const bool texture =
            step.tag == t::TextureAddressMode || step.tag == t::GlintTextureReadMode ||
            step.tag == t::TextureFormat || step.tag == t::TextureCacheControl ||
            (step.tag >= t::TextureBaseAddr0 && step.tag < t::TextureBaseAddress) ||
            step.tag == t::TextureColorMode || step.tag == t::RouterMode;
        EXPECT_FALSE(texture) << step;
    }
}

TEST(SetupContext, StartsTXAndMXAsTexturedUntilTheFirstPrimitive) {
    for (uint32_t id : {2u, 6u}) {
        RigOptions options;
        options.deviceId = id;
        ContextRig rig(options);
        D3DContext* ctx = rig.Create(Target(rig));
        ASSERT_NE(ctx, nullptr);
        EXPECT_EQ(ctx->TextureHandle, 0u);
        EXPECT_NE(ctx->RenderFlags & RF_TEXTURE, 0u);
        EXPECT_EQ(DrawNothing(rig, ctx), 0u);
        EXPECT_EQ(ctx->RenderFlags & RF_TEXTURE, 0u);
    }
}

} // namespace
