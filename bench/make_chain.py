#!/usr/bin/env python3
"""Writes a glTF file of DEPTH nested nodes, each a step up from its parent
and turning about its own Z axis on one rotation track of its own, with the
buffer inside the file. Usage: make_chain.py OUT.gltf [DEPTH] [KEYS]

Every node's world transform at a tick depends on all of its ancestors', so
the time to export it tells whether that dependency costs the depth once or
once per ancestor. DEPTH defaults to 400, KEYS (keys per track, one a second)
to 11: ten seconds, 300 samples at the exporter's default rate."""
import base64
import json
import math
import struct
import sys

out = sys.argv[1]
depth = int(sys.argv[2]) if len(sys.argv) > 2 else 400
keys = int(sys.argv[3]) if len(sys.argv) > 3 else 11
if depth < 1 or keys < 2:
    sys.exit("make_chain.py: DEPTH must be at least 1 and KEYS at least 2")

times = [float(k) for k in range(keys)]
blob = bytearray(struct.pack("<%df" % keys, *times))
accessors = [{"bufferView": 0, "componentType": 5126, "count": keys, "type": "SCALAR",
              "min": [times[0]], "max": [times[-1]]}]
views = [{"buffer": 0, "byteOffset": 0, "byteLength": len(blob)}]
samplers, channels = [], []
for n in range(depth):
    # Each node turns by its own amount, so that no two tracks are alike.
    turn = 0.05 + 0.3 * (n % 7) / 7
    offset = len(blob)
    for k in range(keys):
        half = 0.5 * turn * math.sin(k)
        blob += struct.pack("<4f", 0.0, 0.0, math.sin(half), math.cos(half))
    views.append({"buffer": 0, "byteOffset": offset, "byteLength": len(blob) - offset})
    accessors.append({"bufferView": len(views) - 1, "componentType": 5126, "count": keys, "type": "VEC4"})
    samplers.append({"input": 0, "output": len(accessors) - 1})
    channels.append({"sampler": n, "target": {"node": n, "path": "rotation"}})

nodes = []
for n in range(depth):
    node = {"name": "Link%d" % n, "translation": [0.0, 1.0, 0.0]}
    if n + 1 < depth:
        node["children"] = [n + 1]
    nodes.append(node)

gltf = {
    "asset": {"version": "2.0"},
    "scene": 0,
    "scenes": [{"nodes": [0]}],
    "nodes": nodes,
    "animations": [{"name": "Wave", "samplers": samplers, "channels": channels}],
    "accessors": accessors,
    "bufferViews": views,
    "buffers": [{"byteLength": len(blob),
                 "uri": "data:application/octet-stream;base64," + base64.b64encode(bytes(blob)).decode()}],
}
with open(out, "w") as f:
    json.dump(gltf, f)
