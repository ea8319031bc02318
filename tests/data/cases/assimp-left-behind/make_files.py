#!/usr/bin/env python3
"""Writes left-behind.gltf: what a glTF file can bring that the host has no
place for. Run it in this folder."""
import base64
import json
import struct

points = struct.pack("<9f", 0, 0, 0, 1, 0, 0, 0, 1, 0)
uvs = struct.pack("<6f", 0, 0, 1, 0, 0, 1)
times = struct.pack("<2f", 0, 1)
moves = struct.pack("<6f", 0, 0, 0, 2, 0, 0)
data = points + uvs + times + moves
gltf = {
    "asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0, 1, 2, 3]}],
    "extensionsUsed": ["KHR_lights_punctual"],
    "extensions": {"KHR_lights_punctual": {"lights": [{"type": "point", "name": "Bulb"}]}},
    "nodes": [
        {"name": "Dots", "mesh": 0},
        {"name": "TwoUV", "mesh": 1},
        # An orthographic camera 10 units from the origin showing 4 units
        # across (xmag is half of it): 2 atan(2 / 10) = 22.62 degrees.
        {"name": "Plan", "camera": 0, "translation": [0, 0, 10]},
        {"name": "Bulb", "extensions": {"KHR_lights_punctual": {"light": 0}}},
    ],
    "cameras": [{"type": "orthographic", "orthographic": {"xmag": 2, "ymag": 2, "znear": 1, "zfar": 100}}],
    "meshes": [{"primitives": [{"attributes": {"POSITION": 0}, "mode": 0}]},
               {"primitives": [{"attributes": {"POSITION": 0, "TEXCOORD_0": 1, "TEXCOORD_1": 1}}]}],
    "animations": [
        {"name": "Slide", "samplers": [{"input": 2, "output": 3}],
         "channels": [{"sampler": 0, "target": {"node": 1, "path": "translation"}}]},
        {"name": "Other", "samplers": [{"input": 2, "output": 3}],
         "channels": [{"sampler": 0, "target": {"node": 0, "path": "translation"}}]},
    ],
    "accessors": [
        {"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3", "min": [0, 0, 0], "max": [1, 1, 0]},
        {"bufferView": 1, "componentType": 5126, "count": 3, "type": "VEC2"},
        {"bufferView": 2, "componentType": 5126, "count": 2, "type": "SCALAR", "min": [0], "max": [1]},
        {"bufferView": 3, "componentType": 5126, "count": 2, "type": "VEC3"}],
    "bufferViews": [{"buffer": 0, "byteOffset": o, "byteLength": n} for o, n in [(0, 36), (36, 24), (60, 8), (68, 24)]],
    "buffers": [{"byteLength": len(data), "uri": "data:application/octet-stream;base64," + base64.b64encode(data).decode()}],
}
open("left-behind.gltf", "w").write(json.dumps(gltf, indent=1) + "\n")
