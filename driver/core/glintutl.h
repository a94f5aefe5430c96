#pragma once
// Chip-wide settings: quieting all units, the frame buffer depth, the raster operation map.
#include <cstdint>

struct DriverData;

// Quiets every unit of the chip, whatever a previous owner left.
void DisableAllUnits(DriverData* driver);
// Sets the chip to depth code `depth` (0, 1, 2 for 8, 16, 32 bits; 4 for 24).
void vGlintChangeFBDepth(DriverData* driver, uint32_t depth);
// Sets it to the display's depth, unless it is there.
void MatchFBDepth(DriverData* driver);
// Sets bit r & 31 of word r >> 5 for each of the `count` raster operations of `list`.
void setupRops(const uint8_t* list, uint32_t* bits, uint32_t count);

inline constexpr uint8_t ropList95[3] = {0xCC, 0xFF, 0x00};
// Kept as an outside name: nothing here reads it.
inline constexpr uint8_t ropListNT[1] = {0xCC};
extern uint32_t rops[8];

// Binary raster operation (low four bits of its code) to the chip's logic op.
inline constexpr uint32_t WindowsR2toGlintLogicop[16] = {0, 8, 4, 12, 2, 10, 6, 14,
                                                         1, 9, 5, 13, 3, 11, 7, 15};
