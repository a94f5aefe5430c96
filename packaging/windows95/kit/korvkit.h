/* The bring-up kit: what every display driver and mini VDD for KORV32 does alike, and a check for
   each step of the way there. C90, for flat code of 32 bits: a VxD, or a program. Nothing here
   allocates, prints or needs a library. */
#ifndef KORVKIT_H
#define KORVKIT_H

#include "../include/korv32.h"

/* How the chip is reached: `base` is the linear address of the aperture. */
#ifndef KORV_READ
#define KORV_READ(base, offset) (*(volatile KORV_U32*)((base) + (offset)))
#define KORV_WRITE(base, offset, value) (*(volatile KORV_U32*)((base) + (offset)) = (value))
#endif

/* Reads of a register after which a check gives up: some seconds. */
#ifndef KORV_PATIENCE
#define KORV_PATIENCE 5000000UL
#endif

/* ---- What the neighbours do (duties.c) ---- */

/* Builds the heap's rings over HeapStart to HeapEnd, which stand in the record already. To be
   called at each mode set, before ModeChanged is set. Groups of nodes that KORV32 has added since,
   by requests for memory, are no longer part of it: free them first. */
void KorvBuildHeap(KorvVideoHeap* heap);

/* Makes an empty block of a context table of `bytes` of memory, at most 0xFFFF: for the first
   block, and to be chained behind the last one on KORV_VDD_ADD_CONTEXTS. */
void KorvEmptyContexts(KorvContextBlock* block, KORV_U32 bytes);
/* The registers that a context of this chip keeps: for lists 2 and 3, and for that of context 5.
   `delta`: with a setup chip in front. Writes their offsets, up to `most` of them (200 are enough):
   how many, or 0 for no chip or no room. */
KORV_U16 KorvStateList(KORV_U32 device, int delta, KORV_U16* offsets, KORV_U16 most);
/* Takes the block's next slot for a register list: its number, or -1 without room. */
int KorvAddList(KorvContextBlock* block, const KORV_U16* offsets, KORV_U16 count);
/* Takes the next slot for a context whose registers are those of slot `list`, with the values that
   the chip has now: its number, or -1. The slots of both are of the first block. */
int KorvAddContext(KorvContextBlock* block, int list, KORV_U32 registers);

/* The interrupt handler's work. To be called when the board's interrupt line was raised, not twice
   at a time for one board. */
void KorvHandleInterrupt(KORV_U32 registers, KorvChipInfo* chip);

/* ---- What can be checked (chk....c) ---- */

/* What a check found: "FIELD is FOUND, expected EXPECTED". */
typedef struct KorvFinding {
    const char* Field;
    const char* Expected;
    KORV_U32 Found;
} KorvFinding;

/* All checks: 1 if it passes; 0 with the first thing that is wrong. Those of the chip, and of
   memory, want it idle and leave it as it was. */

/* The chip answers at the aperture: registers keep what is written, and a Sync comes back. */
int KorvCheckAperture(KORV_U32 registers, KorvFinding* finding);
/* Memory holds what is written, at every address line: video memory, the local buffer. */
int KorvCheckMemory(KORV_U32 linear, KORV_U32 bytes, KorvFinding* finding);
/* The fields of ChipInfo that are to be filled before DriverInit. */
int KorvCheckChipInfo(const KorvChipInfo* chip, KorvFinding* finding);
/* Those of DriverData. */
int KorvCheckDriverData(const KorvDriverData* data, KorvFinding* finding);
/* The heap's bounds and rings, as built. */
int KorvCheckHeap(const KorvDriverData* data, KorvFinding* finding);
/* The context table: lists 2 and 3, context 5, and each slot's bounds. */
int KorvCheckContexts(const KorvChipInfo* chip, KorvFinding* finding);
/* Each DMA buffer is where its bus address says: a Sync by DMA from it comes back. */
int KorvCheckDma(KORV_U32 registers, const KorvChipInfo* chip, KorvFinding* finding);
/* The handler drains a queue of several entries, twice round, and wakes each time. Without DMA
   buffers there is nothing to check. */
int KorvCheckQueue(KORV_U32 registers, KorvChipInfo* chip, KorvFinding* finding);
/* If it is to note vertical blanks: one comes. */
int KorvCheckBlank(KORV_U32 registers, KorvChipInfo* chip, KorvFinding* finding);

/* One DeviceIoControl of KORV_VDD_NAME: not 0 if it worked. */
typedef int (*KorvControl)(void* self, KORV_U32 code, void* in, KORV_U32 inBytes, void* out,
                           KORV_U32 outBytes);
/* The mini VDD answers the three requests. Adds a block to the display's context table. */
int KorvCheckRequests(KorvControl control, void* self, KORV_U32 display, KorvFinding* finding);

/* Behind DriverInit: the tables for DirectDraw are filled. */
int KorvCheckStarted(const KorvDriverData* data, KorvFinding* finding);

#endif
