/*
 * A software model of the GLINT and Permedia graphics boards, for emulators and for people who
 * rebuild the hardware: register aperture, FIFOs, DMA engine, pixel pipeline, memories, beam,
 * interrupt line and video port behind plain C functions. docs/board-library.md tells how they are
 * used, docs/board.md what the board does with what it is told.
 *
 * Units. Offsets, addresses, bases and pitches are bytes; words have 32 bits; frame and local
 * buffer hold what the guest sees, little-endian, which the host has to be, too. Time is
 * microseconds of the board's own clock.
 *
 * Ownership. A board belongs to whoever made it, and is ended by korv_board_destroy. Everything
 * else that is passed in stays the caller's and is copied or used during the call alone, but for
 * memory given to korv_board_map, which the board reads until it is unmapped. Pointers and texts
 * that come back are the board's, as long as each function says.
 *
 * Threads. A board is used by one thread at a time; the library has no thread of its own and starts
 * none. Different boards may be used by different threads at the same time.
 *
 * Callbacks are called on the thread that called the board, during that call. They must return:
 * neither exceptions nor longjmp may leave them. The interrupt callback may use the board, but for
 * korv_board_destroy and korv_board_restore. The others must not touch the board that calls them:
 * functions refuse it with KORV_BOARD_REENTERED.
 *
 * Errors. Functions that can fail return a status, KORV_BOARD_OK (0) or what was wrong, and then
 * have done nothing. korv_board_error tells the same of the board's latest failure in words.
 * Whatever the guest does to the hardware is no error: what a real board would not like is counted
 * as a fault.
 */
#ifndef KORV_BOARD_H
#define KORV_BOARD_H

#include <stddef.h>
#include <stdint.h>

#if defined(KORV_BOARD_SHARED) && defined(_WIN32)
#if defined(KORV_BOARD_BUILD)
#define KORV_BOARD_PUBLIC __declspec(dllexport)
#else
#define KORV_BOARD_PUBLIC __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define KORV_BOARD_PUBLIC __attribute__((visibility("default")))
#else
#define KORV_BOARD_PUBLIC
#endif

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Version of this interface. A program made for one runs with a library of the same number, later
 * releases of it included: functions and fields are added at the end, and nothing is taken away.
 */
#define KORV_BOARD_API 1

typedef struct korv_board korv_board;

/* ---- statuses ---- */

typedef enum korv_board_status {
    KORV_BOARD_OK = 0,
    KORV_BOARD_BAD_ARGUMENT = 1, /* null, or out of the range that the function tells */
    KORV_BOARD_BAD_CONFIG = 2,   /* a field of the configuration: the text names it */
    KORV_BOARD_NO_MEMORY = 3,    /* the host has none left */
    KORV_BOARD_BAD_SNAPSHOT = 4, /* damaged, or of another make of board: the text says which */
    KORV_BOARD_UNKNOWN_NAME = 5, /* no register has this name */
    KORV_BOARD_TOO_SMALL = 6,    /* the caller's buffer: the size needed has been told */
    KORV_BOARD_STILL_BUSY = 7,   /* not at rest after the time given */
    KORV_BOARD_REENTERED = 8,    /* called by a callback that must not */
    KORV_BOARD_INTERNAL = 9      /* a bug here */
} korv_board_status;

/* The status in words. The text lives as long as the program. */
KORV_BOARD_PUBLIC const char* korv_board_status_text(korv_board_status status);

/* KORV_BOARD_API of the library that the program runs with. */
KORV_BOARD_PUBLIC uint32_t korv_board_api(void);

/* ---- configuration ---- */

typedef enum korv_board_chip {
    KORV_BOARD_SX = 0,
    KORV_BOARD_TX = 1,
    KORV_BOARD_MX = 2,
    KORV_BOARD_PERMEDIA = 3,
    KORV_BOARD_PERMEDIA2 = 4
} korv_board_chip;

/*
 * Copies `bytes` bytes from bus address `bus_address` of the guest's memory to `to`. Returns 1, or
 * 0 if nobody answers there. Bytes arrive in the guest's order, little-endian.
 */
typedef int (*korv_board_read_memory)(void* user, uint32_t bus_address, void* to, size_t bytes);

/*
 * An interrupt that IntEnable lets through has happened: called once for each, when what the board
 * was doing is done; at most 256 times in a row, so that a handler whose own accesses bring one
 * interrupt after the other lets the access end. korv_board_interrupt_level tells the level of the
 * line.
 */
