#include "finding.h"

int KorvFail(KorvFinding* finding, const char* field, const char* expected, KORV_U32 found) {
    finding->Field = field;
    finding->Expected = expected;
    finding->Found = found;
    return 0;
}

static KORV_U32 FamilyOf(KORV_U32 device) {
    switch (device) {
    case KORV_DEVICE_SX:
    case KORV_DEVICE_TX:
    case KORV_DEVICE_MX:
        return KORV_FAMILY_GLINT;
    case KORV_DEVICE_PERMEDIA:
    case KORV_DEVICE_PERMEDIA2:
    case KORV_DEVICE_PERMEDIA_SECOND:
    case KORV_DEVICE_PERMEDIA2_SECOND:
        return KORV_FAMILY_PERMEDIA;
    default:
        return 0;
    }
}

int KorvCheckChipInfo(const KorvChipInfo* chip, KorvFinding* finding) {
    const KORV_U32 family = FamilyOf(chip->DeviceId);
    KORV_U32 i;
    if (family == 0) {
        return KorvFail(finding, "ChipInfo.DeviceId", "a KORV_DEVICE_... number", chip->DeviceId);
    }
    if (chip->Family != family) {
        return KorvFail(finding, "ChipInfo.Family", "1 for Glint chips, 4 for Permedia chips",
                        chip->Family);
    }
    if (chip->FrameBufferSize == 0) {
        return KorvFail(finding, "ChipInfo.FrameBufferSize", "bytes of video memory", 0);
    }
    if (family == KORV_FAMILY_GLINT && chip->LocalBufferSize == 0) {
        return KorvFail(finding, "ChipInfo.LocalBufferSize", "bytes, on a Glint chip", 0);
    }
    if (chip->RefreshRate == 0) {
        return KorvFail(finding, "ChipInfo.RefreshRate", "frames per second, never 0", 0);
    }
    if (chip->DMABufferCount > KORV_MOST_DMA_BUFFERS) {
        return KorvFail(finding, "ChipInfo.DMABufferCount", "10 at most", chip->DMABufferCount);
    }
    for (i = 0; i < chip->DMABufferCount; ++i) {
        if (chip->DMABufferLinear[i] == 0 || chip->DMABufferLinear[i] % 4 != 0) {
            return KorvFail(finding, "ChipInfo.DMABufferLinear of a buffer", "an address at a word",
                            chip->DMABufferLinear[i]);
        }
        if (chip->DMABufferPhysical[i] == 0 || chip->DMABufferPhysical[i] % 4 != 0) {
            return KorvFail(finding, "ChipInfo.DMABufferPhysical of a buffer",
                            "an address at a word", chip->DMABufferPhysical[i]);
        }
    }
    if (chip->DMABufferCount != 0 && chip->DMABufferSize < 4096) {
        return KorvFail(finding, "ChipInfo.DMABufferSize", "1000 at least", chip->DMABufferSize);
    }
    for (i = 0; i < sizeof(chip->RegistryName) && chip->RegistryName[i] != 0; ++i) {
    }
    if (i == 0 || i > KORV_MOST_REGISTRY_NAME) {
        return KorvFail(finding, "the length of ChipInfo.RegistryName", "1 to 22 (34 decimal)", i);
    }
    if (chip->ContextBlocks == 0) {
        return KorvFail(finding, "ChipInfo.ContextBlocks", "the address of a block", 0);
    }
    return 1;
}

