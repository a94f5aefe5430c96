// Changing and describing render targets.
#include "driver/d3d/dcontext_target.h"
#include "tests/driver/d3d/context_support.h"
#include "tests/support/tag_names.h"

using namespace test;

namespace {

using test::kOnes;
constexpr uint32_t kNotAvailable = 0x88760028;
using test::kInvalid;

uint32_t SetTarget(uint32_t handle, RigSurface* target, RigSurface* z) {
    D3DHAL_SETRENDERTARGETDATA data{};
    data.dwhContext = handle;
    data.lpDDS = target != nullptr ? &target->interface : nullptr;
    data.lpDDSZ = z != nullptr ? &z->interface : nullptr;
    data.ddrval = 0xDEADBEEF;
    EXPECT_EQ(SetRenderTarget32(&data), 1u);
    return data.ddrval;
}

// A context with copies of all zeros or all ones and nothing pending.
D3DContext* BareContext(ContextRig& rig, uint32_t fill) {
    D3DContext* ctx = rig.Create(rig.MakeTarget());
    if (ctx == nullptr) {
        return nullptr;
    }
    auto* copies = reinterpret_cast<uint32_t*>(&ctx->Copies);
    for (size_t i = 0; i < sizeof(ctx->Copies) / 4; ++i) {
        copies[i] = fill;
    }
    ctx->AlphaBlendModeOut = 0x5555;
    DropPending(ctx);
    return ctx;
}

TEST(SetRenderTarget32, WithoutAColourSurfaceIsRefused) {
    ContextRig rig;
    D3DContext* ctx = rig.Create(rig.MakeTarget());
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(SetTarget(ctx->ContextHandle, nullptr, nullptr), kInvalid);
    EXPECT_EQ(SetTarget(150, nullptr, nullptr), kInvalid); // ahead of the handle too
}

TEST(SetRenderTarget32, RefusesEitherSurfaceInSystemMemory) {
    ContextRig rig;
    RigSurface& good = rig.MakeTarget();
    RigSurface& z = rig.MakeZ();
    RigSurface& system = rig.MakeTarget();
    system.local.ddsCaps.dwCaps = DDSCAPS_SYSTEMMEMORY;
    D3DContext* ctx = rig.Create(good);
    ASSERT_NE(ctx, nullptr);
    ctx->DirtyFlags = 0;
    DropPending(ctx);
    EXPECT_EQ(SetTarget(ctx->ContextHandle, &system, &z), kNotAvailable);
    EXPECT_EQ(SetTarget(ctx->ContextHandle, &good, &system), kNotAvailable);
    EXPECT_EQ(ctx->DirtyFlags, 0u);
    EXPECT_EQ(ctx->RenderTargetSurface, &good.local);
    EXPECT_TRUE(Rig::Pending(ctx).empty());
}

TEST(SetRenderTarget32, TestsTheSurfacesForSystemMemoryBeforeTheHandle) {
    ContextRig rig;
    RigSurface& good = rig.MakeTarget();
    RigSurface& system = rig.MakeTarget();
    system.local.ddsCaps.dwCaps = DDSCAPS_SYSTEMMEMORY;
    EXPECT_EQ(SetTarget(150, &system, nullptr), kNotAvailable);
    EXPECT_EQ(SetTarget(150, &good, &system), kNotAvailable);
}

TEST(SetRenderTarget32, RefusesAnEmptySlotAndAWrongMagic) {
    ContextRig rig;
    RigSurface& target = rig.MakeTarget();
    EXPECT_EQ(SetTarget(150, &target, nullptr), 0x200u);
    D3DContext* ctx = rig.Create(target);
    ASSERT_NE(ctx, nullptr);
    ctx->Magic = 0xD3D00000;
    EXPECT_EQ(SetTarget(ctx->ContextHandle, &target, nullptr), 0x200u);
    EXPECT_EQ(ctx->Magic, 0xD3D00000u);
}

TEST(SetRenderTarget32, StoresTheSurfacesAndMarksBlendZAndTarget) {
    for (uint32_t id : {1u, 2u, 4u, 7u}) {
        ContextRig rig(test::OptionsOf(id));
        D3DContext* ctx = rig.Create(rig.MakeTarget());
        ASSERT_NE(ctx, nullptr);
        RigSurface& other = rig.MakeTarget();
        RigSurface& z = rig.MakeZ();
        ctx->DirtyFlags = 0x01;
        EXPECT_EQ(SetTarget(ctx->ContextHandle, &other, &z), 0u);
        EXPECT_EQ(ctx->RenderTargetSurface, &other.local);
        EXPECT_EQ(ctx->ZBufferSurface, &z.local);
        EXPECT_EQ(ctx->DirtyFlags, 0x17u);
        EXPECT_EQ(rig.chip->Flags & CursorExclude, 0u);
        EXPECT_EQ(SetTarget(ctx->ContextHandle, &other, nullptr), 0u);
        EXPECT_EQ(ctx->ZBufferSurface, nullptr);
    }
}

TEST(SetRenderTarget32, TakesTheChipBackFirstInFIFOMode) {
    ContextRig rig;
    rig.SetRegistry("Direct3DHAL.NoDMA", "1");
    D3DContext* ctx = rig.Create(rig.MakeTarget());
    ASSERT_NE(ctx, nullptr);
    ctx->Copies.FogMode = 0x11;
    ctx->Copies.TextureColorMode = 0x22;
    ctx->Copies.TextureAddressMode = 0x33;
    ctx->AlphaBlendModeOut = 0x44;
    ChangeContext(rig.driver, rig.chip, kContext2D);
    rig.MeterFIFO();
    rig.bus->Clear();
    RigSurface& other = rig.MakeTarget();
    EXPECT_EQ(SetTarget(ctx->ContextHandle, &other, nullptr), 0u);
    EXPECT_EQ(rig.chip->CurrentContext, ctx->Stream.HardwareContext);
    const Steps steps = rig.MeteredSteps();
    const Steps head = {Wait(5),
                        {t::FogMode, 0x11},
                        {t::FogColor, kOnes},
                        {t::TextureColorMode, 0x22},
                        {t::TextureAddressMode, 0x33},
                        {t::AlphaBlendMode, 0x44},
                        Wait(10),
                        {t::FBReadMode, 0x1D}};
    ASSERT_GE(steps.size(), head.size());
    EXPECT_EQ(Steps(steps.begin(), steps.begin() + static_cast<ptrdiff_t>(head.size())), head);
}

TEST(SetRenderTarget32, KeepsTheCursorAwayAfterTheChangeOfContext) {
    ContextRig rig;
    rig.SetRegistry("Direct3DHAL.NoDMA", "1");
    D3DContext* ctx = rig.Create(rig.MakeTarget());
    ASSERT_NE(ctx, nullptr);
    ChangeContext(rig.driver, rig.chip, kContext2D);
    std::vector<uint32_t> busy; // CursorExclude at each wait of the context's own words
    rig.bus->readFIFOSpace = [&] {
        if (rig.chip->CurrentContext == ctx->Stream.HardwareContext) {
            busy.push_back(rig.chip->Flags & CursorExclude);
        }
        return 1000u;
    };
    EXPECT_EQ(SetTarget(ctx->ContextHandle, &rig.MakeTarget(), nullptr), 0u);
    // The registers of the context, the five words sent again, and the target's words.
    EXPECT_EQ(busy, (std::vector<uint32_t>{0, 0, 0x10}));
    EXPECT_EQ(rig.chip->Flags & CursorExclude, 0u);
}

TEST(SetRenderTarget32, WithANullZKeepsTheDepthReadOnTheDisplaysProducts) {
    for (auto [id, products] : {std::pair{4u, 0x1Du}, std::pair{7u, 0x2Bu}, std::pair{2u, 0x2Bu}}) {
        ContextRig rig(test::OptionsOf(id));
        RigSurface& z = rig.MakeZ();
        SetProducts(z, 1, 1, 1);
        D3DContext* ctx = rig.Create(rig.MakeTarget(), &z);
        ASSERT_NE(ctx, nullptr);
        EXPECT_EQ(ctx->Copies.LBReadMode & 0x1FF, 0x49u);
        RigSurface& narrow = rig.MakeTarget(PixelSize16, 320, 200);
        EXPECT_EQ(SetTarget(ctx->ContextHandle, &narrow, nullptr), 0u);
        EXPECT_EQ(ctx->Copies.LBReadMode & 0x1FF, products);
    }
}

// What each size code sends and changes, over copies of zeros and of ones.

struct PixelCase {
    uint32_t pixelSize;
    int pixelWord; // -1: none sent
    uint32_t ditherOfZero, blendOfZero;
    uint32_t ditherOfOnes, blendOfOnes;
};

TEST(SetupPermediaTargetData, SendsEachPixelSizesWordsInOrder) {
    const PixelCase cases[] = {
        {0, 0, 0x2C, 0xB00, 0xFFFEFFEF, 0xFFFEFBFF},
        {1, 1, 4, 0x100, 0xFFFEFFC7, 0xFFFEF1FF},
        {2, 2, 0, 0, 0xFFFEFFC3, 0xFFFEF0FF},
        {3, -1, 0, 0, kOnes, kOnes},
        {4, 4, 0, 0, kOnes, kOnes},
        {5, -1, 0, 0, kOnes, kOnes},
    };
    for (const PixelCase& c : cases) {
        for (uint32_t fill : {0u, kOnes}) {
            SCOPED_TRACE(c.pixelSize);
            ContextRig rig;
            D3DContext* ctx = BareContext(rig, fill);
            ASSERT_NE(ctx, nullptr);
            RigSurface& target = rig.MakeTarget(c.pixelSize, 320, 200);
            SetProducts(target, 5, 0, 0);
            SetupPermediaTargetData(ctx, &target.local, nullptr);
            const uint32_t dither = fill == 0 ? c.ditherOfZero : c.ditherOfOnes;
            const uint32_t blend = fill == 0 ? c.blendOfZero : c.blendOfOnes;
            Steps expected = {{t::FBReadMode, (fill & ~0x1FFu) | 5},
                              {t::LBReadMode, (fill & ~0x1FFu) | 0x1D},
                              {t::ScreenSize, 200u << 16 | 320}};
            if (c.pixelWord >= 0) {
                expected.push_back({t::FBReadPixel, static_cast<uint32_t>(c.pixelWord)});
            }
            expected.push_back({t::AlphaBlendMode, blend});
            expected.push_back({t::DitherMode, dither});
            EXPECT_EQ(PairsOf(Rig::Pending(ctx)), expected);
            EXPECT_EQ(ctx->AlphaBlendModeOut, blend);
            EXPECT_EQ(ctx->Copies.AlphaBlendMode, blend);
            EXPECT_EQ(ctx->Copies.DitherMode, dither);
        }
    }
}

TEST(SetupGlintTargetData, SendsEachPixelSizesWordsInOrder) {
    const PixelCase cases[] = {
        {0, 2, 0x38, 0xE00, 0xFFFFFFFB, 0xFFFFFEFF}, {1, 1, 4, 0x100, 0xFFFFFFC7, 0xFFFFF1FF},
        {2, 0, 0, 0, 0xFFFFFFC3, 0xFFFFF0FF},        {3, -1, 0, 0, kOnes, kOnes},
        {4, 0, 0, 0, 0xFFFFFFC3, 0xFFFFF0FF},        {5, -1, 0, 0, kOnes, kOnes},
    };
    for (const PixelCase& c : cases) {
        for (uint32_t fill : {0u, kOnes}) {
            SCOPED_TRACE(c.pixelSize);
            ContextRig rig(test::OptionsOf(2));
            D3DContext* ctx = BareContext(rig, fill);
            ASSERT_NE(ctx, nullptr);
            RigSurface& target = rig.MakeTarget(c.pixelSize, 320, 200);
            SetupGlintTargetData(ctx, &target.local, nullptr);
            const uint32_t dither = fill == 0 ? c.ditherOfZero : c.ditherOfOnes;
            const uint32_t blend = fill == 0 ? c.blendOfZero : c.blendOfOnes;
            Steps expected = {{t::LBReadMode, (fill & ~0x1FFu) | 0x2B},
                              {t::ScreenSize, 200u << 16 | 320}};
            if (c.pixelWord >= 0) {
                expected.push_back({t::PixelSize, static_cast<uint32_t>(c.pixelWord)});
            }
            expected.push_back({t::DitherMode, dither});
            expected.push_back({t::AlphaBlendMode, blend});
            EXPECT_EQ(PairsOf(Rig::Pending(ctx)), expected);
            EXPECT_EQ(ctx->Copies.AlphaBlendMode, blend);
            EXPECT_EQ(ctx->Copies.DitherMode, dither);
            EXPECT_EQ(ctx->Copies.FBReadMode, fill);
            EXPECT_EQ(ctx->AlphaBlendModeOut, 0x5555u); // the word last sent is not noted here
        }
    }
}

TEST(SetupPermediaTargetData, ATargetOfPixelSizeThreeChangesNeitherDitherNorBlend) {
    ContextRig rig;
    D3DContext* ctx = BareContext(rig, 0x12345678);
    ASSERT_NE(ctx, nullptr);
    SetupPermediaTargetData(ctx, &rig.MakeTarget(PixelSize4).local, nullptr);
    EXPECT_EQ(ctx->Copies.DitherMode, 0x12345678u);
    EXPECT_EQ(ctx->Copies.AlphaBlendMode, 0x12345678u);
}

TEST(SetupGlintTargetData, ATargetOfPixelSizeThreeChangesNeitherDitherNorBlend) {
    ContextRig rig(test::OptionsOf(6));
    D3DContext* ctx = BareContext(rig, 0x12345678);
    ASSERT_NE(ctx, nullptr);
    SetupGlintTargetData(ctx, &rig.MakeTarget(PixelSize4).local, nullptr);
    EXPECT_EQ(ctx->Copies.DitherMode, 0x12345678u);
    EXPECT_EQ(ctx->Copies.AlphaBlendMode, 0x12345678u);
}

TEST(SetupPermediaTargetData, InRectangularAllocationANarrowTargetUsesTheDisplaysProducts) {
    ContextRig rig;
    rig.driver->RectAlloc = 1;
    D3DContext* ctx = BareContext(rig, 0);
    ASSERT_NE(ctx, nullptr);
    RigSurface& narrow = rig.MakeTarget(PixelSize16, 256, 200);
    SetProducts(narrow, 4, 0, 0);
    SetupPermediaTargetData(ctx, &narrow.local, nullptr);
    EXPECT_EQ(ctx->Copies.FBReadMode, 0x1Du);
    rig.driver->RectAlloc = 0;
    SetupPermediaTargetData(ctx, &narrow.local, nullptr);
    EXPECT_EQ(ctx->Copies.FBReadMode, 4u);
}

TEST(SetupPermediaTargetData, WorksProductsOutOfTheWidthUntilTheSurfaceIsReady) {
    ContextRig rig;
    D3DContext* ctx = BareContext(rig, 0);
    ASSERT_NE(ctx, nullptr);
    RigSurface& target = rig.MakeTarget(PixelSize16, 320, 200); // 256 + 64
    RigSurface& z = rig.MakeZ(96, 64);                          // 64 + 32
    SetProducts(target, 7, 7, 7);
    SetProducts(z, 7, 7, 7);
    target.priv.Flags = 0;
    z.priv.Flags = SURFACE_FORMAT_VALID;
    SetupPermediaTargetData(ctx, &target.local, &z.local);
    EXPECT_EQ(ctx->Copies.FBReadMode, 2u | 4u << 3);
    EXPECT_EQ(ctx->Copies.LBReadMode, 1u | 2u << 3);
    // The depth surface has no record at all.
    z.Global().dwReserved1 = 0;
    ctx->Copies.LBReadMode = 0;
    SetupPermediaTargetData(ctx, &target.local, &z.local);
    EXPECT_EQ(ctx->Copies.LBReadMode, 1u | 2u << 3);
}

TEST(SetupPermediaTargetData, ATargetOfNoRecordHasTheDisplaysDepth) {
    ContextRig rig; // 16 bits
    D3DContext* ctx = BareContext(rig, 0);
    ASSERT_NE(ctx, nullptr);
    RigSurface& target = rig.MakeTarget(PixelSize32);
    target.Global().dwReserved1 = 0;
    SetupPermediaTargetData(ctx, &target.local, nullptr);
    const Steps pairs = PairsOf(Rig::Pending(ctx));
    EXPECT_NE(std::ranges::find(pairs, Step{t::FBReadPixel, 1}), pairs.end());
}

TEST(SetupTargetData, WaitsForTenEntriesOnce) {
    for (uint32_t id : {2u, 4u}) {
        ContextRig rig(test::OptionsOf(id));
        rig.SetRegistry("Direct3DHAL.NoDMA", "1");
        RigSurface& target = rig.MakeTarget();
        D3DContext* ctx = rig.Create(target);
        ASSERT_NE(ctx, nullptr);
        rig.MeterFIFO();
        rig.bus->Clear();
        if (id == 4) {
            SetupPermediaTargetData(ctx, &target.local, nullptr);
        } else {
            SetupGlintTargetData(ctx, &target.local, nullptr);
        }
        const Steps steps = rig.MeteredSteps();
        ASSERT_FALSE(steps.empty());
        EXPECT_EQ(steps[0], Wait(10));
        EXPECT_EQ(WithoutWaits(steps).size(), steps.size() - 1);
    }
}

} // namespace