typedef void (*korv_board_interrupt)(void* user);

/*
 * What a board is made of and how it keeps time. korv_board_config_init fills it with defaults: a
 * Permedia that is always ready. A tick is one access to the aperture or one unit of
 * korv_board_idle. Rates of 0 are "at once". Counts of the timing go up to 65536.
 */
typedef struct korv_board_config {
    uint32_t size; /* of this record in bytes, as the caller knows it */

    uint32_t chip;               /* korv_board_chip */
    uint32_t setup_unit;         /* 1: a setup unit sits in front of the rasteriser; 0: none */
    uint32_t frame_buffer_bytes; /* 4096 to 256 MB, whole pages of 4096; default 8 MB */
    uint32_t local_buffer_bytes; /* likewise, or 0; default 8 MB. Permedia makes no use of it */
    uint32_t refresh_rate;       /* frames per second, 1 to 1000; default 60 */
    uint32_t lines_total;        /* scan lines per frame, blank included, 1 to 10000; default 525 */
    uint32_t lines_blank;        /* of them blank, from line 0 on; default 45 */

    uint32_t fifo_depth;            /* entries of the input FIFO, at least 1; default 256 */
    uint32_t fifo_entries_per_tick; /* executed; default 0 */
    uint32_t fifo_ticks_per_entry;  /* 2 or more: a pace below one entry a tick; default 0 */
    uint32_t pixels_per_tick;       /* what draws keeps the FIFO waiting as long; default 0 */
    uint32_t fifo_report_lag;    /* InFIFOSpace tells the space of so many reads ago; default 0 */
    uint32_t fifo_report_cap;    /* InFIFOSpace never tells more; 0: no cap; default 0 */
    uint32_t dma_words_per_tick; /* default 0 */
    uint32_t interrupt_latency;  /* ticks from the event to the callback; default 0 */
    uint32_t stray_output_words; /* words of other tags before each answer; default 0 */
    /* The clock moves by so much each tick; default 1. With 0 it stands still but for
     * korv_board_advance: time is the caller's. */
    uint32_t microseconds_per_tick;

    void* user;                         /* handed to the callbacks below */
    korv_board_read_memory read_memory; /* for DMA where nothing is mapped; null: nobody answers */
    korv_board_interrupt interrupt;     /* null: nobody is called */
} korv_board_config;

/*
 * Writes the defaults into the first `size` bytes of `config`, `size` being sizeof *config as the
 * caller knows it. BAD_ARGUMENT: null, or less than the size field.
 */
KORV_BOARD_PUBLIC korv_board_status korv_board_config_init(korv_board_config* config, size_t size);

/*
 * Makes a board as it is at power-on, its memories zero, and puts it into *board. Fields behind
 * config->size have their defaults. On failure *board is null and, if `error` is not null, up to
 * `error_bytes` bytes there become a text that says what is wrong, ended by a zero.
 * BAD_ARGUMENT, BAD_CONFIG, NO_MEMORY.
 */
KORV_BOARD_PUBLIC korv_board_status korv_board_create(const korv_board_config* config,
                                                      korv_board** board, char* error,
                                                      size_t error_bytes);

/* Ends a board; null is nothing. Called by one of its own callbacks it does nothing either. */
KORV_BOARD_PUBLIC void korv_board_destroy(korv_board* board);

/*
 * What the latest failure was about; an empty text if there was none. It lives until the next
 * failure of this board.
 */
KORV_BOARD_PUBLIC const char* korv_board_error(const korv_board* board);

/* Takes the timing (fifo_depth to microseconds_per_tick) from `config`, and nothing else of it. */
KORV_BOARD_PUBLIC korv_board_status korv_board_set_timing(korv_board* board,
                                                          const korv_board_config* config);

/* ---- the processor's side ---- */

/* Bytes of the register aperture. Accesses are 32 bits wide, at multiples of 4. */
#define KORV_BOARD_APERTURE_BYTES 0xA000u

/*
 * An access by the processor, and a tick. A read anywhere but at a multiple of 4 in the aperture,
 * or of a null board, gives 0xFFFFFFFF; a write there is BAD_ARGUMENT.
 */
KORV_BOARD_PUBLIC uint32_t korv_board_read(korv_board* board, uint32_t offset);
KORV_BOARD_PUBLIC korv_board_status korv_board_write(korv_board* board, uint32_t offset,
                                                     uint32_t value);

/* Writes `count` words, one after the other, into the FIFO window: a tick each. */
KORV_BOARD_PUBLIC korv_board_status korv_board_write_fifo(korv_board* board, const uint32_t* words,
                                                          size_t count);

