// Loading a one-million-triangle binary PLY: Assimp's own read beside the
// conversion into the host scene, at two sizes to show the conversion grows
// linearly. Usage: assimp_ply_bench FILE.ply [SMALLER.ply]
#include <assimp/Importer.hpp>
#include <assimp/scene.h>

#include <chrono>
#include <cstdio>

#include "sources/assimp/assimp_import.h"

namespace {

double Seconds(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

int Measure(const char* path) {
  Assimp::Importer importer;
  auto start = std::chrono::steady_clock::now();
  const aiScene* scene = importer.ReadFile(path, kvl::sources::AssimpPostProcessSteps());
  const double read = Seconds(start);
  if (!scene) {
    std::fprintf(stderr, "%s: %s\n", path, importer.GetErrorString());
    return 1;
  }
  unsigned triangles = 0;
  for (unsigned i = 0; i < scene->mNumMeshes; ++i) triangles += scene->mMeshes[i]->mNumFaces;
  start = std::chrono::steady_clock::now();
  kvl::sources::SceneLoadResult loaded = kvl::sources::ConvertAssimpScene(*scene, path, {});
  const double convert = Seconds(start);
  if (!loaded.scene) {
    std::fprintf(stderr, "%s: %s\n", path, loaded.error.c_str());
    return 1;
  }
  std::printf("%s: %u triangles: Assimp read %.3f s, conversion to the host scene %.3f s (%.0f ns a triangle)\n",
              path, triangles, read, convert, 1e9 * convert / triangles);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: assimp_ply_bench FILE.ply [MORE.ply ...]\n");
    return 2;
  }
  for (int i = 1; i < argc; ++i) {
    if (Measure(argv[i]) != 0) return 1;
  }
  return 0;
}
