// Shows the decoded KVL file with three.js: the hierarchy with every node's
// transform, meshes with their materials, cameras, markers for the other
// node kinds, and the transform sequences and morph frames on a timeline.
//
// The file's axes are a left-handed, Y-up frame (the host's Y and Z
// swapped); three.js is right-handed and Y-up. One mirror of Z at the root
// converts the whole tree, so every node below keeps the file's numbers.
import * as THREE from "three";
import { OrbitControls } from "three/addons/controls/OrbitControls.js";

const D = KvlDecoder;
const params = new URLSearchParams(location.search);
const page = JSON.parse(document.getElementById("kvl-page").textContent);
const bytes = Uint8Array.from(atob(document.getElementById("kvl-data").textContent.trim()), (c) => c.charCodeAt(0));
const doc = D.decode(bytes);
const summary = D.summarise(doc, page.file);

// ---- header ----
document.getElementById("file-name").textContent = page.file;
const t = summary.totals;
document.getElementById("counts").textContent =
  `${t.nodes} nodes, ${t.meshes} meshes, ${t.triangles} triangles, ${t.materials} materials, ` +
  `${t.textures} textures, ${t.animations} animation groups`;
const errorList = document.getElementById("errors");
const problems = page.problems.concat(doc.problems.map((p) => ({ severity: "error", text: "page decoder: offset " + p.offset + ": " + p.message })));
function showProblem(p) {
  const li = document.createElement("li");
  li.className = p.severity;
  li.textContent = p.text;
  errorList.appendChild(li);
}
problems.forEach(showProblem);
document.getElementById("validity").textContent = page.errors === 0
  ? `valid (${page.warnings} warnings)` : `${page.errors} errors, ${page.warnings} warnings`;

// ---- renderer ----
const view = document.getElementById("view");
// ?canvas=WxH: the picture alone, that size, at the page's top left corner,
// so that a screenshot has it at a known place whatever the window.
const fixedSize = /^(\d+)x(\d+)$/.exec(params.get("canvas") || "");
if (fixedSize) {
  Object.assign(view.style, { position: "fixed", left: "0", top: "0", zIndex: "10",
                              width: fixedSize[1] + "px", height: fixedSize[2] + "px" });
}
const renderer = new THREE.WebGLRenderer({ antialias: false, preserveDrawingBuffer: true });
renderer.setPixelRatio(1);
view.appendChild(renderer.domElement);
const scene = new THREE.Scene();
scene.background = new THREE.Color(0x30343a);
scene.add(new THREE.HemisphereLight(0xffffff, 0x404040, 1.2));
const sun = new THREE.DirectionalLight(0xffffff, 1.5);
sun.position.set(0.4, 1, 0.8);
scene.add(sun);

const fileRoot = new THREE.Group();
fileRoot.name = "file axes";
fileRoot.scale.set(1, 1, -1);
scene.add(fileRoot);

const objects = new Map();    // record id -> Object3D in the file tree
const markers = [];
const animated = [];          // { object, sequence }
const morphs = [];            // { mesh, geometry, frames: [{ position, normal }], shown, seen, rate, startTime }
const cameras = [];           // { record, object, camera }
const built = { meshObjects: 0, drawnTriangles: 0, drawnVertices: 0, cameras: 0, markers: 0, materials: 0 };

function applyTransform(object, tr) {
  object.position.fromArray(tr.position);
  object.quaternion.fromArray(tr.rotation);
  // The file's quaternions are not normalised; three.js expects unit length.
  if (object.quaternion.lengthSq() > 0) object.quaternion.normalize();
  else object.quaternion.identity();
  object.scale.fromArray(tr.scale);
}

// ---- materials ----
function rgb(colour) {
  return new THREE.Color(((colour >>> 16) & 255) / 255, ((colour >>> 8) & 255) / 255, (colour & 255) / 255);
}
// Blend factor codes as the engine reads them.
const BLEND = { 1: THREE.ZeroFactor, 2: THREE.OneFactor, 3: THREE.SrcColorFactor, 4: THREE.OneMinusSrcColorFactor,
                5: THREE.SrcAlphaFactor, 6: THREE.OneMinusSrcAlphaFactor, 7: THREE.DstAlphaFactor,
                8: THREE.OneMinusDstAlphaFactor, 9: THREE.DstColorFactor, 10: THREE.OneMinusDstColorFactor };
