#include "driver/core/korv32_mode.h"

#include "driver/blit/primitives.h"
#include "driver/core/cursor.h"
#include "driver/core/dma.h"
#include "driver/core/glintutl.h"
#include "driver/heap/surface_pitch.h"
#include "driver/services/context.h"

namespace {

// Reserved for a mode: 20 pairs at most, on TX and MX.
constexpr uint32_t kModeBytes = 400;

constexpr uint32_t kDepthSelect8 = field::FBModeSel_Depth.Put(0, 2);
constexpr uint32_t kDepthSelect16 = field::FBModeSel_Depth.Put(0, 1);

constexpr uint32_t kFastFill = field::Render_FastFill.Mask();
constexpr uint32_t kTXCopyBits = kFastFill | field::Render_BlockFillKind.Mask();

// AlphaBlendMode of TX and MX, switched off, for a colour format.
constexpr uint32_t TXAlphaWord(uint32_t colourFormat) {
    return field::AlphaBlendMode_Source.Put(0, 1) |
           field::AlphaBlendMode_ColorFormat.Put(0, colourFormat) |
           field::AlphaBlendMode_ColorOrder.Mask() | field::AlphaBlendMode_FormatExtension.Mask() |
           field::AlphaBlendMode_Unknown17.Mask();
}
// By pixel size code.
constexpr uint32_t kTXAlphaWord[3] = {TXAlphaWord(14), TXAlphaWord(1), TXAlphaWord(0)};
static_assert(kTXAlphaWord[0] == 0x32E02);

// A 2048 by 2048 map.
constexpr uint32_t kTextureReadStart = field::TextureReadMode_Enable.Put(0, 1) |
                                       field::TextureReadMode_Width.Put(0, 11) |
                                       field::TextureReadMode_Height.Put(0, 11);
static_assert(kTextureReadStart == 0x17601);
constexpr uint32_t kFormat8BitTexels = 0xE;
constexpr uint32_t kGlintDepthFormat = field::LBReadFormat_DepthWidth.Put(0, 2);
constexpr uint32_t kGlintWindow =
    field::Window_ForceUpdate.Mask() | field::Window_UpdateFromRegister.Mask();
// Always passes and writes nothing.
constexpr uint32_t kGlintDepthStart = field::DepthMode_Enable.Put(0, 1) |
                                      field::DepthMode_Source.Put(0, 2) |
                                      field::DepthMode_Compare.Put(0, 7);
static_assert(kGlintDepthStart == 0x79);

// The frame buffer's fast-fill block in pixels on SX, from FBModeSel; 0 for none.
uint32_t FastFillSize(const DriverData* driver, uint32_t modeSelect) {
    if (driver->PixelSize != PixelSize32) {
        return 8;
    }
    const uint32_t width = field::FBModeSel_BlockWidth.Get(modeSelect);
    if (width != 1 && width != 2) {
        return 0;
    }
    return 2u << (field::FBModeSel_Interleave.Get(modeSelect) + width +
                  field::FBModeSel_BlockRows.Get(modeSelect));
}

// The Render words are only ever or-ed here: bits of an earlier mode stay.
void SetRenderWords(DriverData* driver, StreamWriter<DriverData>& out, uint32_t modeSelect) {
    const ChipInfo* chip = driver->ChipInfo;
    if (IsSX(chip)) {
        const uint32_t size = FastFillSize(driver, modeSelect);
        if (chip->Revision != kRevisionOne && size != 0) {
            driver->RenderSolid |= (size & ~7u) | kFastFill;
            driver->FBWriteMode |= (size >> 3) & 0x1FFFFFFE;
        }
    } else if (IsGlintWithTextures(chip)) {
        out.Wait(2);
        if (driver->PixelSize < 3) {
            out.Tag(tag::AlphaBlendMode, kTXAlphaWord[driver->PixelSize]);
        }
        driver->RenderSolid |= kFastFill;
        driver->RenderCopy |= kTXCopyBits;
    } else if (chip->Family == FamilyPermedia) {
        driver->RenderSolid |= kFastFill;
        driver->RenderClear |= kFastFill;
    }
}

// A product code at half (k = 1) or a quarter (k = 2) of the pixel size.
uint32_t Reduced(uint32_t code, uint32_t k) {
    return code <= k ? 0 : code - k;
}

// The screen stride as each depth sees it. Rows of depths below the mode's keep what they had.
void FillDepthTable(DriverData* driver, uint32_t modeSelect) {
    uint32_t p0, p1, p2, p3;
    DeterminePPCode(driver, driver->ScreenWidth, &p0, &p1, &p2, &p3);
    const auto word = [&](uint32_t k) {
        return PartialProductCode(Reduced(p0, k), Reduced(p1, k), Reduced(p2, k));
    };
    DepthRow* row = driver->DepthTable;
    switch (driver->PixelSize) {
    case PixelSize8:
        row[2].word = word(2);
        row[0].select = modeSelect | kDepthSelect8;
        row[1].word = word(1);
        row[1].select = modeSelect | kDepthSelect16;
        row[0].word = word(0);
        row[2].select = modeSelect;
        break;
    case PixelSize16:
        row[2].word = word(1);
        row[1].select = modeSelect | kDepthSelect16;
        row[1].word = word(0);
        row[2].select = modeSelect;
        break;
    case PixelSize32:
        row[2].word = word(0);
        row[2].select = modeSelect;
        break;
    case PixelSize24:
        driver->DepthRow24.word = word(0);
        row[2].select = modeSelect;
        break;
    default:
        break;
    }
}

} // namespace

