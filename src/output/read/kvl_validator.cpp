#include "output/read/kvl_validator.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <initializer_list>
#include <map>
#include <optional>
#include <set>

#include "output/write/chunk.h"

namespace kvl {
namespace {

// Index problems of one face list listed one by one; the rest are counted.
constexpr int MAX_INDEX_PROBLEMS = 8;
// How many vertices one 16-bit face list can reach from its vertexOffset.
constexpr uint64_t VERTICES_PER_OFFSET = 65536;
// How much of a file that is not a KVL file is quoted back to the user.
constexpr size_t QUOTED_TEXT = 20;
constexpr size_t QUOTED_BYTES = 8;

std::string IdText(uint32_t id) { return id == NODE_ID_NONE ? "none" : std::to_string(id); }

std::string OffsetText(size_t offset) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%08zX", offset);
  return text;
}

bool IsPlaced(uint32_t type) {
  const RecordKind* kind = RecordKindOf(type);
  return kind && kind->placed;
}

uint32_t ParentOf(const SceneNode& node) {
  const std::optional<Placement> placement = PlacementOf(node);
  return placement ? placement->parentId : NODE_ID_NONE;
}

// The vertices of a buffer that no face list can reach: a 16-bit index
// added to a submesh's vertexOffset reaches the 65536 vertices from there.
struct Unreached {
  uint64_t first = 0;  // the lowest one
  uint64_t count = 0;
};

std::optional<Unreached> UnreachedVertices(std::vector<uint64_t> offsets, uint64_t vertices) {
  std::sort(offsets.begin(), offsets.end());
  Unreached unreached;
  uint64_t reachedUpTo = 0;  // vertices below it are reached, or counted as not
  for (uint64_t offset : offsets) {
    if (offset >= vertices) break;
    if (offset > reachedUpTo) {
      if (unreached.count == 0) unreached.first = reachedUpTo;
      unreached.count += offset - reachedUpTo;
    }
    reachedUpTo = std::max(reachedUpTo, offset + VERTICES_PER_OFFSET);
  }
  if (reachedUpTo < vertices) {
    if (unreached.count == 0) unreached.first = reachedUpTo;
    unreached.count += vertices - reachedUpTo;
  }
  if (unreached.count == 0) return std::nullopt;
  return unreached;
}

class Checker {
 public:
  explicit Checker(const KvlDocument& doc) : doc_(doc) {}

  std::vector<FileProblem> Run() {
    CollectVertexOffsets();
    CheckIds();
    CheckRoots();
    for (const auto& [id, node] : doc_.table) CheckRecord(*node);
    CheckCycles();
    return std::move(out_);
  }

 private:
  void Report(const ChunkEntry& chunk, size_t offset, Severity severity, std::string message) {
    out_.push_back(ChunkProblem(chunk, offset, severity, std::move(message)));
  }
  const ChunkEntry& ChunkFor(const SceneNode& node) const { return *doc_.ChunkOf(node.id); }
  size_t PayloadOf(const SceneNode& node) const { return ChunkFor(node).offset + Chunk::HEADER_SIZE; }

  // True if the file holds a chunk with `id` that could not be read; its
  // own problem is reported already, and references to it are not.
  bool Unreadable(uint32_t id) const {
    if (doc_.table.Find(id)) return false;
    return std::any_of(doc_.chunks.begin(), doc_.chunks.end(),
                       [id](const ChunkEntry& c) { return c.id == id; });
  }

  // Checks that `target` names a record of one of `types` (any placed
  // record if `types` is empty). Returns it, or null.
  const SceneNode* Reference(const SceneNode& from, size_t offset, const std::string& field, uint32_t target,
                             bool noneAllowed, std::initializer_list<uint32_t> types,
                             const std::string& expected) {
    if (target == NODE_ID_NONE) {
      if (!noneAllowed) {
        Report(ChunkFor(from), offset, Severity::ERROR, field + " names no node (expected " + expected + ")");
      }
      return nullptr;
    }
    const SceneNode* node = doc_.table.Find(target);
    if (!node) {
      if (!Unreadable(target)) {
        Report(ChunkFor(from), offset, Severity::ERROR,
               field + " " + std::to_string(target) + " is not in the file (expected " + expected + ")");
      }
      return nullptr;
    }
    const bool typeOk = types.size() == 0 ? IsPlaced(node->type)
                                          : std::find(types.begin(), types.end(), node->type) != types.end();
    if (!typeOk) {
      Report(ChunkFor(from), offset, Severity::ERROR,
             field + " " + std::to_string(target) + " names a node of the wrong type (expected " + expected +
                 ", found " + NodeTypeName(node->type) + ")");
      return nullptr;
    }
    return node;
  }

