// What a display announces: capabilities word for word, entry points, texture formats.
#include "driver/d3d/dcontext.h"
#include "driver/d3d/direct3d.h"
#include "driver/d3d/execute.h"
#include "driver/d3d/states.h"
#include "driver/platform/minivdd.h"
#include "driver/texture/textures.h"
#include "tests/support/rig.h"
#include "tests/support/words.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace test {
namespace {

using test::Words;

template <class Record>
Words WordsOf(const Record& record) {
    Words words(sizeof(Record) / 4);
    std::memcpy(words.data(), &record, sizeof(Record));
    return words;
}

struct Primitives {
    uint32_t misc, raster, zCompare, sourceBlend, destBlend, alphaCompare, shade, texture, filter,
        textureBlend, address;
};

// All 43 words of a device record.
Words DeviceWords(uint32_t devCaps, const Primitives& p, uint32_t triFilter, uint32_t renderDepth,
                  uint32_t zDepth) {
    Words words = {172, 0x1E3, 2, devCaps, 8, 0, 0, 0, 0, 0, 0};
    for (uint32_t filter : {p.filter, triFilter}) {
        for (uint32_t word :
             {56u, p.misc, p.raster, p.zCompare, p.sourceBlend, p.destBlend, p.alphaCompare,
              p.shade, p.texture, filter, p.textureBlend, p.address, 8u, 8u}) {
            words.push_back(word);
        }
    }
    for (uint32_t word : {renderDepth, zDepth, 0u, 0u}) {
        words.push_back(word);
    }
    return words;
}

constexpr Primitives kPermedia = {0x77, 0x2B9, 0xFF, 0x13, 0x23, 0, 0xC328A, 0xF, 3, 0x4F, 7};
constexpr Primitives kTX = {0x77, 0x2B1, 0xFF, 0x7F3, 0xFF, 0, 0xC728A, 0xF, 3, 0x4F, 7};
constexpr Primitives kSX = {0x70, 0xB1, 0xFF, 0x7F3, 0xFF, 0xC228A, 0x5000, 0, 0, 0, 0};

// Creating a driver adds to the capability records for good, so each test starts from fresh ones.
class Direct3DTest : public testing::Test {
  protected:
    Direct3DTest() : permedia_(PermediaCaps), tx_(TXCaps), sx_(SXCaps) {}
    ~Direct3DTest() override {
        PermediaCaps = permedia_;
        TXCaps = tx_;
        SXCaps = sx_;
    }

    // A rig for one more display of the running driver: the records stay as they are.
    static std::unique_ptr<Rig> NextDisplay(uint32_t device) {
        const D3DDEVICEDESC permedia = PermediaCaps, tx = TXCaps, sx = SXCaps;
        auto rig = std::make_unique<Rig>(Chip(device));
        PermediaCaps = permedia;
        TXCaps = tx;
        SXCaps = sx;
        rig->Ready();
        return rig;
    }

    struct Outputs {
        D3DHAL_GLOBALDRIVERDATA* global = reinterpret_cast<D3DHAL_GLOBALDRIVERDATA*>(1);
        D3DHAL_CALLBACKS* callbacks = reinterpret_cast<D3DHAL_CALLBACKS*>(1);
        DDHAL_DDEXEBUFCALLBACKS* exeBuf = reinterpret_cast<DDHAL_DDEXEBUFCALLBACKS*>(1);
    };
    static Outputs Create(Rig& rig) {
        Outputs out;
        D3DHALCreateDriver(rig.driver, &out.global, &out.callbacks, &out.exeBuf);
        return out;
    }
    static RigOptions Chip(uint32_t device) {
        RigOptions options;
        options.deviceId = device;
        return options;
    }

