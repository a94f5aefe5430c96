#include "finding.h"

/* Waits for as many entries of the input FIFO; 0 if they never come. */
static int WaitForSpace(KORV_U32 registers, KORV_U32 entries) {
    KORV_U32 round;
    for (round = 0; round < KORV_PATIENCE; ++round) {
        if (KORV_READ(registers, KORV_REG_IN_FIFO_SPACE) >= entries) {
            return 1;
        }
    }
    return 0;
}

/* Takes a word that the chip has sent; 0 if none comes. */
static int TakeWord(KORV_U32 registers, KORV_U32* word) {
    KORV_U32 round;
    for (round = 0; round < KORV_PATIENCE; ++round) {
        if (KORV_READ(registers, KORV_REG_OUT_FIFO_WORDS) != 0) {
            *word = KORV_READ(registers, KORV_REG_FIFO_WINDOW);
            return 1;
        }
    }
    return 0;
}

static int ExpectSync(KORV_U32 registers, const char* field, KorvFinding* finding) {
    KORV_U32 word;
    if (!TakeWord(registers, &word)) {
        return KorvFail(finding, "OutFIFOWords", field, 0);
    }
    if (word != KORV_TAG_SYNC) {
        return KorvFail(finding, "the word in the output FIFO", "188, the tag of Sync", word);
    }
    return 1;
}

static int ExpectQuiet(KORV_U32 registers, KorvFinding* finding) {
    const KORV_U32 count = KORV_READ(registers, KORV_REG_DMA_COUNT);
    const KORV_U32 words = KORV_READ(registers, KORV_REG_OUT_FIFO_WORDS);
    if (count != 0) {
        return KorvFail(finding, "DMACount",
                        "0 on an idle chip (all bits set: nothing is mapped there)", count);
    }
    if (words != 0) {
        return KorvFail(finding, "OutFIFOWords", "0 on an idle chip", words);
    }
    return 1;
}

/* All that was written before has been executed behind this. */
static int SyncByRegisters(KORV_U32 registers, KorvFinding* finding) {
    if (!WaitForSpace(registers, 3)) {
        return KorvFail(finding, "InFIFOSpace", "3 or more soon behind a few writes",
                        KORV_READ(registers, KORV_REG_IN_FIFO_SPACE));
    }
    KORV_WRITE(registers, KORV_REG_OF_TAG(KORV_TAG_FILTER_MODE), KORV_FILTER_SYNC_TAG);
    KORV_WRITE(registers, KORV_REG_OF_TAG(KORV_TAG_SYNC), 0);
    KORV_WRITE(registers, KORV_REG_OF_TAG(KORV_TAG_FILTER_MODE), 0);
    return ExpectSync(registers, "a word, behind a Sync", finding);
}

int KorvCheckAperture(KORV_U32 registers, KorvFinding* finding) {
    const KORV_U32 scissor = KORV_REG_OF_TAG(KORV_TAG_SCISSOR_MIN_XY);
    static const KORV_U32 values[2] = {0x00340012UL, 0x00010080UL};
    KORV_U32 before, found;
    int i;
    if (!ExpectQuiet(registers, finding)) {
        return 0;
    }
    if (!WaitForSpace(registers, 4)) {
        return KorvFail(finding, "InFIFOSpace", "4 or more on an idle chip",
                        KORV_READ(registers, KORV_REG_IN_FIFO_SPACE));
    }
    before = KORV_READ(registers, scissor);
    for (i = 0; i < 2; ++i) {
        KORV_WRITE(registers, scissor, values[i]);
        found = KORV_READ(registers, scissor);
        if (found != values[i]) {
            return KorvFail(finding, "ScissorMinXY", "what was written to it", found);
        }
    }
    KORV_WRITE(registers, scissor, before);
    return SyncByRegisters(registers, finding);
}

