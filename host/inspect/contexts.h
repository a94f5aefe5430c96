#pragma once
// What can be seen of a display's Direct3D contexts from outside, of a driver DLL's too.
#include "driver/core/chipinfo.h"

#include <cstdint>
#include <map>
#include <vector>

struct D3DContext;

namespace host {

// The live ones, as the chip's hardware context table lists them.
std::vector<const D3DContext*> LiveContexts(const ChipInfo* chip);

// The driver's record of the live context of that handle, or null.
const D3DContext* ContextRecord(const ChipInfo* chip, uint32_t handle);

// True if a client, the display or the 16-bit driver has the hardware context of that id.
bool HasHardwareContext(const ChipInfo* chip, uint32_t id);

// Words that contexts have written to their sub-buffers and not yet sent, by handle. Contexts
// without such words, and those that go without DMA, are left out.
using UnsentByContext = std::map<uint32_t, std::vector<uint32_t>>;
UnsentByContext UnsentWords(const ChipInfo* chip);

// Where a context that goes by DMA writes: bus addresses.
struct WritePlace {
    uint32_t subBuffer; // its present one
    uint32_t next;      // the next free word
    uint32_t end;       // behind the sub-buffer's last word
};
std::map<uint32_t, WritePlace> WritePlaces(const ChipInfo* chip); // by handle

// Follows the queue of transfers that the interrupt handler starts.
class QueueWatch {
  public:
    struct Entry {
        uint32_t address; // bus address of the first word
        uint32_t words;
    };
    // Entries that have come since the last call and still wait. Whoever calls it before each
    // access of the chip misses none: an entry leaves by one.
    std::vector<Entry> New(const ChipInfo* chip);

  private:
    uint32_t seen_ = 0; // the head, then
};

} // namespace host
