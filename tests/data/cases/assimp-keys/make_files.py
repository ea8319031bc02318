#!/usr/bin/env python3
"""Writes the animated files of this case: an FBX node with pivots whose
translation and rotation are animated, an FBX chain of animated nulls with
no mesh at all, and a glTF node keyed with a rotation and a scale that is
not uniform. Run it in this folder."""
import base64
import json
import math
import struct

KTIME_PER_SECOND = 46186158000
FBX_HEAD = ["; FBX 7.4.0 project file", "FBXHeaderExtension:  {", "\tFBXHeaderVersion: 1003", "\tFBXVersion: 7400", "}",
            "GlobalSettings:  {", "\tVersion: 1000", "\tProperties70:  {",
            '\t\tP: "UpAxis", "int", "Integer", "",2', '\t\tP: "UpAxisSign", "int", "Integer", "",1',
            '\t\tP: "FrontAxis", "int", "Integer", "",1', '\t\tP: "FrontAxisSign", "int", "Integer", "",-1',
            '\t\tP: "CoordAxis", "int", "Integer", "",0', '\t\tP: "CoordAxisSign", "int", "Integer", "",1',
            '\t\tP: "TimeMode", "enum", "", "",11', "\t}", "}"]


def arr(name, values, fmt="%.9g"):
    return "\t\t%s: *%d {\n\t\t\ta: %s\n\t\t}" % (name, len(values), ",".join(fmt % v for v in values))


def model(ident, name, kind, properties):
    return ['\tModel: %d, "Model::%s", "%s" {' % (ident, name, kind), "\t\tVersion: 232", "\t\tProperties70:  {"] + \
        ["\t\t\t" + p for p in properties] + ["\t\t}", "\t}"]


def curve(ident, values):
    """One curve from 0 to 1 second, linear between its two keys."""
    return ['\tAnimationCurve: %d, "AnimCurve::", "" {' % ident, "\t\tDefault: 0", "\t\tKeyVer: 4008",
            arr("KeyTime", [0, KTIME_PER_SECOND], "%d"), arr("KeyValueFloat", values),
            arr("KeyAttrFlags", [24836], "%d"), arr("KeyAttrDataFloat", [0, 0, 0, 0]),
            arr("KeyAttrRefCount", [2], "%d"), "\t}"]


def curve_node(ident, kind, values):
    return ['\tAnimationCurveNode: %d, "AnimCurveNode::%s", "" {' % (ident, kind), "\t\tProperties70:  {",
            '\t\t\tP: "d|X", "Number", "", "A",%g' % values[0], '\t\t\tP: "d|Y", "Number", "", "A",%g' % values[1],
            '\t\t\tP: "d|Z", "Number", "", "A",%g' % values[2], "\t\t}", "\t}"]


def fbx(path, objects, connections):
    stack = ['\tAnimationStack: 6001, "AnimStack::Move", "" {', "\t\tProperties70:  {",
             '\t\t\tP: "LocalStop", "KTime", "Time", "",%d' % KTIME_PER_SECOND, "\t\t}", "\t}",
             '\tAnimationLayer: 6002, "AnimLayer::BaseLayer", "" {', "\t}"]
    lines = FBX_HEAD + ["Objects:  {"] + objects + stack + ["}", "Connections:  {"]
    lines += ['\tC: "OO",6002,6001'] + ["\tC: " + c for c in connections] + ["}"]
    open(path, "w").write("\n".join(lines) + "\n")


def pivot_fbx():
    # Translation x from 1 to 5, rotation z from 90 to 180 degrees, about a
    # pivot one unit up y, with a rotation offset one unit up z.
    objects = ['\tGeometry: 1001, "Geometry::Tri", "Mesh" {', arr("Vertices", [0, 0, 0, 1, 0, 0, 0, 1, 0]),
               arr("PolygonVertexIndex", [0, 1, -3], "%d"), "\t\tGeometryVersion: 124", "\t}"]
    objects += model(2001, "Marker", "Mesh", [
        'P: "Lcl Translation", "Lcl Translation", "", "A",1,2,3',
        'P: "RotationPivot", "Vector3D", "Vector", "",0,1,0',
        'P: "RotationOffset", "Vector3D", "Vector", "",0,0,1',
        'P: "Lcl Rotation", "Lcl Rotation", "", "A",0,0,90'])
    objects += curve_node(6003, "T", (1, 2, 3)) + curve(6004, [1, 5])
    objects += curve_node(6005, "R", (0, 0, 90)) + curve(6006, [90, 180])
    fbx("pivot-keys.fbx", objects, ['"OO",2001,0', '"OO",1001,2001', '"OO",6003,6002', '"OO",6005,6002',
                                    '"OP",6003,2001, "Lcl Translation"', '"OP",6004,6003, "d|X"',
                                    '"OP",6005,2001, "Lcl Rotation"', '"OP",6006,6005, "d|Z"'])


