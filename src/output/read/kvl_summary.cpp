#include "output/read/kvl_summary.h"

#include <cstdio>
#include <map>
#include <ostream>
#include <set>

#include "output/read/kvl_validator.h"
#include "platform/text_escapes.h"

namespace kvl {
namespace {

using nlohmann::json;

json IdOrNull(uint32_t id) { return id == NODE_ID_NONE ? json(nullptr) : json(id); }

// A text of the file as the summary holds it. A name is whatever bytes the
// file has, and JSON holds only UTF-8: bytes that are not are escaped here,
// once, so that the JSON and the text rendered from it agree.
json FileText(const std::string& bytes) { return text::WithInvalidBytesEscaped(bytes); }

// A text of the summary as the terminal gets it: control characters and
// escape sequences in a name must not reach it raw.
std::string Printable(const json& value) { return text::EscapedForTerminal(value.get<std::string>()); }

std::string Hex(uint32_t value) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(value));
  return text;
}

struct TreeBuilder {
  const KvlDocument& doc;
  std::map<uint32_t, std::vector<uint32_t>> children;  // ascending ids
  std::set<uint32_t> shown;

  json Node(uint32_t id) {
    shown.insert(id);
    const SceneNode& node = *doc.table.Find(id);
    const Placement placement = PlacementOf(node).value_or(Placement{});
    const float* position = placement.position;
    json entry = {{"id", id}, {"type", NodeTypeName(node.type)}, {"parent", IdOrNull(placement.parentId)}};
    entry[node.type == NODE_ATTRIBUTE ? "text" : "name"] = FileText(placement.name ? *placement.name : "");
    entry["position"] = position ? json::array({position[0], position[1], position[2]}) : json(nullptr);
    json kids = json::array();
    // A child met a second time lies on a cycle; it is not followed again.
    for (uint32_t child : children[id]) {
      if (!shown.count(child)) kids.push_back(Node(child));
    }
    entry["children"] = std::move(kids);
    return entry;
  }
};

json Hierarchy(const KvlDocument& doc) {
  TreeBuilder tree{doc, {}, {}};
  std::vector<uint32_t> tops;
  for (const auto& [id, node] : doc.table) {
    const std::optional<Placement> placement = PlacementOf(*node);
    if (!placement) continue;
    const uint32_t parent = placement->parentId;
    // A node whose parent is missing from the file is shown at the top.
    if (parent == NODE_ID_NONE || parent == id || !doc.table.Find(parent)) {
      tops.push_back(id);
    } else {
      tree.children[parent].push_back(id);
    }
  }
  json roots = json::array();
  for (uint32_t id : tops) roots.push_back(tree.Node(id));
  // Whatever no root reaches hangs in a cycle.
  for (const auto& [parent, kids] : tree.children) {
    for (uint32_t id : kids) {
      if (!tree.shown.count(id)) roots.push_back(tree.Node(id));
    }
  }
  return roots;
}

size_t DistinctIndices(const FaceListNode& faces) {
  return std::set<uint32_t>(faces.indices.begin(), faces.indices.end()).size();
}

