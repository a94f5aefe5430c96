#include "driver/heap/surface_pitch.h"

#include "driver/core/driverdata.h"
#include "driver/core/glintutl.h"

#include <bit>

namespace {

constexpr uint32_t kSmallestProduct = std::countr_zero(kSmallestPitch); // log2
constexpr uint32_t kMaxSearchedProducts = 3;

// Screen products: three codes of three bits in one word.
constexpr uint32_t kCodeBits = 3;
constexpr uint32_t kCodeMask = 7;

template <ChipModel kModel>
constexpr ProductLimits kLimits = {.Top = DeviceOf(kModel).pitchTop,
                                   .Slots = DeviceOf(kModel).pitchSlots};

constexpr uint32_t RoundUpToPitch(uint32_t width) {
    return (width + kSmallestPitch - 1) & ~(kSmallestPitch - 1);
}

constexpr uint32_t CodeOf(uint32_t log2Pixels) {
    return log2Pixels - 4;
}

// The code of 1/2^shift of a product.
constexpr uint32_t Divided(uint32_t code, uint32_t shift) {
    return code > shift ? code - shift : 0;
}

// Only surfaces of less than 32 bits have packed products; on others they keep what they held.
void StorePackedProducts(PrivateSurfaceData* record) {
    if (record->PixelSize != PixelSize8 && record->PixelSize != PixelSize16) {
        return;
    }
    const uint32_t shift = record->PixelSize == PixelSize16 ? 1 : 2;
    record->PackedPP0 = Divided(record->PartialProduct0, shift);
    record->PackedPP1 = Divided(record->PartialProduct1, shift);
    record->PackedPP2 = Divided(record->PartialProduct2, shift);
    record->PackedPPCode =
        PartialProductCode(record->PackedPP0, record->PackedPP1, record->PackedPP2);
}

} // namespace

ProductLimits ProductLimitsOf(const DriverData* driver) {
    const ChipInfo* chip = driver->ChipInfo;
    // An id that is in no row has the limits of its family's first chip.
    if (chip->Family != FamilyPermedia) {
        return kLimits<ChipModel::SX>;
    }
    return IsPermedia2(chip) ? kLimits<ChipModel::Permedia2> : kLimits<ChipModel::Permedia>;
}

PartialProductSet FindProducts(ProductLimits limits, uint32_t width) {
    PartialProductSet products = {};
    products.Needed = width >> limits.Top;
    if (products.Needed <= limits.Slots) {
        for (uint32_t i = 0; i < products.Needed; ++i) {
            products.Code[i] = CodeOf(limits.Top);
        }
    }
    for (uint32_t bit = kSmallestProduct; bit < limits.Top; ++bit) {
        if ((width >> bit & 1) != 0) {
            if (products.Needed < limits.Slots) {
                products.Code[products.Needed] = CodeOf(bit);
            }
            ++products.Needed;
        }
    }
    return products;
}

bool SearchPitch(ProductLimits limits, uint32_t width, PitchChoice* choice) {
    for (uint32_t w = RoundUpToPitch(width); w >> limits.Top <= kMaxSearchedProducts;
         w += kSmallestPitch) {
        const PartialProductSet products = FindProducts(limits, w);
        if (products.Needed <= kMaxSearchedProducts) {
            *choice = {w, products};
            return true;
        }
    }
    return false;
}

void StoreProducts(PrivateSurfaceData* record, const PartialProductSet& products) {
    record->PartialProduct0 = products.Code[0];
    record->PartialProduct1 = products.Code[1];
    record->PartialProduct2 = products.Code[2];
    record->PartialProduct3 = products.Code[3];
    record->PPCode = PartialProductCode(products.Code[0], products.Code[1], products.Code[2]);
    StorePackedProducts(record);
}

void StoreScreenProducts(DriverData* driver, PrivateSurfaceData* record) {
    MatchFBDepth(driver);
    const uint32_t word = driver->PartialProducts;
    StoreProducts(record, {{word & kCodeMask, word >> kCodeBits & kCodeMask,
                            word >> 2 * kCodeBits & kCodeMask, 0},
                           0});
}

void DeterminePPCode(DriverData* driver, uint32_t width, uint32_t* pp0, uint32_t* pp1,
                     uint32_t* pp2, uint32_t* pp3) {
    const PartialProductSet products = FindProducts(ProductLimitsOf(driver), width);
    *pp0 = products.Code[0];
    *pp1 = products.Code[1];
    *pp2 = products.Code[2];
    *pp3 = products.Code[3];
}
