#!/usr/bin/env python3
"""Writes the small scenes that the Assimp source's tests read.

Every file holds the same model, in its format's own axes and conventions:
a cube "Body" (2 units wide, centred on the origin; its four sides use
material "Red", which has a texture, and its top and bottom "Blue"), with a
child "Head" 3 units above it: a smooth sphere of radius 1 (an icosahedron
split once, 42 vertices, normals pointing straight out). The top of the
model is therefore 4 units up. Formats that can hold more add a camera "Cam"
and an animation "Move". Run it from anywhere; it writes next to itself.
"""
import base64
import json
import math
import os
import struct
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))


def write(name, text, mode="w"):
    with open(os.path.join(HERE, name), mode) as f:
        f.write(text)


# ---------------------------------------------------------------- geometry

def cube():
    """24 vertices (4 per side), per-side normals and UVs; sides first."""
    sides = [  # normal, u axis, v axis (Y up)
        ((0, 0, 1), (1, 0, 0), (0, 1, 0)), ((1, 0, 0), (0, 0, -1), (0, 1, 0)),
        ((0, 0, -1), (-1, 0, 0), (0, 1, 0)), ((-1, 0, 0), (0, 0, 1), (0, 1, 0)),
        ((0, 1, 0), (1, 0, 0), (0, 0, -1)), ((0, -1, 0), (1, 0, 0), (0, 0, 1)),
    ]
    pos, nrm, uv, tris = [], [], [], []
    for n, u, v in sides:
        base = len(pos)
        for su, sv in ((-1, -1), (1, -1), (1, 1), (-1, 1)):
            pos.append(tuple(n[i] + su * u[i] + sv * v[i] for i in range(3)))
            nrm.append(n)
            uv.append(((su + 1) / 2, (sv + 1) / 2))
        tris.append((base, base + 1, base + 2))
        tris.append((base, base + 2, base + 3))
    return pos, nrm, uv, tris  # triangles 0-7: sides (Red), 8-11: top and bottom (Blue)


def icosphere():
    t = (1 + 5 ** 0.5) / 2
    verts = [(-1, t, 0), (1, t, 0), (-1, -t, 0), (1, -t, 0), (0, -1, t), (0, 1, t), (0, -1, -t), (0, 1, -t),
             (t, 0, -1), (t, 0, 1), (-t, 0, -1), (-t, 0, 1)]
    faces = [(0, 11, 5), (0, 5, 1), (0, 1, 7), (0, 7, 10), (0, 10, 11), (1, 5, 9), (5, 11, 4), (11, 10, 2),
             (10, 7, 6), (7, 1, 8), (3, 9, 4), (3, 4, 2), (3, 2, 6), (3, 6, 8), (3, 8, 9), (4, 9, 5), (2, 4, 11),
             (6, 2, 10), (8, 6, 7), (9, 8, 1)]
    verts = [tuple(c / math.sqrt(sum(x * x for x in v)) for c in v) for v in verts]
    cache = {}

    def mid(a, b):
        key = (min(a, b), max(a, b))
        if key not in cache:
            m = [(verts[a][i] + verts[b][i]) / 2 for i in range(3)]
            length = math.sqrt(sum(x * x for x in m))
            verts.append(tuple(x / length for x in m))
            cache[key] = len(verts) - 1
        return cache[key]

    out = []
    for a, b, c in faces:
        ab, bc, ca = mid(a, b), mid(b, c), mid(c, a)
        out += [(a, ab, ca), (b, bc, ab), (c, ca, bc), (ab, bc, ca)]
    return verts, list(verts), out


# Y up, as glTF and OBJ have it; Z up for Collada, FBX and PLY below.
def y_to_z(p):
    return (p[0], -p[2], p[1])


# ------------------------------------------------------------------ glTF

def png_1x1(r, g, b):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
    raw = zlib.compress(bytes([0, r, g, b]))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", 1, 1, 8, 2, 0, 0, 0)) +
            chunk(b"IDAT", raw) + chunk(b"IEND", b""))