/*
 * Makes `bytes` bytes at `memory` what the board reads from `bus_address` on, by DMA and as AGP
 * texture: the quick way, without a callback. A later range hides an earlier one where they
 * overlap, and replaces one at the same address. With no bytes the range that starts there is taken
 * away. The memory must stay readable until then.
 */
KORV_BOARD_PUBLIC korv_board_status korv_board_map(korv_board* board, uint32_t bus_address,
                                                   const void* memory, size_t bytes);

/* 1 while an interrupt flag stands that IntEnable lets through: the level of a PCI line. Else 0. */
KORV_BOARD_PUBLIC int korv_board_interrupt_level(const korv_board* board);

/* ---- time ---- */

/* The longest that korv_board_advance takes at once: a minute. */
#define KORV_BOARD_LONGEST_ADVANCE 60000000u

/* Microseconds since power-on. */
KORV_BOARD_PUBLIC uint64_t korv_board_clock(const korv_board* board);

/* Lets `ticks` ticks pass without an access; at most KORV_BOARD_LONGEST_ADVANCE. */
KORV_BOARD_PUBLIC korv_board_status korv_board_idle(korv_board* board, uint32_t ticks);

/*
 * Moves the clock on by `microseconds`, at most KORV_BOARD_LONGEST_ADVANCE; FIFO, DMA, beam and
 * video port follow, a tick for each microseconds_per_tick, or for each microsecond where that is
 * 0.
 */
KORV_BOARD_PUBLIC korv_board_status korv_board_advance(korv_board* board, uint32_t microseconds);

/* 1 if FIFO and DMA are empty and no interrupt waits for its callback. Else 0. */
KORV_BOARD_PUBLIC int korv_board_at_rest(const korv_board* board);

/* Lets ticks pass until the board is at rest, at most `most_ticks`. STILL_BUSY: it is not. */
KORV_BOARD_PUBLIC korv_board_status korv_board_drain(korv_board* board, uint32_t most_ticks);

/* ---- memories and picture ---- */

/*
 * The memories, which the caller may read and write between calls. The pointer holds as long as the
 * board; *bytes, if not null, becomes the size. Null for a memory of no bytes, or a null board.
 */
KORV_BOARD_PUBLIC uint8_t* korv_board_frame_buffer(korv_board* board, size_t* bytes);
KORV_BOARD_PUBLIC uint8_t* korv_board_local_buffer(korv_board* board, size_t* bytes);

/* Byte of the frame buffer where the image begins that the monitor shows in the present frame. */
KORV_BOARD_PUBLIC uint32_t korv_board_shown_base(const korv_board* board);

/* How pixels lie in memory, lowest bits last: red of 5:6:5 is in the five highest. */
typedef enum korv_board_format {
    KORV_BOARD_INDEX8 = 0, /* through the palette */
    KORV_BOARD_RGB332 = 1,
    KORV_BOARD_ARGB1555 = 2,
    KORV_BOARD_RGB565 = 3,
    KORV_BOARD_ARGB4444 = 4,
    KORV_BOARD_RGB888 = 5, /* three bytes: blue, green, red */
    KORV_BOARD_ARGB8888 = 6
} korv_board_format;

/* What a pixel becomes, in the order of bytes. */
typedef enum korv_board_picture_format {
    KORV_BOARD_BYTES_RGB = 0,
    KORV_BOARD_BYTES_RGBA = 1, /* alpha 255 where the pixels have none */
    KORV_BOARD_BYTES_BGRA = 2
} korv_board_picture_format;

typedef struct korv_board_picture {
    uint32_t size;           /* of this record in bytes, as the caller knows it */
    uint32_t base;           /* byte of the frame buffer where the image begins */
    uint32_t pitch;          /* bytes from a row of it to the next */
    uint32_t format;         /* korv_board_format */
    const uint32_t* palette; /* 256 words 0x00RRGGBB, of INDEX8; null: indices as greys */
    uint32_t left, top;      /* the rectangle, in pixels of the image */
    uint32_t width, height;  /* up to 16384 each */
    uint32_t picture_format; /* korv_board_picture_format */
} korv_board_picture;

/*
 * Reads the rectangle into `to`, row under row, `to_pitch` bytes apart (at least the bytes of a
 * row). Pixels outside the memory are black, and transparent where there is alpha.
 */
KORV_BOARD_PUBLIC korv_board_status korv_board_read_picture(korv_board* board,
                                                            const korv_board_picture* picture,
                                                            void* to, size_t to_pitch);