const MATERIAL_BLENDED = 1, MATERIAL_WIRE = 4, MATERIAL_TWO_SIDED = 8;

function checker(label) {
  const c = document.createElement("canvas");
  c.width = c.height = 64;
  const g = c.getContext("2d");
  for (let y = 0; y < 8; ++y) for (let x = 0; x < 8; ++x) {
    g.fillStyle = (x + y) % 2 ? "#ff00ff" : "#202020";
    g.fillRect(x * 8, y * 8, 8, 8);
  }
  const tex = new THREE.CanvasTexture(c);
  tex.wrapS = tex.wrapT = THREE.RepeatWrapping;
  tex.name = label;
  tex.colorSpace = THREE.SRGBColorSpace;
  return tex;
}

const textureCache = new Map();
function textureFor(id) {
  if (textureCache.has(id)) return textureCache.get(id);
  const rec = doc.records.get(id);
  const name = rec && rec.type === "texture" ? rec.fileName : "";
  const image = page.images[name];
  let tex;
  if (image) {
    tex = new THREE.TextureLoader().load(image);
    tex.wrapS = tex.wrapT = THREE.RepeatWrapping;
    tex.colorSpace = THREE.SRGBColorSpace;
  } else {
    tex = checker(name);
  }
  textureCache.set(id, tex);
  return tex;
}

const materialCache = new Map();
const allMaterials = [];
function materialFor(sub, vertexColours) {
  const key = sub.materialId + "/" + sub.diffuseTextureId + "/" + vertexColours;
  if (materialCache.has(key)) return materialCache.get(key);
  const m = doc.records.get(sub.materialId);
  let mat;
  if (!m || m.type !== "material") {
    mat = new THREE.MeshPhongMaterial({ color: 0xcccccc });
  } else {
    const alpha = ((m.diffuse >>> 24) & 255) / 255;
    // The power is the host's shininess strength: it scales the highlight.
    const strength = Math.max(0, Math.min(1, m.specularPower));
    mat = new THREE.MeshPhongMaterial({
      // Corner colours are the final colours: with lights off the exporter
      // puts the material's colour into the corners and may fold the
      // material into another one of a different colour, so multiplying by
      // its diffuse again would show the wrong colour (red on green: black).
      color: vertexColours ? new THREE.Color(1, 1, 1) : rgb(m.diffuse),
      specular: rgb(m.specular).multiplyScalar(strength),
      emissive: rgb(m.emissive),
      shininess: 30,
      side: m.flags & MATERIAL_TWO_SIDED ? THREE.DoubleSide : THREE.FrontSide,
      wireframe: (m.flags & MATERIAL_WIRE) !== 0,
    });
    if (m.flags & MATERIAL_BLENDED) {
      mat.transparent = true;
      mat.opacity = alpha;
      mat.depthWrite = false;
      mat.blending = THREE.CustomBlending;
      mat.blendSrc = BLEND[m.sourceBlend] ?? THREE.SrcAlphaFactor;
      mat.blendDst = BLEND[m.targetBlend] ?? THREE.OneMinusSrcAlphaFactor;
    }
    mat.userData.fileWire = (m.flags & MATERIAL_WIRE) !== 0;
    mat.name = "material " + sub.materialId;
  }
  if (vertexColours) mat.vertexColors = true;
  if (sub.diffuseTextureId !== D.NONE) mat.map = textureFor(sub.diffuseTextureId);
  materialCache.set(key, mat);
  allMaterials.push(mat);
  return mat;
}

// ---- meshes ----
function colourArray(colours) {
  const out = new Float32Array(colours.length * 3);
  for (let i = 0; i < colours.length; ++i) {
    const c = rgb(colours[i]);
    out.set([c.r, c.g, c.b], i * 3);
  }
  return out;
}

