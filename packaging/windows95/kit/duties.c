#include "korvkit.h"

static void Clear(void* memory, KORV_U32 bytes) {
    KORV_U8* at = (KORV_U8*)memory;
    while (bytes != 0) {
        *at++ = 0;
        --bytes;
    }
}

/* ---- The heap of video memory ---- */

void KorvBuildHeap(KorvVideoHeap* heap) {
    KorvNodeGroup* group = &heap->FirstGroup;
    KorvHeapNode* node;
    KORV_U32 i;
    heap->NextGroupId = 1;
    group->Next = group->Prev = group->Linear = (KORV_U32)group;
    group->GroupId = 0;
    for (i = 0; i < KORV_NODES_PER_GROUP; ++i) {
        node = &group->Nodes[i];
        Clear(node, sizeof(*node));
        node->Kind = KORV_NODE_SPARE;
        node->Index = i;
        /* The first node is none of this ring. */
        node->NextIndex = i == KORV_NODES_PER_GROUP - 1 ? 1 : i + 1;
        node->PrevIndex = i <= 1 ? KORV_NODES_PER_GROUP - 1 : i - 1;
    }
    node = &group->Nodes[0];
    node->Kind = KORV_NODE_FREE;
    node->NextIndex = node->PrevIndex = 0;
    node->Start = heap->HeapStart;
    node->End = heap->HeapEnd;
    heap->SpareSet.Group = 0;
    heap->SpareSet.Index = 1;
    heap->FreeSet.Group = 0;
    heap->FreeSet.Index = 0;
    heap->AllocatedSet.Group = 0;
    heap->AllocatedSet.Index = KORV_NO_NODE;
}

/* ---- The context table ---- */

void KorvEmptyContexts(KorvContextBlock* block, KORV_U32 bytes) {
    const KORV_U32 first = (sizeof(KorvContextBlock) + 3) & ~3UL;
    Clear(block, bytes);
    block->NextFree = (KORV_U16)first;
    block->FreeBytes = (KORV_U16)(bytes - first);
}

/* The next slot, with `bytes` of data, or -1. */
static int TakeSlot(KorvContextBlock* block, KORV_U32 bytes, KORV_U16 type) {
    const int slot = block->SlotCount;
    bytes = (bytes + 3) & ~3UL;
    if (slot >= KORV_CONTEXTS_PER_BLOCK || bytes > block->FreeBytes || bytes > 0x7FFF) {
        return -1;
    }
    ++block->SlotCount;
    ++block->UsedCount;
    block->DataOffset[slot] = block->NextFree;
    block->Size[slot] = (KORV_S16)bytes;
    block->Type[slot] = type;
    block->NextFree = (KORV_U16)(block->NextFree + bytes);
    block->FreeBytes = (KORV_U16)(block->FreeBytes - bytes);
    return slot;
}

int KorvAddList(KorvContextBlock* block, const KORV_U16* offsets, KORV_U16 count) {
    const int slot = TakeSlot(block, 2 + 2UL * count, KORV_TYPE_LIST);
    if (slot >= 0) {
        KorvRegisterList* list = (KorvRegisterList*)((KORV_U8*)block + block->DataOffset[slot]);
        KORV_U16* to = list->Offset;
        KORV_U16 i;
        list->Count = count;
        for (i = 0; i < count; ++i) {
            to[i] = offsets[i];
        }
    }
    return slot;
}

int KorvAddContext(KorvContextBlock* block, int list, KORV_U32 registers) {
    const KorvRegisterList* from =
        (const KorvRegisterList*)((KORV_U8*)block + block->DataOffset[list]);
    const KORV_U16* offsets = from->Offset;
    const int slot = TakeSlot(block, 4UL * from->Count, (KORV_U16)list);
    if (slot >= 0) {
        KORV_U32* to = (KORV_U32*)((KORV_U8*)block + block->DataOffset[slot]);
        KORV_U16 i;
        for (i = 0; i < from->Count; ++i) {
            to[i] = KORV_READ(registers, offsets[i]);
        }
    }
    return slot;
}

/* ---- The interrupt ---- */

/* Starts the queue's next entry; 0 if there is none. KORV32 may be changing the queue: a change of
   context switches it off, zeroes head and tail, and switches it on, in this order, so a tail that
   reads the same before and after the rest belongs to them. */
static int StartNext(KORV_U32 registers, KorvChipInfo* chip) {
    KORV_U32 tail, head, on, next;
    do {
        tail = chip->QueueTail;
        head = chip->QueueHead;
        on = chip->DMAState & KORV_DMA_QUEUE_ON;
    } while (chip->QueueTail != tail);
    if (on == 0 || head == tail) {
        return 0;
    }
    chip->QueueRunning = 1;
    KORV_WRITE(registers, KORV_REG_DMA_ADDRESS, chip->QueueAddress[tail]);
    KORV_WRITE(registers, KORV_REG_DMA_COUNT, chip->QueueCount[tail]);
    /* Only now: KORV32 takes an empty queue for the sign to look at DMACount. */
    next = tail + 1;
    chip->QueueTail = next == chip->QueueEnd ? 0 : next;
    return 1;
}

void KorvHandleInterrupt(KORV_U32 registers, KorvChipInfo* chip) {
    /* The flags go first: what happens from here on raises the line again. The retrace flag is
       KORV32's unless blanks are noted for it. */
    const KORV_U32 flags = KORV_READ(registers, KORV_REG_INT_FLAGS);
    const KORV_U32 ours = flags & (KORV_INT_DMA | KORV_INT_ERROR);
    if (ours != 0) {
        KORV_WRITE(registers, KORV_REG_INT_FLAGS, ours);
    }
    if ((flags & KORV_INT_RETRACE) != 0 && (chip->Flags & KORV_CHIP_BLANK_BY_INT) != 0) {
        KORV_WRITE(registers, KORV_REG_INT_FLAGS, KORV_INT_RETRACE);
        chip->Flags |= KORV_CHIP_BLANK_SEEN;
    }
    for (;;) {
        if (KORV_READ(registers, KORV_REG_DMA_COUNT) != 0) {
            return; /* its end raises the line; QueueRunning stays as it is */
        }
        if (StartNext(registers, chip)) {
            continue;
        }
        chip->QueueRunning = 0;
        /* KORV32 may have filled an entry, and seen QueueRunning set, in between. */
        if (!StartNext(registers, chip)) {
            return;
        }
    }
}
