#include "translate/vertex_animation.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "scene/vertex_list.h"
#include "translate/coordinates.h"
#include "translate/render_view.h"

namespace kvl {
namespace {

// The host mesh of one frame, destroyed with the frame if it was made for us.
class FrameMesh {
 public:
  FrameMesh(host::INode* node, host::TimeValue t) {
    const host::ObjectState state = node->EvalWorldState(t, true);
    if (state.obj) mesh_ = state.obj->GetRenderMesh(t, node, ExporterRenderView(), needDelete_);
  }
  ~FrameMesh() {
    if (needDelete_) delete mesh_;
  }
  FrameMesh(const FrameMesh&) = delete;
  FrameMesh& operator=(const FrameMesh&) = delete;

  host::Mesh* get() const { return mesh_; }

 private:
  host::Mesh* mesh_ = nullptr;
  bool needDelete_ = false;
};

uint32_t HostVerticesNeeded(const VertexList& list) {
  uint32_t needed = 0;
  for (const Vertex& v : list.vertices) needed = std::max(needed, v.sourceVertex + 1);
  return needed;
}

}  // namespace

void AnimateVertices(host::INode* node, VertexBufferNode& buffer, const host::Matrix3& bake, const SampleGrid& grid,
                     const ExportSettings& settings, ExportLog& log) {
  // Without a single frame the base list stays: a buffer always keeps a list.
  if (buffer.lists.empty() || !grid.HasSamples()) return;
  const VertexList& base = buffer.lists.front();
  const uint32_t needed = HostVerticesNeeded(base);

  std::vector<VertexList> frames;
  bool complete = true;
  for (uint32_t i = 0; i < grid.count; ++i) {
    const host::TimeValue t = grid.TickOf(i);
    FrameMesh mesh(node, t);
    if (!mesh.get()) {
      complete = false;
      break;
    }
    const int available = mesh.get()->getNumVerts();
    if (available < 0 || static_cast<uint32_t>(available) < needed) {
      log.Log(std::string("Vertex animation of node ") + node->GetName() + ": the mesh at tick " +
                  std::to_string(t) + " has " + std::to_string(available) + " vertices, the mesh at tick 0 had " +
                  std::to_string(needed) + "; the frames end before this tick",
              LOG_WARNING);
      complete = false;
      break;
    }

    VertexList frame;
    frame.flags = base.flags;
    // A copy differs from its base vertex in position only, so no two copies
    // can share: frame index p holds the copy of base index p. The placer
    // gives the answers of the plain scan without its quadratic cost.
    VertexPlacer placer(frame);
    for (const Vertex& vertex : base.vertices) {
      Vertex copy = vertex;
      ConvertVertex(*mesh.get(), static_cast<int>(vertex.sourceVertex), bake, settings.scale, copy.position);
      placer.Place(copy, PLACE_ANYWHERE, 0);
    }
    NormalizeNormals(frame);
    frames.push_back(std::move(frame));
  }

  // Only a full set of frames replaces the base list; otherwise the base
  // list stays in front of the frames that were made.
  if (complete) buffer.lists.erase(buffer.lists.begin());
  for (VertexList& frame : frames) buffer.lists.push_back(std::move(frame));
}

}  // namespace kvl
