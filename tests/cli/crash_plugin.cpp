// A plug-in that fails the way a broken importer or exporter can: by the
// name of the output file it crashes, aborts, hangs or allocates without
// bound, after writing a little of its output. The host must survive it.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "host/plugin_api.h"
#include "platform/replacing_file.h"

namespace {

class CrashingExport : public kvl::host::SceneExport {
 public:
  int ExtCount() override { return 1; }
  const char* Ext(int) override { return "KVL"; }
  const char* LongDesc() override { return "Crashing test exporter"; }
  const char* ShortDesc() override { return "Crash"; }
  const char* AuthorName() override { return ""; }
  const char* CopyrightMessage() override { return ""; }
  const char* OtherMessage1() override { return ""; }
  const char* OtherMessage2() override { return ""; }
  unsigned int Version() override { return 1; }
  void ShowAbout(kvl::host::HWND) override {}

  int DoExport(const char* name, kvl::host::ExpInterface*, kvl::host::Interface*, bool, uint32_t) override {
    const std::string path = name;
    // Half a file, as the exporter's writer leaves it when it dies part-way.
    static std::unique_ptr<kvl::ReplacingFile> half;
    half = kvl::ReplacingFile::Open(path, "wb");
    if (half) {
      std::fputs("half", half->get());
      std::fflush(half->get());
    }
    if (path.find("segv") != std::string::npos) std::raise(SIGSEGV);
    if (path.find("abort") != std::string::npos) std::abort();
    if (path.find("hang") != std::string::npos) {
      for (volatile bool forever = true; forever;) {
      }
    }
    if (path.find("hog") != std::string::npos) {
      std::vector<std::vector<char>> hoard;
      for (;;) hoard.emplace_back(64u << 20, 'x');
    }
    return 1;
  }
};

class CrashingDesc : public kvl::host::ClassDesc2 {
 public:
  int IsPublic() override { return 1; }
  void* Create(bool) override { return static_cast<kvl::host::SceneExport*>(new CrashingExport()); }
  const char* ClassName() override { return "Crash"; }
  kvl::host::SClass_ID SuperClassID() override { return kvl::host::SCENE_EXPORT_CLASS_ID; }
  kvl::host::Class_ID ClassID() override { return kvl::host::Class_ID(1, 2); }
  const char* Category() override { return "Test"; }
};

CrashingDesc g_desc;

}  // namespace

#define KVL_EXPORT extern "C" __attribute__((visibility("default")))
KVL_EXPORT const char* LibDescription() { return "Crashing test plug-in"; }
KVL_EXPORT int LibNumberClasses() { return 1; }
KVL_EXPORT kvl::host::ClassDesc2* LibClassDesc(int i) { return i == 0 ? &g_desc : nullptr; }
KVL_EXPORT unsigned long LibVersion() { return HOST_SDK_VERSION; }
KVL_EXPORT int CanAutoDefer() { return 1; }
