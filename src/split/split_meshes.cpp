#include "split/split_meshes.h"

#include <algorithm>
#include <memory>

namespace kvl {
namespace {

bool SubmeshFits(const NodeTable& table, const Submesh& s) {
  const auto* faces = table.FindAs<FaceListNode>(s.faceListId, NODE_FACE_LIST);
  if (faces) {
    if (faces->indices.size() > FILE_LIMIT) return false;
    // The field holds the index alone; vertexOffset is a full 32 bits.
    for (uint32_t index : faces->indices) {
      if (index > FILE_LIMIT) return false;
    }
  }
  const auto* info = table.FindAs<TriangleInfoBufferNode>(s.triangleInfoBufferId, NODE_TRIANGLE_INFO_BUFFER);
  return !info || info->triangles.size() <= FILE_LIMIT;
}

uint64_t PiecesOf(const NodeTable& table, const Submesh& s) {
  const auto* faces = table.FindAs<FaceListNode>(s.faceListId, NODE_FACE_LIST);
  const uint64_t triangles = faces ? faces->indices.size() / 3 : 0;
  return std::max<uint64_t>(1, (triangles + TRIANGLES_PER_PIECE - 1) / TRIANGLES_PER_PIECE);
}

// Lays a mesh out again, piece by piece. Every piece (an unsplit submesh is
// a piece of its own) gets a block of the vertex lists of its own, in order
// of first use, so all its indices are relative to its vertexOffset.
//
// The triangle info buffers are cut into their pieces last, in
// FinishTriangles, once the old vertex lists and face lists are gone: a
// million triangles are 48 MB of them, and the memory given back by the
// rest is where their pieces go.
class Relayout {
 public:
  Relayout(NodeTable& table, VertexBufferNode& buffer, const std::function<uint32_t()>& allocateId)
      : table_(table), buffer_(buffer), allocateId_(allocateId) {
    old_.resize(buffer.lists.size());
    for (size_t f = 0; f < buffer.lists.size(); ++f) {
      old_[f] = std::move(buffer.lists[f].vertices);
      buffer.lists[f].vertices.clear();
      // Pieces repeat only the vertices on their borders: a little more room
      // than before is enough to grow once.
      buffer.lists[f].vertices.reserve(old_[f].size() + old_[f].size() / 8);
    }
    const size_t oldCount = old_.empty() ? 0 : old_[0].size();
    pieceOf_.assign(oldCount, NONE);
    localIndex_.assign(oldCount, 0);
  }

  void AddSubmesh(const Submesh& s, std::vector<Submesh>& out) {
    auto* faces = table_.FindAs<FaceListNode>(s.faceListId, NODE_FACE_LIST);
    auto* info = table_.FindAs<TriangleInfoBufferNode>(s.triangleInfoBufferId, NODE_TRIANGLE_INFO_BUFFER);
    if (!faces) {
      out.push_back(s);
      return;
    }
    const std::vector<uint32_t> indices = std::move(faces->indices);
    PendingTriangles* pending = nullptr;
    if (info) {
      pending = &pendingTriangles_.emplace_back();
      pending->triangles = std::move(info->triangles);
    }
    const size_t triangleCount = indices.size() / 3;
    for (size_t first = 0; first < triangleCount || first == 0; first += TRIANGLES_PER_PIECE) {
      const size_t last = std::min(triangleCount, first + TRIANGLES_PER_PIECE);
      // The first piece keeps the submesh's own records and ids.
      FaceListNode& pieceFaces = first == 0 ? *faces : NewNode<FaceListNode>();
      TriangleInfoBufferNode* pieceInfo = info;
      if (info && first != 0) {
        pieceInfo = &NewNode<TriangleInfoBufferNode>();
        pieceInfo->flags = info->flags;
      }
      Submesh piece = s;
      piece.faceListId = pieceFaces.id;
      piece.triangleInfoBufferId = pieceInfo ? pieceInfo->id : NODE_ID_NONE;
      piece.vertexOffset = static_cast<uint32_t>(buffer_.lists.empty() ? 0 : buffer_.lists[0].vertices.size());
      piece.vertexCount = static_cast<uint32_t>(3 * (last - first));
      pieceFaces.indices.clear();
      pieceFaces.indices.reserve(3 * (last - first));
      ++pieceNumber_;
      for (size_t i = 3 * first; i < 3 * last; ++i) {
        pieceFaces.indices.push_back(LocalIndex(static_cast<uint64_t>(indices[i]) + s.vertexOffset));
      }
      if (pieceInfo) pending->pieces.push_back({pieceInfo, first, last});
      out.push_back(piece);
      if (triangleCount == 0) break;
    }
  }

