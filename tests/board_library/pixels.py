# Prints the size of a PNG and a checksum of its pixels, however they were encoded.
# python3 pixels.py FILE
import struct
import sys
import zlib

with open(sys.argv[1], "rb") as file:
    data = file.read()
place, packed = 8, b""
while place < len(data):
    length, kind = struct.unpack(">I4s", data[place:place + 8])
    body = data[place + 8:place + 8 + length]
    if kind == b"IHDR":
        width, height, depth, colour = struct.unpack(">IIBB", body[:10])
        assert depth == 8 and colour in (2, 6), "8 bits a channel, RGB or RGBA"
    elif kind == b"IDAT":
        packed += body
    place += length + 12
step = 3 if colour == 2 else 4
pitch = width * step
lines, above, pixels = zlib.decompress(packed), bytes(pitch), b""
for y in range(height):
    begin = y * (pitch + 1)
    row = bytearray(lines[begin + 1:begin + 1 + pitch])
    for i in range(pitch):
        a = row[i - step] if i >= step else 0
        b = above[i]
        c = above[i - step] if i >= step else 0
        # The nearest of the three to their plane.
        near = min((abs(b - c), 0, a), (abs(a - c), 1, b), (abs(a + b - 2 * c), 2, c))[2]
        row[i] = (row[i] + (0, a, b, (a + b) // 2, near)[lines[begin]]) % 256
    above = bytes(row)
    pixels += above
print(width, height, step, "%08x" % zlib.crc32(pixels))