def gltf():
    blob = bytearray()
    views, accessors = [], []

    def add(values, fmt, count, kind, ctype, target=None, minmax=False):
        while len(blob) % 4:
            blob.append(0)
        offset = len(blob)
        flat = [x for v in values for x in (v if isinstance(v, tuple) else (v,))]
        blob.extend(struct.pack("<%d%s" % (len(flat), fmt), *flat))
        view = {"buffer": 0, "byteOffset": offset, "byteLength": len(blob) - offset}
        if target:
            view["target"] = target
        views.append(view)
        acc = {"bufferView": len(views) - 1, "componentType": ctype, "count": count, "type": kind}
        if minmax:
            width = len(values[0]) if isinstance(values[0], tuple) else 1
            acc["min"] = [min((v if isinstance(v, tuple) else (v,))[i] for v in values) for i in range(width)]
            acc["max"] = [max((v if isinstance(v, tuple) else (v,))[i] for v in values) for i in range(width)]
        accessors.append(acc)
        return len(accessors) - 1

    pos, nrm, uv, tris = cube()
    cube_pos = add(pos, "f", len(pos), "VEC3", 5126, 34962, True)
    cube_nrm = add(nrm, "f", len(nrm), "VEC3", 5126, 34962)
    # glTF's v runs down the image.
    cube_uv = add([(u, 1 - v) for u, v in uv], "f", len(uv), "VEC2", 5126, 34962)
    red_idx = add([i for t in tris[:8] for i in t], "H", 24, "SCALAR", 5123, 34963)
    blue_idx = add([i for t in tris[8:] for i in t], "H", 12, "SCALAR", 5123, 34963)
    sv, sn, st = icosphere()
    sphere_pos = add(sv, "f", len(sv), "VEC3", 5126, 34962, True)
    sphere_nrm = add(sn, "f", len(sn), "VEC3", 5126, 34962)
    sphere_idx = add([i for t in st for i in t], "H", 3 * len(st), "SCALAR", 5123, 34963)
    times = add([0.0, 1.0], "f", 2, "SCALAR", 5126, None, True)
    moves = add([(0.0, 0.0, 0.0), (2.0, 0.0, 0.0)], "f", 2, "VEC3", 5126)
    rtimes = add([0.0, 2.0], "f", 2, "SCALAR", 5126, None, True)
    s = math.sin(math.pi / 4)
    turns = add([(0.0, 0.0, 0.0, 1.0), (0.0, s, 0.0, s)], "f", 2, "VEC4", 5126)

    # A camera 10 units in front of the model, 1 up, looking at it (down -Z),
    # 60 degrees across: yfov from the aspect ratio 1.5.
    aspect = 1.5
    yfov = 2 * math.atan(math.tan(math.radians(30)) / aspect)
    doc = {
        "asset": {"version": "2.0", "generator": "kvlexp tests/scenes/assimp/make_scenes.py"},
        "scene": 0,
        "scenes": [{"nodes": [0, 2]}],
        "nodes": [
            {"name": "Body", "mesh": 0, "children": [1], "extras": {"mass": 5}},
            {"name": "Head", "mesh": 1, "translation": [0, 3, 0]},
            {"name": "Cam", "camera": 0, "translation": [0, 1, 10]},
        ],
        "meshes": [
            {"name": "BodyMesh", "primitives": [
                {"attributes": {"POSITION": cube_pos, "NORMAL": cube_nrm, "TEXCOORD_0": cube_uv},
                 "indices": red_idx, "material": 0},
                {"attributes": {"POSITION": cube_pos, "NORMAL": cube_nrm, "TEXCOORD_0": cube_uv},
                 "indices": blue_idx, "material": 1}]},
            {"name": "HeadMesh", "primitives": [
                {"attributes": {"POSITION": sphere_pos, "NORMAL": sphere_nrm}, "indices": sphere_idx,
                 "material": 2}]},
        ],
        "materials": [
            {"name": "Red", "pbrMetallicRoughness": {"baseColorFactor": [1, 0, 0, 1],
                                                     "baseColorTexture": {"index": 0}}},
            {"name": "Blue", "pbrMetallicRoughness": {"baseColorFactor": [0, 0, 1, 1]}},
            {"name": "Skin", "pbrMetallicRoughness": {"baseColorFactor": [1, 0.8, 0.6, 1]}},
        ],
        "textures": [{"source": 0}],
        "images": [{"uri": "data:image/png;base64," + base64.b64encode(png_1x1(200, 30, 30)).decode()}],
        "cameras": [{"type": "perspective", "perspective": {"aspectRatio": aspect, "yfov": yfov,
                                                              "znear": 0.5, "zfar": 200}}],
        "animations": [{"name": "Move", "channels": [
            {"sampler": 0, "target": {"node": 0, "path": "translation"}},
            {"sampler": 1, "target": {"node": 1, "path": "rotation"}}],
            "samplers": [{"input": times, "output": moves}, {"input": rtimes, "output": turns}]}],
        "buffers": [{"byteLength": len(blob),
                     "uri": "data:application/octet-stream;base64," + base64.b64encode(bytes(blob)).decode()}],
        "bufferViews": views,
        "accessors": accessors,
    }
    text = json.dumps(doc, indent=1) + "\n"
    write("model.gltf", text)
    # The same model is the example of a real format in examples/.
    with open(os.path.join(HERE, "..", "..", "..", "examples", "model.gltf"), "w") as f:
        f.write(text)


