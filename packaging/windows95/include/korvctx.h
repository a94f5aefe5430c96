/* The table of hardware contexts: register sets of those who share the chip. A chain of blocks of
   32 slots; slot i of the n-th block has the id 32 * n + i. A slot is either a register list or a
   context, whose Type is the id of the slot with its list. */
#ifndef KORVCTX_H
#define KORVCTX_H

#include "korvtype.h"

#define KORV_CONTEXTS_PER_BLOCK 32

typedef struct KorvContextBlock {
    KORV_U32 Handle[KORV_CONTEXTS_PER_BLOCK]; /* first word of the client, 0 for most */
    KORV_U32 Owner[KORV_CONTEXTS_PER_BLOCK];  /* second word of the client */
    KORV_U32 NextBlock;                       /* linear address, or 0 */
    KORV_U8 Unknown104[2];
    KORV_U16 SlotCount; /* slots ever used */
    KORV_U16 UsedCount; /* slots now live */
    KORV_U16 NextFree;  /* offset in the block of the first free byte of the data area */
    KORV_U16 FreeBytes; /* from there on */
    KORV_U16 DataOffset[KORV_CONTEXTS_PER_BLOCK]; /* offset in the block of the slot's data */
    KORV_S16 Size[KORV_CONTEXTS_PER_BLOCK];       /* bytes of it; negated while the slot is free */
    KORV_U16 Type[KORV_CONTEXTS_PER_BLOCK];       /* id of the slot with the register list */
    KORV_U16 EndIndex[KORV_CONTEXTS_PER_BLOCK];   /* queue length, 0 = no queue */
    KORV_U8 Unknown20E[2];
} KorvContextBlock;

/* Data of a slot that is a register list. Data of a context: Count values of 32 bits. */
typedef struct KorvRegisterList {
    KORV_U16 Count;     /* at least 2 */
    KORV_U16 Offset[1]; /* Count offsets into the aperture, in the order in which they are loaded */
} KorvRegisterList;

/* Types whose lists KORV32 asks for. */
#define KORV_LIST_CLIENT 2
#define KORV_LIST_DIRECT3D 3
/* A context that must exist: all two-dimensional work is done under it. */
#define KORV_CONTEXT_2D 5
/* CurrentContext when nobody's registers are loaded. */
#define KORV_NO_CONTEXT 0xFFFFUL
/* Type of a slot that is a list. */
#define KORV_TYPE_LIST 0xFFFFU

#endif
