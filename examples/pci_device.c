/*
 * The board behind a PCI-like bus of an imagined emulator: BAR 0 is the register aperture, BAR 1 the
 * frame buffer; the interrupt pin follows the board's line; the board's DMA reads guest memory. The
 * guest below fills a rectangle by DMA, waits for the interrupt and looks at a pixel.
 */
#include <korv_board.h>
#include <stdio.h>
#include <string.h>

/* ---- what the emulator has anyway: memory, a bus, an interrupt controller ---- */

enum { GUEST_BYTES = 1 << 20, IRQ = 11 };
static const uint32_t BAR0 = 0xE0000000u, BAR1 = 0xE1000000u;

typedef struct {
    uint32_t base, bytes;
    uint32_t (*read)(void* device, uint32_t offset);
    void (*write)(void* device, uint32_t offset, uint32_t value);
} bar;
typedef struct {
    uint8_t guest[GUEST_BYTES];
    struct { bar bars[2]; void* device; } slot;
    int irq_level[16];
} machine;

static const bar* decode(const machine* m, uint32_t address) {
    const bar* b = m->slot.bars;
    return address - b[0].base < b[0].bytes ? &b[0] : &b[1];
}
static uint32_t bus_read(machine* m, uint32_t address) {
    return decode(m, address)->read(m->slot.device, address - decode(m, address)->base);
}
static void bus_write(machine* m, uint32_t address, uint32_t value) {
    decode(m, address)->write(m->slot.device, address - decode(m, address)->base, value);
}

/* ---- the device: glue between that bus and the board ---- */

typedef struct { machine* host; korv_board* board; } card;

/* DMA reads guest memory. The whole of it could be given to korv_board_map instead. */
static int card_dma(void* user, uint32_t address, void* to, size_t bytes) {
    const int there = address < GUEST_BYTES && bytes <= GUEST_BYTES - address;
    memcpy(to, ((card*)user)->host->guest + (there ? address : 0), there ? bytes : 0);
    return there;
}
/* The pin follows the line: raised here, lowered when the guest clears flag or enable. */
static void card_pin(void* user) {
    ((card*)user)->host->irq_level[IRQ] = korv_board_interrupt_level(((card*)user)->board);
}
static uint32_t registers_read(void* device, uint32_t offset) {
    return korv_board_read(((card*)device)->board, offset);
}
static void registers_write(void* device, uint32_t offset, uint32_t value) {
    korv_board_write(((card*)device)->board, offset, value);
    card_pin(device);
}
/* An emulator would map this BAR straight to the memory, as it does with its own. */
static uint32_t* memory_at(void* device, uint32_t offset) {
    return (uint32_t*)korv_board_frame_buffer(((card*)device)->board, NULL) + offset / 4;
}
static uint32_t memory_read(void* device, uint32_t offset) { return *memory_at(device, offset); }
static void memory_write(void* device, uint32_t offset, uint32_t value) {
    *memory_at(device, offset) = value;
}
static int card_plug(card* c, machine* m) {
    korv_board_config config;
    char error[200];
    korv_board_config_init(&config, sizeof config);
    config.chip = KORV_BOARD_PERMEDIA;
    config.dma_words_per_tick = 4; /* as slow as memory is: the guest runs on meanwhile */
    config.microseconds_per_tick = 0; /* time is the emulator's */
    config.user = c, config.read_memory = card_dma, config.interrupt = card_pin;
    c->host = m;
    if (korv_board_create(&config, &c->board, error, sizeof error) != KORV_BOARD_OK) {
        fprintf(stderr, "%s\n", error);
        return 0;
    }
    m->slot.bars[0] = (bar){BAR0, KORV_BOARD_APERTURE_BYTES, registers_read, registers_write};
    m->slot.bars[1] = (bar){BAR1, config.frame_buffer_bytes, memory_read, memory_write};
    m->slot.device = c;
    return 1;
}

/* ---- the guest: a fill of 64 by 32 pixels of 32 bits, at (8, 4) ---- */

static uint32_t tag(const char* name) {
    uint32_t offset = 0;
    return korv_board_find_register(name, &offset) == KORV_BOARD_OK ? (offset - 0x8000) / 8 : 0;
}

int main(void) {
    static const struct { const char* name; uint32_t data; } pairs[] = {
        {"FBReadPixel", 2}, {"FBReadMode", 3}, {"FBWriteMode", 1}, {"FBBlockColor", 0x336699},
        {"StartXDom", 8 << 16}, {"StartXSub", 72 << 16}, {"StartY", 4 << 16}, {"dY", 1 << 16},
        {"Count", 32}, {"Render", 0x48}};
    const uint32_t pixel = BAR1 + (4 * 128 + 8) * 4; /* rows are 128 pixels */
    static machine m;
    static card c;
    uint32_t microseconds = 0, words[20];
    if (!card_plug(&c, &m)) {
        return 1;
    }
    for (int i = 0; i < 20; ++i) {
        words[i] = i % 2 == 0 ? tag(pairs[i / 2].name) : pairs[i / 2].data;
    }
    memcpy(m.guest + 0x4000, words, sizeof words);
    bus_write(&m, BAR0 + 0x08, 1);      /* IntEnable: end of DMA */
    bus_write(&m, BAR0 + 0x28, 0x4000); /* DMAAddress */
    bus_write(&m, BAR0 + 0x30, 20);     /* DMACount: off it goes */
    for (; !m.irq_level[IRQ] && microseconds < 1000; ++microseconds) {
        korv_board_advance(c.board, 1);
    }
    bus_write(&m, BAR0 + 0x10, 1); /* IntFlags: seen */
    printf("interrupt after %u microseconds, pin %d, pixel %06X, beside it %06X\n",
           (unsigned)microseconds, m.irq_level[IRQ], (unsigned)bus_read(&m, pixel),
           (unsigned)bus_read(&m, pixel - 4));
    korv_board_destroy(c.board);
    return 0;
}
