/* What KORV32 asks of the mini VDD by DeviceIoControl. It opens the device anew for each request,
   to read, shared for reading and writing, and closes it again. */
#ifndef KORVVDD_H
#define KORVVDD_H

#include "korvtype.h"

#define KORV_VDD_NAME "\\\\.\\glintmvd"

/* In and out: the linear address of a KorvChipInfo, 4 bytes. Add an empty block to the end of its
   context table: zeros, NextFree behind the arrays, FreeBytes the rest. KORV32 asks until there is
   room, so this must not fail for good. */
#define KORV_VDD_ADD_CONTEXTS 2UL
/* In and out: a KorvMemoryRequest. */
#define KORV_VDD_MEMORY 3UL
/* In: the number of a display, as DriverInit gets it. Out: the linear address of its
   KorvDriverData, or 0. 4 bytes each. */
#define KORV_VDD_GET_DRIVER_DATA 4UL

#define KORV_MEMORY_ALLOCATE 1UL
#define KORV_MEMORY_FREE 2UL

/* Memory that all processes see at one address. */
typedef struct KorvMemoryRequest {
    KORV_U32 Size;    /* 20 */
    KORV_U32 Command; /* KORV_MEMORY_... */
    KORV_U32 Bytes;
    KORV_U32 Handle; /* out of an allocation, in to a free */
    KORV_U32 Linear; /* the same; 0 out of an allocation: refused */
} KorvMemoryRequest;

#endif