// Indices with the submesh's offset added, corners 1 and 2 exchanged: the
// file lists front faces clockwise in its own left-handed frame.
function cornerIndices(faces, offset, vertexCount) {
  const n = faces.indices.length - (faces.indices.length % 3);
  const out = new Uint32Array(n);
  for (let i = 0; i < n; i += 3) {
    out[i] = faces.indices[i] + offset;
    out[i + 1] = faces.indices[i + 2] + offset;
    out[i + 2] = faces.indices[i + 1] + offset;
  }
  for (const index of out) {
    if (index >= vertexCount) throw new Error(`index ${index} beyond the ${vertexCount} vertices of the buffer`);
  }
  return out;
}

function submeshGeometry(sub, vb, faces, tib) {
  const lists = vb.lists;
  const base = lists[0];
  const vertexCount = base.position.length / 3;
  const corners = cornerIndices(faces, sub.vertexOffset, vertexCount);
  const geometry = new THREE.BufferGeometry();
  if (!tib) {
    geometry.setAttribute("position", new THREE.BufferAttribute(base.position, 3));
    if (base.normal) geometry.setAttribute("normal", new THREE.BufferAttribute(base.normal, 3));
    if (base.color) geometry.setAttribute("color", new THREE.BufferAttribute(colourArray(base.color), 3));
    if (base.uv) geometry.setAttribute("uv", new THREE.BufferAttribute(base.uv, 2));
    geometry.setIndex(new THREE.BufferAttribute(corners, 1));
    if (!base.normal) geometry.computeVertexNormals();
    const frames = lists.length > 1 ? lists.map((l) => ({
      position: new THREE.BufferAttribute(l.position, 3),
      normal: l.normal ? new THREE.BufferAttribute(l.normal, 3) : null,
    })) : null;
    return { geometry, colours: !!base.color, frames };
  }
  // Per-corner data lives in the triangle info buffer: one vertex per corner.
  const n = corners.length;
  const expand = (array, size) => {
    const out = new Float32Array(n * size);
    for (let i = 0; i < n; ++i) for (let k = 0; k < size; ++k) out[i * size + k] = array[corners[i] * size + k];
    return out;
  };
  geometry.setAttribute("position", new THREE.BufferAttribute(expand(base.position, 3), 3));
  const order = [0, 2, 1];  // the corner exchange above
  const triangles = tib.triangles;
  if (tib.flags & 1) {
    const col = new Float32Array(n * 3);
    for (let f = 0; f < n / 3; ++f) for (let c = 0; c < 3; ++c) {
      const colour = rgb(triangles[f] ? triangles[f].colors[order[c]] : 0xffffffff);
      col.set([colour.r, colour.g, colour.b], (f * 3 + c) * 3);
    }
    geometry.setAttribute("color", new THREE.BufferAttribute(col, 3));
  }
  if (tib.flags & 4) {
    const uv = new Float32Array(n * 2);
    for (let f = 0; f < n / 3; ++f) for (let c = 0; c < 3; ++c) {
      const t = triangles[f] ? triangles[f].cornerUVs : [0, 0, 0, 0, 0, 0];
      uv[(f * 3 + c) * 2] = t[order[c] * 2];
      uv[(f * 3 + c) * 2 + 1] = t[order[c] * 2 + 1];
    }
    geometry.setAttribute("uv", new THREE.BufferAttribute(uv, 2));
  }
  if (base.normal) geometry.setAttribute("normal", new THREE.BufferAttribute(expand(base.normal, 3), 3));
  else geometry.computeVertexNormals();
  const frames = lists.length > 1 ? lists.map((l) => ({
    position: new THREE.BufferAttribute(expand(l.position, 3), 3),
    normal: l.normal ? new THREE.BufferAttribute(expand(l.normal, 3), 3) : null,
  })) : null;
  return { geometry, colours: (tib.flags & 1) !== 0 || !!base.color, frames };
}