  void CheckIds() {
    std::map<uint32_t, size_t> firstOffset;
    for (size_t i = 0; i < doc_.chunks.size(); ++i) {
      const ChunkEntry& chunk = doc_.chunks[i];
      auto [it, fresh] = firstOffset.try_emplace(chunk.id, chunk.offset);
      if (!fresh) {
        Report(chunk, chunk.offset + 4, Severity::ERROR,
               "id " + std::to_string(chunk.id) + " is taken by the chunk at offset " + OffsetText(it->second) +
                   " already (expected a unique id, found it twice)");
      } else if (i > 0 && chunk.id < doc_.chunks[i - 1].id) {
        Report(chunk, chunk.offset + 4, Severity::ERROR,
               "ids out of order (expected an id above " + std::to_string(doc_.chunks[i - 1].id) +
                   ", found " + std::to_string(chunk.id) + ")");
      }
    }
  }

  void CheckRoots() {
    if (doc_.chunks.empty()) return;
    const ChunkEntry& first = doc_.chunks.front();
    const SceneNode* head = first.decoded ? doc_.table.Find(first.id) : nullptr;
    if (head && (!IsGroupLike(head->type) || ParentOf(*head) != NODE_ID_NONE)) {
      Report(first, first.offset, Severity::WARNING,
             "the first chunk is not the root group (expected a group without a parent, found a " +
                 NodeTypeName(head->type) + " with parent " + IdText(ParentOf(*head)) + ")");
    }
    const SceneNode* root = nullptr;
    bool anyPlaced = false;
    for (const auto& [id, node] : doc_.table) {
      if (!IsPlaced(node->type)) continue;
      anyPlaced = true;
      if (ParentOf(*node) != NODE_ID_NONE) continue;
      if (!root) {
        root = node.get();
      } else {
        Report(ChunkFor(*node), PayloadOf(*node), Severity::WARNING,
               "a second node without a parent (expected one root, the first is id " +
                   std::to_string(root->id) + ")");
      }
    }
    if (anyPlaced && !root) {
      Report(first, first.offset, Severity::ERROR, "no node is without a parent (expected one root, found none)");
    }
  }

  void CheckParent(const SceneNode& node) {
    const uint32_t parent = ParentOf(node);
    const size_t at = PayloadOf(node);
    if (parent == NODE_ID_NONE) return;
    if (parent == node.id) {
      Report(ChunkFor(node), at, Severity::ERROR, "the node is its own parent");
      return;
    }
    switch (node.type) {
      case NODE_MESH:
        Reference(node, at, "parent", parent, true, {NODE_GEOMETRY}, "a geometry");
        break;
      case NODE_PARTICLE_SYSTEM:
        Reference(node, at, "parent", parent, true, {NODE_GEOMETRY, NODE_GROUP, NODE_PRS_ANIMATION},
                  "a geometry or a group");
        break;
      case NODE_ATTRIBUTE:
        Reference(node, at, "parent", parent, true, {}, "a node of the hierarchy");
        break;
      default:
        Reference(node, at, "parent", parent, true, {NODE_GROUP, NODE_PRS_ANIMATION}, "a group");
        break;
    }
  }

  void CheckRecord(const SceneNode& node) {
    if (IsPlaced(node.type)) CheckParent(node);
    switch (node.type) {
      case NODE_MESH: CheckMesh(As<MeshNode>(node)); break;
      case NODE_VERTEX_BUFFER: CheckVertexBuffer(As<VertexBufferNode>(node)); break;
      case NODE_FACE_LIST: CheckFaceList(As<FaceListNode>(node)); break;
      case NODE_PRS_ANIMATION: CheckAnimation(As<PRSAnimationGroup>(node)); break;
      case NODE_CAMERA: {
        const auto& camera = As<CameraNode>(node);
        Reference(node, PayloadOf(node) + 4, "targetId", camera.targetId, true, {}, "a node of the hierarchy");
        break;
      }
      case NODE_COLLIDER: CheckCollider(As<ColliderNode>(node)); break;
      case NODE_SPRING: {
        const auto& spring = As<SpringNode>(node);
        Reference(node, PayloadOf(node), "parentId1", spring.parentId1, false, {}, "a node of the hierarchy");
        if (spring.parentId2 == NODE_ID_NONE) {
          Report(ChunkFor(node), PayloadOf(node) + 4, Severity::WARNING,
                 "the second end names no node (expected a helper, found none)");
        } else {
          Reference(node, PayloadOf(node) + 4, "parentId2", spring.parentId2, false, {}, "a node of the hierarchy");
        }
        break;
      }
      default:
        break;
    }
  }