  // Gives every piece its triangles, after the old vertices are let go.
  void FinishTriangles() {
    old_.clear();
    old_.shrink_to_fit();
    pieceOf_ = {};
    localIndex_ = {};
    for (PendingTriangles& pending : pendingTriangles_) {
      const std::vector<TriangleInfo>& triangles = pending.triangles;
      for (const PendingPiece& piece : pending.pieces) {
        const size_t end = std::min(piece.last, triangles.size());
        piece.info->triangles.assign(triangles.begin() + static_cast<std::ptrdiff_t>(std::min(piece.first, end)),
                                     triangles.begin() + static_cast<std::ptrdiff_t>(end));
      }
      pending = {};
    }
  }

 private:
  static constexpr uint64_t NONE = UINT64_MAX;

  template <class T>
  T& NewNode() {
    auto node = std::make_unique<T>();
    node->id = allocateId_();
    node->reachable = 1;
    T& ref = *node;
    table_.Insert(std::move(node));
    return ref;
  }

  // The vertex's index inside the current piece, copying it into the
  // piece's block (in every list alike) on its first use there.
  uint32_t LocalIndex(uint64_t p) {
    if (p >= pieceOf_.size()) return static_cast<uint32_t>(p);  // names no vertex: left as it was
    if (pieceOf_[p] != pieceNumber_) {
      pieceOf_[p] = pieceNumber_;
      const size_t blockStart = pieceStart();
      localIndex_[p] = static_cast<uint32_t>(buffer_.lists[0].vertices.size() - blockStart);
      for (size_t f = 0; f < buffer_.lists.size(); ++f) {
        if (p < old_[f].size()) buffer_.lists[f].vertices.push_back(old_[f][p]);
      }
    }
    return localIndex_[p];
  }

  size_t pieceStart() {
    if (startedPiece_ != pieceNumber_) {
      startedPiece_ = pieceNumber_;
      pieceStart_ = buffer_.lists[0].vertices.size();
    }
    return pieceStart_;
  }

  // A submesh's triangles, taken from its buffer, and the pieces they go to.
  struct PendingPiece {
    TriangleInfoBufferNode* info;
    size_t first, last;  // triangles [first, last) of the submesh
  };
  struct PendingTriangles {
    std::vector<TriangleInfo> triangles;
    std::vector<PendingPiece> pieces;
  };

  NodeTable& table_;
  VertexBufferNode& buffer_;
  const std::function<uint32_t()>& allocateId_;
  std::vector<std::vector<Vertex>> old_;
  std::vector<uint64_t> pieceOf_;
  std::vector<uint32_t> localIndex_;
  std::vector<PendingTriangles> pendingTriangles_;
  uint64_t pieceNumber_ = 0;
  uint64_t startedPiece_ = NONE;
  size_t pieceStart_ = 0;
};

}  // namespace

bool NeedsSplit(const NodeTable& table, const MeshNode& mesh) {
  return std::any_of(mesh.submeshes.begin(), mesh.submeshes.end(),
                     [&](const Submesh& s) { return !SubmeshFits(table, s); });
}

std::vector<SplitReport> SplitOversizedMeshes(NodeTable& table, const std::function<uint32_t()>& allocateId,
                                              uint64_t maxSubmeshes) {
  std::vector<MeshNode*> meshes;
  for (const auto& [id, node] : table) {
    if (node->type == NODE_MESH && table.ShouldWrite(*node) && NeedsSplit(table, As<MeshNode>(*node))) {
      meshes.push_back(&As<MeshNode>(*node));
    }
  }
  std::vector<SplitReport> reports;
  for (MeshNode* mesh : meshes) {
    SplitReport report;
    report.meshName = mesh->name;
    for (const Submesh& s : mesh->submeshes) {
      report.pieces += PiecesOf(table, s);
      report.triangles += s.vertexCount / 3;
    }
    auto* buffer = table.FindAs<VertexBufferNode>(mesh->submeshes.front().vertexBufferId, NODE_VERTEX_BUFFER);
    if (report.pieces > maxSubmeshes || !buffer || buffer->lists.empty()) {
      // No file can claim to hold this mesh: it is left out whole.
      report.refused = true;
      mesh->submeshes.clear();
      reports.push_back(report);
      continue;
    }
    Relayout relayout(table, *buffer, allocateId);
    std::vector<Submesh> pieces;
    pieces.reserve(report.pieces);
    for (const Submesh& s : mesh->submeshes) relayout.AddSubmesh(s, pieces);
    relayout.FinishTriangles();
    mesh->submeshes = std::move(pieces);
    reports.push_back(report);
  }
  return reports;
}

std::vector<SplitReport> DropOversizedAnimations(NodeTable& table, uint64_t maxSequences) {
  std::vector<SplitReport> reports;
  for (const auto& [id, node] : table) {
    if (node->type != NODE_PRS_ANIMATION || !table.ShouldWrite(*node)) continue;
    auto& group = As<PRSAnimationGroup>(*node);
    if (group.sequences.size() <= maxSequences) continue;
    SplitReport report;
    report.meshName = group.name;
    report.pieces = group.sequences.size();
    report.refused = true;
    reports.push_back(report);
    group.sequences.clear();
  }
  return reports;
}

}  // namespace kvl