function buildMesh(rec) {
  const group = new THREE.Group();
  for (const sub of rec.submeshes) {
    const vb = doc.records.get(sub.vertexBufferId);
    const faces = doc.records.get(sub.faceListId);
    const tibRec = doc.records.get(sub.triangleInfoBufferId);
    if (!vb || vb.type !== "vertex buffer" || !vb.lists.length || !faces || faces.type !== "face list") continue;
    const tib = tibRec && tibRec.type === "triangle info buffer" ? tibRec : null;
    let built_;
    try {
      built_ = submeshGeometry(sub, vb, faces, tib);
    } catch (e) {
      const p = { severity: "error", text: `page: mesh ${rec.id} "${rec.name}": ${e.message}` };
      problems.push(p);
      showProblem(p);
      continue;
    }
    const mesh = new THREE.Mesh(built_.geometry, materialFor(sub, built_.colours));
    mesh.userData.recordId = rec.id;
    if (built_.frames) addMorph(rec, built_.geometry, built_.frames);
    group.add(mesh);
    built.meshObjects += 1;
    built.drawnTriangles += built_.geometry.index ? built_.geometry.index.count / 3 : built_.geometry.attributes.position.count / 3;
    built.drawnVertices += new Set(faces.indices).size;
  }
  return group;
}

// ---- vertex animation ----
// A morphing buffer holds one vertex list per frame. The file gives the
// frames no rate of their own: they lie on the sample grid of the animation
// group above the mesh, as its samples do, or at 30 per second without one.
const DEFAULT_MORPH_RATE = 30;

function morphClock(meshRecord) {
  const seen = new Set();
  for (let r = meshRecord; r && !seen.has(r.id); r = doc.records.get(r.parentId)) {
    seen.add(r.id);
    if (r.type !== "animation group") continue;
    const s = r.sequences[0];
    if (s && s.sampleRate > 0) return { rate: s.sampleRate, startTime: s.startTime };
    break;
  }
  return { rate: DEFAULT_MORPH_RATE, startTime: 0 };
}

function addMorph(rec, geometry, frames) {
  // Bounds that hold every frame, so that neither the framing nor the
  // culling loses the shape when it moves away from its first frame.
  const box = new THREE.Box3();
  for (const f of frames) box.union(new THREE.Box3().setFromBufferAttribute(f.position));
  geometry.boundingBox = box;
  geometry.boundingSphere = box.getBoundingSphere(new THREE.Sphere());
  morphs.push(Object.assign({ mesh: rec.id, geometry, frames, shown: 0, seen: new Set() }, morphClock(rec)));
}

function frameAt(m, ms) {
  // Frame i lies at i * 1000 / rate - startTime milliseconds, like sample i.
  const f = Math.floor(((ms + m.startTime) * m.rate) / 1000 + 1e-6);
  return Math.max(0, Math.min(m.frames.length - 1, f));
}

function showFrame(m, index) {
  if (index === m.shown) return;
  const frame = m.frames[index];
  m.geometry.setAttribute("position", frame.position);
  if (frame.normal) m.geometry.setAttribute("normal", frame.normal);
  else m.geometry.computeVertexNormals();
  m.shown = index;
  m.seen.add(index);
}

// ---- markers ----
function label(text) {
  const c = document.createElement("canvas");
  const g = c.getContext("2d");
  g.font = "24px sans-serif";
  c.width = Math.min(512, Math.ceil(g.measureText(text).width) + 12);
  c.height = 32;
  g.font = "24px sans-serif";
  g.fillStyle = "rgba(0,0,0,0.6)";
  g.fillRect(0, 0, c.width, c.height);
  g.fillStyle = "#ffe070";
  g.fillText(text, 6, 24);
  const sprite = new THREE.Sprite(new THREE.SpriteMaterial({ map: new THREE.CanvasTexture(c), depthTest: false }));
  sprite.scale.set(0.25 * c.width / c.height, 0.25, 1);
  sprite.center.set(0, 0);
  return sprite;
}

const MARKER_COLOURS = { "helper": 0x40d0ff, "group": 0x90a0b0, "light": 0xffff40, "sprite": 0xff80ff,
                         "particle system": 0xff8040, "sound source": 0x80ff80, "microphone": 0x80ff80,
                         "collider": 0xff4040, "loader": 0xc080ff, "animation group": 0xffa000 };