int KorvCheckDriverData(const KorvDriverData* data, KorvFinding* finding) {
    static const struct {
        KORV_U32 bits, size, shift, mask;
    } modes[4] = {{8, KORV_PIXELS_8, 2, 3},
                  {16, KORV_PIXELS_16, 1, 1},
                  {24, KORV_PIXELS_24, 0, 0},
                  {32, KORV_PIXELS_32, 0, 0}};
    const KorvChipInfo* chip = (const KorvChipInfo*)data->ChipInfo;
    int mode = 0;
    if (data->RegisterBase == 0 || data->RegisterBase % 4096 != 0) {
        return KorvFail(finding, "DriverData.RegisterBase", "the address of the mapped aperture",
                        data->RegisterBase);
    }
    if (data->FrameBufferBase == 0) {
        return KorvFail(finding, "DriverData.FrameBufferBase", "the address of video memory", 0);
    }
    if (chip == 0) {
        return KorvFail(finding, "DriverData.ChipInfo", "the address of the shared block", 0);
    }
    if (chip->LocalBufferSize == 0 ? data->LocalBufferBase != data->FrameBufferBase
                                   : data->LocalBufferBase == 0) {
        return KorvFail(finding, "DriverData.LocalBufferBase",
                        "the local buffer's address; FrameBufferBase without one",
                        data->LocalBufferBase);
    }
    while (mode < 4 && modes[mode].bits != data->PixelDepthBits) {
        ++mode;
    }
    if (mode == 4) {
        return KorvFail(finding, "DriverData.PixelDepthBits",
                        "8, 10, 18 or 20 (8, 16, 24, 32 decimal)", data->PixelDepthBits);
    }
    if (data->PixelSize != modes[mode].size) {
        return KorvFail(finding, "DriverData.PixelSize", "0 at 8 bits, 1 at 16, 2 at 32, 4 at 24",
                        data->PixelSize);
    }
    if (data->PixelsPerWordShift != modes[mode].shift) {
        return KorvFail(finding, "DriverData.PixelsPerWordShift", "2 at 8 bits, 1 at 16, else 0",
                        data->PixelsPerWordShift);
    }
    if (data->PixelsPerWordMask != modes[mode].mask) {
        return KorvFail(finding, "DriverData.PixelsPerWordMask", "3 at 8 bits, 1 at 16, else 0",
                        data->PixelsPerWordMask);
    }
    if (data->ScreenWidth == 0 || data->ScissorWidth == 0) {
        return KorvFail(finding, "DriverData.ScreenWidth or ScissorWidth", "pixels", 0);
    }
    if (data->ScreenHeight == 0 || data->ScissorHeight == 0) {
        return KorvFail(finding, "DriverData.ScreenHeight or ScissorHeight", "lines", 0);
    }
    if (data->ScreenWidth >
        chip->FrameBufferSize / data->ScreenHeight / (data->PixelDepthBits / 8)) {
        return KorvFail(finding, "DriverData.ScreenWidth",
                        "a screen that fits into ChipInfo.FrameBufferSize", data->ScreenWidth);
    }
    return 1;
}

/* Walks a ring of `kind` and counts its nodes. */
static int CheckRing(const KorvVideoHeap* heap, const KorvNodeSet* set, KORV_U32 kind,
                     KORV_U32* count, KorvFinding* finding) {
    const KorvHeapNode* nodes = heap->FirstGroup.Nodes;
    KORV_U32 at = set->Index;
    *count = 0;
    if (at == KORV_NO_NODE) {
        return 1;
    }
    do {
        if (at >= KORV_NODES_PER_GROUP || *count == KORV_NODES_PER_GROUP) {
            return KorvFail(finding, "an index in a ring of the heap",
                            "a ring of the group's 64 (100 "
                            "decimal) nodes that comes back to its first",
                            at);
        }
        if (nodes[at].Index != at || nodes[at].Group != 0) {
            return KorvFail(finding, "Index or Group of a heap node", "its own place",
                            nodes[at].Index);
        }
        if (nodes[at].Kind != kind) {
            return KorvFail(finding, "Kind of a heap node", "that of its ring", nodes[at].Kind);
        }
        if (nodes[at].NextIndex >= KORV_NODES_PER_GROUP ||
            nodes[nodes[at].NextIndex].PrevIndex != at) {
            return KorvFail(finding, "NextIndex of a heap node",
                            "a node whose PrevIndex leads back", nodes[at].NextIndex);
        }
        ++*count;
        at = nodes[at].NextIndex;
    } while (at != set->Index);
    return 1;
}

