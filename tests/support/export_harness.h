// Runs whole exports in tests the way the host does: a JSON scene, an
// optional settings file, OK pressed in the options dialog, and the file
// written into a fresh folder that is also the working folder (the settings
// file of an output path without backslashes lives there).
#pragma once

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "export/kvl_exp.h"
#include "host/host_files.h"
#include "host/memory_scene.h"
#include "dialogs/dialog_toolkit.h"
#include "sources/json/json_scene.h"
#include "ui/headless_toolkit.h"

namespace kvl::testing {

// The host's progress display, as a list of "percent message" lines.
class RecordedProgress : public host::ProgressDisplay {
 public:
  void Start(const char*) override {}
  void Update(int percent, bool, const char* title) override {
    lines.push_back(std::to_string(percent) + " " + title);
  }
  void End() override {}
  std::vector<std::string> lines;
};

class HostPreferences : public host::ExpInterface {
 public:
  explicit HostPreferences(bool split) : split_(split) {}
  bool SplitOversizedMeshes() override { return split_; }

 private:
  bool split_;
};

class ExportHarness {
 public:
  explicit ExportHarness(const std::string& label) {
    folder_ = std::filesystem::temp_directory_path() /
              ("kvl_" + label + "_" + std::to_string(::getpid()));
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_ / "c");
    previous_ = std::filesystem::current_path();
    std::filesystem::current_path(folder_);
    host::SetDriveFolder('c', (folder_ / "c").string());
  }
  ~ExportHarness() {
    host::SetDriveFolder('c', "");
    std::filesystem::current_path(previous_);
    std::filesystem::remove_all(folder_);
  }
  ExportHarness(const ExportHarness&) = delete;
  ExportHarness& operator=(const ExportHarness&) = delete;

  // Exports `sceneJson` with `settingsIni` as kvlexp.ini (empty: none) to
  // `outputName`. Returns the loader's error, empty on success.
  std::string Export(const std::string& sceneJson, const std::string& settingsIni = "",
                     const std::string& outputName = "out.kvl") {
    sources::SceneLoadResult loaded = sources::LoadJsonScene(sceneJson);
    if (!loaded.scene) return loaded.error;
    ExportScene(std::move(loaded.scene), settingsIni, outputName);
    return "";
  }

  // Exports a scene that was loaded already (from any source), as Export
  // does; `scene` stays alive with the harness.
  void ExportScene(std::unique_ptr<host::MemoryScene> scene, const std::string& settingsIni = "",
                   const std::string& outputName = "out.kvl") {
    if (!settingsIni.empty()) std::ofstream(folder_ / "kvlexp.ini", std::ios::binary) << settingsIni;
    scene_ = std::move(scene);
    // As the program's host does, the scene holds still while it is exported.
    host::HeldStill still(*scene_);
    host::MemoryInterface core(*scene_, &progress);
    std::ostringstream logShown, errors;
    ui::HeadlessToolkit toolkit({}, false, logShown, errors);
    host::SetCOREInterface(&core);
    SetDialogToolkit(&toolkit);
    HostPreferences preferences(splitMeshes);
    exporter.DoExport(outputName.c_str(), &preferences, &core, false, 0);
    SetDialogToolkit(nullptr);
    host::SetCOREInterface(nullptr);
    std::ifstream in(folder_ / outputName, std::ios::binary);
    file.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }

  // Whether the host asks for meshes beyond the file's limits to be split.
  bool splitMeshes = true;

  // The folder the output is written to.
  const std::filesystem::path& Folder() const { return folder_; }

  // The record with `id`, as its type; fails the test if it is missing.
  template <class T>
  const T& Node(uint32_t id) const {
    const SceneNode* node = exporter.Table().Find(id);
    if (!node) throw std::runtime_error("no node with id " + std::to_string(id));
    return As<T>(*node);
  }
  // The first record, in id order, whose name is `name`; null if none.
  const SceneNode* Named(const std::string& name) const {
    for (const auto& [id, node] : exporter.Table()) {
      if (NameOf(*node) == name) return node.get();
    }
    return nullptr;
  }

  static std::string NameOf(const SceneNode& node) {
    if (IsGroupLike(node.type)) return As<GroupNode>(node).name;
    switch (node.type) {
      case NODE_GEOMETRY: return As<GeometryNode>(node).name;
      case NODE_MESH: return As<MeshNode>(node).name;
      case NODE_CAMERA: return As<CameraNode>(node).name;
      case NODE_PARTICLE_SYSTEM: return As<ParticleSystemNode>(node).name;
      default: return "";
    }
  }

  KVLExp exporter;
  std::vector<uint8_t> file;
  RecordedProgress progress;

 private:
  std::filesystem::path folder_, previous_;
  std::unique_ptr<host::MemoryScene> scene_;
};

}  // namespace kvl::testing