json Meshes(const KvlDocument& doc, json& totals) {
  json meshes = json::array();
  size_t submeshCount = 0, triangles = 0;
  for (const auto& [id, node] : doc.table) {
    if (node->type != NODE_MESH) continue;
    const auto& mesh = As<MeshNode>(*node);
    json subs = json::array();
    for (const Submesh& s : mesh.submeshes) {
      const auto* faces = doc.table.FindAs<FaceListNode>(s.faceListId, NODE_FACE_LIST);
      const size_t tris = faces ? faces->indices.size() / 3 : s.vertexCount / 3;
      triangles += tris;
      ++submeshCount;
      subs.push_back({{"material", IdOrNull(s.materialId)},
                      {"diffuseTexture", IdOrNull(s.diffuseTextureId)},
                      {"envTexture", IdOrNull(s.envTextureId)},
                      {"vertexBuffer", IdOrNull(s.vertexBufferId)},
                      {"faceList", IdOrNull(s.faceListId)},
                      {"triangleInfoBuffer", IdOrNull(s.triangleInfoBufferId)},
                      {"triangles", tris},
                      {"vertices", faces ? DistinctIndices(*faces) : 0},
                      {"vertexOffset", s.vertexOffset}});
    }
    json entry = {{"id", id}, {"name", FileText(mesh.name)}, {"parent", IdOrNull(mesh.parentId)}, {"submeshes", subs}};
    const VertexBufferNode* vb = mesh.submeshes.empty()
                                     ? nullptr
                                     : doc.table.FindAs<VertexBufferNode>(mesh.submeshes.front().vertexBufferId,
                                                                          NODE_VERTEX_BUFFER);
    entry["bufferVertices"] = vb && !vb->lists.empty() ? vb->lists.front().vertices.size() : 0;
    entry["frames"] = vb ? vb->lists.size() : 0;
    entry["vertexFlags"] = vb ? vb->flags : 0;
    meshes.push_back(std::move(entry));
  }
  totals["meshes"] = meshes.size();
  totals["submeshes"] = submeshCount;
  totals["triangles"] = triangles;
  return meshes;
}

json Materials(const KvlDocument& doc) {
  std::map<uint32_t, size_t> uses;
  for (const auto& [id, node] : doc.table) {
    if (node->type != NODE_MESH) continue;
    for (const Submesh& s : As<MeshNode>(*node).submeshes) ++uses[s.materialId];
  }
  json materials = json::array();
  for (const auto& [id, node] : doc.table) {
    if (node->type != NODE_MATERIAL) continue;
    const auto& m = As<MaterialNode>(*node);
    materials.push_back({{"id", id},
                         {"diffuse", Hex(m.diffuse)},
                         {"specular", Hex(m.specular)},
                         {"ambient", Hex(m.ambient)},
                         {"emissive", Hex(m.emissive)},
                         {"specularPower", m.specularPower},
                         {"flags", m.flags},
                         {"shadingMode", m.shadingMode},
                         {"sourceBlend", m.sourceBlend},
                         {"targetBlend", m.targetBlend},
                         {"polygonOffset", m.polygonOffset},
                         {"submeshes", uses[id]}});
  }
  return materials;
}

json Textures(const KvlDocument& doc) {
  json textures = json::array();
  for (const auto& [id, node] : doc.table) {
    if (node->type == NODE_TEXTURE) textures.push_back({{"id", id}, {"fileName", FileText(As<TextureNode>(*node).fileName)}});
  }
  return textures;
}

json Animations(const KvlDocument& doc, json& totals) {
  json animations = json::array();
  size_t samples = 0;
  for (const auto& [id, node] : doc.table) {
    if (node->type != NODE_PRS_ANIMATION) continue;
    const auto& g = As<PRSAnimationGroup>(*node);
    json sequences = json::array();
    for (const PRSSequence& s : g.sequences) {
      samples += s.samples.size();
      sequences.push_back({{"flags", s.flags},
                           {"samples", s.samples.size()},
                           {"sampleRate", s.sampleRate},
                           {"startTime", s.startTime},
                           {"endTime", s.endTime}});
    }
    animations.push_back({{"id", id}, {"name", FileText(g.name)}, {"parent", IdOrNull(g.parentId)}, {"sequences", sequences}});
  }
  totals["animations"] = animations.size();
  totals["samples"] = samples;
  return animations;
}

std::string PositionText(const json& position) {
  if (position.is_null()) return "";
  char text[96];
  std::snprintf(text, sizeof text, " at (%g, %g, %g)", position[0].get<double>(), position[1].get<double>(),
                position[2].get<double>());
  return text;
}

std::string IdText(const json& id) { return id.is_null() ? "none" : std::to_string(id.get<uint32_t>()); }

