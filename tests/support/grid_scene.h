// A generated scene for the benchmarks: one node holding a flat grid of
// quads (two triangles each) with one smoothing group, texture coordinates
// and vertex colours, and a standard material.
#pragma once

#include <cstdint>
#include <memory>

#include "host/memory_materials.h"
#include "host/memory_node.h"
#include "host/memory_objects.h"
#include "host/memory_scene.h"

namespace kvl::testing {

inline std::unique_ptr<host::MemoryScene> MakeGridScene(uint32_t columns, uint32_t rows, bool vertexLayout) {
  auto scene = std::make_unique<host::MemoryScene>();
  auto material = std::make_unique<host::MemoryStdMtl>();
  material->name = "Grid";
  host::Mtl* materialPtr = material.get();
  scene->materials.push_back(std::move(material));

  auto object = std::make_unique<host::MemoryMeshObject>();
  host::Mesh& mesh = object->mesh;
  const uint32_t across = columns + 1;
  for (uint32_t y = 0; y <= rows; ++y) {
    for (uint32_t x = 0; x <= columns; ++x) {
      mesh.verts.emplace_back(static_cast<float>(x), static_cast<float>(y), 0.0f);
    }
  }
  for (uint32_t y = 0; y < rows; ++y) {
    for (uint32_t x = 0; x < columns; ++x) {
      const uint32_t a = y * across + x, b = a + 1, c = a + across, d = c + 1;
      const uint32_t triangles[2][3] = {{a, b, d}, {a, d, c}};
      for (const auto& corners : triangles) {
        host::Face face;
        face.v[0] = corners[0];
        face.v[1] = corners[1];
        face.v[2] = corners[2];
        face.smGroup = 1;
        mesh.faces.push_back(face);
      }
    }
  }
  // The map channels index the same points as the faces.
  for (int channel : {host::MAP_TEXCOORD, host::MAP_COLOR}) {
    host::MeshMap& map = mesh.Map(channel);
    for (const host::Point3& p : mesh.verts) {
      map.tv.emplace_back(channel == host::MAP_TEXCOORD ? p.x / static_cast<float>(columns) : 1.0f,
                          channel == host::MAP_TEXCOORD ? p.y / static_cast<float>(rows) : 0.5f, 0.25f);
    }
    for (const host::Face& face : mesh.faces) {
      host::TVFace tf;
      for (int k = 0; k < 3; ++k) tf.t[k] = face.v[k];
      map.Faces().push_back(tf);
    }
  }

  auto node = std::make_unique<host::MemoryNode>();
  node->name = "Grid";
  node->handle = 1;
  node->material = materialPtr;
  node->object = std::move(object);
  // The vertex layout keeps per-corner data in the vertices.
  if (vertexLayout) node->userProperties = "notib: 1";
  scene->root.AddChild(std::move(node));
  return scene;
}

}  // namespace kvl::testing