void ChangeDDHAL32Mode(DriverData* driver) {
    ChipInfo* chip = driver->ChipInfo;
    StreamWriter<DriverData> out(driver);
    out.Reserve(kModeBytes);
    const CursorAway away(chip);
    ChangeContext(driver, chip, kContext2D);
    // The 16-bit side rebuilt the heap in its own terms: the flat ring is a ring of one again.
    NodeGroup& first = driver->Heap.FirstGroup;
    first.Next = &first;
    first.Prev = &first;
    first.Linear = &first;

    driver->ModeKey = ((driver->ScreenHeight << 15 | driver->ScreenWidth) << 2) | driver->PixelSize;
    driver->FlipLimitOn = 0;
    // Upwards: the table of primitives is of the mode.
    SetupFnTable(driver);

    uint32_t modeSelect = 0;
    if (chip->Family == FamilyPermedia) {
        driver->LocalBufferShift = 1;
    } else {
        modeSelect = ReadChip(driver->Registers, reg::FBModeSel) & ~field::FBModeSel_Depth.Mask();
        driver->LocalBufferShift = 2;
    }
    SetRenderWords(driver, out, modeSelect);
    FillDepthTable(driver, modeSelect);
    driver->FBDepth = driver->PixelSize;
    driver->PartialProducts = DepthRowOf(driver, driver->PixelSize).word;

    const uint32_t screenSize = driver->ScissorHeight << 16 | driver->ScissorWidth;
    out.Wait(12);
    out.Tag(tag::LBReadMode, driver->PartialProducts);
    out.Tag(tag::FBReadMode, driver->PartialProducts);
    out.Tag(tag::FBWriteMode, driver->FBWriteMode);
    out.Tag(tag::FBPixelOffset, 0);
    out.Tag(tag::FBHardwareWriteMask, 0xFFFFFFFF);
    out.Tag(tag::FBSoftwareWriteMask, 0xFFFFFFFF);
    out.Tag(tag::ScissorMinXY, 0);
    out.Tag(tag::ScissorMaxXY, screenSize);
    out.Tag(tag::ScreenSize, screenSize);
    out.Tag(tag::WindowOrigin, 0);
    out.Tag(tag::dXDom, 0);
    out.Tag(tag::dXSub, 0);

    out.Wait(16);
    if (chip->Family == FamilyPermedia) {
        const uint32_t texels =
            driver->PixelDepthBits == 8 ? kFormat8BitTexels : driver->PixelsPerWordMask;
        out.Tag(tag::TextureReadMode, kTextureReadStart);
        out.Tag(tag::TextureMapFormat,
                (driver->PixelSize << field::TextureMapFormat_TexelSize.low) +
                    driver->PartialProducts);
        out.Tag(tag::TextureDataFormat, field::TextureDataFormat_ColorOrder.Mask() + texels);
        out.Tag(tag::LBWriteFormat, 0);
        out.Tag(tag::Window, field::Window_DisableUpdate.Mask());
    } else if (chip->Family == FamilyGlint) {
        out.Tag(tag::TextureFilterMode, 0);
        out.Tag(tag::TextureColorMode, 0);
        out.Tag(tag::GlintTextureReadMode, 0);
        out.Tag(tag::TextureAddressMode, 0);
        out.Tag(tag::LBWriteFormat, kGlintDepthFormat);
        out.Tag(tag::Window, kGlintWindow);
        out.Tag(tag::DepthMode, kGlintDepthStart);
    }
    out.Store();
    vGlintChangeFBDepth(driver, driver->PixelSize);
    driver->ModeChanged = 0;
    ++driver->ModeChangeCount;
}
