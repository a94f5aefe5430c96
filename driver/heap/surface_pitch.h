#pragma once
// Pitches that the chip can form, and their partial products.
#include "driver/core/records/private_surface.h"

#include <cstdint>

struct DriverData;

// The narrowest pitch that partial products can express, and the step between pitches, in pixels.
inline constexpr uint32_t kSmallestPitch = 32;

// How a pitch is put together: code c stands for 2^(c + 4) pixels, 0 for nothing.
struct PartialProductSet {
    uint32_t Code[4];
    uint32_t Needed; // products wanted; the chip has fewer when this is above its slots
};

// What a chip can add up.
struct ProductLimits {
    uint32_t Top;   // log2 of the largest product, in pixels
    uint32_t Slots; // products at most
};

struct PitchChoice {
    uint32_t Width; // pitch in pixels
    PartialProductSet Products;
};

// The limits that go with the display's chip.
ProductLimits ProductLimitsOf(const DriverData* driver);
// The products of `width` pixels, rounded down to a multiple of 32.
PartialProductSet FindProducts(ProductLimits limits, uint32_t width);
// The narrowest pitch of at least `width` pixels that needs three products or fewer. False when
// there is none.
bool SearchPitch(ProductLimits limits, uint32_t width, PitchChoice* choice);
// Puts products, PPCode and packed products into a record whose PixelSize is set.
void StoreProducts(PrivateSurfaceData* record, const PartialProductSet& products);
// The same from the products of the screen stride.
void StoreScreenProducts(DriverData* driver, PrivateSurfaceData* record);
// Partial-product codes of a width in pixels, rounded down to a multiple of 32. Code c stands for
// 2^(c + 4) pixels, 0 for nothing.
void DeterminePPCode(DriverData* driver, uint32_t width, uint32_t* pp0, uint32_t* pp1,
                     uint32_t* pp2, uint32_t* pp3);
