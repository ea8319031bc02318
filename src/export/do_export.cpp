// One export from entry to return. The order of the steps is fixed: ids are
// handed out in walk order, and the file follows the ids.
#include <chrono>
#include <clocale>

#include "dialogs/dialog_toolkit.h"
#include "dialogs/log_dialog.h"
#include "dialogs/options_dialog.h"
#include "export/kvl_exp.h"
#include "export/settings_file.h"
#include "host/host_files.h"
#include "host/interface.h"
#include "optimize/optimize.h"
#include "output/write/scene_writer.h"
#include "split/split_meshes.h"

namespace kvl {
namespace {

// The host runs this while its progress bar stands; the export itself runs in
// DoExport, so there is nothing to do here.
unsigned long NoProgressWork(void*) { return 0; }

}  // namespace

namespace {

// Reports the time since the last lap to the host, phase by phase.
class PhaseClock {
 public:
  explicit PhaseClock(host::ExpInterface& host) : host_(host), last_(std::chrono::steady_clock::now()) {}
  void Lap(const char* phase) {
    const auto now = std::chrono::steady_clock::now();
    host_.ReportPhase(phase, std::chrono::duration<double>(now - last_).count());
    last_ = now;
  }

 private:
  host::ExpInterface& host_;
  std::chrono::steady_clock::time_point last_;
};

}  // namespace

int KVLExp::DoExport(const char* name, host::ExpInterface* ei, host::Interface* i,
                     bool /*suppressPrompts*/, uint32_t options) {
  // Every number read or written from here on uses a dot as decimal point.
  std::setlocale(LC_ALL, "C");
  // The dialog toolkit stays entered until we return, on every way out.
  DialogToolkitScope toolkit;
  host::Interface* core = host::GetCOREInterface();
  // The bar stands from here on, also while the options dialog is open.
  if (core) core->ProgressStart("Starting export...", true, NoProgressWork, nullptr);
  translation_.nextNodeId = 0;
  host::ExpInterface noPreferences;
  host::ExpInterface& hostSide = ei ? *ei : noPreferences;
  translation_.splitMeshes = hostSide.SplitOversizedMeshes();
  translation_.vertexAnimation = (options & host::SCENE_EXPORT_VERTEX_ANIMATION) != 0;

  if (!ConfirmSettings(name)) {
    // Cancel: no log, no output, and the settings file as it was.
    if (core) core->ProgressEnd();
    return 1;
  }

  log_.progress = 0;
  log_.Log("Initializing export");
  const host::Interval range = i->GetAnimRange();
  translation_.animStart = range.Start();
  translation_.animEnd = range.End();
  translation_.ticksPerFrame = i->GetTicksPerFrame();
  host::INode* hostRoot = i->GetRootNode();

  log_.progress = 5;
  log_.Log("Creating sceneroot");
  GroupNode& sceneRoot = CreateSceneRoot();
  translation_.rootNode = &sceneRoot;

  log_.progress = 10;
  log_.Log("Parsing nodes");
  PhaseClock clock(hostSide);
  ParseTopLevelNodes(hostRoot, sceneRoot);
  clock.Lap("translate");
  log_.progress = 50;
  log_.Log("Node parsing complete");

  log_.Log("Processing nodes");
  ResolveNames();
  // Stored whether or not the optimiser runs; only the next message shows it.
  log_.progress = 60;
  if (table_.settings.optimize) {
    log_.Log("Optimizing output");
    Optimize(table_, *translation_.rootNode);
  }
  clock.Lap("optimise");
  if (translation_.splitMeshes) SplitMeshes();
  clock.Lap("split");

  log_.progress = 90;
  log_.Log(std::string("Writing to file ") + name);
  WriteOutput(name, hostSide);
  clock.Lap("write");
  ReportCounts(hostSide);
  // The host learns nothing of a failed write: the export ends the same way.
  log_.progress = 99;
  log_.Log("Export completed successfully");

  FinishLog();
  if (core) core->ProgressEnd();
  return 1;
}

bool KVLExp::ConfirmSettings(const std::string& name) {
  LoadSettingsFile(table_.settings, name, settingsStore_);
  auto dialog = std::make_unique<OptionsDialog>(table_.settings, nullptr);
  if (dialog->DoModal() != IDOK) return false;
  dialog->StoreSettings(table_.settings);
  // Saved before any scene work, so what the user confirmed is on disk even
  // if the export goes wrong later.
  SaveSettingsFile(table_.settings);
  return true;
}

GroupNode& KVLExp::CreateSceneRoot() {
  auto root = std::make_unique<GroupNode>();
  root->id = AllocateId();
  root->parentId = NODE_ID_NONE;
  root->name = "scene_root";
  root->transform = PRSTransform::Identity();
  GroupNode& ref = *root;
  table_.Insert(std::move(root));
  // No host node owns handle 0, so it can stand for the root group.
  translation_.hostNodeIds[0] = ref.id;
  return ref;
}

void KVLExp::ParseTopLevelNodes(host::INode* hostRoot, GroupNode& sceneRoot) {
  // The root group stays the parent of every top-level node, even when a
  // sceneroot node takes over as the root of the written hierarchy.
  translation_.nodesToWalk = CountNodesBelow(hostRoot);
  translation_.nodesWalked = 0;
  const int count = hostRoot->NumberOfChildren();
  for (int k = 0; k < count; ++k) ParseNode(hostRoot->GetChildNode(k), sceneRoot);
}

void KVLExp::WriteOutput(const std::string& name, host::ExpInterface& host) {
  // The host hears whether the file is complete; the log does not say, and
  // the export ends the same way either way.
  std::unique_ptr<SceneWriter> writer = MakeWriter(OutputKindForPath(name));
  if (!writer) return;
  // A name on a drive is a file in the folder that stands for the drive,
  // as its settings file beside it is.
  writer->SetCheck([&host](const std::string& temporary) {
    const char* problem = host.CheckOutput(temporary.c_str());
    return std::string(problem ? problem : "");
  });
  writer->Write(host::HostPath(name), table_);
  host.ReportOutput(name.c_str(), writer->Failure().empty() ? nullptr : writer->Failure().c_str());
}

void KVLExp::SplitMeshes() {
  for (const SplitReport& r : DropOversizedAnimations(table_)) {
    log_.Log(r.meshName + ": " + std::to_string(r.pieces) +
                 " animation sequences, more than the 65535 a group can hold; its animation is left out",
             LOG_ERROR);
  }
  for (const SplitReport& r : SplitOversizedMeshes(table_, [this] { return AllocateId(); })) {
    if (r.refused) {
      log_.Log(r.meshName + ": " + std::to_string(r.triangles) + " triangles need " + std::to_string(r.pieces) +
                   " pieces, more than the 65535 submeshes a mesh can hold; the mesh is left out",
               LOG_ERROR);
    } else {
      log_.Log("Split " + r.meshName + ": " + std::to_string(r.triangles) + " triangles into " +
               std::to_string(r.pieces) + " pieces");
    }
  }
}

void KVLExp::ReportCounts(host::ExpInterface& host) const {
  uint64_t meshes = 0, pieces = 0, triangles = 0, vertices = 0;
  for (const auto& [id, node] : table_) {
    if (!table_.ShouldWrite(*node)) continue;
    if (node->type == NODE_MESH) {
      ++meshes;
      pieces += As<MeshNode>(*node).submeshes.size();
      for (const Submesh& s : As<MeshNode>(*node).submeshes) triangles += s.vertexCount / 3;
    } else if (node->type == NODE_VERTEX_BUFFER) {
      const auto& lists = As<VertexBufferNode>(*node).lists;
      if (!lists.empty()) vertices += lists.front().vertices.size();
    }
  }
  host.ReportCount("nodes", table_.Size());
  host.ReportCount("meshes", meshes);
  host.ReportCount("submeshes", pieces);
  host.ReportCount("triangles", triangles);
  host.ReportCount("corners", 3 * triangles);
  host.ReportCount("vertices", vertices);
}

void KVLExp::FinishLog() {
  // The file first, so it exists while the dialog is open.
  if (table_.settings.outputlog) log_.WriteFile(LOG_FILE_PATH);
  if (table_.settings.displaylog) {
    LogDialog dialog(log_.GetText(), nullptr);
    dialog.DoModal();
  }
}

}  // namespace kvl