def null_chain_fbx():
    # Three nulls, each one unit along x from its parent, each turning from 0
    # to 90 degrees about z: no mesh anywhere.
    objects, connections, parent = [], [], 0
    for k in range(3):
        ident = 2001 + k
        objects += model(ident, "Bone%d" % k, "Null", ['P: "Lcl Translation", "Lcl Translation", "", "A",%d,0,0' % (k and 1)])
        objects += curve_node(6010 + 2 * k, "R", (0, 0, 0)) + curve(6011 + 2 * k, [0, 90])
        connections += ['"OO",%d,%d' % (ident, parent), '"OO",%d,6002' % (6010 + 2 * k),
                        '"OP",%d,%d, "Lcl Rotation"' % (6010 + 2 * k, ident), '"OP",%d,%d, "d|Z"' % (6011 + 2 * k, 6010 + 2 * k)]
        parent = ident
    fbx("null-chain.fbx", objects, connections)


def scaled_turn_gltf():
    # Keys of T (1, 2, 3), S (1.1, 1.2, 1.3) and 30 degrees about (1, 1, 0)
    # at 0 s; at 1 s T (4, 5, 6), S (2, 0.5, 1) and 120 degrees. The node's
    # own TRS is the first key.
    def turn(degrees):
        half = math.radians(degrees) / 2
        s = math.sin(half) / math.sqrt(2)
        return [s, s, 0.0, math.cos(half)]
    first = ([1, 2, 3], turn(30), [1.1, 1.2, 1.3])
    second = ([4, 5, 6], turn(120), [2, 0.5, 1])
    data = struct.pack("<9f", 0, 0, 0, 1, 0, 0, 0, 1, 0)              # triangle, 36 bytes
    data += struct.pack("<2f", 0, 1)                                   # times, 8
    data += struct.pack("<6f", *first[0], *second[0])                  # translations, 24
    data += struct.pack("<8f", *first[1], *second[1])                  # rotations, 32
    data += struct.pack("<6f", *first[2], *second[2])                  # scales, 24
    views = [(0, 36), (36, 8), (44, 24), (68, 32), (100, 24)]
    gltf = {
        "asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0]}],
        "nodes": [{"name": "Box", "mesh": 0, "translation": first[0], "rotation": first[1], "scale": first[2]}],
        "meshes": [{"primitives": [{"attributes": {"POSITION": 0}}]}],
        "animations": [{"name": "Turn", "samplers": [{"input": 1, "output": k} for k in (2, 3, 4)],
                        "channels": [{"sampler": k, "target": {"node": 0, "path": p}}
                                     for k, p in enumerate(["translation", "rotation", "scale"])]}],
        "accessors": [
            {"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3", "min": [0, 0, 0], "max": [1, 1, 0]},
            {"bufferView": 1, "componentType": 5126, "count": 2, "type": "SCALAR", "min": [0], "max": [1]},
            {"bufferView": 2, "componentType": 5126, "count": 2, "type": "VEC3"},
            {"bufferView": 3, "componentType": 5126, "count": 2, "type": "VEC4"},
            {"bufferView": 4, "componentType": 5126, "count": 2, "type": "VEC3"}],
        "bufferViews": [{"buffer": 0, "byteOffset": o, "byteLength": n} for o, n in views],
        "buffers": [{"byteLength": len(data),
                     "uri": "data:application/octet-stream;base64," + base64.b64encode(data).decode()}],
    }
    open("scaled-turn.gltf", "w").write(json.dumps(gltf, indent=1) + "\n")


pivot_fbx()
null_chain_fbx()
scaled_turn_gltf()
