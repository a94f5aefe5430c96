#!/usr/bin/env python3
"""The board's side of docs/board-protocol.md with dumb memory behind it: registers keep what is written
to them, the stream is taken apart and Sync answers, and nothing draws. Enough for a driver to come up:
korv replay scenes/bring-up-tx.json --fifo --board-exec examples/stub_board.py"""
import struct
import sys

(HELLO, MAKE, READ, WRITE, WORDS, SYNC, STORE, FETCH, IDLE, ADVANCE, DRAIN, STATUS, GUEST, VIDEO, TIMING,
 STATE, RESUME, LINE, END) = range(1, 20)
ERROR, AND_SYNC, MOST_PAYLOAD, MAGIC = 0xC0, 0x100, 1 << 20, b"KORVBORD"
CLOCK = 4                                           # an ability
IN_FIFO_SPACE, OUT_FIFO_WORDS, FIFO_WINDOW, FIFO_END, MAPPED, APERTURE = 0x18, 0x20, 0x2000, 0x3000, 0x8000, 0xA000
SYNC_TAG = 0x188
source, sink = sys.stdin.buffer, sys.stdout.buffer
memories, registers, clock = None, {}, 0
expected, output = [], []                           # tags that the stream has words for; the output FIFO


class Refused(Exception):
    """code, text"""


def send(kind, payload=b""):
    sink.write(struct.pack("<II", len(payload), kind) + payload)


def give_up(text):
    send(ERROR, struct.pack("<III", 1, 0, 0) + text.encode())
    sink.flush()
    sys.exit(f"stub_board: {text}")


def words(payload, count=None):
    count = len(payload) // 4 if count is None else count
    if len(payload) < 4 * count:
        raise Refused(1, "the message is too short")
    return struct.unpack_from(f"<{count}I", payload)


def memory(number, offset, size):
    if number >= len(memories) or offset + size > len(memories[number]):
        raise Refused(4, "there is no such memory")
    return memories[number]


def register(offset):
    if offset % 4 or offset >= APERTURE:
        raise Refused(4, f"there is no register at {offset:X}")
    return offset


def write(offset, value):
    if FIFO_WINDOW <= register(offset) < FIFO_END:
        take(value)
    elif offset == MAPPED + 8 * SYNC_TAG:
        output.append(SYNC_TAG)
    else:
        registers[offset] = value                   # here a real board would act


def take(word):
    """A word of the stream: a tag word, or data for the tags that one has told."""
    global expected
    if expected:
        write(MAPPED + 8 * expected.pop(0), word)
    elif word & 0x8000:
        expected = [(word & 0x3F0) + i for i in range(16) if word >> 16 + i & 1]
    else:
        expected = [word & 0x3FF] * ((word >> 16) + 1)


def read(offset):
    if FIFO_WINDOW <= register(offset) < FIFO_END:
        return output.pop(0) if output else 0
    return {IN_FIFO_SPACE: 256, OUT_FIFO_WORDS: len(output)}.get(offset, registers.get(offset, 0))


def do(kind, payload):
    """Carries one request out. Bytes that come back are its answer."""
    global memories, clock
    if kind == MAKE:
        chip, setup_unit, frame_buffer, local_buffer = words(payload, 4)
        memories, clock = [bytearray(frame_buffer), bytearray(local_buffer)], 0
        registers.clear(), expected.clear(), output.clear()
        return struct.pack("<I", 0)                 # nothing is mapped
    if kind not in (SYNC, END) and memories is None:
        raise Refused(7, "there is no board yet")
    if kind == READ:
        offset, = words(payload, 1)
        clock += 1
        return struct.pack("<I", read(offset))
    if kind == WRITE:
        pairs = words(payload)
        for offset, value in zip(pairs[::2], pairs[1::2]):
            clock += 1
            write(offset, value)
    elif kind == WORDS:
        for word in words(payload):
            clock += 1
            take(word)
    elif kind == STORE:
        number, offset = words(payload, 2)
        memory(number, offset, len(payload) - 8)[offset:offset + len(payload) - 8] = payload[8:]
    elif kind == FETCH:
        number, offset, size = words(payload, 3)
        return bytes(memory(number, offset, size)[offset:offset + size])
    elif kind in (IDLE, ADVANCE):
        clock += words(payload, 1)[0]
    elif kind == DRAIN:
        return struct.pack("<I", 1)
    elif kind == STATUS:
        return struct.pack("<QII", clock, 0, 1)
    elif kind in (SYNC, END):
        return b""
    else:
        raise Refused(3 if kind > END else 6, "that is not for a stub")


count = 0
while header := source.read(8):
    size, kind = struct.unpack("<II", header) if len(header) == 8 else (MOST_PAYLOAD + 1, 0)
    payload = source.read(size) if size <= MOST_PAYLOAD else b""
    if len(payload) != size or (count == 0 and payload[:8] != MAGIC):
        give_up("that is no message of the board protocol")
    kind, and_sync = kind & ~AND_SYNC, kind & AND_SYNC
    try:
        answer = do(kind, payload) if kind != HELLO else (
            MAGIC + struct.pack("<IIII", 1, CLOCK, 0x1F, 1 << 26) + b"a stub")
        if answer is not None:
            send(kind | 0x80, answer)
    except Refused as refused:
        send(ERROR, struct.pack("<III", refused.args[0], count, kind) + refused.args[1].encode())
    if and_sync:
        send(SYNC | 0x80)
    sink.flush()
    count += 1
    if kind == END:
        break
