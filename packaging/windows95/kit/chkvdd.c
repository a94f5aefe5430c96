#include "finding.h"

static int Ask(KorvControl control, void* self, KORV_U32 code, KORV_U32 in, KORV_U32* out) {
    *out = 0;
    return control(self, code, &in, 4, out, 4);
}

static int AskMemory(KorvControl control, void* self, KorvMemoryRequest* request) {
    KorvMemoryRequest in = *request;
    return control(self, KORV_VDD_MEMORY, &in, sizeof(in), request, sizeof(*request));
}

static int CheckMemoryService(KorvControl control, void* self, KorvFinding* finding) {
    KorvMemoryRequest block[2];
    int i, good = 1;
    for (i = 0; i < 2; ++i) {
        block[i].Size = sizeof(block[i]);
        block[i].Command = KORV_MEMORY_ALLOCATE;
        block[i].Bytes = 5000;
        block[i].Handle = block[i].Linear = 0;
        if (!AskMemory(control, self, &block[i])) {
            return KorvFail(finding, "the result of request 3, allocate", "success", 0);
        }
        if (block[i].Linear == 0 || block[i].Linear % 4 != 0) {
            return KorvFail(finding, "Linear behind request 3, allocate", "an address at a word",
                            block[i].Linear);
        }
    }
    if (block[0].Linear < block[1].Linear + 5000 && block[1].Linear < block[0].Linear + 5000) {
        return KorvFail(finding, "Linear behind request 3, allocate",
                        "a block apart from the one before", block[1].Linear);
    }
    for (i = 0; i < 2; ++i) {
        good = good && KorvCheckMemory(block[i].Linear, 5000, finding);
        block[i].Size = sizeof(block[i]);
        block[i].Command = KORV_MEMORY_FREE;
        if (!AskMemory(control, self, &block[i])) {
            return KorvFail(finding, "the result of request 3, free", "success", 0);
        }
    }
    return good;
}

static KORV_U32 LastBlock(const KorvChipInfo* chip, KORV_U32* count) {
    KORV_U32 at = chip->ContextBlocks, last = 0;
    *count = 0;
    while (at != 0 && *count < 1000) {
        ++*count;
        last = at;
        at = ((const KorvContextBlock*)at)->NextBlock;
    }
    return last;
}

/* Registers in the longer of the lists that KORV32 asks for; they have been checked. */
static KORV_U16 LargestList(const KorvChipInfo* chip) {
    const KorvContextBlock* block = (const KorvContextBlock*)chip->ContextBlocks;
    const KorvRegisterList* client = (const KorvRegisterList*)KorvSlotData(block, KORV_LIST_CLIENT);
    const KorvRegisterList* direct3D =
        (const KorvRegisterList*)KorvSlotData(block, KORV_LIST_DIRECT3D);
    return client->Count > direct3D->Count ? client->Count : direct3D->Count;
}

int KorvCheckRequests(KorvControl control, void* self, KORV_U32 display, KorvFinding* finding) {
    const KorvChipInfo* chip;
    const KorvContextBlock* added;
    KORV_U32 data, address, before, after;
    if (!Ask(control, self, KORV_VDD_GET_DRIVER_DATA, display, &data) || data == 0) {
        return KorvFail(finding, "the answer to request 4",
                        "the address of the display's DriverData", data);
    }
    chip = (const KorvChipInfo*)((const KorvDriverData*)data)->ChipInfo;
    if (chip == 0) {
        return KorvFail(finding, "DriverData.ChipInfo", "the address of the shared block", 0);
    }
    if (!KorvCheckContexts(chip, finding) || !CheckMemoryService(control, self, finding)) {
        return 0;
    }
    LastBlock(chip, &before);
    if (!Ask(control, self, KORV_VDD_ADD_CONTEXTS, (KORV_U32)chip, &address)) {
        return KorvFail(finding, "the result of request 2", "success", 0);
    }
    added = (const KorvContextBlock*)LastBlock(chip, &after);
    if (after != before + 1) {
        return KorvFail(finding, "the blocks of the context table behind request 2", "one more",
                        after);
    }
    if (added->SlotCount != 0 || added->UsedCount != 0 ||
        added->NextFree < sizeof(KorvContextBlock)) {
        return KorvFail(finding, "NextFree of the block that request 2 has added",
                        "an empty block: an offset behind the arrays, no slots", added->NextFree);
    }
    if (added->FreeBytes < 4UL * LargestList(chip)) {
        return KorvFail(finding, "FreeBytes of the block that request 2 has added",
                        "room for a context by the longest list", added->FreeBytes);
    }
    return 1;
}