function marker(rec) {
  const m = new THREE.Group();
  const colour = MARKER_COLOURS[rec.type] ?? 0xffffff;
  m.add(new THREE.LineSegments(new THREE.WireframeGeometry(new THREE.OctahedronGeometry(0.08)),
                               new THREE.LineBasicMaterial({ color: colour, depthTest: false })));
  const l = label(`${rec.type} ${rec.name ?? rec.id}`);
  m.add(l);
  m.userData.isMarker = true;
  markers.push(m);
  built.markers += 1;
  return m;
}

// ---- the tree ----
function buildNode(rec) {
  let object;
  switch (rec.type) {
    case "mesh": object = buildMesh(rec); break;
    case "camera": {
      object = new THREE.Group();
      applyTransform(object, rec.transform);
      const camera = new THREE.PerspectiveCamera(50, 1, Math.max(rec.nearClip, 1e-4), Math.max(rec.farClip, rec.nearClip + 1e-3));
      cameras.push({ record: rec, object, camera });
      built.cameras += 1;
      object.add(marker(rec));
      break;
    }
    case "helper":
      object = new THREE.Group();
      object.position.fromArray(rec.position);
      object.add(marker(rec));
      break;
    case "attribute":
    case "spring":
      return null;
    default:
      object = new THREE.Group();
      if (rec.transform) applyTransform(object, rec.transform);
      if (rec.type === "animation group" && rec.sequences.length) animated.push({ object, rec, sequence: rec.sequences[0] });
      if (rec.type !== "geometry") object.add(marker(rec));
  }
  object.name = rec.name ?? "";
  object.userData.recordId = rec.id;
  objects.set(rec.id, object);
  return object;
}

function attach(entry, parent) {
  const rec = doc.records.get(entry.id);
  const object = buildNode(rec);
  if (!object) return;
  parent.add(object);
  for (const child of entry.children) attach(child, object);
}
for (const root of summary.hierarchy) attach(root, fileRoot);
built.materials = allMaterials.length;

// ---- animation ----
const lerp3 = (a, b, f) => [0, 1, 2].map((k) => a[k] + (b[k] - a[k]) * f);
function sampleAt(seq, ms) {
  const n = seq.samples.length;
  // Sample i lies at i * 1000 / rate - startTime milliseconds.
  let f = ((ms + seq.startTime) * seq.sampleRate) / 1000;
  f = Math.max(0, Math.min(n - 1, f));
  const i = Math.min(Math.floor(f), n - 1), j = Math.min(i + 1, n - 1), w = f - i;
  const a = seq.samples[i], b = seq.samples[j];
  const out = {};
  out.position = seq.constant.position ?? lerp3(a.position, b.position, w);
  out.scale = seq.constant.scale ?? lerp3(a.scale, b.scale, w);
  if (seq.constant.rotation) out.rotation = seq.constant.rotation;
  else {
    const qa = new THREE.Quaternion().fromArray(a.rotation).normalize();
    const qb = new THREE.Quaternion().fromArray(b.rotation).normalize();
    out.rotation = qa.slerp(qb, w).toArray();
  }
  return out;
}

let duration = 0;
for (const a of animated) duration = Math.max(duration, a.sequence.endTime, ((a.sequence.samples.length - 1) * 1000) / a.sequence.sampleRate - a.sequence.startTime);
// The last frame is shown for one step of its grid before the loop starts over.
for (const m of morphs) duration = Math.max(duration, (m.frames.length * 1000) / m.rate - m.startTime);
duration = Math.max(0, duration);

function setTime(ms) {
  for (const a of animated) if (a.sequence.samples.length) applyTransform(a.object, sampleAt(a.sequence, ms));
  for (const m of morphs) showFrame(m, frameAt(m, ms));
  fileRoot.updateMatrixWorld(true);
  updateCameras();
}

