#!/usr/bin/env python3
"""Writes the two deforming glTF scenes of this case, next to itself.

skinned.gltf: a square column "Body" of three rings (y = 0, 1, 2), skinned
to two joints: "Hip" at the origin and its child "Knee" one unit up. The
bottom ring follows Hip, the middle ring both halves and halves, the top
ring mostly Knee. "Body" itself stands half a unit along x, which a skinned
mesh's deformation has to take back out. Animation "Bend" (one second):
Hip rises half a unit, Knee turns from 30 to 90 degrees about z; the bind
pose (Knee straight) is never a frame of the animation.

carried.gltf: the same column and joints, still, under a node "Rig" that
moves the whole figure along x in animation "Carry": the mesh moves, but
nothing bends it, so it is no vertex animation.

morph.gltf: two quads "Face", the upper (y 0..1) and the lower (y -1..0),
which meet along y = 0 in vertices of their own: a closed mouth. Target
"Open" lifts the upper lip and lowers the lower one, target "Wide" pulls
the outer corners out. Animation "Talk" (one second) keys the weights
[0.2, 0] at 0 s and [0.6, 1] at 1 s.
"""
import base64
import json
import math
import os
import struct

HERE = os.path.dirname(os.path.abspath(__file__))


class Buffer:
    """One embedded buffer; every accessor gets a view of its own."""

    def __init__(self):
        self.data = b""
        self.views = []
        self.accessors = []

    def add(self, fmt, values, kind, component, count, **extra):
        while len(self.data) % 4:
            self.data += b"\0"
        raw = struct.pack("<" + fmt, *values)
        self.views.append({"buffer": 0, "byteOffset": len(self.data), "byteLength": len(raw)})
        self.data += raw
        accessor = {"bufferView": len(self.views) - 1, "componentType": component, "count": count, "type": kind}
        accessor.update(extra)
        self.accessors.append(accessor)
        return len(self.accessors) - 1

    def floats(self, rows, kind, with_bounds=False):
        flat = [float(x) for row in rows for x in row]
        extra = {}
        if with_bounds:
            extra["min"] = [min(r[i] for r in rows) for i in range(len(rows[0]))]
            extra["max"] = [max(r[i] for r in rows) for i in range(len(rows[0]))]
        return self.add("f" * len(flat), flat, kind, 5126, len(rows), **extra)

    def scalars(self, values):
        return self.add("f" * len(values), [float(v) for v in values], "SCALAR", 5126, len(values),
                        min=[min(values)], max=[max(values)])

    def indices(self, tris):
        flat = [i for t in tris for i in t]
        return self.add("H" * len(flat), flat, "SCALAR", 5123, len(flat))

    def joints(self, rows):
        flat = [j for row in rows for j in row]
        return self.add("B" * len(flat), flat, "VEC4", 5121, len(rows))

    def finish(self, document):
        document["buffers"] = [{"byteLength": len(self.data),
                                "uri": "data:application/octet-stream;base64," +
                                       base64.b64encode(self.data).decode("ascii")}]
        document["bufferViews"] = self.views
        document["accessors"] = self.accessors
        return document


def z_turn(degrees):
    half = math.radians(degrees) / 2
    return [0.0, 0.0, math.sin(half), math.cos(half)]


def column_mesh():
    """Three rings of four corners, the sides joined; no caps."""
    square = [(-0.25, -0.25), (0.25, -0.25), (0.25, 0.25), (-0.25, 0.25)]
    positions = [(x, y, z) for y in (0.0, 1.0, 2.0) for x, z in square]
    tris = []
    for ring in range(2):
        for k in range(4):
            a, b = 4 * ring + k, 4 * ring + (k + 1) % 4
            tris += [(a, b, b + 4), (a, b + 4, a + 4)]
    weights = [(1.0, 0.0)] * 4 + [(0.5, 0.5)] * 4 + [(0.25, 0.75)] * 4
    return positions, tris, weights


