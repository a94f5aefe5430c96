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
#include <memory>
#include <string>
#include <vector>

namespace test {
namespace {

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

// The filters of triangles: without mip levels, and with them.
constexpr uint32_t kFlatFilters = 3, kMipFilters = 0x3F;

Words PermediaWords(uint32_t triFilter = kFlatFilters) {
    return DeviceWords(0x25B, kPermedia, triFilter, 0x500, 0x400);
}
Words Permedia2Words() {
    return DeviceWords(0x125B, kPermedia, kFlatFilters, 0x700, 0x400);
}
Words TXWords(uint32_t triFilter = kFlatFilters) {
    return DeviceWords(0x25B, kTX, triFilter, 0x500, 0x500);
}
Words SXWords() {
    return DeviceWords(0x20F, kSX, 0, 0x500, 0x100);
}

// The capability records, which creating a driver adds to for good.
struct Capabilities {
    D3DDEVICEDESC permedia = PermediaCaps, tx = TXCaps, sx = SXCaps;

    void PutBack() const {
        PermediaCaps = permedia;
        TXCaps = tx;
        SXCaps = sx;
    }
};

struct Outputs {
    D3DHAL_GLOBALDRIVERDATA* global = reinterpret_cast<D3DHAL_GLOBALDRIVERDATA*>(1);
    D3DHAL_CALLBACKS* callbacks = reinterpret_cast<D3DHAL_CALLBACKS*>(1);
    DDHAL_DDEXEBUFCALLBACKS* exeBuf = reinterpret_cast<DDHAL_DDEXEBUFCALLBACKS*>(1);

    void ExpectNone() const {
        EXPECT_EQ(global, nullptr);
        EXPECT_EQ(callbacks, nullptr);
        EXPECT_EQ(exeBuf, nullptr);
    }
};

// A display that is up.
template <class Base>
class Ready : public Base {
  public:
    template <class... Arguments>
    explicit Ready(uint32_t device, Arguments... arguments)
        : Base(OptionsOf(device), arguments...) {
        Base::Ready();
    }

    Outputs Create() {
        Outputs out;
        D3DHALCreateDriver(Base::driver, &out.global, &out.callbacks, &out.exeBuf);
        return out;
    }
    // The device record that creating a driver announces.
    Words Announced() { return WordsOf(Create().global->hwCaps); }
};
using ReadyRig = Ready<Rig>;

// Each test starts from fresh records.
class Direct3DTest : public testing::Test {
  protected:
    ~Direct3DTest() override { before_.PutBack(); }

    // One more display of the running driver: the records stay as they are.
    static std::unique_ptr<ReadyRig> NextDisplay(uint32_t device) {
        const Capabilities running;
        auto rig = std::make_unique<ReadyRig>(device);
        running.PutBack();
        return rig;
    }

