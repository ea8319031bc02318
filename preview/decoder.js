// Reads a KVL file in the browser, chunk by chunk, into plain records, and
// summarises them in the same shape as `kvlexp inspect --json`, so that what
// the page shows can be checked against the program's own reader.
//
// Like the program's reader it trusts no count: a chunk whose payload ends
// early, or has bytes left over, is counted as a problem and not filed.
"use strict";

var KvlDecoder = (function () {
  var NONE = 0xffffffff;
  var VERTEX_NORMAL = 1, VERTEX_COLOR = 2, VERTEX_UV = 4;
  var TRIANGLE_COLORS = 1, TRIANGLE_NORMAL = 2, TRIANGLE_UVS = 4;
  var PRS_POSITION = 2, PRS_ROTATION = 4, PRS_SCALE = 8;

  // Chunk id -> [node type name, accepted versions].
  var CHUNKS = {
    2: ["group", [1]], 3: ["geometry", [1]], 4: ["mesh", [3]], 5: ["camera", [1]],
    6: ["light", [2]], 7: ["helper", [1]], 8: ["particle system", [1]], 9: ["sprite", [1]],
    10: ["sound source", [1]], 11: ["microphone", [1]], 12: ["collider", [1]],
    1001: ["vertex buffer", [1, 2]], 1002: ["face list", [2]], 1003: ["material", [2]],
    1004: ["texture", [1]], 1005: ["animation group", [3]], 1006: ["loader", [1]],
    1007: ["spring", [2]], 1008: ["triangle info buffer", [1]], 1009: ["attribute", [1]]
  };

  function Overrun() {}

  // Little-endian reads inside one payload; reading past its end throws.
  function Payload(bytes, start, size) {
    this.view = new DataView(bytes.buffer, bytes.byteOffset + start, size);
    this.bytes = bytes.subarray(start, start + size);
    this.pos = 0;
    this.size = size;
  }
  Payload.prototype.need = function (n) {
    if (this.pos + n > this.size) throw new Overrun();
    var at = this.pos;
    this.pos += n;
    return at;
  };
  Payload.prototype.u8 = function () { return this.view.getUint8(this.need(1)); };
  Payload.prototype.u16 = function () { return this.view.getUint16(this.need(2), true); };
  Payload.prototype.u32 = function () { return this.view.getUint32(this.need(4), true); };
  Payload.prototype.i32 = function () { return this.view.getInt32(this.need(4), true); };
  Payload.prototype.f32 = function () { return this.view.getFloat32(this.need(4), true); };
  Payload.prototype.floats = function (n) {
    var out = [];
    for (var i = 0; i < n; ++i) out.push(this.f32());
    return out;
  };
  Payload.prototype.text = function (n) {
    var at = this.need(n);
    return new TextDecoder("utf-8").decode(this.bytes.subarray(at, at + n));
  };
  Payload.prototype.string = function () { return this.text(this.u8()); };
  Payload.prototype.fits = function (count, each) {
    if (count * each > this.size - this.pos) throw new Overrun();
  };

  function identity() { return { position: [0, 0, 0], rotation: [0, 0, 0, 1], scale: [1, 1, 1] }; }

  function transformBlock(p) {
    return { position: p.floats(3), rotation: p.floats(4), scale: p.floats(3) };
  }
  function positionRotation(p) {
    return { position: p.floats(3), rotation: p.floats(4), scale: [1, 1, 1] };
  }

  function stride(flags) {
    return 12 + (flags & VERTEX_NORMAL ? 12 : 0) + (flags & VERTEX_COLOR ? 4 : 0) + (flags & VERTEX_UV ? 8 : 0);
  }

  // One vertex list as flat arrays, ready for a buffer geometry.
  function vertexList(p, flags, count) {
    var list = { position: new Float32Array(count * 3) };
    if (flags & VERTEX_NORMAL) list.normal = new Float32Array(count * 3);
    if (flags & VERTEX_COLOR) list.color = new Uint32Array(count);
    if (flags & VERTEX_UV) list.uv = new Float32Array(count * 2);
    for (var i = 0; i < count; ++i) {
      for (var k = 0; k < 3; ++k) list.position[i * 3 + k] = p.f32();
      if (list.normal) for (k = 0; k < 3; ++k) list.normal[i * 3 + k] = p.f32();
      if (list.color) list.color[i] = p.u32();
      if (list.uv) { list.uv[i * 2] = p.f32(); list.uv[i * 2 + 1] = p.f32(); }
    }
    return list;
  }

  function sequence(p) {
    var s = { startTime: p.i32(), endTime: p.i32(), sampleRate: p.f32(), flags: p.u16(), constant: {} };
    if (!(s.flags & PRS_POSITION)) s.constant.position = p.floats(3);
    if (!(s.flags & PRS_ROTATION)) s.constant.rotation = p.floats(4);
    if (!(s.flags & PRS_SCALE)) s.constant.scale = p.floats(3);
    var count = p.u32();
    var each = (s.flags & PRS_POSITION ? 12 : 0) + (s.flags & PRS_ROTATION ? 16 : 0) + (s.flags & PRS_SCALE ? 12 : 0);
    p.fits(count, each);
    s.samples = [];
    for (var i = 0; i < count; ++i) {
      var sample = {};
      if (s.flags & PRS_POSITION) sample.position = p.floats(3);
      if (s.flags & PRS_ROTATION) sample.rotation = p.floats(4);
      if (s.flags & PRS_SCALE) sample.scale = p.floats(3);
      s.samples.push(sample);
    }
    return s;
  }

  var DECODERS = {
    2: function (p) { return { parentId: p.u32(), name: p.string(), transform: transformBlock(p) }; },
    3: function (p) { return { parentId: p.u32(), name: p.string(), transform: transformBlock(p) }; },
    4: function (p) {
      var m = { parentId: p.u32(), name: p.string(), submeshes: [] };
      var count = p.u16();
      p.fits(count, 33);
      for (var i = 0; i < count; ++i) {
        m.submeshes.push({
          vertexBufferId: p.u32(), faceListId: p.u32(), triangleInfoBufferId: p.u32(), materialId: p.u32(),
          diffuseTextureId: p.u32(), envTextureId: p.u32(), vertexOffset: p.u32(), vertexCount: p.u32(),
          primitiveType: p.u8()
        });
      }
      return m;
    },
    5: function (p) {
      var c = { parentId: p.u32(), targetId: p.u32(), name: p.string() };
      c.transform = positionRotation(p);
      c.fov = p.f32(); c.nearClip = p.f32(); c.farClip = p.f32();
      return c;
    },
    6: function (p) {
      var l = { parentId: p.u32(), name: p.string() };
      l.transform = positionRotation(p);
      l.lightType = p.u8();
      p.need(32);
      return l;
    },
    7: function (p) { return { parentId: p.u32(), name: p.string(), position: p.floats(3) }; },
    8: function (p) { return { parentId: p.u32(), name: p.string(), scale: p.f32(), fileName: p.string() }; },
    9: function (p) {
      return { parentId: p.u32(), name: p.string(), width: p.f32(), height: p.f32(), fileName: p.string(),
               spriteType: p.u8(), sourceBlend: p.u8(), destBlend: p.u8(), color: p.u32() };
    },
    10: function (p) {
      var s = { parentId: p.u32(), name: p.string() };
      s.transform = positionRotation(p);
      s.soundType = p.u8(); s.multiplier = p.f32(); s.attenuationStart = p.f32(); s.attenuationEnd = p.f32();
      s.looping = p.u8() === 0; s.fileName = p.string();
      return s;
    },
    11: function (p) {
      var m = { parentId: p.u32(), name: p.string() };
      m.transform = positionRotation(p);
      m.microphoneType = p.u8(); m.multiplier = p.u8(); m.range = p.f32();
      return m;
    },
    12: function (p) {
      var c = { parentId: p.u32(), colliderType: p.u16(), name: p.string(), transform: identity() };
      if (c.colliderType === 1) {
        c.boundingVolumeType = p.u8(); c.boundsMin = p.floats(3); c.boundsMax = p.floats(3);
        c.transform = transformBlock(p);
      } else if (c.colliderType === 4) {
        c.boundsMin = p.floats(3); c.boundsMax = p.floats(3); c.transform = transformBlock(p);
        p.need(10);
      } else if (c.colliderType === 101) {
        c.boundingVolumeType = p.u8(); c.geometryId = p.u32();
      }
      return c;
    },
    1001: function (p, version) {
      var b = { flags: 0, lists: [] };
      if (version === 1) {
        if (p.size === 0) return b;
        b.flags = p.u32();
        p.u16();
        var count = p.u32();
        p.fits(count, stride(b.flags));
        b.lists.push(vertexList(p, b.flags, count));
        return b;
      }
      var lists = p.u32();
      b.flags = p.u32();
      p.u16();
      var n = p.u32();
      p.fits(lists, n * stride(b.flags));
      for (var i = 0; i < lists; ++i) b.lists.push(vertexList(p, b.flags, n));
      return b;
    },
    1002: function (p) {
      var count = p.u16();
      p.fits(count, 2);
      var indices = new Uint32Array(count);
      for (var i = 0; i < count; ++i) indices[i] = p.u16();
      return { indices: indices };
    },
    1003: function (p) {
      return { diffuse: p.u32(), specular: p.u32(), ambient: p.u32(), emissive: p.u32(), specularPower: p.f32(),
               flags: p.u32(), shadingMode: p.u32(), sourceBlend: p.u8(), targetBlend: p.u8(),
               polygonOffset: p.f32() };
    },
    1004: function (p) { return { fileName: p.string() }; },
    1005: function (p) {
      var g = { parentId: p.u32(), name: p.string(), sequences: [], transform: identity() };
      var count = p.u16();
      p.fits(count, 18);
      for (var i = 0; i < count; ++i) g.sequences.push(sequence(p));
      // The group's own transform reaches the file only through the first
      // sequence: constant components in front of it, the rest as its first sample.
      var first = g.sequences[0];
      if (first) {
        ["position", "rotation", "scale"].forEach(function (key) {
          if (first.constant[key]) g.transform[key] = first.constant[key];
          else if (first.samples.length) g.transform[key] = first.samples[0][key];
        });
      }
      return g;
    },
    1006: function (p) {
      return { parentId: p.u32(), name: p.string(), transform: transformBlock(p), fileName: p.string(),
               mergeMode: p.u8() };
    },
    1007: function (p) {
      return { parentId: NONE, parentId1: p.u32(), parentId2: p.u32(), springConstant: p.f32(),
               dampingConstant: p.f32(), length: p.f32(), minLengthScale: p.f32(), maxLengthScale: p.f32() };
    },
    1008: function (p) {
      var count = p.u16();
      var flags = p.u32();
      var each = (flags & TRIANGLE_COLORS ? 12 : 0) + (flags & TRIANGLE_NORMAL ? 12 : 0) + (flags & TRIANGLE_UVS ? 24 : 0);
      p.fits(count, each);
      var b = { flags: flags, triangles: [] };
      for (var i = 0; i < count; ++i) {
        var t = {};
        if (flags & TRIANGLE_COLORS) t.colors = [p.u32(), p.u32(), p.u32()];
        if (flags & TRIANGLE_NORMAL) t.normal = p.floats(3);
        if (flags & TRIANGLE_UVS) t.cornerUVs = p.floats(6);
        b.triangles.push(t);
      }
      return b;
    },
    1009: function (p) {
      var a = { parentId: p.u32() };
      var count = p.u32();
      if (count === 0) throw new Overrun();
      p.fits(count, 1);
      a.data = p.text(count - 1);
      p.u8();
      return a;
    }
  };

  // The whole file: every chunk, and a record for each one that reads cleanly.
  function decode(bytes) {
    var doc = { fileSize: bytes.length, chunks: [], records: new Map(), problems: [] };
    var at = 0;
    while (at < bytes.length) {
      if (bytes.length - at < 12) {
        doc.problems.push({ offset: at, message: "the file ends inside a chunk header" });
        break;
      }
      var head = new DataView(bytes.buffer, bytes.byteOffset + at, 12);
      var chunk = { offset: at, chunkType: head.getUint16(0, true), version: head.getUint16(2, true),
                    id: head.getUint32(4, true), size: head.getUint32(8, true), decoded: false };
      doc.chunks.push(chunk);
      if (chunk.size > bytes.length - at - 12) {
        doc.problems.push({ offset: at, message: "chunk size runs past the end of the file" });
        break;
      }
      readChunk(doc, bytes, chunk);
      at += 12 + chunk.size;
    }
    return doc;
  }

  function readChunk(doc, bytes, chunk) {
    var known = CHUNKS[chunk.chunkType];
    if (!known) {
      doc.problems.push({ offset: chunk.offset, message: "chunk type " + chunk.chunkType + " is not a type of the format" });
      return;
    }
    if (known[1].indexOf(chunk.version) < 0) {
      doc.problems.push({ offset: chunk.offset, message: "unknown version " + chunk.version + " of chunk " + chunk.chunkType });
      return;
    }
    var p = new Payload(bytes, chunk.offset + 12, chunk.size);
    var record;
    try {
      record = DECODERS[chunk.chunkType](p, chunk.version);
    } catch (e) {
      if (!(e instanceof Overrun)) throw e;
      doc.problems.push({ offset: chunk.offset, message: "chunk " + chunk.chunkType + " id " + chunk.id + " ends early" });
      return;
    }
    if (p.pos !== p.size) {
      doc.problems.push({ offset: chunk.offset, message: "chunk " + chunk.chunkType + " id " + chunk.id + " has bytes left over" });
      return;
    }
    chunk.decoded = true;
    if (doc.records.has(chunk.id)) return;  // a duplicate id: the first record stays
    record.id = chunk.id;
    record.type = known[0];
    record.chunkType = chunk.chunkType;
    doc.records.set(chunk.id, record);
  }

  // ---- The summary, field for field as `kvlexp inspect --json` gives it ----

  var PLACED = { "group": 1, "animation group": 1, "mesh": 1, "camera": 1, "geometry": 1, "helper": 1, "sprite": 1,
                 "particle system": 1, "loader": 1, "light": 1, "attribute": 1, "microphone": 1,
                 "sound source": 1, "collider": 1 };

  function idOrNull(id) { return id === NONE || id === undefined ? null : id; }
  function hex(value) { return "0x" + (value >>> 0).toString(16).toUpperCase().padStart(8, "0"); }
  function sortedIds(doc) { return Array.from(doc.records.keys()).sort(function (a, b) { return a - b; }); }

  function positionOf(r) {
    if (r.type === "helper") return r.position;
    return r.transform ? r.transform.position : null;
  }

  function hierarchy(doc) {
    var children = new Map(), tops = [], shown = new Set();
    sortedIds(doc).forEach(function (id) {
      var r = doc.records.get(id);
      if (!PLACED[r.type]) return;
      var parent = r.parentId;
      if (parent === NONE || parent === id || !doc.records.has(parent)) tops.push(id);
      else {
        if (!children.has(parent)) children.set(parent, []);
        children.get(parent).push(id);
      }
    });
    function node(id) {
      shown.add(id);
      var r = doc.records.get(id);
      var entry = { id: id, type: r.type, parent: idOrNull(r.parentId) };
      if (r.type === "attribute") entry.text = r.data; else entry.name = r.name;
      var position = positionOf(r);
      entry.position = position ? position.slice() : null;
      entry.children = [];
      (children.get(id) || []).forEach(function (child) { if (!shown.has(child)) entry.children.push(node(child)); });
      return entry;
    }
    var roots = tops.map(node);
    children.forEach(function (kids) {
      kids.forEach(function (id) { if (!shown.has(id)) roots.push(node(id)); });
    });
    return roots;
  }

  function find(doc, id, type) {
    var r = doc.records.get(id);
    return r && r.type === type ? r : null;
  }

  function summarise(doc, fileName) {
    var totals = { bytes: doc.fileSize, chunks: doc.chunks.length, nodes: doc.records.size };
    var meshes = [], materials = [], textures = [], animations = [], uses = new Map();
    var submeshCount = 0, triangles = 0, samples = 0;
    sortedIds(doc).forEach(function (id) {
      var r = doc.records.get(id);
      if (r.type === "mesh") {
        var subs = r.submeshes.map(function (s) {
          var faces = find(doc, s.faceListId, "face list");
          var tris = faces ? Math.floor(faces.indices.length / 3) : Math.floor(s.vertexCount / 3);
          triangles += tris;
          ++submeshCount;
          uses.set(s.materialId, (uses.get(s.materialId) || 0) + 1);
          return { material: idOrNull(s.materialId), diffuseTexture: idOrNull(s.diffuseTextureId),
                   envTexture: idOrNull(s.envTextureId), vertexBuffer: idOrNull(s.vertexBufferId),
                   faceList: idOrNull(s.faceListId), triangleInfoBuffer: idOrNull(s.triangleInfoBufferId),
                   triangles: tris, vertices: faces ? new Set(faces.indices).size : 0,
                   vertexOffset: s.vertexOffset };
        });
        var vb = r.submeshes.length ? find(doc, r.submeshes[0].vertexBufferId, "vertex buffer") : null;
        meshes.push({ id: id, name: r.name, parent: idOrNull(r.parentId), submeshes: subs,
                      bufferVertices: vb && vb.lists.length ? vb.lists[0].position.length / 3 : 0,
                      frames: vb ? vb.lists.length : 0, vertexFlags: vb ? vb.flags : 0 });
      } else if (r.type === "texture") {
        textures.push({ id: id, fileName: r.fileName });
      } else if (r.type === "animation group") {
        animations.push({ id: id, name: r.name, parent: idOrNull(r.parentId),
                          sequences: r.sequences.map(function (s) {
                            samples += s.samples.length;
                            return { flags: s.flags, samples: s.samples.length, sampleRate: s.sampleRate,
                                     startTime: s.startTime, endTime: s.endTime };
                          }) });
      }
    });
    sortedIds(doc).forEach(function (id) {
      var m = doc.records.get(id);
      if (m.type !== "material") return;
      materials.push({ id: id, diffuse: hex(m.diffuse), specular: hex(m.specular), ambient: hex(m.ambient),
                       emissive: hex(m.emissive), specularPower: m.specularPower, flags: m.flags,
                       shadingMode: m.shadingMode, sourceBlend: m.sourceBlend, targetBlend: m.targetBlend,
                       polygonOffset: m.polygonOffset, submeshes: uses.get(id) || 0 });
    });
    totals.meshes = meshes.length;
    totals.submeshes = submeshCount;
    totals.triangles = triangles;
    totals.materials = materials.length;
    totals.textures = textures.length;
    totals.animations = animations.length;
    totals.samples = samples;
    return { file: fileName, hierarchy: hierarchy(doc), meshes: meshes, materials: materials, textures: textures,
             animations: animations, totals: totals };
  }

  return { decode: decode, summarise: summarise, NONE: NONE,
           VERTEX_NORMAL: VERTEX_NORMAL, VERTEX_COLOR: VERTEX_COLOR, VERTEX_UV: VERTEX_UV,
           PRS_POSITION: PRS_POSITION, PRS_ROTATION: PRS_ROTATION, PRS_SCALE: PRS_SCALE };
})();