// A camera looks along its node's +Z with +Y up in the file's frame. It is
// placed in the scene from its world matrix, so that the root's mirror does
// not mirror the picture it takes.
function updateCameras() {
  for (const c of cameras) {
    const m = c.object.matrixWorld;
    const position = new THREE.Vector3().setFromMatrixPosition(m);
    const forward = new THREE.Vector3(0, 0, 1).transformDirection(m);
    const up = new THREE.Vector3(0, 1, 0).transformDirection(m);
    c.camera.position.copy(position);
    c.camera.up.copy(up);
    c.camera.lookAt(position.clone().add(forward));
    c.camera.updateMatrixWorld(true);
  }
}

// ---- views ----
const orbitCamera = new THREE.PerspectiveCamera(45, 1, 0.01, 1000);
const controls = new OrbitControls(orbitCamera, renderer.domElement);
let activeCamera = orbitCamera;

// Frames the scene from the front: looking along the file's +Z, the host's
// front view, with +X to the right.
function frameScene() {
  fileRoot.updateMatrixWorld(true);
  const box = new THREE.Box3();
  fileRoot.traverse((o) => { if (o.isMesh) box.expandByObject(o); });
  if (box.isEmpty()) box.setFromCenterAndSize(new THREE.Vector3(), new THREE.Vector3(2, 2, 2));
  let centre = box.getCenter(new THREE.Vector3());
  const radius = Math.max(box.getSize(new THREE.Vector3()).length() / 2, 0.1);
  let distance = radius / Math.sin(THREE.MathUtils.degToRad(orbitCamera.fov / 2));
  // ?view=origin: a fixed front view of the origin, the same for every file.
  if (params.get("view") === "origin") {
    centre = new THREE.Vector3();
    distance = Number(params.get("distance") || 10);
  }
  orbitCamera.near = distance / 100;
  orbitCamera.far = distance * 100;
  orbitCamera.position.set(centre.x, centre.y, centre.z + distance);
  orbitCamera.updateProjectionMatrix();
  controls.target.copy(centre);
  controls.update();
}

const cameraSelect = document.getElementById("camera-select");
for (const c of cameras) {
  const option = document.createElement("option");
  option.value = String(c.record.id);
  option.textContent = `${c.record.name} (fov ${(c.record.fov * 180 / Math.PI).toFixed(1)}°)`;
  cameraSelect.appendChild(option);
}
cameraSelect.addEventListener("change", () => {
  const c = cameras.find((x) => String(x.record.id) === cameraSelect.value);
  activeCamera = c ? c.camera : orbitCamera;
  controls.enabled = !c;
  resize();
});

function resize() {
  const w = view.clientWidth || 640, h = view.clientHeight || 480;
  renderer.setSize(w, h, false);
  orbitCamera.aspect = w / h;
  orbitCamera.updateProjectionMatrix();
  for (const c of cameras) {
    // The file's field of view is horizontal, in radians.
    const vertical = 2 * Math.atan(Math.tan(c.record.fov / 2) / (w / h));
    c.camera.fov = THREE.MathUtils.radToDeg(vertical);
    c.camera.aspect = w / h;
    c.camera.updateProjectionMatrix();
  }
}
window.addEventListener("resize", resize);

// ---- node tree panel ----
let highlighted = null;
const highlightBox = new THREE.BoxHelper(undefined, 0xffff00);
highlightBox.visible = false;
scene.add(highlightBox);
function select(id, li) {
  if (highlighted) highlighted.classList.remove("selected");
  highlighted = li;
  li.classList.add("selected");
  const object = objects.get(id);
  if (object) {
    highlightBox.setFromObject(object);
    highlightBox.visible = true;
  } else {
    highlightBox.visible = false;
  }
  const rec = doc.records.get(id);
  document.getElementById("details").textContent = JSON.stringify(rec, (k, v) =>
    ArrayBuffer.isView(v) ? `[${v.length} values]` : v, 1).slice(0, 4000);
}
function treeItem(entry) {
  const li = document.createElement("li");
  const span = document.createElement("span");
  span.textContent = `${entry.type} ${entry.name ?? "(" + entry.text.length + " bytes of text)"} #${entry.id}`;
  span.addEventListener("click", (e) => { e.stopPropagation(); select(entry.id, span); });
  li.appendChild(span);
  if (entry.children.length) {
    const ul = document.createElement("ul");
    for (const child of entry.children) ul.appendChild(treeItem(child));
    li.appendChild(ul);
  }
  return li;
}
const tree = document.getElementById("tree");
for (const root of summary.hierarchy) tree.appendChild(treeItem(root));