def write_skinned(name, carried):
    buf = Buffer()
    positions, tris, weights = column_mesh()
    pos = buf.floats(positions, "VEC3", with_bounds=True)
    idx = buf.indices(tris)
    joints = buf.joints([(0, 1, 0, 0)] * len(positions))
    wts = buf.floats([(h, k, 0.0, 0.0) for h, k in weights], "VEC4")
    # Inverse bind matrices (column-major): Hip at the origin, Knee one up.
    identity = [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]
    knee = [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, -1, 0, 1]
    ibm = buf.add("f" * 32, [float(v) for v in identity + knee], "MAT4", 5126, 2)
    times = buf.scalars([0.0, 1.0])
    hip_moves = buf.floats([(0, 0, 0), (0, 0.5, 0)], "VEC3")
    knee_turns = buf.floats([z_turn(30), z_turn(90)], "VEC4")
    bend = {"name": "Bend",
            "samplers": [{"input": times, "output": hip_moves, "interpolation": "LINEAR"},
                         {"input": times, "output": knee_turns, "interpolation": "LINEAR"}],
            "channels": [{"sampler": 0, "target": {"node": 1, "path": "translation"}},
                         {"sampler": 1, "target": {"node": 2, "path": "rotation"}}]}
    document = {
        "asset": {"version": "2.0", "generator": "make_gltf.py"},
        "scene": 0,
        "scenes": [{"nodes": [0, 1]}],
        "nodes": [
            {"name": "Body", "mesh": 0, "skin": 0, "translation": [0.5, 0, 0]},
            {"name": "Hip", "children": [2]},
            {"name": "Knee", "translation": [0, 1, 0]},
        ],
        "meshes": [{"name": "ColumnShape", "primitives": [
            {"attributes": {"POSITION": pos, "JOINTS_0": joints, "WEIGHTS_0": wts}, "indices": idx,
             "material": 0}]}],
        "materials": [{"name": "Cloth", "pbrMetallicRoughness": {"baseColorFactor": [0.2, 0.4, 0.8, 1]}}],
        "skins": [{"joints": [1, 2], "inverseBindMatrices": ibm, "skeleton": 1}],
        "animations": [bend],
    }
    if carried:
        rig_moves = buf.floats([(0, 0, 0), (3, 0, 0)], "VEC3")
        document["nodes"].append({"name": "Rig", "children": [0, 1]})
        document["scenes"] = [{"nodes": [3]}]
        document["animations"] = [{"name": "Carry",
                                   "samplers": [{"input": times, "output": rig_moves, "interpolation": "LINEAR"}],
                                   "channels": [{"sampler": 0, "target": {"node": 3, "path": "translation"}}]}]
    save(name, buf.finish(document))


def write_morph():
    buf = Buffer()
    # Upper lip: 0-3, lower lip: 4-7; 0, 1 and 6, 7 lie on each other.
    positions = [(-1, 0, 0), (1, 0, 0), (1, 1, 0), (-1, 1, 0),
                 (-1, -1, 0), (1, -1, 0), (1, 0, 0), (-1, 0, 0)]
    tris = [(0, 1, 2), (0, 2, 3), (4, 5, 6), (4, 6, 7)]
    open_mouth = [(0, 0.3, 0), (0, 0.3, 0), (0, 0, 0), (0, 0, 0),
                  (0, 0, 0), (0, 0, 0), (0, -0.3, 0), (0, -0.3, 0)]
    wide = [(-0.5, 0, 0), (0.5, 0, 0), (0, 0, 0), (0, 0, 0),
            (0, 0, 0), (0, 0, 0), (0.5, 0, 0), (-0.5, 0, 0)]
    pos = buf.floats(positions, "VEC3", with_bounds=True)
    idx = buf.indices(tris)
    target_open = buf.floats(open_mouth, "VEC3", with_bounds=True)
    target_wide = buf.floats(wide, "VEC3", with_bounds=True)
    times = buf.scalars([0.0, 1.0])
    weights = buf.add("ffff", [0.2, 0.0, 0.6, 1.0], "SCALAR", 5126, 4)
    document = {
        "asset": {"version": "2.0", "generator": "make_gltf.py"},
        "scene": 0,
        "scenes": [{"nodes": [0]}],
        "nodes": [{"name": "Face", "mesh": 0, "translation": [0, 0, 1]}],
        "meshes": [{"name": "MouthShape", "weights": [0, 0],
                    "extras": {"targetNames": ["Open", "Wide"]},
                    "primitives": [{"attributes": {"POSITION": pos}, "indices": idx, "material": 0,
                                    "targets": [{"POSITION": target_open}, {"POSITION": target_wide}]}]}],
        "materials": [{"name": "Lips", "pbrMetallicRoughness": {"baseColorFactor": [0.8, 0.3, 0.3, 1]}}],
        "animations": [{"name": "Talk",
                        "samplers": [{"input": times, "output": weights, "interpolation": "LINEAR"}],
                        "channels": [{"sampler": 0, "target": {"node": 0, "path": "weights"}}]}],
    }
    save("morph.gltf", buf.finish(document))


def save(name, document):
    with open(os.path.join(HERE, name), "w") as f:
        json.dump(document, f, indent=1)
        f.write("\n")


if __name__ == "__main__":
    write_skinned("skinned.gltf", carried=False)
    write_skinned("carried.gltf", carried=True)
    write_morph()
