#pragma once
// What a caller of the driver must see to, and the driver takes for granted: addresses that lead
// somewhere, room for answers, ids that were given out. The player looks before it calls, so that a
// script's mistake is told by the field that is wrong instead of by what breaks in consequence.
#include "tools/korv/replay/player.h"
#include "tools/korv/replay/records/record.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace korv {

// Of an exported function: `names` and `words` are its arguments behind the display, `driver` the
// display's record, null for the primary. Throws NotThereError that names the argument or the field
// of its record.
void CheckExport(Player& player, std::string_view entry, DriverData* driver,
                 std::span<const char* const> names, std::span<const uint32_t> words);

// Of a copy from one surface to another, which is bound by the rectangles alone where the processor
// does it: from system memory, and between surfaces of 4 bits. Throws NotThereError.
void CheckCopy(Player& player, const host::Surface& dest, const RECTL& destRect,
               const host::Surface& source, const RECTL& sourceRect);

// Of a callback of a display and its record. Throws NotThereError that names the field.
void CheckCall(Player& player, const CallbackType& callback, DriverData* driver,
               const void* record);

} // namespace korv