// ---- toggles and timeline ----
const wireToggle = document.getElementById("wireframe");
const markerToggle = document.getElementById("markers");
wireToggle.addEventListener("change", () => {
  for (const m of allMaterials) m.wireframe = wireToggle.checked || !!m.userData.fileWire;
});
markerToggle.checked = params.get("markers") !== "0";
const showMarkers = () => { for (const m of markers) m.visible = markerToggle.checked; };
markerToggle.addEventListener("change", showMarkers);
showMarkers();
if (params.get("wireframe") === "1") { wireToggle.checked = true; wireToggle.dispatchEvent(new Event("change")); }

// What the timeline shows, for a test reading the page: the time, whether it
// plays, how often it has started over, and each morph's frame.
const playback = document.getElementById("kvl-playback");
let loops = 0;
function showPlayback() {
  playback.textContent = JSON.stringify({
    time: now, playing, loops,
    morphs: morphs.map((m) => ({ mesh: m.mesh, frame: m.shown, frames: m.frames.length, rate: m.rate,
                                 framesShown: Array.from(m.seen).sort((a, b) => a - b) })),
  });
}

const slider = document.getElementById("timeline");
const timeText = document.getElementById("time");
const playButton = document.getElementById("play");
slider.max = String(Math.round(duration));
let playing = false, now = 0, last = performance.now();
function showTime() {
  slider.value = String(Math.round(now));
  timeText.textContent = `${(now / 1000).toFixed(3)} s / ${(duration / 1000).toFixed(3)} s`;
  showPlayback();
}
function setPlaying(on) {
  playing = on;
  playButton.textContent = playing ? "Pause" : "Play";
  last = performance.now();
}
playButton.addEventListener("click", () => setPlaying(!playing));
slider.addEventListener("input", () => { now = Number(slider.value); setTime(now); showTime(); });
if (duration === 0) { playButton.disabled = true; slider.disabled = true; }

// ---- start ----
resize();
setTime(0);
frameScene();
// The page plays what moves in a loop, unless ?time= holds it at one moment
// (?time=T&play=1 starts playing there).
if (params.has("time")) now = Math.max(0, Math.min(duration, Number(params.get("time")) * 1000));
if (duration > 0 && (!params.has("time") || params.get("play") === "1")) setPlaying(true);
if (params.has("camera")) {
  cameraSelect.value = params.get("camera");
  cameraSelect.dispatchEvent(new Event("change"));
}
setTime(now);
// Frames shown from here on: the start time's, then what playing brings.
for (const m of morphs) m.seen = new Set([m.shown]);
showTime();

const summaryElement = document.getElementById("kvl-summary");
// Where each animation group stands at the shown time, in the file's axes.
// Where the picture lies on the page, in CSS pixels (the pixel ratio is 1).
const rect = renderer.domElement.getBoundingClientRect();
built.viewport = { x: rect.left, y: rect.top, width: rect.width, height: rect.height };
const animatedAt = animated.map((a) => ({ id: a.rec.id, name: a.rec.name, time: now,
                                          position: a.object.position.toArray() }));
summaryElement.textContent = JSON.stringify(Object.assign({}, summary, { built, animatedAt, problems: problems.length }));

let rendered = 0;
function frame(time) {
  if (playing && duration > 0) {
    // A frame's time stamp may lie just before the moment play was pressed.
    now += Math.max(0, time - last);
    if (now >= duration) {
      loops += Math.floor(now / duration);
      now %= duration;
    }
    setTime(now);
    showTime();
  }
  last = time;
  controls.update();
  renderer.render(scene, activeCamera);
  if (++rendered === 2) document.getElementById("kvl-ready").textContent = "ready";
  requestAnimationFrame(frame);
}
requestAnimationFrame(frame);
