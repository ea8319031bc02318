#include "cli/info_command.h"

#include <cmath>
#include <fstream>
#include <iomanip>
#include <ostream>
#include <set>

#include "cli/exit_codes.h"
#include "host/material.h"
#include "host/memory_objects.h"
#include "host/memory_scene.h"
#include "host/object.h"
#include "output/read/kvl_validator.h"
#include "platform/text_escapes.h"
#include "sources/scene_source.h"

namespace kvl::cli {
namespace {

constexpr double kTicksPerSecond = 4800.0;

// Names are the scene's bytes: quoted, with what a terminal would obey
// (escape sequences, line breaks) or could not show escaped.
std::string Quoted(std::string_view name) { return "\"" + text::EscapedForTerminal(name) + "\""; }

struct Totals {
  int nodes = 0, meshes = 0, cameras = 0, lights = 0, helpers = 0, hidden = 0, animated = 0;
  long long triangles = 0;
  std::set<host::Mtl*> materials;
};

const char* KindName(host::SClass_ID kind) {
  switch (kind) {
    case host::GEOMOBJECT_CLASS_ID: return "mesh";
    case host::CAMERA_CLASS_ID: return "camera";
    case host::LIGHT_CLASS_ID: return "light";
    case host::SHAPE_CLASS_ID: return "shape";
    case host::HELPER_CLASS_ID: return "helper";
    default: return "object";
  }
}

std::string MaterialList(host::Mtl* material, Totals& totals) {
  if (!material) return "none";
  totals.materials.insert(material);
  if (material->ClassID().PartA() != host::MULTI_CLASS_ID.PartA()) return Quoted(material->GetName());
  std::string list;
  for (int i = 0; i < material->NumSubMtls(); ++i) {
    host::Mtl* sub = material->GetSubMtl(i);
    if (sub) totals.materials.insert(sub);
    list += (i ? ", " : "") + (sub ? Quoted(sub->GetName()) : std::string("(empty)"));
  }
  return list;
}

void PrintNode(host::MemoryNode& node, int depth, std::ostream& out, Totals& totals) {
  ++totals.nodes;
  out << std::string(static_cast<size_t>(2 * depth + 2), ' ') << Quoted(node.name);
  host::Object* object = node.EvalWorldState(0).obj;
  const host::SClass_ID kind = object ? object->SuperClassID() : 0;
  out << "  " << (object ? KindName(kind) : "no object");
  if (auto* mesh = dynamic_cast<host::MemoryMeshObject*>(object)) {
    ++totals.meshes;
    totals.triangles += mesh->mesh.getNumFaces();
    out << "  " << mesh->mesh.getNumFaces() << " triangles, " << mesh->mesh.getNumVerts()
        << " vertices  materials: " << MaterialList(node.material, totals);
  } else if (auto* camera = dynamic_cast<host::MemoryCameraObject*>(object)) {
    ++totals.cameras;
    out << "  fov " << std::fixed << std::setprecision(2) << camera->fov * 180.0 / M_PI << " deg, clip "
        << std::defaultfloat << camera->nearDist << " .. " << camera->farDist;
  } else if (kind == host::LIGHT_CLASS_ID) {
    ++totals.lights;
  } else if (kind == host::HELPER_CLASS_ID) {
    ++totals.helpers;
  }
  if (node.hidden) {
    ++totals.hidden;
    out << "  hidden";
  }
  if (!node.keys.empty()) {
    ++totals.animated;
    out << "  " << node.keys.size() << " keys, ticks " << node.keys.front().tick << " .. " << node.keys.back().tick;
  }
  if (!node.userProperties.empty()) out << "  properties: " << node.userProperties.size() << " bytes";
  out << "\n";
  for (auto& child : node.children) PrintNode(*child, depth + 1, out, totals);
}

// Only the first bytes are read: a scene may be large.
bool IsKvlFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  uint8_t start[2] = {};
  file.read(reinterpret_cast<char*>(start), sizeof start);
  return file.gcount() == sizeof start && StartsLikeKvl(start);
}

}  // namespace

int RunInfo(const InfoRequest& request, std::ostream& out, std::ostream& err) {
  const std::string shownPath = text::EscapedForTerminal(request.scenePath);
  // An importer would call a KVL file an unknown format, or read it as an
  // empty scene if its name ends like one; the user meant `inspect`.
  if (IsKvlFile(request.scenePath)) {
    err << "kvlexp: " << shownPath << ": this is a KVL file: use inspect\n";
    return EXIT_FAILED;
  }
  sources::SourceOptions options;
  options.animation = request.animation;
  options.allowOutsideReferences = request.allowOutsideReferences;
  // Nothing is written for a look at the scene: embedded textures stay in it.
  sources::SceneLoadResult loaded = sources::LoadSceneFile(request.scenePath, options);
  if (!loaded.scene) {
    // The reasons quote names from the scene too.
    err << "kvlexp: " << shownPath << ": " << text::EscapedForTerminal(loaded.error) << "\n";
    return EXIT_FAILED;
  }
  for (const std::string& note : loaded.notes) {
    err << "kvlexp: " << shownPath << ": note: " << text::EscapedForTerminal(note) << "\n";
  }
  host::MemoryScene& scene = *loaded.scene;
  out << "scene " << shownPath << "\n";
  out << "time: " << scene.ticksPerFrame << " ticks per frame (" << std::setprecision(4)
      << kTicksPerSecond / scene.ticksPerFrame << " frames per second), animation range "
      << scene.animationRange.Start() << " .. " << scene.animationRange.End() << " ticks ("
      << (scene.animationRange.End() - scene.animationRange.Start()) / kTicksPerSecond << " s)\n";
  out << "nodes:\n";
  Totals totals;
  for (auto& child : scene.root.children) PrintNode(*child, 0, out, totals);
  out << "totals: " << totals.nodes << " nodes, " << totals.meshes << " meshes, " << totals.triangles
      << " triangles, " << totals.materials.size() << " materials, " << totals.cameras << " cameras, "
      << totals.lights << " lights, " << totals.helpers << " helpers, " << totals.animated << " animated nodes, "
      << totals.hidden << " hidden\n";
  return EXIT_OK;
}

}  // namespace kvl::cli