/* ---- video port ---- */

/*
 * Writes the pixels of line `line` (0 to lines_per_field - 1) of field `field`, counted from
 * power-on, to `pixels`, at most `capacity`, and returns how many: Y in the low byte, above it U at
 * even places and V at odd ones. Called when the line has been sent.
 */
typedef uint32_t (*korv_board_video_line)(void* user, uint64_t field, uint32_t line,
                                          uint16_t* pixels, uint32_t capacity);

typedef struct korv_board_video {
    uint32_t size;                 /* of this record in bytes, as the caller knows it */
    uint32_t fields_per_second;    /* 1 to 200 */
    uint32_t lines_per_field;      /* blank ones included, 1 to 2000 */
    uint32_t port_width;           /* bits: 8 or 16 */
    uint32_t line_reference_high;  /* 1: the reference signals count when high */
    uint32_t field_reference_high; /* likewise */
    void* user;
    korv_board_video_line line;
} korv_board_video;

/* Plugs a source into the video port, which the Permedia family has; null unplugs it. */
KORV_BOARD_PUBLIC korv_board_status korv_board_set_video(korv_board* board,
                                                         const korv_board_video* video);

/* ---- looking in ---- */

/*
 * The offset of a register by its name ("FogMode", "InFIFOSpace", "V1Float+5"): *offset. Registers
 * of the command stream have one, too: 0x8000 + tag * 8. UNKNOWN_NAME.
 */
KORV_BOARD_PUBLIC korv_board_status korv_board_find_register(const char* name, uint32_t* offset);

/*
 * The name of register `index`, counted from 0 in order of offsets, and its offset. Null behind the
 * last one. The text lives as long as the program.
 */
KORV_BOARD_PUBLIC const char* korv_board_register_name(uint32_t index, uint32_t* offset);

/* A register's value by its name, without an access: no tick, no word leaves a FIFO. */
KORV_BOARD_PUBLIC korv_board_status korv_board_peek(korv_board* board, const char* name,
                                                    uint32_t* value);

typedef enum korv_board_fault {
    KORV_BOARD_FIFO_OVERFLOWS = 0,      /* register writes lost in a full input FIFO */
    KORV_BOARD_BAD_DMA_ADDRESSES = 1,   /* DMA transfers ended where nobody answered */
    KORV_BOARD_DMA_RESTARTS = 2,        /* started over a running one */
    KORV_BOARD_BAD_MEMORY_ACCESSES = 3, /* pixels, depths and texels outside the memories */
    KORV_BOARD_MALFORMED_WORDS = 4,     /* stream words that are no tag word */
    KORV_BOARD_UNKNOWN_REGISTERS = 5,   /* writes to registers that no unit knows */
    KORV_BOARD_UNWAITED_ENTRIES = 6,    /* FIFO entries that nobody asked room for */
    KORV_BOARD_UNMODELLED_UNITS = 7,    /* uses of what this board does not do */
    KORV_BOARD_FAULT_KINDS = 8
} korv_board_fault;

/* How often that happened since power-on. 0 for other numbers, or a null board. */
KORV_BOARD_PUBLIC uint64_t korv_board_fault_count(const korv_board* board, korv_board_fault fault);

/*
 * All faults in words, one kind a line, none an empty text: up to `bytes` bytes at `to`, ended by a
 * zero. Returns the length of the whole text without the zero; `to` may be null.
 */
KORV_BOARD_PUBLIC size_t korv_board_fault_text(const korv_board* board, char* to, size_t bytes);

/* ---- snapshots ---- */

/*
 * The board's state as bytes, the same on every kind of machine; board/snapshot.h tells their form.
 * With `memories` 1 the memories are among them, with 0 not. *needed, if not null, becomes their
 * number. They are copied to `to`, which has room for `capacity`. TOO_SMALL. Not part of a snapshot
 * is what comes from outside: configuration of callbacks, mapped memory, video source.
 */
KORV_BOARD_PUBLIC korv_board_status korv_board_save(korv_board* board, int memories, void* to,
                                                    size_t capacity, size_t* needed);

/*
 * Becomes as a board of the same configuration was when it was saved, its timing included. Memories
 * that are not in the snapshot stay. BAD_SNAPSHOT.
 */
KORV_BOARD_PUBLIC korv_board_status korv_board_restore(korv_board* board, const void* snapshot,
                                                       size_t bytes);

#ifdef __cplusplus
}
#endif

#endif