  private:
    Capabilities before_;
};

TEST_F(Direct3DTest, CapabilityRecordsHoldTheirWords) {
    EXPECT_EQ(WordsOf(PermediaCaps), PermediaWords());
    EXPECT_EQ(WordsOf(TXCaps), TXWords());
    EXPECT_EQ(WordsOf(SXCaps), SXWords());
}

TEST_F(Direct3DTest, FirstPermediaAnnouncesThePlainRecord) {
    for (uint32_t device : {DevicePermedia, DevicePermediaSecond}) {
        ReadyRig rig(device);
        const Outputs out = rig.Create();
        EXPECT_EQ(WordsOf(out.global->hwCaps), PermediaWords());
        EXPECT_EQ(out.global->dwSize, 192u);
        EXPECT_EQ(out.global->dwNumVertices, 0u);
        EXPECT_EQ(out.global->dwNumClipVertices, 0u);
        EXPECT_EQ(out.global->lpTextureFormats, rig.driver->TextureFormats);
    }
}

TEST_F(Direct3DTest, Permedia2Adds24BitTargetsAndAGPTexturesForGood) {
    for (uint32_t device : {DevicePermedia2, DevicePermedia2Second}) {
        EXPECT_EQ(ReadyRig(device).Announced(), Permedia2Words());
    }
    // The additions stay, for a first Permedia too.
    EXPECT_EQ(NextDisplay(DevicePermedia)->Announced(), Permedia2Words());
}

TEST_F(Direct3DTest, PermediaMipChangesOnlyTheTriangleFilters) {
    ReadyRig rig(DevicePermedia);
    rig.SetRegistry("Direct3DHAL.PermediaMip", "2"); // only 1 counts
    EXPECT_EQ(rig.Announced(), PermediaWords());
    rig.SetRegistry("Direct3DHAL.PermediaMip", "1");
    EXPECT_EQ(rig.Announced(), PermediaWords(kMipFilters));
    EXPECT_EQ(TXCaps.dpcTriCaps.dwTextureFilterCaps, kFlatFilters);
}

TEST_F(Direct3DTest, MipFiltersOnceAddedStayForLaterCalls) {
    ReadyRig first(DevicePermedia);
    first.SetRegistry("Direct3DHAL.PermediaMip", "1");
    first.Create();
    first.SetRegistry("Direct3DHAL.PermediaMip", "0");
    EXPECT_EQ(first.Announced(), PermediaWords(kMipFilters));
    const auto mx = NextDisplay(DeviceMX);
    mx->Create();
    EXPECT_EQ(NextDisplay(DeviceTX)->Announced(), TXWords(kMipFilters));
}

TEST_F(Direct3DTest, MXAddsMipFiltersToTheTriangles) {
    ReadyRig tx(DeviceTX);
    EXPECT_EQ(tx.Announced(), TXWords());
    EXPECT_EQ(ReadyRig(DeviceMX).Announced(), TXWords(kMipFilters));
}

TEST_F(Direct3DTest, SXHasNoTextureFormatsAndNoTextureEntries) {
    ReadyRig rig(DeviceSX);
    const Outputs out = rig.Create();
    EXPECT_EQ(WordsOf(out.global->hwCaps), SXWords());
    EXPECT_EQ(out.global->dwNumTextureFormats, 0u);
    EXPECT_EQ(out.global->lpTextureFormats, nullptr);
    EXPECT_EQ(out.callbacks->TextureCreate, nullptr);
    EXPECT_EQ(out.callbacks->TextureDestroy, nullptr);
    EXPECT_EQ(out.callbacks->TextureSwap, nullptr);
    EXPECT_EQ(out.callbacks->TextureGetSurf, nullptr);
    EXPECT_NE(out.callbacks->RenderPrimitive, nullptr);
}

TEST_F(Direct3DTest, AnUnknownChipHasNoCapabilities) {
    ReadyRig rig(DeviceTX);
    rig.chip->DeviceId = 9;
    const Outputs out = rig.Create();
    EXPECT_EQ(WordsOf(out.global->hwCaps), Words(43, 0));
    EXPECT_EQ(out.global->dwSize, 192u);
    EXPECT_EQ(out.global->lpTextureFormats, nullptr);
    EXPECT_EQ(out.callbacks->TextureCreate, nullptr);
}

TEST_F(Direct3DTest, CallbacksAreTheDriversEntriesAndNothingElse) {
    for (uint32_t debug : {0u, 1u}) {
        for (uint32_t device : {DevicePermedia, DevicePermedia2, DeviceTX, DeviceMX}) {
            ReadyRig rig(device);
            DXGlobals.AdvancedDebug = debug;
            const Outputs out = rig.Create();
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
    ReadyRig rig(DevicePermedia);
    const Outputs out = rig.Create();
    EXPECT_EQ(rig.LiveServiceBlocks(), 2u);
    EXPECT_EQ(rig.driver->D3DGlobalDataHandle, reinterpret_cast<uint32_t>(out.global) ^ 0x5A5A5A5A);
    EXPECT_EQ(rig.driver->D3DCallbacksHandle,
              reinterpret_cast<uint32_t>(out.callbacks) ^ 0x5A5A5A5A);
}

TEST_F(Direct3DTest, DisableYieldsNullOutputsAndAllocatesNothing) {
    ReadyRig rig(DevicePermedia);
    rig.SetRegistry("Direct3DHAL.Disable", "1");
    rig.Create().ExpectNone();
    EXPECT_EQ(rig.LiveServiceBlocks(), 0u);
    rig.SetRegistry("Direct3DHAL.Disable", "2");
    EXPECT_NE(rig.Create().global, nullptr);
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
        Ready<ShortOfMemory> rig(DevicePermedia, grants);
        rig.Create().ExpectNone();
        EXPECT_EQ(rig.LiveServiceBlocks(), 0u);
    }
}

TEST_F(Direct3DTest, SlotsAreClearedOnceForAllDisplays) {
    ReadyRig rig(DevicePermedia);
    rig.SetRegistry("Direct3DHAL.Disable", "1"); // clears all the same
    ContextSlots[0] = ContextSlots[199] = rig.PlainContext(true);
    rig.Create();
    EXPECT_EQ(D3DInitialised, 1u);
    for (const D3DContext* slot : ContextSlots) {
        EXPECT_EQ(slot, nullptr);
    }
    D3DContext* ctx = rig.PlainContext(true);
    ContextSlots[5] = ctx;
    rig.Create();
    EXPECT_EQ(ContextSlots[5], ctx);
}

TEST_F(Direct3DTest, ExecuteBufferCallbacksHoldTheirSizeAlone) {
    EXPECT_EQ(WordsOf(myD3DExeBufCallbacks), (Words{28, 0, 0, 0, 0, 0, 0}));
}

// Texture formats.

// Flags, bits and masks by name.
const struct {
    const char* name;
    Words words;
} kFormats[] = {
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

using Names = std::vector<std::string>;

Names OfferedNames(const DriverData* driver, uint32_t count) {
    Names names;
    for (uint32_t i = 0; i != count; ++i) {
        const DDPIXELFORMAT& f = driver->TextureFormats[i].ddpfPixelFormat;
        const Words words = {f.dwFlags,    f.dwRGBBitCount, f.dwRBitMask,
                             f.dwGBitMask, f.dwBBitMask,    f.dwRGBAlphaBitMask};
        std::string name = "?";
        for (const auto& format : kFormats) {
            if (words == format.words) {
                name = format.name;
            }
        }
        names.push_back(name);
    }
    return names;
}

using Build = uint32_t (*)(DriverData*);
Names Built(Rig& rig, Build build) {
    return OfferedNames(rig.driver, build(rig.driver));
}

struct Switches {
    bool rgb8 = false, p2 = false, trueColour = false, noAlpha = false;
};

void Set(Rig& rig, const Switches& switches, const char* on = "1") {
    rig.SetRegistry("Direct3DHAL.Enable8BitRGBTextures", switches.rgb8 ? on : "0");
    rig.SetRegistry("Direct3DHAL.Enable8BitP2Textures", switches.p2 ? on : "0");
    rig.SetRegistry("Direct3DHAL.EnableTrueColorTextures", switches.trueColour ? on : "0");
    rig.SetRegistry("Direct3DHAL.DisableAlphaTextures", switches.noAlpha ? on : "0");
}

// The formats without a palette that every family offers alike: small ones on demand, and those
// with alpha unless they are switched off.
void AppendTrueColour(Names& want, bool small, const Switches& switches) {
    if (small) {
        want.push_back("RGB332");
        if (!switches.noAlpha) {
            want.push_back("ARGB1232");
        }
    }
    if (!switches.noAlpha) {
        want.push_back("ARGB1555");
        want.push_back("ARGB4444");
        if (switches.trueColour) {
            want.push_back("ARGB8888");
        }
    }
    want.push_back("RGB565");
}

// Want(switches) tells the formats of the device under each combination of the four switches.
template <class Want>
void ExpectFormats(uint32_t device, Build build, const Want& want) {
    ReadyRig rig(device);
    for (uint32_t mask = 0; mask != 16; ++mask) {
        const Switches switches = {(mask & 1) != 0, (mask & 2) != 0, (mask & 4) != 0,
                                   (mask & 8) != 0};
        Set(rig, switches, mask % 3 == 0 ? "5" : "1"); // any value but 0
        EXPECT_EQ(Built(rig, build), want(switches)) << device << " " << mask;
    }
}

TEST_F(Direct3DTest, PermediaFormatsForEverySwitchCombination) {
    for (uint32_t device :
         {DevicePermedia, DevicePermediaSecond, DevicePermedia2, DevicePermedia2Second}) {
        const bool p2 = device == DevicePermedia2 || device == DevicePermedia2Second;
        ExpectFormats(device, BuildTextureFormatsPermedia, [p2](const Switches& on) {
            Names want = {"RGB555"};
            if (on.trueColour) {
                want.push_back("RGB888");
            }
            if (!p2 || on.p2) {
                want.push_back("PAL4");
            }
            if (p2 && on.p2) {
                want.push_back("PAL8");
            }
            AppendTrueColour(want, on.rgb8 && (!p2 || on.p2), on);
            return want;
        });
    }
}

TEST_F(Direct3DTest, GlintFormatsForEverySwitchCombination) {
    for (uint32_t device : {DeviceTX, DeviceMX}) {
        ExpectFormats(device, BuildTextureFormatsTX, [device](const Switches& on) {
            Names want = {"RGB555", "PAL4"};
            if (device == DeviceMX) {
                want.push_back("PAL8");
            }
            AppendTrueColour(want, on.rgb8, on);
            return want;
        });
    }
}

TEST_F(Direct3DTest, AllThreeSwitchesOnPermedia2GiveTenFormats) {
    ReadyRig rig(DevicePermedia2);
    Set(rig, {.rgb8 = true, .p2 = true, .trueColour = true});
    const Outputs out = rig.Create();
    EXPECT_EQ(out.global->dwNumTextureFormats, 10u);
    EXPECT_EQ(OfferedNames(rig.driver, 10),
              (Names{"RGB555", "RGB888", "PAL4", "PAL8", "RGB332", "ARGB1232", "ARGB1555",
                     "ARGB4444", "ARGB8888", "RGB565"}));
}

TEST_F(Direct3DTest, WithoutSwitchesPermedia2OffersNoPalette) {
    ReadyRig first(DevicePermedia);
    EXPECT_EQ(Built(first, BuildTextureFormatsPermedia),
              (Names{"RGB555", "PAL4", "ARGB1555", "ARGB4444", "RGB565"}));
    ReadyRig second(DevicePermedia2);
    EXPECT_EQ(Built(second, BuildTextureFormatsPermedia),
              (Names{"RGB555", "ARGB1555", "ARGB4444", "RGB565"}));
}

TEST_F(Direct3DTest, DisabledAlphaKeepsRGB332ButNotARGB1232) {
    ReadyRig rig(DevicePermedia);
    Set(rig, {.rgb8 = true, .noAlpha = true});
    EXPECT_EQ(Built(rig, BuildTextureFormatsPermedia),
              (Names{"RGB555", "PAL4", "RGB332", "RGB565"}));
}

TEST_F(Direct3DTest, EveryPlaceOfTheListIsPreset) {
    struct Case {
        uint32_t device;
        Build build;
        uint32_t count;
    };
    for (const Case& c : {Case{DevicePermedia, BuildTextureFormatsPermedia, 5},
                          Case{DeviceMX, BuildTextureFormatsTX, 6}}) {
        ReadyRig rig(c.device);
        std::memset(rig.driver->TextureFormats, 0xEE, sizeof(rig.driver->TextureFormats));
        const uint32_t count = c.build(rig.driver);
        ASSERT_EQ(count, c.count);
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
