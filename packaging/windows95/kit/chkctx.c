#include "finding.h"

/* A slot's data, or 0 if it is no live slot within its block. */
const void* KorvSlotData(const KorvContextBlock* block, int slot) {
    if (slot >= block->SlotCount || block->Size[slot] <= 0 ||
        block->DataOffset[slot] < sizeof(KorvContextBlock) || block->DataOffset[slot] % 2 != 0 ||
        (KORV_U32)block->DataOffset[slot] + (KORV_U16)block->Size[slot] > block->NextFree) {
        return 0;
    }
    return (const KORV_U8*)block + block->DataOffset[slot];
}

static int CheckList(const KorvContextBlock* block, int slot, KorvFinding* finding) {
    const KorvRegisterList* list = (const KorvRegisterList*)KorvSlotData(block, slot);
    const KORV_U16* offsets;
    KORV_U16 i;
    if (list == 0) {
        return KorvFail(finding, "the number of a register list's slot",
                        "a live slot in the first block", (KORV_U32)slot);
    }
    if (list->Count < 2 || 2 + 2UL * list->Count > (KORV_U16)block->Size[slot]) {
        return KorvFail(finding, "Count of a register list",
                        "2 or more, and room for them in the slot", list->Count);
    }
    offsets = list->Offset;
    for (i = 0; i < list->Count; ++i) {
        if (offsets[i] % 4 != 0 || offsets[i] >= KORV_REG_MAPPED + 0x400 * 8UL) {
            return KorvFail(finding, "an Offset of a register list",
                            "a register within the aperture", offsets[i]);
        }
    }
    return 1;
}

static int CheckContext(const KorvContextBlock* block, int slot, KorvFinding* finding) {
    const KorvRegisterList* list;
    const KORV_U16 type = block->Type[slot];
    if (KorvSlotData(block, slot) == 0) {
        return KorvFail(finding, "the number of a context's slot", "a live slot in the first block",
                        (KORV_U32)slot);
    }
    if (type >= KORV_CONTEXTS_PER_BLOCK || !CheckList(block, type, finding)) {
        return KorvFail(finding, "Type of a context", "the slot of a register list", type);
    }
    list = (const KorvRegisterList*)KorvSlotData(block, type);
    if ((KORV_U16)block->Size[slot] < 4UL * list->Count) {
        return KorvFail(finding, "Size of a context", "4 bytes for each register of its list",
                        (KORV_U16)block->Size[slot]);
    }
    return 1;
}

int KorvCheckContexts(const KorvChipInfo* chip, KorvFinding* finding) {
    const KorvContextBlock* block = (const KorvContextBlock*)chip->ContextBlocks;
    const KORV_U32 current = chip->CurrentContext;
    if (block == 0) {
        return KorvFail(finding, "ChipInfo.ContextBlocks", "the address of a block", 0);
    }
    if (block->SlotCount > KORV_CONTEXTS_PER_BLOCK || block->UsedCount > block->SlotCount) {
        return KorvFail(finding, "SlotCount of the first block", "20 (32 decimal) at most",
                        block->SlotCount);
    }
    if (block->NextFree < sizeof(KorvContextBlock)) {
        return KorvFail(finding, "NextFree of the first block", "an offset behind the arrays",
                        block->NextFree);
    }
    if (!CheckList(block, KORV_LIST_CLIENT, finding) ||
        !CheckList(block, KORV_LIST_DIRECT3D, finding) ||
        !CheckContext(block, KORV_CONTEXT_2D, finding)) {
        return 0;
    }
    if (current != KORV_NO_CONTEXT && current < KORV_CONTEXTS_PER_BLOCK) {
        return CheckContext(block, (int)current, finding);
    }
    return 1;
}
