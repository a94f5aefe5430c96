/* The registers that the neighbours and KORV32 share: offsets into the aperture, in bytes. All
   accesses are of 32 bits. */
#ifndef KORVCHIP_H
#define KORVCHIP_H

#define KORV_REG_INT_ENABLE 0x0008
#define KORV_REG_INT_FLAGS 0x0010      /* writing a 1 clears the flag */
#define KORV_REG_IN_FIFO_SPACE 0x0018  /* entries that the input FIFO takes */
#define KORV_REG_OUT_FIFO_WORDS 0x0020 /* words that the output FIFO holds */
#define KORV_REG_DMA_ADDRESS 0x0028    /* bus address */
#define KORV_REG_DMA_COUNT 0x0030   /* words; writing starts a transfer, reading gives the rest */
#define KORV_REG_ERROR_FLAGS 0x0038 /* writing a 1 clears the flag */
#define KORV_REG_FIFO_WINDOW 0x2000 /* written: the input FIFO; read: the output FIFO */
#define KORV_REG_MAPPED 0x8000      /* register of tag t, at 8 * t from here */

#define KORV_TAG_SCISSOR_MIN_XY 0x031
#define KORV_TAG_AREA_STIPPLE 0x040 /* and 7 more */
#define KORV_TAG_FILTER_MODE 0x180
#define KORV_TAG_SYNC 0x188

#define KORV_REG_OF_TAG(tag) (KORV_REG_MAPPED + (tag)*8)

/* Bits of IntEnable and IntFlags */
#define KORV_INT_DMA 0x1UL   /* a transfer has ended */
#define KORV_INT_ERROR 0x8UL /* a flag of ErrorFlags was raised */
#define KORV_INT_RETRACE 0x10UL

/* Bits of ErrorFlags, as KORV32 clears them before it wakes the handler by a read of the empty
   output FIFO */
#define KORV_ERRORS 0x7UL

/* FilterMode: a Sync puts its tag into the output FIFO */
#define KORV_FILTER_SYNC_TAG 0x400UL

#endif
