#!/usr/bin/env python3
"""Writes a binary PLY of a grid with about one million triangles (with
normals), for assimp_ply_bench. Usage: make_ply.py OUT.ply [TRIANGLES]"""
import struct
import sys

out = sys.argv[1]
triangles = int(sys.argv[2]) if len(sys.argv) > 2 else 1000000
side = int((triangles / 2) ** 0.5)
verts = (side + 1) ** 2
faces = 2 * side * side
with open(out, "wb") as f:
    f.write(("ply\nformat binary_little_endian 1.0\nelement vertex %d\n"
             "property float x\nproperty float y\nproperty float z\n"
             "property float nx\nproperty float ny\nproperty float nz\n"
             "element face %d\nproperty list uchar int vertex_indices\nend_header\n" % (verts, faces)).encode())
    row = bytearray()
    for j in range(side + 1):
        row.clear()
        for i in range(side + 1):
            row += struct.pack("<6f", i, j, 0.0, 0.0, 0.0, 1.0)
        f.write(row)
    for j in range(side):
        row.clear()
        for i in range(side):
            a = j * (side + 1) + i
            row += struct.pack("<B3i", 3, a, a + 1, a + side + 2)
            row += struct.pack("<B3i", 3, a, a + side + 2, a + side + 1)
        f.write(row)
