// The artist's vocabulary beyond groups: particle systems from "PS_"
// helpers, and attribute nodes from property lines nothing else read.
#include "translate/translation.h"
#include "translate/node_visit.h"

namespace kvl {

void MakeParticleSystem(Translation& t, NodeVisit& visit) {
  // The prefix counts on helpers only, and only in upper case.
  if (!HasPrefix(visit.node->GetName(), "PS_")) return;
  GeometryNode& geometry = MakeGeometryNode(t, visit);

  auto system = std::make_unique<ParticleSystemNode>();
  system->id = t.AllocateId();
  system->parentId = geometry.id;
  system->name = std::string("ps_") + visit.node->GetName();
  geometry.objects.push_back(system.get());
  system->fileName = visit.properties.GetString("fn", "<Illegal filename>");
  system->scale = static_cast<float>(visit.properties.GetFloat("s", 1.0) * t.table.settings.scale);
  t.table.Insert(std::move(system));
}

void MakeAttributeNodes(Translation& t, ConfigStore& properties, uint32_t ownerId) {
  for (const auto& [lineNumber, line] : properties.RemainingLines()) {
    auto attribute = std::make_unique<NodeAttributeNode>();
    attribute->id = t.AllocateId();
    attribute->parentId = ownerId;
    attribute->data = line;
    t.table.Insert(std::move(attribute));
  }
}

}  // namespace kvl
