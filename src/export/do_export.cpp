// One export from entry to return. The order of the steps is fixed: ids are
// handed out in walk order, and the file follows the ids.
#include <clocale>

#include "export/kvl_exp.h"
#include "host/interface.h"
#include "optimize/optimize.h"
#include "output/scene_writer.h"
#include "host/dialog_toolkit.h"
#include "settings/log_dialog.h"
#include "settings/options_dialog.h"

namespace kvl {
namespace {

// The host runs this while its progress bar stands; the export itself runs in
// DoExport, so there is nothing to do here.
unsigned long NoProgressWork(void*) { return 0; }

}  // namespace

uint32_t KVLExp::IdForHandle(uint32_t handle) {
  auto [it, inserted] = hostNodeIds_.try_emplace(handle, 0);
  if (inserted) it->second = AllocateId();
  return it->second;
}

int KVLExp::DoExport(const char* name, host::ExpInterface* /*ei*/, host::Interface* i,
                     bool /*suppressPrompts*/, uint32_t /*options*/) {
  // Every number read or written from here on uses a dot as decimal point.
  std::setlocale(LC_ALL, "C");
  // The dialog toolkit stays entered until we return, on every way out.
  DialogToolkitScope toolkit;
  host::Interface* core = host::GetCOREInterface();
  // The bar stands from here on, also while the options dialog is open.
  if (core) core->ProgressStart("Starting export...", true, NoProgressWork, nullptr);
  nextNodeId_ = 0;

  if (!ConfirmSettings(name)) {
    // Cancel: no log, no output, and the settings file as it was.
    if (core) core->ProgressEnd();
    return 1;
  }

  log_.progress = 0;
  log_.Log("Initializing export");
  const host::Interval range = i->GetAnimRange();
  animStart_ = range.Start();
  animEnd_ = range.End();
  ticksPerFrame_ = i->GetTicksPerFrame();
  host::INode* hostRoot = i->GetRootNode();

  log_.progress = 5;
  log_.Log("Creating sceneroot");
  GroupNode& sceneRoot = CreateSceneRoot();
  rootNode_ = &sceneRoot;

  log_.progress = 10;
  log_.Log("Parsing nodes");
  ParseTopLevelNodes(hostRoot, sceneRoot);
  log_.progress = 50;
  log_.Log("Node parsing complete");

  log_.Log("Processing nodes");
  ResolveNames();
  // Stored whether or not the optimiser runs; only the next message shows it.
  log_.progress = 60;
  if (table_.settings.optimize) {
    log_.Log("Optimizing output");
    Optimize(table_, *rootNode_);
  }

  log_.progress = 90;
  log_.Log(std::string("Writing to file ") + name);
  WriteOutput(name);
  // The host learns nothing of a failed write: the export ends the same way.
  log_.progress = 99;
  log_.Log("Export completed successfully");

  FinishLog();
  if (core) core->ProgressEnd();
  return 1;
}

bool KVLExp::ConfirmSettings(const std::string& name) {
  table_.settings.Load(name, settingsStore_);
  auto dialog = std::make_unique<OptionsDialog>(table_.settings, nullptr);
  if (dialog->DoModal() != IDOK) return false;
  dialog->StoreSettings(table_.settings);
  // Saved before any scene work, so what the user confirmed is on disk even
  // if the export goes wrong later.
  table_.settings.Save();
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
  hostNodeIds_[0] = ref.id;
  return ref;
}

void KVLExp::ParseTopLevelNodes(host::INode* hostRoot, GroupNode& sceneRoot) {
  // The root group stays the parent of every top-level node, even when a
  // sceneroot node takes over as the root of the written hierarchy.
  const int count = hostRoot->NumberOfChildren();
  for (int k = 0; k < count; ++k) {
    ParseNode(hostRoot->GetChildNode(k), sceneRoot);
    log_.progress = 10 + (40 * k) / count;
  }
}

void KVLExp::WriteOutput(const std::string& name) {
  if (std::unique_ptr<SceneWriter> writer = MakeWriter(OutputKindForPath(name))) writer->Write(name, table_);
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