  void CheckCollider(const ColliderNode& collider) {
    // The variant fields lie behind the name; their offset is the chunk's.
    const size_t at = ChunkFor(collider).offset;
    if (collider.colliderType == COLLIDER_GEOMETRY) {
      Reference(collider, at, "geometryId", collider.geometryId, true, {NODE_GEOMETRY}, "a geometry");
    } else if (collider.colliderType == COLLIDER_CONSTRUCTION) {
      Reference(collider, at, "constructionStartId", collider.constructionStartId, true,
                {NODE_GROUP, NODE_PRS_ANIMATION}, "a group");
    }
  }

  void CheckMesh(const MeshNode& mesh) {
    const size_t entries = PayloadOf(mesh) + 4 + 1 + std::min(mesh.name.size(), Chunk::MAX_STRING) + 2;
    for (size_t i = 0; i < mesh.submeshes.size(); ++i) {
      const Submesh& s = mesh.submeshes[i];
      const size_t at = entries + 33 * i;
      const std::string which = "submesh " + std::to_string(i) + " ";
      const SceneNode* vb = Reference(mesh, at, which + "vertexBufferId", s.vertexBufferId, false,
                                      {NODE_VERTEX_BUFFER}, "a vertex buffer");
      const SceneNode* fl = Reference(mesh, at + 4, which + "faceListId", s.faceListId, false,
                                      {NODE_FACE_LIST}, "a face list");
      const SceneNode* tib = Reference(mesh, at + 8, which + "triangleInfoBufferId", s.triangleInfoBufferId,
                                       true, {NODE_TRIANGLE_INFO_BUFFER}, "a triangle info buffer");
      if (s.materialId == NODE_ID_NONE) {
        Report(ChunkFor(mesh), at + 12, Severity::WARNING, which + "has no material (expected a material, found none)");
      } else {
        Reference(mesh, at + 12, which + "materialId", s.materialId, false, {NODE_MATERIAL}, "a material");
      }
      Reference(mesh, at + 16, which + "diffuseTextureId", s.diffuseTextureId, true, {NODE_TEXTURE}, "a texture");
      Reference(mesh, at + 20, which + "envTextureId", s.envTextureId, true, {NODE_TEXTURE}, "a texture");
      if (s.primitiveType != 1) {
        Report(ChunkFor(mesh), at + 32, Severity::WARNING,
               which + "has an unknown primitive type (expected 1, found " + std::to_string(s.primitiveType) + ")");
      }
      if (fl) {
        const auto& faces = As<FaceListNode>(*fl);
        if (faces.indices.size() != s.vertexCount) {
          Report(ChunkFor(mesh), at + 28, Severity::ERROR,
                 which + "vertexCount disagrees with face list " + std::to_string(fl->id) +
                     " (expected its index count " + std::to_string(faces.indices.size()) + ", found " +
                     std::to_string(s.vertexCount) + ")");
        }
        if (vb) CheckIndices(mesh, i, faces, As<VertexBufferNode>(*vb));
        if (tib) {
          const auto& triangles = As<TriangleInfoBufferNode>(*tib);
          if (triangles.triangles.size() != faces.indices.size() / 3) {
            Report(ChunkFor(*tib), PayloadOf(*tib), Severity::ERROR,
                   "triangle count disagrees with face list " + std::to_string(fl->id) + " of mesh " +
                       std::to_string(mesh.id) + " " + which + "(expected " +
                       std::to_string(faces.indices.size() / 3) + ", found " +
                       std::to_string(triangles.triangles.size()) + ")");
          }
        }
      }
      if (i > 0) {
        const Submesh& first = mesh.submeshes.front();
        if (s.vertexBufferId != first.vertexBufferId) {
          Report(ChunkFor(mesh), at, Severity::WARNING,
                 which + "names another vertex buffer than submesh 0 (expected " + IdText(first.vertexBufferId) +
                     ", found " + IdText(s.vertexBufferId) + ")");
        }
        if ((s.triangleInfoBufferId == NODE_ID_NONE) != (first.triangleInfoBufferId == NODE_ID_NONE)) {
          Report(ChunkFor(mesh), at + 8, Severity::WARNING,
                 which + "differs from submesh 0 in having a triangle info buffer (expected all or none)");
        }
      }
    }
  }