# ------------------------------------------------------------------- OBJ

def obj():
    pos, nrm, uv, tris = cube()
    sv, sn, st = icosphere()
    lines = ["# the test model: cube Body with two materials, sphere Head 3 units above", "mtllib model.mtl"]
    lines += ["v %.6f %.6f %.6f" % p for p in pos]
    lines += ["vt %.6f %.6f" % t for t in uv]
    lines += ["vn %.6f %.6f %.6f" % n for n in nrm]
    lines.append("o Body")
    lines.append("usemtl Red")
    for i, t in enumerate(tris):
        if i == 8:
            lines.append("usemtl Blue")
        lines.append("f " + " ".join("%d/%d/%d" % (k + 1, k + 1, k + 1) for k in t))
    base = len(pos)
    lines += ["v %.9f %.9f %.9f" % (p[0], p[1] + 3, p[2]) for p in sv]
    lines += ["vn %.9f %.9f %.9f" % n for n in sn]
    lines.append("o Head")
    lines.append("usemtl Skin")
    for t in st:
        lines.append("f " + " ".join("%d//%d" % (k + base + 1, k + base + 1) for k in t))
    write("model.obj", "\n".join(lines) + "\n")
    write("model.mtl", "newmtl Red\nKd 1 0 0\nKa 0.1 0 0\nmap_Kd textures/checker.png\n\n"
                       "newmtl Blue\nKd 0 0 1\nd 0.5\n\nnewmtl Skin\nKd 1 0.8 0.6\nKs 0.5 0.5 0.5\n")


# ------------------------------------------------------------------- PLY

def ply():
    # A cube of 8 corners and no normals: Assimp's smoothing at 80 degrees
    # must leave its edges hard.
    corners = [(x, y, z) for z in (-1, 1) for y in (-1, 1) for x in (-1, 1)]
    quads = [(0, 2, 3, 1), (4, 5, 7, 6), (0, 1, 5, 4), (2, 6, 7, 3), (0, 4, 6, 2), (1, 3, 7, 5)]
    text = ["ply", "format ascii 1.0", "element vertex 8", "property float x", "property float y",
            "property float z", "element face 6", "property list uchar int vertex_indices", "end_header"]
    text += ["%g %g %g" % c for c in corners] + ["4 %d %d %d %d" % q for q in quads]
    write("cube.ply", "\n".join(text) + "\n")
    # The sphere with its normals, Z up as scanners write it.
    sv, sn, st = icosphere()
    text = ["ply", "format ascii 1.0", "element vertex %d" % len(sv)]
    text += ["property float %s" % a for a in ("x", "y", "z", "nx", "ny", "nz")]
    text += ["element face %d" % len(st), "property list uchar int vertex_indices", "end_header"]
    text += ["%.9f %.9f %.9f %.9f %.9f %.9f" % (v + n) for v, n in zip(sv, sn)]
    text += ["3 %d %d %d" % t for t in st]
    write("sphere.ply", "\n".join(text) + "\n")


