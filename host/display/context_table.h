#pragma once
// The context table as the 16-bit display driver lays it out before DriverInit: register lists, and
// the contexts of those who use the chip besides the driver.
#include "driver/services/context.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace host {

// Slots of the table. The first four hold register lists; a list's slot is the type of the contexts
// that are kept by it.
enum ContextSlot : uint16_t {
    ListDriver,
    ListScreen,
    ListClient,
    ListDirect3D,
    ContextScreen,
    Context2D,
};

// Present value of the register at an offset of the aperture.
using ReadRegister = std::function<uint32_t(uint16_t offset)>;

// Takes the next slot of a block for a register list.
void AddRegisterList(ContextBlock* block, const std::vector<uint16_t>& list);
// Takes it for a context of that type, with the present values of the list's registers.
void AddContext(ContextBlock* block, uint16_t type, const std::vector<uint16_t>& list,
                const ReadRegister& read);

// Fills an empty block with all slots of a board. Throws as StateRegisters does.
void BuildContextTable(ContextBlock* block, uint32_t deviceId, bool delta,
                       const ReadRegister& read);

} // namespace host