  void CheckIndices(const MeshNode& mesh, size_t submesh, const FaceListNode& faces, const VertexBufferNode& vb) {
    const uint64_t vertices = vb.lists.empty() ? 0 : vb.lists.front().vertices.size();
    const uint64_t offset = mesh.submeshes[submesh].vertexOffset;
    int bad = 0;
    for (size_t k = 0; k < faces.indices.size(); ++k) {
      const uint64_t reached = faces.indices[k] + offset;
      if (reached < vertices) continue;
      if (++bad > MAX_INDEX_PROBLEMS) continue;
      Report(ChunkFor(faces), PayloadOf(faces) + 2 + 2 * k, Severity::ERROR,
             "index " + std::to_string(k) + " plus vertexOffset " + std::to_string(offset) + " of mesh " +
                 std::to_string(mesh.id) + " submesh " + std::to_string(submesh) +
                 " is past the vertex list of buffer " + std::to_string(vb.id) + " (expected below " +
                 std::to_string(vertices) + ", found " + std::to_string(reached) + ")");
    }
    if (bad > MAX_INDEX_PROBLEMS) {
      Report(ChunkFor(faces), PayloadOf(faces), Severity::ERROR,
             std::to_string(bad - MAX_INDEX_PROBLEMS) + " further indices past the vertex list are not listed");
    }
  }

  // The splitter puts the pieces of a big mesh into one buffer, each piece
  // at its own vertexOffset, so a buffer may hold far more vertices than a
  // 16-bit index counts, as long as every one lies within reach of some
  // submesh that names the buffer.
  void CollectVertexOffsets() {
    for (const auto& [id, node] : doc_.table) {
      if (node->type != NODE_MESH) continue;
      for (const Submesh& s : As<MeshNode>(*node).submeshes) {
        offsetsByBuffer_[s.vertexBufferId].push_back(s.vertexOffset);
      }
    }
  }

  void CheckVertexBuffer(const VertexBufferNode& vb) {
    const uint64_t count = vb.lists.empty() ? 0 : vb.lists.front().vertices.size();
    auto named = offsetsByBuffer_.find(vb.id);
    // A buffer that no submesh names is read from its start.
    const std::vector<uint64_t> offsets = named == offsetsByBuffer_.end() ? std::vector<uint64_t>{0} : named->second;
    const std::optional<Unreached> unreached = UnreachedVertices(offsets, count);
    if (!unreached) return;
    Report(ChunkFor(vb), PayloadOf(vb), Severity::WARNING,
           std::to_string(unreached->count) + " of the " + std::to_string(count) +
               " vertices lie out of reach of every face list (expected each 0 to 65535 past the vertexOffset "
               "of a submesh that names the buffer, found vertex " +
               std::to_string(unreached->first) + " outside)");
  }

  void CheckFaceList(const FaceListNode& faces) {
    if (faces.indices.size() % 3 != 0) {
      Report(ChunkFor(faces), PayloadOf(faces), Severity::WARNING,
             "index count is not a multiple of three (expected whole triangles, found " +
                 std::to_string(faces.indices.size()) + " indices)");
    }
  }

  void CheckAnimation(const PRSAnimationGroup& group) {
    for (size_t i = 0; i < group.sequences.size(); ++i) {
      const PRSSequence& s = group.sequences[i];
      const std::string which = "sequence " + std::to_string(i) + " ";
      if (s.samples.size() > 1 && !(s.sampleRate > 0)) {
        Report(ChunkFor(group), PayloadOf(group), Severity::WARNING,
               which + "has several samples but no positive sample rate (found " + std::to_string(s.sampleRate) + ")");
      }
      if (s.startTime > 0) {
        Report(ChunkFor(group), PayloadOf(group), Severity::WARNING,
               which + "starts after the range (expected a start time of 0 or less, found " +
                   std::to_string(s.startTime) + ")");
      }
    }
  }

