#include "host/inspect/contexts.h"

#include "driver/d3d/dcontext.h"
#include "driver/services/context.h"

namespace host {

std::vector<const D3DContext*> LiveContexts(const ChipInfo* chip) {
    std::vector<const D3DContext*> contexts;
    for (const ContextBlock* block = chip->ContextBlocks; block != nullptr;
         block = block->NextBlock) {
        for (uint32_t slot = 0; slot < block->SlotCount; ++slot) {
            // The size of a free slot is negative.
            if (block->Size[slot] <= 0 || block->Type[slot] != kContextTypeDirect3D) {
                continue;
            }
            const auto* record = reinterpret_cast<const D3DContext*>(block->Owner[slot]);
            if (record != nullptr && record->Magic == kContextMagic) {
                contexts.push_back(record);
            }
        }
    }
    return contexts;
}

const D3DContext* ContextRecord(const ChipInfo* chip, uint32_t handle) {
    for (const D3DContext* record : LiveContexts(chip)) {
        if (record->ContextHandle == handle) {
            return record;
        }
    }
    return nullptr;
}

bool HasHardwareContext(const ChipInfo* chip, uint32_t id) {
    const ContextBlock* block = chip->ContextBlocks;
    for (; block != nullptr && id >= kContextsPerBlock; id -= kContextsPerBlock) {
        block = block->NextBlock;
    }
    // The lists of types have slots as well, of a type that is no slot.
    return block != nullptr && id < block->SlotCount && block->Size[id] > 0 &&
           block->Type[id] != kNoContext;
}

UnsentByContext UnsentWords(const ChipInfo* chip) {
    UnsentByContext unsent;
    for (const D3DContext* context : LiveContexts(chip)) {
        const CommandStream& stream = context->Stream;
        if (stream.CommandMode == kCommandModeDMA &&
            stream.WritePointer != stream.Current().Linear) {
            unsent[context->ContextHandle] = {stream.Current().Linear, stream.WritePointer};
        }
    }
    return unsent;
}

std::map<uint32_t, WritePlace> WritePlaces(const ChipInfo* chip) {
    std::map<uint32_t, WritePlace> places;
    for (const D3DContext* context : LiveContexts(chip)) {
        const CommandStream& stream = context->Stream;
        if (stream.CommandMode == kCommandModeDMA) {
            const SubBuffer& current = stream.Current();
            const auto bytes = static_cast<uint32_t>((stream.WritePointer - current.Linear) *
                                                     static_cast<ptrdiff_t>(sizeof(uint32_t)));
            const auto room = static_cast<uint32_t>((current.Last + 1 - current.Linear) *
                                                    static_cast<ptrdiff_t>(sizeof(uint32_t)));
            places[context->ContextHandle] = {current.Physical, current.Physical + bytes,
                                              current.Physical + room};
        }
    }
    return places;
}

std::vector<QueueWatch::Entry> QueueWatch::New(const ChipInfo* chip) {
    std::vector<Entry> entries;
    const uint32_t head = chip->QueueHead, end = chip->QueueEnd;
    if (head == seen_) {
        return entries;
    }
    const uint32_t tail = chip->QueueTail;
    // A change of context empties the queue and begins anew: then the head of before does not lie
    // among those that wait, and all of them are new.
    bool found = false, fresh = false;
    const auto next = [end](uint32_t index) { return index + 1 >= end ? 0 : index + 1; };
    for (uint32_t i = tail; i != head; i = next(i)) {
        found = found || i == seen_;
    }
    for (uint32_t i = tail; i != head; i = next(i)) {
        fresh = fresh || !found || i == seen_;
        if (fresh) {
            entries.push_back({chip->QueueAddress[i], chip->QueueCount[i]});
        }
    }
    seen_ = head;
    return entries;
}

} // namespace host