int KorvCheckHeap(const KorvDriverData* data, KorvFinding* finding) {
    const KorvVideoHeap* heap = &data->Heap;
    const KorvChipInfo* chip = (const KorvChipInfo*)data->ChipInfo;
    const KORV_U32 memory = data->FrameBufferBase;
    const KorvHeapNode* whole;
    KORV_U32 spare, loose, allocated;
    if (heap->HeapStart < memory || heap->HeapStart - memory >= chip->FrameBufferSize) {
        return KorvFail(finding, "Heap.HeapStart", "an address in video memory", heap->HeapStart);
    }
    if (heap->HeapEnd <= heap->HeapStart || heap->HeapEnd - memory >= chip->FrameBufferSize) {
        return KorvFail(finding, "Heap.HeapEnd", "the last byte of the heap, in video memory",
                        heap->HeapEnd);
    }
    if (heap->HeapStart - memory <
        data->ScreenWidth * data->ScreenHeight * (data->PixelDepthBits / 8)) {
        return KorvFail(finding, "Heap.HeapStart", "an address behind the screen", heap->HeapStart);
    }
    if (heap->FirstGroup.GroupId != 0 || heap->FirstGroup.Next != (KORV_U32)&heap->FirstGroup ||
        heap->FirstGroup.Prev != heap->FirstGroup.Next ||
        heap->FirstGroup.Linear != heap->FirstGroup.Next) {
        return KorvFail(finding, "Next, Prev or Linear of Heap.FirstGroup",
                        "the group's own address", heap->FirstGroup.Next);
    }
    if (!CheckRing(heap, &heap->SpareSet, KORV_NODE_SPARE, &spare, finding) ||
        !CheckRing(heap, &heap->FreeSet, KORV_NODE_FREE, &loose, finding) ||
        !CheckRing(heap, &heap->AllocatedSet, KORV_NODE_ALLOCATED, &allocated, finding)) {
        return 0;
    }
    if (allocated != 0) {
        return KorvFail(finding, "the nodes in Heap.AllocatedSet", "0 in a new heap", allocated);
    }
    if (loose != 1 || spare != KORV_NODES_PER_GROUP - 1) {
        return KorvFail(finding, "the nodes in Heap.SpareSet", "63 (99 decimal), and 1 in FreeSet",
                        spare);
    }
    whole = &heap->FirstGroup.Nodes[heap->FreeSet.Index];
    if (whole->Start != heap->HeapStart || whole->End != heap->HeapEnd) {
        return KorvFail(finding, "Start or End of the free node", "HeapStart and HeapEnd",
                        whole->Start);
    }
    return 1;
}

int KorvCheckStarted(const KorvDriverData* data, KorvFinding* finding) {
    if (data->Registers != data->RegisterBase) {
        return KorvFail(finding, "DriverData.Registers", "RegisterBase, copied by DriverInit",
                        data->Registers);
    }
    if (data->HALInfo[0] != sizeof(data->HALInfo)) {
        return KorvFail(finding, "HALInfo.dwSize", "1CC", data->HALInfo[0]);
    }
    if (data->DDCallbacks[0] != sizeof(data->DDCallbacks) || data->DDCallbacks[1] == 0) {
        return KorvFail(finding, "DDCallbacks.dwSize", "30, and flags behind it",
                        data->DDCallbacks[0]);
    }
    if (data->SurfaceCallbacks[0] != sizeof(data->SurfaceCallbacks) ||
        data->SurfaceCallbacks[1] == 0) {
        return KorvFail(finding, "SurfaceCallbacks.dwSize", "40, and flags behind it",
                        data->SurfaceCallbacks[0]);
    }
    return 1;
}
