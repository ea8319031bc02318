#include "cli/scene_notes.h"

#include "host/memory_objects.h"
#include "platform/text_escapes.h"

namespace kvl::cli {
namespace {

// The meshes that deform over the animation and so go out in their rest
// pose without --vertex-animation, in the order of the scene's tree. Only
// meshes with a material: the exporter makes nothing of the others.
void NoteDeformingMeshes(host::MemoryNode& node, host::Interval range, std::vector<std::string>& names) {
  if (!node.isRoot && node.object && node.material &&
      node.object->SuperClassID() == host::GEOMOBJECT_CLASS_ID && host::ChangesWithin(*node.object, range)) {
    names.push_back(node.name);
  }
  for (auto& child : node.children) NoteDeformingMeshes(*child, range, names);
}

}  // namespace

void PrintSceneNotes(const std::string& scenePath, host::MemoryScene& scene, const std::vector<std::string>& notes,
                     bool vertexAnimation, std::ostream& err) {
  const std::string shownPath = text::EscapedForTerminal(scenePath);
  for (const std::string& note : notes) err << "kvlexp: " << shownPath << ": note: " << text::EscapedForTerminal(note) << "\n";
  if (vertexAnimation) return;
  std::vector<std::string> deforming;
  NoteDeformingMeshes(scene.root, scene.animationRange, deforming);
  for (const std::string& name : deforming) {
    err << "kvlexp: " << shownPath << ": note: mesh \"" << text::EscapedForTerminal(name)
        << "\" deforms over the animation; it is exported in its rest pose (--vertex-animation exports its "
           "frames)\n";
  }
}

}  // namespace kvl::cli
