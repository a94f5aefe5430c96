"""Draws a triangle by words, shows it as text and the board's state: triangle.py [LIBRARY]"""
import ctypes
import sys
lib = ctypes.CDLL(sys.argv[1] if len(sys.argv) > 1 else "libkorv_board.so.1")
lib.korv_board_frame_buffer.restype = ctypes.POINTER(ctypes.c_uint8)
config = (ctypes.c_uint32 * 64)()
lib.korv_board_config_init(config, ctypes.sizeof(config))
board = ctypes.c_void_p()
assert lib.korv_board_create(config, ctypes.byref(board), None, ctypes.c_size_t(0)) == 0

def send(name, data):
    offset = ctypes.c_uint32()
    assert lib.korv_board_find_register(name.encode(), ctypes.byref(offset)) == 0, name
    lib.korv_board_write(board, offset, ctypes.c_uint32(data))

# A byte a pixel, rows of 32; the left edge is upright, the right one comes in by a pixel a row.
for name, data in [("FBReadPixel", 0), ("FBReadMode", 1), ("FBWriteMode", 1), ("Color", 0x2A),
                   ("StartXDom", 4 << 16), ("dXDom", 0), ("StartXSub", 20 << 16),
                   ("dXSub", -1 << 16), ("StartY", 2 << 16), ("dY", 1 << 16), ("Count", 16),
                   ("Render", 0x40)]:
    send(name, data & 0xFFFFFFFF)
pixels = lib.korv_board_frame_buffer(board, None)
print("\n".join("".join(".*"[pixels[32 * y + x] == 0x2A] for x in range(32)) for y in range(20)))
for name in ["StartXDom", "Color", "FBReadMode", "Render", "InFIFOSpace"]:
    value = ctypes.c_uint32()
    assert lib.korv_board_peek(board, name.encode(), ctypes.byref(value)) == 0
    print(f"{name} {value.value:08X}")
lib.korv_board_destroy(board)
