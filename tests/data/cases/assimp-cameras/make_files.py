#!/usr/bin/env python3
"""Writes one scene, a camera at (10, -20, 5) aiming at the origin with a
45-degree angle (Z up), in four formats: 3DS, ASE, glTF and Collada; plus a
Collada file of three cameras and nothing else, and a 3DS camera looking
straight down. Run it in this folder."""
import base64
import json
import math
import struct

POS, TARGET, FOV_DEG = (10.0, -20.0, 5.0), (0.0, 0.0, 0.0), 45.0


def normalized(v):
    n = math.sqrt(sum(c * c for c in v))
    return [c / n for c in v]


def cross(a, b):
    return [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]]


def aim_axes(pos, target, up):
    """The axes of a frame at pos whose -Z points at target."""
    z = normalized([p - t for p, t in zip(pos, target)])
    x = normalized(cross(up, z))
    return x, cross(z, x), z


def chunk(cid, body):
    return struct.pack("<HI", cid, 6 + len(body)) + body


def write_3ds(path="camera.3ds", pos=POS):
    # 3DS keeps the lens in millimetres: 2400 / angle.
    camera = chunk(0x4700, struct.pack("<8f", *pos, *TARGET, 0.0, 2400.0 / FOV_DEG))
    triangle = chunk(0x4110, struct.pack("<H9f", 3, 0, 0, 0, 1, 0, 0, 0, 1, 0)) + \
        chunk(0x4120, struct.pack("<5H", 1, 0, 1, 2, 0))
    objects = chunk(0x4000, b"Camera01\0" + camera) + chunk(0x4000, b"Tri\0" + chunk(0x4100, triangle))
    editor = chunk(0x3D3D, chunk(0x3D3E, struct.pack("<I", 3)) + objects)
    open(path, "wb").write(chunk(0x4D4D, chunk(0x0002, struct.pack("<I", 3)) + editor))


def write_ase():
    x, y, z = aim_axes(POS, TARGET, (0, 0, 1))
    row = lambda r: " ".join("%.6f" % v for v in r)
    distance = math.dist(POS, TARGET)
    open("camera.ase", "w").write(f"""*3DSMAX_ASCIIEXPORT 200
*SCENE {{
\t*SCENE_FILENAME "camera.max"
\t*SCENE_FIRSTFRAME 0
\t*SCENE_LASTFRAME 100
\t*SCENE_FRAMESPEED 30
\t*SCENE_TICKSPERFRAME 160
}}
*CAMERAOBJECT {{
\t*NODE_NAME "Camera01"
\t*CAMERA_TYPE Target
\t*NODE_TM {{
\t\t*NODE_NAME "Camera01"
\t\t*TM_ROW0 {row(x)}
\t\t*TM_ROW1 {row(y)}
\t\t*TM_ROW2 {row(z)}
\t\t*TM_ROW3 {row(POS)}
\t}}
\t*NODE_TM {{
\t\t*NODE_NAME "Camera01.Target"
\t\t*TM_ROW0 1.000000 0.000000 0.000000
\t\t*TM_ROW1 0.000000 1.000000 0.000000
\t\t*TM_ROW2 0.000000 0.000000 1.000000
\t\t*TM_ROW3 {row(TARGET)}
\t}}
\t*CAMERA_SETTINGS {{
\t\t*TIMEVALUE 0
\t\t*CAMERA_NEAR 1.000000
\t\t*CAMERA_FAR 1000.000000
\t\t*CAMERA_FOV {math.radians(FOV_DEG):.6f}
\t\t*CAMERA_TDIST {distance:.6f}
\t}}
}}
""")


def quaternion(x, y, z):
    """x, y, z, w of the rotation whose matrix has the columns x, y, z."""
    m = [[x[0], y[0], z[0]], [x[1], y[1], z[1]], [x[2], y[2], z[2]]]
    w = math.sqrt(max(0.0, 1 + m[0][0] + m[1][1] + m[2][2])) / 2
    return [(m[2][1] - m[1][2]) / (4 * w), (m[0][2] - m[2][0]) / (4 * w), (m[1][0] - m[0][1]) / (4 * w), w]


def write_gltf():
    # glTF is Y up: the host's (x, y, z) is glTF's (x, z, -y).
    to_gltf = lambda p: [p[0], p[2], -p[1]]
    x, y, z = aim_axes(to_gltf(POS), to_gltf(TARGET), (0, 1, 0))
    triangle = struct.pack("<9f", 0, 0, 0, 1, 0, 0, 0, 1, 0)
    gltf = {
        "asset": {"version": "2.0"},
        "scene": 0,
        "scenes": [{"nodes": [0, 1]}],
        "nodes": [{"name": "Camera01", "camera": 0, "translation": to_gltf(POS), "rotation": quaternion(x, y, z)},
                  {"name": "Tri", "mesh": 0}],
        "cameras": [{"type": "perspective", "perspective": {
            "yfov": math.radians(FOV_DEG), "aspectRatio": 1.0, "znear": 1.0, "zfar": 1000.0}}],
        "meshes": [{"primitives": [{"attributes": {"POSITION": 0}}]}],
        "accessors": [{"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3",
                       "min": [0, 0, 0], "max": [1, 1, 0]}],
        "bufferViews": [{"buffer": 0, "byteLength": 36}],
        "buffers": [{"byteLength": 36,
                     "uri": "data:application/octet-stream;base64," + base64.b64encode(triangle).decode()}],
    }
    open("camera.gltf", "w").write(json.dumps(gltf, indent=1) + "\n")


def collada(cameras):
    nodes = "".join(
        f'<node id="{name}" name="{name}"><lookat>{" ".join("%g" % v for v in pos + TARGET + (0, 0, 1))}</lookat>'
        f'<instance_camera url="#{name}-camera"/></node>' for name, pos in cameras)
    library = "".join(
        f'<camera id="{name}-camera" name="{name}"><optics><technique_common><perspective>'
        f'<xfov>{FOV_DEG:g}</xfov><aspect_ratio>1</aspect_ratio><znear>1</znear><zfar>1000</zfar>'
        f'</perspective></technique_common></optics></camera>' for name, _ in cameras)
    return f"""<?xml version="1.0" encoding="utf-8"?>
<COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1">
<asset><unit name="meter" meter="1"/><up_axis>Z_UP</up_axis></asset>
<library_cameras>{library}</library_cameras>
<library_visual_scenes><visual_scene id="Scene" name="Scene">{nodes}</visual_scene></library_visual_scenes>
<scene><instance_visual_scene url="#Scene"/></scene>
</COLLADA>
"""


write_3ds()
# A plan view: straight down, so that no up vector is square to the line of
# sight and the camera's sideways axis has to be chosen.
write_3ds("top.3ds", (0.0, 0.0, 10.0))
write_ase()
write_gltf()
open("camera.dae", "w").write(collada([("Camera01", POS)]))
open("three-cameras.dae", "w").write(
    collada([("Front", (0.0, -10.0, 0.0)), ("Side", (10.0, 0.0, 0.0)), ("High", (0.0, -10.0, 10.0))]))