void PrintTree(const json& node, int depth, std::ostream& out) {
  out << std::string(2 * depth + 2, ' ') << node["id"].get<uint32_t>() << " " << node["type"].get<std::string>();
  if (node.contains("name")) out << " \"" << Printable(node["name"]) << "\"";
  if (node.contains("text")) out << " (" << node["text"].get<std::string>().size() << " bytes of text)";
  out << PositionText(node["position"]);
  if (depth == 0 && !node["parent"].is_null()) out << " [parent " << IdText(node["parent"]) << " missing]";
  out << "\n";
  for (const json& child : node["children"]) PrintTree(child, depth + 1, out);
}

std::string FlagNames(uint16_t flags) {
  std::string names;
  if (flags & PRS_POSITION) names += " position";
  if (flags & PRS_ROTATION) names += " rotation";
  if (flags & PRS_SCALE) names += " scale";
  return names.empty() ? " nothing" : names;
}

}  // namespace

json InspectSummary(const KvlDocument& doc, const std::string& path) {
  json totals = {{"bytes", doc.fileSize}, {"chunks", doc.chunks.size()}, {"nodes", doc.table.Size()}};
  json summary;
  summary["file"] = FileText(path);
  summary["hierarchy"] = Hierarchy(doc);
  summary["meshes"] = Meshes(doc, totals);
  summary["materials"] = Materials(doc);
  summary["textures"] = Textures(doc);
  summary["animations"] = Animations(doc, totals);
  totals["materials"] = summary["materials"].size();
  totals["textures"] = summary["textures"].size();
  // The counts are those of `kvlexp validate`: the reader's problems and
  // the checks across records, so that the two commands give one verdict.
  size_t errors = doc.Count(Severity::ERROR), warnings = doc.Count(Severity::WARNING);
  for (const FileProblem& p : CheckDocument(doc)) ++(p.severity == Severity::ERROR ? errors : warnings);
  totals["errors"] = errors;
  totals["warnings"] = warnings;
  summary["totals"] = totals;
  return summary;
}

json ChunkListing(const KvlDocument& doc, const std::string& path) {
  json chunks = json::array();
  for (const ChunkEntry& c : doc.chunks) {
    chunks.push_back({{"offset", c.offset},
                      {"type", c.chunkType},
                      {"typeName", ChunkTypeName(c.chunkType)},
                      {"version", c.version},
                      {"id", c.id},
                      {"size", c.size},
                      {"decoded", c.decoded}});
  }
  return {{"file", FileText(path)}, {"bytes", doc.fileSize}, {"chunks", chunks}};
}

