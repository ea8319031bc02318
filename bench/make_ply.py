#!/usr/bin/env python3
"""Writes a binary PLY of a grid with about one million triangles (with
normals), for assimp_ply_bench. Usage:
make_ply.py OUT.ply [TRIANGLES] [--hard] [--uv-colours]

By default the grid is one smooth surface: one vertex per grid point. With
--hard every cell has its own four vertices, its normal tilted one way or the
other in a checkerboard, so that the welding finds four file vertices at each
point and every cell is a smoothing patch of its own. With --uv-colours every
vertex also has texture coordinates (s, t across the grid from 0 to 1) and a
colour (red, green, blue bytes that change along the grid), as a scanned or
baked mesh has."""
import struct
import sys

flags = {"--hard", "--uv-colours"}
args = [a for a in sys.argv[1:] if a not in flags]
hard = "--hard" in sys.argv[1:]
extras = "--uv-colours" in sys.argv[1:]
out = args[0]
triangles = int(args[1]) if len(args) > 1 else 1000000
side = int((triangles / 2) ** 0.5)
verts = 4 * side * side if hard else (side + 1) ** 2
faces = 2 * side * side
properties = ("property float x\nproperty float y\nproperty float z\n"
              "property float nx\nproperty float ny\nproperty float nz\n")
if extras:
    properties += ("property float s\nproperty float t\n"
                   "property uchar red\nproperty uchar green\nproperty uchar blue\n")


def vertex(x, y, n):
    """One vertex record at grid point (x, y) with normal n."""
    record = struct.pack("<6f", x, y, 0.0, *n)
    if extras:
        record += struct.pack("<2f3B", x / side, y / side, x % 256, y % 256, (x + y) % 256)
    return record


with open(out, "wb") as f:
    f.write(("ply\nformat binary_little_endian 1.0\nelement vertex %d\n%s"
             "element face %d\nproperty list uchar int vertex_indices\nend_header\n"
             % (verts, properties, faces)).encode())
    row = bytearray()
    if hard:
        for j in range(side):
            row.clear()
            for i in range(side):
                n = (0.0, 0.0, 1.0) if (i + j) % 2 == 0 else (0.0, 0.6, 0.8)
                for x, y in ((i, j), (i + 1, j), (i + 1, j + 1), (i, j + 1)):
                    row += vertex(x, y, n)
            f.write(row)
        for c in range(side * side):
            a = 4 * c
            f.write(struct.pack("<B3iB3i", 3, a, a + 1, a + 2, 3, a, a + 2, a + 3))
    else:
        for j in range(side + 1):
            row.clear()
            for i in range(side + 1):
                row += vertex(i, j, (0.0, 0.0, 1.0))
            f.write(row)
        for j in range(side):
            row.clear()
            for i in range(side):
                a = j * (side + 1) + i
                row += struct.pack("<B3i", 3, a, a + 1, a + side + 2)
                row += struct.pack("<B3i", 3, a, a + side + 2, a + side + 1)
            f.write(row)
