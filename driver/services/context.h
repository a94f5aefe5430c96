#pragma once
// Hardware contexts: the saved register sets of the clients that share the chip, and the one place
// where ownership of the chip moves. Their table is in core/records.
#include "driver/core/chipinfo.h"
#include "driver/core/minivdd.h"               // IWYU pragma: export
#include "driver/core/records/context_block.h" // IWYU pragma: export
#include "driver/platform/win32.h"

#include <cstdint>

struct DriverData;

// Asks the mini VDD for one more block of the table. As DoIOCTL.
int32_t AddContextMemory(ChipInfo* chip);
// Reads the list's registers (at least 2) into `data`, in order.
void ReadRegisters(DriverData* driver, const RegisterList* list, uint32_t* data);
// Writes `data` to the list's registers, never more at once than the FIFO has room for.
void WriteRegisters(DriverData* driver, const RegisterList* list, const uint32_t* data);
// A new context of `type` with the chip's present register values. The id; it never fails.
uint32_t CreateContext(DriverData* driver, ChipInfo* chip, uint32_t type, uint32_t handle,
                       uint32_t owner);
// Frees the slot; the chip is left without a context if it was current.
void DeleteContext(DriverData* driver, ChipInfo* chip, uint32_t id);
// Sets the queue length that comes in force with the context. kNoContext does nothing.
void SetEndIndex(ChipInfo* chip, uint32_t id, uint16_t endIndex);
// Gives the chip to context `id` (kNoContext allowed): sends what the outgoing client has pending,
// drains the chip, saves and loads registers, and sets the queue for the new owner. The context
// that holds the chip already stays as it is.
void ChangeContext(DriverData* driver, ChipInfo* chip, uint32_t id);

// Exported. A context of the client type for `subBuffers` sub-buffers; its id.
extern "C" int32_t KORV_STDCALL KORV_CreateContext(DriverData* driver, uint32_t subBuffers);
// Exported. Makes the context current. 0.
extern "C" int32_t KORV_STDCALL KORV_SwitchContext(DriverData* driver, uint32_t id);
// Exported. Deletes the context. 0.
extern "C" int32_t KORV_STDCALL KORV_DeleteContext(DriverData* driver, uint32_t id);