void PrintSummary(const json& s, std::ostream& out) {
  out << Printable(s["file"]) << "\n\nHierarchy\n";
  for (const json& root : s["hierarchy"]) PrintTree(root, 0, out);

  out << "\nMeshes\n";
  for (const json& m : s["meshes"]) {
    out << "  mesh " << m["id"].get<uint32_t>() << " \"" << Printable(m["name"]) << "\": "
        << m["submeshes"].size() << " submeshes, " << m["bufferVertices"].get<size_t>() << " vertices in "
        << m["frames"].get<size_t>() << " list(s), vertex flags " << m["vertexFlags"].get<uint32_t>() << "\n";
    size_t i = 0;
    for (const json& sub : m["submeshes"]) {
      out << "    submesh " << i++ << ": material " << IdText(sub["material"]) << ", diffuse texture "
          << IdText(sub["diffuseTexture"]) << ", env texture " << IdText(sub["envTexture"]) << ", "
          << sub["triangles"].get<size_t>() << " triangles, " << sub["vertices"].get<size_t>()
          << " vertices, vertexOffset " << sub["vertexOffset"].get<uint32_t>() << "\n";
    }
  }

  out << "\nMaterials\n";
  for (const json& m : s["materials"]) {
    out << "  material " << m["id"].get<uint32_t>() << ": diffuse " << m["diffuse"].get<std::string>()
        << ", specular " << m["specular"].get<std::string>() << ", ambient " << m["ambient"].get<std::string>()
        << ", emissive " << m["emissive"].get<std::string>() << ", power " << m["specularPower"].get<double>()
        << ", flags " << m["flags"].get<uint32_t>() << ", shading " << m["shadingMode"].get<uint32_t>()
        << ", blend " << m["sourceBlend"].get<uint32_t>() << "/" << m["targetBlend"].get<uint32_t>() << ", used by "
        << m["submeshes"].get<size_t>() << " submeshes\n";
  }

  out << "\nTextures\n";
  for (const json& t : s["textures"]) {
    out << "  texture " << t["id"].get<uint32_t>() << ": \"" << Printable(t["fileName"]) << "\"\n";
  }

  out << "\nAnimations\n";
  for (const json& a : s["animations"]) {
    out << "  animation group " << a["id"].get<uint32_t>() << " \"" << Printable(a["name"]) << "\": "
        << a["sequences"].size() << " sequences\n";
    size_t i = 0;
    for (const json& q : a["sequences"]) {
      out << "    sequence " << i++ << ":" << FlagNames(q["flags"].get<uint16_t>()) << "; "
          << q["samples"].get<size_t>() << " samples at " << q["sampleRate"].get<double>()
          << " per second; time " << q["startTime"].get<int32_t>() << " to " << q["endTime"].get<int32_t>()
          << " ms\n";
    }
  }

  const json& t = s["totals"];
  out << "\nTotals: " << t["nodes"].get<size_t>() << " nodes in " << t["chunks"].get<size_t>() << " chunks ("
      << t["bytes"].get<size_t>() << " bytes); " << t["meshes"].get<size_t>() << " meshes, "
      << t["submeshes"].get<size_t>() << " submeshes, " << t["triangles"].get<size_t>() << " triangles; "
      << t["materials"].get<size_t>() << " materials, " << t["textures"].get<size_t>() << " textures; "
      << t["animations"].get<size_t>() << " animation groups, " << t["samples"].get<size_t>() << " samples; "
      << t["errors"].get<size_t>() << " errors, " << t["warnings"].get<size_t>() << " warnings\n";
}

void PrintChunkListing(const json& listing, std::ostream& out) {
  out << Printable(listing["file"]) << ": " << listing["chunks"].size() << " chunks, "
      << listing["bytes"].get<size_t>() << " bytes\n";
  out << "    offset   type  version          id        size\n";
  for (const json& c : listing["chunks"]) {
    char line[160];
    std::snprintf(line, sizeof line, "0x%08zX  %5u  %7u  %10u  %10u  %s%s\n", c["offset"].get<size_t>(),
                  c["type"].get<unsigned>(), c["version"].get<unsigned>(), c["id"].get<unsigned>(),
                  c["size"].get<unsigned>(), c["typeName"].get<std::string>().c_str(),
                  c["decoded"].get<bool>() ? "" : " (not read)");
    out << line;
  }
}

json PreviewData(const std::string& fileName, std::span<const uint8_t> kvl,
                 const std::map<std::string, std::string>& images) {
  const Validation v = ValidateKvl(kvl);
  json problems = json::array();
  for (const FileProblem& p : v.problems) {
    problems.push_back({{"severity", p.severity == Severity::ERROR ? "error" : "warning"}, {"text", FileText(FormatProblem(p))}});
  }
  json shownImages = json::object();
  // Keyed as the page's decoder reads the names from the file (a browser's
  // UTF-8 decoding, which replaces what is not UTF-8, as the dump does), so
  // that the page finds its images; these keys are never shown.
  for (const auto& [name, url] : images) shownImages[name] = url;
  return {{"file", FileText(fileName)},
          {"errors", v.errors},
          {"warnings", v.warnings},
          {"problems", problems},
          {"images", shownImages}};
}

}  // namespace kvl