# --------------------------------------------------------------- Collada

def collada():
    pos, nrm, uv, tris = cube()
    sv, sn, st = icosphere()
    zpos = [y_to_z(p) for p in pos]
    znrm = [y_to_z(n) for n in nrm]
    zsv = [y_to_z(p) for p in sv]

    def floats(values):
        return " ".join("%.9g" % x for v in values for x in v)

    def source(ident, values, params):
        n = len(values)
        w = len(params)
        return ('<source id="%s"><float_array id="%s-a" count="%d">%s</float_array><technique_common>'
                '<accessor source="#%s-a" count="%d" stride="%d">%s</accessor></technique_common></source>'
                % (ident, ident, n * w, floats(values), ident, n, w,
                   "".join('<param name="%s" type="float"/>' % p for p in params)))

    def tri_block(material, triangles, with_uv):
        p = []
        for t in triangles:
            for k in t:
                p += [k, k] + ([k] if with_uv else [])
        inputs = ('<input semantic="VERTEX" source="#%s" offset="0"/><input semantic="NORMAL" source="#%s" offset="1"/>'
                  % ("{v}", "{n}"))
        if with_uv:
            inputs += '<input semantic="TEXCOORD" source="#{t}" offset="2" set="0"/>'
        return ('<triangles material="%s" count="%d">%s<p>%s</p></triangles>'
                % (material, len(triangles), inputs, " ".join(map(str, p))))

    body = (tri_block("RedSym", tris[:8], True) + tri_block("BlueSym", tris[8:], True)).format(
        v="body-v", n="body-n", t="body-t")
    head = tri_block("SkinSym", st, False).format(v="head-v", n="head-n", t="")
    doc = f'''<?xml version="1.0" encoding="utf-8"?>
<COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1">
 <asset><unit name="meter" meter="1"/><up_axis>Z_UP</up_axis></asset>
 <library_cameras><camera id="cam" name="Cam"><optics><technique_common><perspective>
  <xfov>49.13</xfov><aspect_ratio>1.5</aspect_ratio><znear>0.5</znear><zfar>200</zfar>
 </perspective></technique_common></optics></camera></library_cameras>
 <library_images><image id="checker" name="checker"><init_from>textures/checker.png</init_from></image></library_images>
 <library_effects>
  <effect id="red-fx"><profile_COMMON>
   <newparam sid="checker-surface"><surface type="2D"><init_from>checker</init_from></surface></newparam>
   <newparam sid="checker-sampler"><sampler2D><source>checker-surface</source></sampler2D></newparam>
   <technique sid="common"><phong><diffuse><texture texture="checker-sampler" texcoord="UV0"/></diffuse></phong></technique>
  </profile_COMMON></effect>
  <effect id="blue-fx"><profile_COMMON><technique sid="common"><phong><diffuse><color>0 0 1 1</color></diffuse></phong></technique></profile_COMMON></effect>
  <effect id="skin-fx"><profile_COMMON><technique sid="common"><phong><diffuse><color>1 0.8 0.6 1</color></diffuse></phong></technique></profile_COMMON></effect>
 </library_effects>
 <library_materials>
  <material id="Red" name="Red"><instance_effect url="#red-fx"/></material>
  <material id="Blue" name="Blue"><instance_effect url="#blue-fx"/></material>
  <material id="Skin" name="Skin"><instance_effect url="#skin-fx"/></material>
 </library_materials>
 <library_geometries>
  <geometry id="body-mesh" name="BodyMesh"><mesh>
   {source("body-p", zpos, "XYZ")}{source("body-n", znrm, "XYZ")}{source("body-t", uv, "ST")}
   <vertices id="body-v"><input semantic="POSITION" source="#body-p"/></vertices>
   {body}
  </mesh></geometry>
  <geometry id="head-mesh" name="HeadMesh"><mesh>
   {source("head-p", zsv, "XYZ")}{source("head-n", zsv, "XYZ")}
   <vertices id="head-v"><input semantic="POSITION" source="#head-p"/></vertices>
   {head}
  </mesh></geometry>
 </library_geometries>
 <library_animations>
  <animation id="move">
   <source id="move-in"><float_array id="move-in-a" count="2">0 1</float_array><technique_common><accessor source="#move-in-a" count="2"><param name="TIME" type="float"/></accessor></technique_common></source>
   <source id="move-out"><float_array id="move-out-a" count="2">0 2</float_array><technique_common><accessor source="#move-out-a" count="2"><param name="X" type="float"/></accessor></technique_common></source>
   <source id="move-interp"><Name_array id="move-interp-a" count="2">LINEAR LINEAR</Name_array><technique_common><accessor source="#move-interp-a" count="2"><param name="INTERPOLATION" type="name"/></accessor></technique_common></source>
   <sampler id="move-s"><input semantic="INPUT" source="#move-in"/><input semantic="OUTPUT" source="#move-out"/><input semantic="INTERPOLATION" source="#move-interp"/></sampler>
   <channel source="#move-s" target="Body/location.X"/>
  </animation>
 </library_animations>
 <library_visual_scenes><visual_scene id="Scene" name="Scene">
  <node id="Body" name="Body"><translate sid="location">0 0 0</translate>
   <instance_geometry url="#body-mesh"><bind_material><technique_common>
    <instance_material symbol="RedSym" target="#Red"><bind_vertex_input semantic="UV0" input_semantic="TEXCOORD" input_set="0"/></instance_material>
    <instance_material symbol="BlueSym" target="#Blue"/>
   </technique_common></bind_material></instance_geometry>
   <node id="Head" name="Head"><translate sid="location">0 0 3</translate>
    <instance_geometry url="#head-mesh"><bind_material><technique_common>
     <instance_material symbol="SkinSym" target="#Skin"/></technique_common></bind_material></instance_geometry>
   </node>
  </node>
  <node id="CamNode" name="Cam"><translate>0 -10 1</translate><rotate>1 0 0 90</rotate>
   <instance_camera url="#cam"/></node>
 </visual_scene></library_visual_scenes>
 <scene><instance_visual_scene url="#Scene"/></scene>
</COLLADA>
'''
    write("model.dae", doc)