  private:
    D3DDEVICEDESC permedia_;
    D3DDEVICEDESC tx_;
    D3DDEVICEDESC sx_;
};

TEST_F(Direct3DTest, CapabilityRecordsHoldTheirWords) {
    EXPECT_EQ(WordsOf(PermediaCaps), DeviceWords(0x25B, kPermedia, 3, 0x500, 0x400));
    EXPECT_EQ(WordsOf(TXCaps), DeviceWords(0x25B, kTX, 3, 0x500, 0x500));
    EXPECT_EQ(WordsOf(SXCaps), DeviceWords(0x20F, kSX, 0, 0x500, 0x100));
}

TEST_F(Direct3DTest, FirstPermediaAnnouncesThePlainRecord) {
    for (uint32_t device : {4u, 0x3D04u}) {
        Rig rig(Chip(device));
        rig.Ready();
        const Outputs out = Create(rig);
        EXPECT_EQ(WordsOf(out.global->hwCaps), DeviceWords(0x25B, kPermedia, 3, 0x500, 0x400));
        EXPECT_EQ(out.global->dwSize, 192u);
        EXPECT_EQ(out.global->dwNumVertices, 0u);
        EXPECT_EQ(out.global->dwNumClipVertices, 0u);
        EXPECT_EQ(out.global->lpTextureFormats, rig.driver->TextureFormats);
    }
}

TEST_F(Direct3DTest, Permedia2Adds24BitTargetsAndAGPTexturesForGood) {
    for (uint32_t device : {7u, 0x3D07u}) {
        Rig rig(Chip(device));
        rig.Ready();
        const Outputs out = Create(rig);
        EXPECT_EQ(WordsOf(out.global->hwCaps), DeviceWords(0x125B, kPermedia, 3, 0x700, 0x400));
    }
    // The additions stay, for a first Permedia too.
    const auto rig = NextDisplay(4);
    EXPECT_EQ(WordsOf(Create(*rig).global->hwCaps),
              DeviceWords(0x125B, kPermedia, 3, 0x700, 0x400));
}

TEST_F(Direct3DTest, PermediaMipChangesOnlyTheTriangleFilters) {
    Rig rig(Chip(4));
    rig.Ready();
    rig.SetRegistry("Direct3DHAL.PermediaMip", "2"); // only 1 counts
    EXPECT_EQ(WordsOf(Create(rig).global->hwCaps), DeviceWords(0x25B, kPermedia, 3, 0x500, 0x400));
    rig.SetRegistry("Direct3DHAL.PermediaMip", "1");
    EXPECT_EQ(WordsOf(Create(rig).global->hwCaps),
              DeviceWords(0x25B, kPermedia, 0x3F, 0x500, 0x400));
    EXPECT_EQ(TXCaps.dpcTriCaps.dwTextureFilterCaps, 3u);
}

TEST_F(Direct3DTest, MipFiltersOnceAddedStayForLaterCalls) {
    Rig first(Chip(4));
    first.Ready();
    first.SetRegistry("Direct3DHAL.PermediaMip", "1");
    Create(first);
    first.SetRegistry("Direct3DHAL.PermediaMip", "0");
    EXPECT_EQ(WordsOf(Create(first).global->hwCaps),
              DeviceWords(0x25B, kPermedia, 0x3F, 0x500, 0x400));
    const auto mx = NextDisplay(6);
    Create(*mx);
    const auto tx = NextDisplay(2);
    EXPECT_EQ(WordsOf(Create(*tx).global->hwCaps), DeviceWords(0x25B, kTX, 0x3F, 0x500, 0x500));
}

TEST_F(Direct3DTest, MXAddsMipFiltersToTheTriangles) {
    Rig tx(Chip(2));
    tx.Ready();
    EXPECT_EQ(WordsOf(Create(tx).global->hwCaps), DeviceWords(0x25B, kTX, 3, 0x500, 0x500));
    Rig mx(Chip(6));
    mx.Ready();
    EXPECT_EQ(WordsOf(Create(mx).global->hwCaps), DeviceWords(0x25B, kTX, 0x3F, 0x500, 0x500));
}

TEST_F(Direct3DTest, SXHasNoTextureFormatsAndNoTextureEntries) {
    Rig rig(Chip(1));
    rig.Ready();
    const Outputs out = Create(rig);
    EXPECT_EQ(WordsOf(out.global->hwCaps), DeviceWords(0x20F, kSX, 0, 0x500, 0x100));
    EXPECT_EQ(out.global->dwNumTextureFormats, 0u);
    EXPECT_EQ(out.global->lpTextureFormats, nullptr);
    EXPECT_EQ(out.callbacks->TextureCreate, nullptr);
    EXPECT_EQ(out.callbacks->TextureDestroy, nullptr);
    EXPECT_EQ(out.callbacks->TextureSwap, nullptr);
    EXPECT_EQ(out.callbacks->TextureGetSurf, nullptr);
    EXPECT_NE(out.callbacks->RenderPrimitive, nullptr);
}

TEST_F(Direct3DTest, AnUnknownChipHasNoCapabilities) {
    Rig rig(Chip(2));
    rig.Ready();
    rig.chip->DeviceId = 9;
    const Outputs out = Create(rig);
    EXPECT_EQ(WordsOf(out.global->hwCaps), Words(43, 0));
    EXPECT_EQ(out.global->dwSize, 192u);
    EXPECT_EQ(out.global->lpTextureFormats, nullptr);
    EXPECT_EQ(out.callbacks->TextureCreate, nullptr);
}

TEST_F(Direct3DTest, CallbacksAreTheDriversEntriesAndNothingElse) {
    for (uint32_t debug : {0u, 1u}) {
        for (uint32_t device : {4u, 7u, 2u, 6u}) {
            Rig rig(Chip(device));
            rig.Ready();
            DXGlobals.AdvancedDebug = debug;
            const Outputs out = Create(rig);
            D3DHAL_CALLBACKS want{};
            want.dwSize = 140;
            want.ContextCreate = debug != 0 ? AddDirect3DContext : CreateDirect3DContext;
            want.ContextDestroy = debug != 0 ? RemoveDirect3DContext : DeleteDirect3DContext;
            want.ContextDestroyAll = DeleteBadProcess;
            want.SceneCapture = SceneCapture;
            want.RenderState = RenderState32;
            want.RenderPrimitive = RenderPrimitive;
            want.TextureCreate = TextureCreate;
            want.TextureDestroy = TextureDestroy;
            want.TextureSwap = TextureSwap;
            want.TextureGetSurf = TextureGetSurf;
            EXPECT_EQ(WordsOf(*out.callbacks), WordsOf(want));
            EXPECT_EQ(out.exeBuf, nullptr);
        }
    }
}

TEST_F(Direct3DTest, BothRecordsAreSharedBlocksWhoseHandlesAreKept) {
    Rig rig(Chip(4));
    rig.Ready();
    const Outputs out = Create(rig);
    EXPECT_EQ(rig.LiveServiceBlocks(), 2u);
    EXPECT_EQ(rig.driver->D3DGlobalDataHandle, reinterpret_cast<uint32_t>(out.global) ^ 0x5A5A5A5A);
    EXPECT_EQ(rig.driver->D3DCallbacksHandle,
              reinterpret_cast<uint32_t>(out.callbacks) ^ 0x5A5A5A5A);
}

TEST_F(Direct3DTest, DisableYieldsNullOutputsAndAllocatesNothing) {
    Rig rig(Chip(4));
    rig.Ready();
    rig.SetRegistry("Direct3DHAL.Disable", "1");
    const Outputs out = Create(rig);
    EXPECT_EQ(out.global, nullptr);
    EXPECT_EQ(out.callbacks, nullptr);
    EXPECT_EQ(out.exeBuf, nullptr);
    EXPECT_EQ(rig.LiveServiceBlocks(), 0u);
    rig.SetRegistry("Direct3DHAL.Disable", "2");
    EXPECT_NE(Create(rig).global, nullptr);
}

// Refuses from a given allocation on.
class ShortOfMemory : public Rig {
  public:
    ShortOfMemory(const RigOptions& options, uint32_t grants) : Rig(options), grants_(grants) {}