  // Follows parent links from every placed record; a walk that comes back
  // to a record on its own path has found a cycle.
  void CheckCycles() {
    std::map<uint32_t, int> state;  // 1: on the current path, 2: done
    for (const auto& [id, node] : doc_.table) {
      if (!IsPlaced(node->type) || state[id] != 0) continue;
      std::vector<uint32_t> path;
      const SceneNode* at = node.get();
      while (true) {
        state[at->id] = 1;
        path.push_back(at->id);
        const uint32_t parent = ParentOf(*at);
        if (parent == NODE_ID_NONE || parent == at->id) break;  // a self-parent is reported on its own
        const SceneNode* next = doc_.table.Find(parent);
        if (!next || !IsPlaced(next->type) || state[parent] == 2) break;
        if (state[parent] == 1) {
          ReportCycle(path, parent);
          break;
        }
        at = next;
      }
      for (uint32_t p : path) state[p] = 2;
    }
  }

  void ReportCycle(const std::vector<uint32_t>& path, uint32_t start) {
    auto begin = std::find(path.begin(), path.end(), start);
    std::vector<uint32_t> cycle(begin, path.end());
    const uint32_t smallest = *std::min_element(cycle.begin(), cycle.end());
    std::string text;
    for (uint32_t id : cycle) text += std::to_string(id) + " -> ";
    text += std::to_string(start);
    const SceneNode& at = *doc_.table.Find(smallest);
    Report(ChunkFor(at), PayloadOf(at), Severity::ERROR,
           "the hierarchy has a cycle: " + text + " (expected every chain of parents to end at a root)");
  }

  const KvlDocument& doc_;
  std::map<uint32_t, std::vector<uint64_t>> offsetsByBuffer_;  // vertex buffer id -> its submeshes' offsets
  std::vector<FileProblem> out_;
};

bool Printable(uint8_t byte) { return byte >= 0x20 && byte < 0x7F; }
bool LineSpace(uint8_t byte) { return byte == '\t' || byte == '\r' || byte == '\n'; }

// The file's first characters if it starts as text, with its line breaks
// shown as spaces so that the quote stays on one line, and "..." where the
// text goes on; empty if it does not start as text.
std::string LeadingText(std::span<const uint8_t> bytes) {
  std::string text;
  for (uint8_t byte : bytes) {
    if (LineSpace(byte)) byte = ' ';
    if (!Printable(byte)) break;
    if (byte == ' ') {
      if (!text.empty() && text.back() != ' ' && text.size() < QUOTED_TEXT) text += ' ';
      continue;
    }
    if (text.size() == QUOTED_TEXT) {
      if (text.back() == ' ') text.pop_back();
      return text + "...";
    }
    text += static_cast<char>(byte);
  }
  if (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

std::string LeadingBytes(std::span<const uint8_t> bytes) {
  std::string text;
  for (size_t i = 0; i < bytes.size() && i < QUOTED_BYTES; ++i) {
    char hex[4];
    std::snprintf(hex, sizeof hex, "%s%02X", i ? " " : "", static_cast<unsigned>(bytes[i]));
    text += hex;
  }
  return text;
}

}  // namespace

std::vector<FileProblem> CheckDocument(const KvlDocument& doc) { return Checker(doc).Run(); }

bool StartsLikeKvl(std::span<const uint8_t> bytes) {
  if (bytes.size() < 2) return false;
  return !ChunkTypeName(static_cast<uint16_t>(bytes[0] | bytes[1] << 8)).empty();
}

std::string NotKvlReason(std::span<const uint8_t> bytes) {
  if (bytes.empty()) return "not a KVL file: it is empty";
  if (StartsLikeKvl(bytes)) return "";
  // A chunk of a type this program does not know is still read past by its
  // size; only a first header that cannot even hold its own size is foreign.
  if (bytes.size() >= Chunk::HEADER_SIZE) {
    const uint32_t size = bytes[8] | bytes[9] << 8 | bytes[10] << 16 | uint32_t{bytes[11]} << 24;
    if (size <= bytes.size() - Chunk::HEADER_SIZE) return "";
  }
  const std::string text = LeadingText(bytes);
  if (!text.empty()) return "not a KVL file: it starts with '" + text + "'";
  return "not a KVL file: it starts with the bytes " + LeadingBytes(bytes);
}

Validation ValidateKvl(std::span<const uint8_t> bytes) {
  Validation v;
  v.document = ReadKvl(bytes);
  v.problems = v.document.problems;
  std::vector<FileProblem> checks = CheckDocument(v.document);
  v.problems.insert(v.problems.end(), checks.begin(), checks.end());
  std::stable_sort(v.problems.begin(), v.problems.end(),
                   [](const FileProblem& a, const FileProblem& b) { return a.offset < b.offset; });
  for (const FileProblem& p : v.problems) (p.severity == Severity::ERROR ? v.errors : v.warnings)++;
  return v;
}

}  // namespace kvl