int KorvCheckMemory(KORV_U32 linear, KORV_U32 bytes, KorvFinding* finding) {
    volatile KORV_U32* memory = (volatile KORV_U32*)linear;
    const KORV_U32 words = bytes / 4;
    KORV_U32 saved[32];
    KORV_U32 step, i, found = 0;
    int count = 0, good = 1;
    /* Word 0, and one at each power of two: an address line that is missing makes two of them one.
     */
    saved[count++] = memory[0];
    for (step = 1; step < words; step <<= 1) {
        saved[count++] = memory[step];
    }
    memory[0] = 0x5A5A0000UL;
    for (step = 1, i = 1; step < words; step <<= 1, ++i) {
        memory[step] = 0xA5A50000UL + i;
    }
    for (step = words > 1 ? 1 : words, i = 1; good && step < words; step <<= 1, ++i) {
        found = memory[step];
        good = found == 0xA5A50000UL + i;
    }
    if (good) {
        found = memory[0];
        good = found == 0x5A5A0000UL;
    }
    for (i = 0; i < (KORV_U32)count; ++i) {
        memory[i == 0 ? 0 : 1UL << (i - 1)] = saved[i];
    }
    return good ? 1
                : KorvFail(finding, "a word of memory", "what was written there, and nowhere else",
                           found);
}

/* Waits for the end of a transfer; 0 if it never comes. */
static int WaitForDma(KORV_U32 registers) {
    KORV_U32 round;
    for (round = 0; round < KORV_PATIENCE; ++round) {
        if (KORV_READ(registers, KORV_REG_DMA_COUNT) == 0) {
            return 1;
        }
    }
    return 0;
}

#define SYNC_WORDS 6

/* Puts a Sync into memory that DMA reads. */
static void WriteSync(KORV_U32 linear) {
    volatile KORV_U32* words = (volatile KORV_U32*)linear;
    words[0] = KORV_TAG_FILTER_MODE;
    words[1] = KORV_FILTER_SYNC_TAG;
    words[2] = KORV_TAG_SYNC;
    words[3] = 0;
    words[4] = KORV_TAG_FILTER_MODE;
    words[5] = 0;
}

int KorvCheckDma(KORV_U32 registers, const KorvChipInfo* chip, KorvFinding* finding) {
    KORV_U16 i;
    for (i = 0; i < chip->DMABufferCount && i < KORV_MOST_DMA_BUFFERS; ++i) {
        if (!ExpectQuiet(registers, finding)) {
            return 0;
        }
        /* The same words from both ends of the buffer, in case only its first page is right. */
        WriteSync(chip->DMABufferLinear[i]);
        WriteSync(chip->DMABufferLinear[i] + chip->DMABufferSize - SYNC_WORDS * 4);
        KORV_WRITE(registers, KORV_REG_DMA_ADDRESS, chip->DMABufferPhysical[i]);
        KORV_WRITE(registers, KORV_REG_DMA_COUNT, SYNC_WORDS);
        if (!WaitForDma(registers)) {
            return KorvFail(finding, "DMACount", "0 soon behind the start of a transfer",
                            KORV_READ(registers, KORV_REG_DMA_COUNT));
        }
        if (!ExpectSync(registers, "a word, behind a Sync by DMA from a buffer's first bytes",
                        finding)) {
            return 0;
        }
        KORV_WRITE(registers, KORV_REG_DMA_ADDRESS,
                   chip->DMABufferPhysical[i] + chip->DMABufferSize - SYNC_WORDS * 4);
        KORV_WRITE(registers, KORV_REG_DMA_COUNT, SYNC_WORDS);
        if (!WaitForDma(registers)) {
            return KorvFail(finding, "DMACount", "0 soon behind the start of a transfer",
                            KORV_READ(registers, KORV_REG_DMA_COUNT));
        }
        if (!ExpectSync(registers, "a word, behind a Sync by DMA from a buffer's last bytes",
                        finding)) {
            return 0;
        }
    }
    return 1;
}

#define QUEUE_LENGTH 5
#define ENTRY_WORDS 2
#define STIPPLE(entry) (KORV_TAG_AREA_STIPPLE + (entry))

/* Fills the queue's next entry as KORV32 does, and wakes the handler if it sleeps. */
static void Enqueue(KORV_U32 registers, KorvChipInfo* chip, KORV_U32 physical) {
    const KORV_U32 head = chip->QueueHead;
    chip->QueueAddress[head] = physical;
    chip->QueueCount[head] = ENTRY_WORDS;
    chip->QueueHead = head + 1 == chip->QueueEnd ? 0 : head + 1;
    if (chip->QueueRunning == 0) {
        KORV_WRITE(registers, KORV_REG_ERROR_FLAGS, KORV_ERRORS);
        (void)KORV_READ(registers, KORV_REG_FIFO_WINDOW);
    }
}