    bool Control(uint32_t code, const void* in, uint32_t inBytes, void* out, uint32_t outBytes,
                 uint32_t* returned) override {
        if (code == MiniVDDMemoryService &&
            static_cast<const MemoryServiceRequest*>(in)->Command == MemoryServiceAllocate) {
            refuseMemory = grants_ == 0;
            grants_ -= grants_ != 0;
        }
        return Rig::Control(code, in, inBytes, out, outBytes, returned);
    }

  private:
    uint32_t grants_;
};

TEST_F(Direct3DTest, ShortageOfMemoryYieldsNullOutputsAndKeepsNoBlock) {
    for (uint32_t grants : {0u, 1u}) {
        ShortOfMemory rig(Chip(4), grants);
        rig.Ready();
        const Outputs out = Create(rig);
        EXPECT_EQ(out.global, nullptr);
        EXPECT_EQ(out.callbacks, nullptr);
        EXPECT_EQ(out.exeBuf, nullptr);
        EXPECT_EQ(rig.LiveServiceBlocks(), 0u);
    }
}

TEST_F(Direct3DTest, SlotsAreClearedOnceForAllDisplays) {
    Rig rig(Chip(4));
    rig.Ready();
    rig.SetRegistry("Direct3DHAL.Disable", "1"); // clears all the same
    ContextSlots[0] = ContextSlots[199] = rig.PlainContext(true);
    Create(rig);
    EXPECT_EQ(D3DInitialised, 1u);
    for (const D3DContext* slot : ContextSlots) {
        EXPECT_EQ(slot, nullptr);
    }
    D3DContext* ctx = rig.PlainContext(true);
    ContextSlots[5] = ctx;
    Create(rig);
    EXPECT_EQ(ContextSlots[5], ctx);
}

TEST_F(Direct3DTest, ExecuteBufferCallbacksHoldTheirSizeAlone) {
    EXPECT_EQ(WordsOf(myD3DExeBufCallbacks), (Words{28, 0, 0, 0, 0, 0, 0}));
}

// Texture formats.

// Flags, bits and masks by name.
Words FormatWords(const std::string& name) {
    struct Named {
        const char* name;
        Words words;
    };
    static const Named kAll[] = {
        {"RGB555", {0x40, 16, 0x7C00, 0x3E0, 0x1F, 0}},
        {"RGB565", {0x40, 16, 0xF800, 0x7E0, 0x1F, 0}},
        {"RGB888", {0x40, 32, 0xFF0000, 0xFF00, 0xFF, 0}},
        {"RGB332", {0x40, 8, 0xE0, 0x1C, 3, 0}},
        {"ARGB1232", {0x41, 8, 0x60, 0x1C, 3, 0x80}},
        {"ARGB1555", {0x41, 16, 0x7C00, 0x3E0, 0x1F, 0x8000}},
        {"ARGB4444", {0x41, 16, 0xF00, 0xF0, 0xF, 0xF000}},
        {"ARGB8888", {0x41, 32, 0xFF0000, 0xFF00, 0xFF, 0xFF000000}},
        {"PAL4", {0x48, 4, 0, 0, 0, 0}},
        {"PAL8", {0x60, 8, 0, 0, 0, 0}},
    };
    for (const Named& entry : kAll) {
        if (name == entry.name) {
            return entry.words;
        }
    }
    return {};
}

std::vector<std::string> OfferedNames(const DriverData* driver, uint32_t count) {
    static const char* const kNames[] = {"RGB555",   "RGB565",   "RGB888",   "RGB332", "ARGB1232",
                                         "ARGB1555", "ARGB4444", "ARGB8888", "PAL4",   "PAL8"};
    std::vector<std::string> names;
    for (uint32_t i = 0; i != count; ++i) {
        const DDPIXELFORMAT& f = driver->TextureFormats[i].ddpfPixelFormat;
        const Words words = {f.dwFlags,    f.dwRGBBitCount, f.dwRBitMask,
                             f.dwGBitMask, f.dwBBitMask,    f.dwRGBAlphaBitMask};
        std::string name = "?";
        for (const char* candidate : kNames) {
            if (words == FormatWords(candidate)) {
                name = candidate;
            }
        }
        names.push_back(name);
    }
    return names;
}

void SetSwitches(Rig& rig, bool r, bool p, bool t, bool a, const char* on) {
    rig.SetRegistry("Direct3DHAL.Enable8BitRGBTextures", r ? on : "0");
    rig.SetRegistry("Direct3DHAL.Enable8BitP2Textures", p ? on : "0");
    rig.SetRegistry("Direct3DHAL.EnableTrueColorTextures", t ? on : "0");
    rig.SetRegistry("Direct3DHAL.DisableAlphaTextures", a ? on : "0");
}

// The formats without a palette that every family offers alike: small ones on demand, and those
// with alpha unless they are switched off.
void AppendTrueColour(std::vector<std::string>& want, bool small, bool noAlpha, bool deep) {
    if (small) {
        want.push_back("RGB332");
        if (!noAlpha) {
            want.push_back("ARGB1232");
        }
    }
    if (!noAlpha) {
        want.push_back("ARGB1555");
        want.push_back("ARGB4444");
        if (deep) {
            want.push_back("ARGB8888");
        }
    }
    want.push_back("RGB565");
}

TEST_F(Direct3DTest, PermediaFormatsForEverySwitchCombination) {
    for (uint32_t device : {4u, 0x3D04u, 7u, 0x3D07u}) {
        const bool p2 = device == 7 || device == 0x3D07;
        Rig rig(Chip(device));
        rig.Ready();
        for (uint32_t mask = 0; mask != 16; ++mask) {
            const bool r = mask & 1, p = mask & 2, t = mask & 4, a = mask & 8;
            SetSwitches(rig, r, p, t, a, mask % 3 == 0 ? "5" : "1"); // any value but 0
            std::vector<std::string> want = {"RGB555"};
            if (t) {
                want.push_back("RGB888");
            }
            if (!p2 || p) {
                want.push_back("PAL4");
            }
            if (p2 && p) {
                want.push_back("PAL8");
            }
            AppendTrueColour(want, p2 ? r && p : r, a, t);
            const uint32_t count = BuildTextureFormatsPermedia(rig.driver);
            EXPECT_EQ(OfferedNames(rig.driver, count), want) << device << " " << mask;
        }
    }
}

TEST_F(Direct3DTest, GlintFormatsForEverySwitchCombination) {
    for (uint32_t device : {2u, 6u}) {
        Rig rig(Chip(device));
        rig.Ready();
        for (uint32_t mask = 0; mask != 16; ++mask) {
            const bool r = mask & 1, p = mask & 2, t = mask & 4, a = mask & 8;
            SetSwitches(rig, r, p, t, a, "1");
            std::vector<std::string> want = {"RGB555", "PAL4"};
            if (device == 6) {
                want.push_back("PAL8");
            }
            AppendTrueColour(want, r, a, t);
            const uint32_t count = BuildTextureFormatsTX(rig.driver);
            EXPECT_EQ(OfferedNames(rig.driver, count), want) << device << " " << mask;
        }
    }
}

TEST_F(Direct3DTest, AllThreeSwitchesOnPermedia2GiveTenFormats) {
    Rig rig(Chip(7));
    rig.Ready();
    SetSwitches(rig, true, true, true, false, "1");
    const Outputs out = Create(rig);
    EXPECT_EQ(out.global->dwNumTextureFormats, 10u);
    EXPECT_EQ(OfferedNames(rig.driver, 10),
              (std::vector<std::string>{"RGB555", "RGB888", "PAL4", "PAL8", "RGB332", "ARGB1232",
                                        "ARGB1555", "ARGB4444", "ARGB8888", "RGB565"}));
}

TEST_F(Direct3DTest, WithoutSwitchesPermedia2OffersNoPalette) {
    Rig first(Chip(4));
    first.Ready();
    EXPECT_EQ(OfferedNames(first.driver, BuildTextureFormatsPermedia(first.driver)),
              (std::vector<std::string>{"RGB555", "PAL4", "ARGB1555", "ARGB4444", "RGB565"}));
    Rig second(Chip(7));
    second.Ready();
    EXPECT_EQ(OfferedNames(second.driver, BuildTextureFormatsPermedia(second.driver)),
              (std::vector<std::string>{"RGB555", "ARGB1555", "ARGB4444", "RGB565"}));
}

TEST_F(Direct3DTest, DisabledAlphaKeepsRGB332ButNotARGB1232) {
    Rig rig(Chip(4));
    rig.Ready();
    SetSwitches(rig, true, false, false, true, "1");
    EXPECT_EQ(OfferedNames(rig.driver, BuildTextureFormatsPermedia(rig.driver)),
              (std::vector<std::string>{"RGB555", "PAL4", "RGB332", "RGB565"}));
}

TEST_F(Direct3DTest, EveryPlaceOfTheListIsPreset) {
    for (uint32_t device : {4u, 6u}) {
        Rig rig(Chip(device));
        rig.Ready();
        std::memset(rig.driver->TextureFormats, 0xEE, sizeof(rig.driver->TextureFormats));
        const uint32_t count = device == 4 ? BuildTextureFormatsPermedia(rig.driver)
                                           : BuildTextureFormatsTX(rig.driver);
        ASSERT_EQ(count, device == 4 ? 5u : 6u);
        for (uint32_t i = 0; i != 15; ++i) {
            DDSURFACEDESC want{};
            want.dwSize = 108;
            want.dwFlags = 0x1001;
            want.ddpfPixelFormat.dwSize = 32;
            want.ddsCaps.dwCaps = 0x1000;
            DDSURFACEDESC have = rig.driver->TextureFormats[i];
            if (i < count) {
                // The format itself is looked at elsewhere.
                have.ddpfPixelFormat.dwFlags = 0;
                have.ddpfPixelFormat.dwRGBBitCount = 0;
                have.ddpfPixelFormat.dwRBitMask = have.ddpfPixelFormat.dwGBitMask = 0;
                have.ddpfPixelFormat.dwBBitMask = have.ddpfPixelFormat.dwRGBAlphaBitMask = 0;
            }
            EXPECT_EQ(WordsOf(have), WordsOf(want)) << i;
        }
    }
}

} // namespace
} // namespace test
