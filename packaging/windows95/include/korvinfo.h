/* ChipInfo: the block that the 16-bit display driver, the mini VDD and KORV32 share. The display
   driver or the mini VDD fills it before DriverInit; it lies where all processes see it at one
   address. What is called Unknown is nobody's and starts as zeros. Words that the interrupt handler
   reads or writes are volatile. */
#ifndef KORVINFO_H
#define KORVINFO_H

#include "korvtype.h"

#define KORV_MOST_DMA_BUFFERS 10
#define KORV_QUEUE_ENTRIES 34

typedef struct KorvChipInfo {
    KORV_U8 Unknown000[0x24];
    volatile KORV_U32 Flags; /* KORV_CHIP_... */
    KORV_U8 Unknown028[4];
    KORV_U32 FrameBufferSize; /* bytes */
    KORV_U32 LocalBufferSize; /* bytes; 0 without a local buffer */
    KORV_U8 Unknown034[0x18];
    KORV_U32 ClientWord; /* handed to clients as it is, as ClientByte and ClientWords are */
    KORV_U8 Unknown050[0xC];
    KORV_U8 ClientByte;
    KORV_U8 Unknown05D;
    KORV_U16 RefreshRate;    /* frames per second, never 0 */
    KORV_U32 PrimaryDisplay; /* 1 on the display that services without a display mean */
    KORV_U8 Unknown064[0x28];
    KORV_U32 DeviceId; /* KORV_DEVICE_... */
    KORV_U32 Revision; /* KORV_REVISION_ONE stands for the first */
    KORV_U32 Family;   /* KORV_FAMILY_... */
    KORV_U32 ClientWords[4];
    volatile KORV_U32 DMAState; /* KORV_DMA_... */
    KORV_U8 Unknown0AC[0x10];
    KORV_U32 DMABufferSize;                            /* bytes in each buffer */
    KORV_U32 DMABufferPhysical[KORV_MOST_DMA_BUFFERS]; /* bus addresses */
    KORV_U32 DMABufferLinear[KORV_MOST_DMA_BUFFERS];   /* linear addresses */
    KORV_U16 DMABufferCount;                           /* 0 to 10 */
    KORV_U16 DMABufferInUse;                           /* bit i: buffer i is taken */
    KORV_U8 Unknown114[4];
    volatile KORV_U32 QueueHead; /* the entry that KORV32 fills next; KORV32 writes it */
    volatile KORV_U32 QueueTail; /* the entry to start next; the handler writes it */
    volatile KORV_U32 QueueEnd;  /* an index that reaches it becomes 0 */
    KORV_U8 Unknown124[0x8C];
    volatile KORV_U32 QueueAddress[KORV_QUEUE_ENTRIES]; /* bus addresses */
    volatile KORV_U32 QueueCount[KORV_QUEUE_ENTRIES];   /* words */
    KORV_U8 Unknown2C0[8];
    volatile KORV_U32 QueueRunning; /* not 0: the handler works through the queue */
    KORV_U8 Unknown2CC[8];
    KORV_U32 ContextBlocks; /* linear address of the first KorvContextBlock */
    KORV_U8 Unknown2D8[4];
    volatile KORV_U32 CurrentContext; /* whose registers are loaded, or KORV_NO_CONTEXT */
    KORV_U8 Unknown2E0[0x18];
    KORV_U32 NoDCI; /* not 0: clients lock the screen by the Win16 lock only */
    KORV_U8 Unknown2FC[4];
    char RegistryName[0x40]; /* ends with a zero; at most 34 characters. The middle of the path
                                SOFTWARE\...\DirectX below HKEY_LOCAL_MACHINE */
} KorvChipInfo;

#define KORV_MOST_REGISTRY_NAME 34

/* Flags */
#define KORV_CHIP_DISCONNECT 0x1UL       /* the chip can hold the bus while its FIFO is full */
#define KORV_CHIP_TWO_SUB_BUFFERS 0x4UL  /* DMA always by two sub-buffers, never by the queue */
#define KORV_CHIP_CURSOR_EXCLUDE 0x10UL  /* KORV32's: the software cursor keeps off the chip */
#define KORV_CHIP_DELTA 0x100UL          /* a setup chip sits in front */
#define KORV_CHIP_BLANK_SEEN 0x10000UL   /* set by the handler at a vertical blank, if ... */
#define KORV_CHIP_BLANK_BY_INT 0x20000UL /* ... the handler notes them */

/* DeviceId; those of the second line are the same chips under a second vendor id. */
#define KORV_DEVICE_SX 1UL
#define KORV_DEVICE_TX 2UL
#define KORV_DEVICE_MX 6UL
#define KORV_DEVICE_PERMEDIA 4UL
#define KORV_DEVICE_PERMEDIA2 7UL
#define KORV_DEVICE_PERMEDIA_SECOND 0x3D04UL
#define KORV_DEVICE_PERMEDIA2_SECOND 0x3D07UL

/* Family */
#define KORV_FAMILY_GLINT 1UL
#define KORV_FAMILY_PERMEDIA 4UL

#define KORV_REVISION_ONE 0x10000UL

/* DMAState */
#define KORV_DMA_IDLE 0x2UL     /* no transfer can be running */
#define KORV_DMA_QUEUE_ON 0x8UL /* transfers go through the queue */

#endif