static int RunQueue(KORV_U32 registers, KorvChipInfo* chip, KorvFinding* finding) {
    volatile KORV_U32* words = (volatile KORV_U32*)chip->DMABufferLinear[0];
    KORV_U32 entry, round, drained;
    int turn;
    /* Two turns of three entries in a queue of five: the index wraps, and the handler sleeps
       between. Each entry sets a register of its own. */
    for (turn = 0; turn < 2; ++turn) {
        for (entry = 0; entry < 3; ++entry) {
            words[entry * ENTRY_WORDS] = STIPPLE(entry);
            words[entry * ENTRY_WORDS + 1] = 0x01020304UL << turn << entry;
        }
        for (entry = 0; entry < 3; ++entry) {
            Enqueue(registers, chip, chip->DMABufferPhysical[0] + entry * ENTRY_WORDS * 4);
        }
        for (round = 0, drained = 0; round < KORV_PATIENCE && !drained; ++round) {
            /* Chip first: while it is at work the tail may have reached the head. */
            drained =
                KORV_READ(registers, KORV_REG_DMA_COUNT) == 0 && chip->QueueTail == chip->QueueHead;
        }
        if (!drained) {
            return KorvFail(finding, "QueueTail", "the same as QueueHead soon behind the wake-up",
                            chip->QueueTail);
        }
        for (round = 0; round < KORV_PATIENCE && chip->QueueRunning != 0; ++round) {
            (void)KORV_READ(registers, KORV_REG_DMA_COUNT);
        }
        if (chip->QueueRunning != 0) {
            return KorvFail(finding, "QueueRunning", "0 soon behind the last entry's end",
                            chip->QueueRunning);
        }
        if (!SyncByRegisters(registers, finding)) {
            return 0;
        }
        for (entry = 0; entry < 3; ++entry) {
            const KORV_U32 found = KORV_READ(registers, KORV_REG_OF_TAG(STIPPLE(entry)));
            if (found != words[entry * ENTRY_WORDS + 1]) {
                return KorvFail(finding, "a register that an entry of the queue sets",
                                "the value in the entry's words", found);
            }
        }
    }
    return 1;
}

int KorvCheckQueue(KORV_U32 registers, KorvChipInfo* chip, KorvFinding* finding) {
    const KORV_U32 state = chip->DMAState, end = chip->QueueEnd, head = chip->QueueHead,
                   tail = chip->QueueTail;
    const KORV_U32 enabled = KORV_READ(registers, KORV_REG_INT_ENABLE);
    KORV_U32 stipple[3], i;
    int good;
    if (chip->DMABufferCount == 0) {
        return 1;
    }
    if (!ExpectQuiet(registers, finding)) {
        return 0;
    }
    for (i = 0; i < 3; ++i) {
        stipple[i] = KORV_READ(registers, KORV_REG_OF_TAG(STIPPLE(i)));
    }
    chip->QueueHead = chip->QueueTail = 0;
    chip->QueueEnd = QUEUE_LENGTH;
    chip->QueueRunning = 0;
    chip->DMAState = (state | KORV_DMA_QUEUE_ON) & ~KORV_DMA_IDLE;
    KORV_WRITE(registers, KORV_REG_INT_ENABLE, enabled | KORV_INT_DMA | KORV_INT_ERROR);
    good = RunQueue(registers, chip, finding);
    KORV_WRITE(registers, KORV_REG_INT_ENABLE, enabled);
    chip->DMAState = state;
    chip->QueueEnd = end;
    chip->QueueHead = head;
    chip->QueueTail = tail;
    if (WaitForSpace(registers, 6)) {
        for (i = 0; i < 3; ++i) {
            KORV_WRITE(registers, KORV_REG_OF_TAG(STIPPLE(i)), stipple[i]);
        }
    }
    return good;
}

int KorvCheckBlank(KORV_U32 registers, KorvChipInfo* chip, KorvFinding* finding) {
    KORV_U32 round;
    if ((chip->Flags & KORV_CHIP_BLANK_BY_INT) == 0) {
        return 1;
    }
    chip->Flags &= ~KORV_CHIP_BLANK_SEEN;
    for (round = 0; round < KORV_PATIENCE; ++round) {
        if ((chip->Flags & KORV_CHIP_BLANK_SEEN) != 0) {
            return 1;
        }
        (void)KORV_READ(registers, KORV_REG_IN_FIFO_SPACE);
    }
    return KorvFail(finding, "ChipInfo.Flags",
                    "10000 to be set at a vertical blank, as 20000 is set", chip->Flags);
}
