#include "driver/core/glintutl.h"

#include "driver/core/cursor.h"
#include "driver/core/units.h"

uint32_t rops[8];

namespace {

// Reserved for turning all units off: 34 pairs at most, on Permedia 2.
constexpr uint32_t kUnitsOffBytes = 800;
// Reserved for a change of depth, one pair.
constexpr uint32_t kDepthBytes = 40;

constexpr uint16_t kBufferUnits[] = {
    tag::DitherMode, tag::LogicalOpMode, tag::FBWriteMode,  tag::StatisticMode, tag::AlphaBlendMode,
    tag::FilterMode, tag::PixelSize,     tag::FBSourceData, tag::LBWriteFormat,
};

} // namespace

void DisableAllUnits(DriverData* driver) {
    ChipInfo* chip = driver->ChipInfo;
    StreamWriter<DriverData> out(driver);
    out.Reserve(kUnitsOffBytes);
    const CursorAway away(chip);
    TurnUnitsOff(out, chip, kBufferUnits, kPermediaTextureUnits, kGlintTextureUnits);
    out.Store();
}

void vGlintChangeFBDepth(DriverData* driver, uint32_t depth) {
    ChipInfo* chip = driver->ChipInfo;
    const DepthRow& row = DepthRowOf(driver, depth);
    driver->PartialProducts = row.word;
    driver->FBDepth = depth;
    if (IsSX(chip)) {
        // Past the stream: the select takes effect as soon as the pipeline is empty.
        SyncChip(driver);
        WriteChip(driver->Registers, reg::FBModeSel, row.select);
        return;
    }
    StreamWriter<DriverData> out(driver);
    out.Reserve(kDepthBytes);
    out.Wait(1);
    if (IsGlintWithTextures(chip)) {
        out.Tag(tag::PixelSize, 2 - depth);
    } else if (chip->Family == FamilyPermedia) {
        out.Tag(tag::FBReadPixel, depth);
    }
    out.Store();
}

void MatchFBDepth(DriverData* driver) {
    if (driver->FBDepth != driver->PixelSize) {
        vGlintChangeFBDepth(driver, driver->PixelSize);
    }
}

void setupRops(const uint8_t* list, uint32_t* bits, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        bits[list[i] >> 5] |= 1u << (list[i] & 31);
    }
}