# ------------------------------------------------------------- FBX (ASCII)

KTIME_PER_SECOND = 46186158000


def fbx():
    """FBX 7.4 text, Z up as 3ds Max writes it, 24 frames a second."""
    pos, nrm, uv, tris = cube()
    sv, sn, st = icosphere()
    out = ["; FBX 7.4.0 project file", "; written by tests/scenes/assimp/make_scenes.py",
           "FBXHeaderExtension:  {", "\tFBXHeaderVersion: 1003", "\tFBXVersion: 7400",
           '\tCreator: "kvlexp tests"', "}",
           "GlobalSettings:  {", "\tVersion: 1000", "\tProperties70:  {",
           '\t\tP: "UpAxis", "int", "Integer", "",2', '\t\tP: "UpAxisSign", "int", "Integer", "",1',
           '\t\tP: "FrontAxis", "int", "Integer", "",1', '\t\tP: "FrontAxisSign", "int", "Integer", "",-1',
           '\t\tP: "CoordAxis", "int", "Integer", "",0', '\t\tP: "CoordAxisSign", "int", "Integer", "",1',
           '\t\tP: "UnitScaleFactor", "double", "Number", "",1', '\t\tP: "TimeMode", "enum", "", "",11',
           "\t}", "}", "Objects:  {"]

    def arr(name, values, fmt="%.9g"):
        return "\t\t%s: *%d {\n\t\t\ta: %s\n\t\t}" % (name, len(values), ",".join(fmt % v for v in values))

    def geometry(ident, name, points, normals, faces, uvs=None, materials=None):
        # Polygon vertex indices end each face with the index's complement.
        idx = []
        for t in faces:
            idx += [t[0], t[1], -t[2] - 1]
        lines = ['\tGeometry: %d, "Geometry::%s", "Mesh" {' % (ident, name),
                 arr("Vertices", [c for p in points for c in p]), arr("PolygonVertexIndex", idx, "%d"),
                 "\t\tGeometryVersion: 124",
                 "\t\tLayerElementNormal: 0 {", "\t\t\tVersion: 101", '\t\t\tName: ""',
                 '\t\t\tMappingInformationType: "ByPolygonVertex"', '\t\t\tReferenceInformationType: "Direct"',
                 arr("Normals", [c for t in faces for k in t for c in normals[k]]), "\t\t}"]
        layer = ['\t\t\tLayerElement:  {\n\t\t\t\tType: "LayerElementNormal"\n\t\t\t\tTypedIndex: 0\n\t\t\t}']
        if uvs:
            lines += ["\t\tLayerElementUV: 0 {", "\t\t\tVersion: 101", '\t\t\tName: "UVMap"',
                      '\t\t\tMappingInformationType: "ByPolygonVertex"',
                      '\t\t\tReferenceInformationType: "IndexToDirect"',
                      arr("UV", [c for u in uvs for c in u]), arr("UVIndex", [k for t in faces for k in t], "%d"),
                      "\t\t}"]
            layer.append('\t\t\tLayerElement:  {\n\t\t\t\tType: "LayerElementUV"\n\t\t\t\tTypedIndex: 0\n\t\t\t}')
        lines += ["\t\tLayerElementMaterial: 0 {", "\t\t\tVersion: 101", '\t\t\tName: ""',
                  '\t\t\tMappingInformationType: "%s"' % ("ByPolygon" if materials else "AllSame"),
                  '\t\t\tReferenceInformationType: "IndexToDirect"',
                  arr("Materials", materials or [0], "%d"), "\t\t}"]
        layer.append('\t\t\tLayerElement:  {\n\t\t\t\tType: "LayerElementMaterial"\n\t\t\t\tTypedIndex: 0\n\t\t\t}')
        lines += ["\t\tLayer: 0 {", "\t\t\tVersion: 100"] + layer + ["\t\t}", "\t}"]
        return lines

    def model(ident, name, kind, translation=(0, 0, 0), rotation=(0, 0, 0), extra=()):
        return (['\tModel: %d, "Model::%s", "%s" {' % (ident, name, kind), "\t\tVersion: 232", "\t\tProperties70:  {",
                 '\t\t\tP: "Lcl Translation", "Lcl Translation", "", "A",%g,%g,%g' % translation,
                 '\t\t\tP: "Lcl Rotation", "Lcl Rotation", "", "A",%g,%g,%g' % rotation] + list(extra) +
                ["\t\t}", "\t\tShading: T", '\t\tCulling: "CullingOff"', "\t}"])

    def material(ident, name, rgb):
        return ['\tMaterial: %d, "Material::%s", "" {' % (ident, name), "\t\tVersion: 102",
                '\t\tShadingModel: "phong"', "\t\tProperties70:  {",
                '\t\t\tP: "DiffuseColor", "Color", "", "A",%g,%g,%g' % rgb, "\t\t}", "\t}"]

    zpos = [y_to_z(p) for p in pos]
    znrm = [y_to_z(n) for n in nrm]
    zsv = [y_to_z(p) for p in sv]
    out += geometry(1001, "BodyMesh", zpos, znrm, tris, uv, [0] * 8 + [1] * 4)
    out += geometry(1002, "HeadMesh", zsv, zsv, st)
    out += model(2001, "Body", "Mesh", extra=['\t\t\tP: "UDP3DSMAX", "KString", "", "U", "notib=0&cr;&lf;mass=5"'])
    out += model(2002, "Head", "Mesh", translation=(0, 0, 3))
    # An FBX camera looks down its +X with +Y up: turned so that it looks
    # down +Y (at the model) with +Z up.
    out += model(2003, "Cam", "Camera", translation=(0, -10, 1), rotation=(90, 0, 90))
    out += material(3001, "Red", (1, 0, 0)) + material(3002, "Blue", (0, 0, 1)) + material(3003, "Skin", (1, .8, .6))
    out += ['\tTexture: 4001, "Texture::checker", "" {', '\t\tType: "TextureVideoClip"', "\t\tVersion: 202",
            '\t\tTextureName: "Texture::checker"', '\t\tFileName: "textures/checker.png"',
            '\t\tRelativeFilename: "textures/checker.png"', "\t}"]
    out += ['\tNodeAttribute: 5001, "NodeAttribute::Cam", "Camera" {', "\t\tProperties70:  {",
            '\t\t\tP: "FieldOfView", "FieldOfView", "", "A",49.13',
            '\t\t\tP: "NearPlane", "double", "Number", "",0.5', '\t\t\tP: "FarPlane", "double", "Number", "",200',
            "\t\t}", '\t\tTypeFlags: "Camera"', "\t\tGeometryVersion: 124", "\t}"]
    out += ['\tAnimationStack: 6001, "AnimStack::Move", "" {', "\t\tProperties70:  {",
            '\t\t\tP: "LocalStop", "KTime", "Time", "",%d' % KTIME_PER_SECOND, "\t\t}", "\t}",
            '\tAnimationLayer: 6002, "AnimLayer::BaseLayer", "" {', "\t}",
            '\tAnimationCurveNode: 6003, "AnimCurveNode::T", "" {', "\t\tProperties70:  {",
            '\t\t\tP: "d|X", "Number", "", "A",0', '\t\t\tP: "d|Y", "Number", "", "A",0',
            '\t\t\tP: "d|Z", "Number", "", "A",0', "\t\t}", "\t}",
            '\tAnimationCurve: 6004, "AnimCurve::", "" {', "\t\tDefault: 0", "\t\tKeyVer: 4008",
            arr("KeyTime", [0, KTIME_PER_SECOND], "%d"), arr("KeyValueFloat", [0, 2]),
            arr("KeyAttrFlags", [24836], "%d"), arr("KeyAttrDataFloat", [0, 0, 0, 0]),
            arr("KeyAttrRefCount", [2], "%d"), "\t}"]
    out += ["}", "Connections:  {"]
    for c in [("OO", 2001, 0), ("OO", 2002, 2001), ("OO", 2003, 0), ("OO", 1001, 2001), ("OO", 1002, 2002),
              ("OO", 3001, 2001), ("OO", 3002, 2001), ("OO", 3003, 2002), ("OO", 5001, 2003),
              ("OO", 6002, 6001), ("OO", 6003, 6002), ("OO", 6004, 6003)]:
        out.append('\tC: "%s",%d,%d' % c)
    out.append('\tC: "OP",4001,3001, "DiffuseColor"')
    out.append('\tC: "OP",6003,2001, "Lcl Translation"')
    out.append('\tC: "OP",6004,6003, "d|X"')
    out.append("}")
    write("model.fbx", "\n".join(out) + "\n")


if __name__ == "__main__":
    gltf()
    obj()
    ply()
    collada()
    fbx()
