// The built plug-in library, loaded as the host loads it.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "host/plugin_api.h"

namespace kvl {
namespace {

class PluginLibraryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    handle = dlopen(KVL_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle, nullptr) << dlerror();
  }
  void TearDown() override {
    if (handle) dlclose(handle);
  }
  template <class Fn>
  Fn Symbol(const char* name) {
    return reinterpret_cast<Fn>(dlsym(handle, name));
  }
  void* handle = nullptr;
};

TEST_F(PluginLibraryTest, ExportsTheFiveEntryPoints) {
  auto libDescription = Symbol<LibDescriptionFn>("LibDescription");
  auto libNumberClasses = Symbol<LibNumberClassesFn>("LibNumberClasses");
  auto libClassDesc = Symbol<LibClassDescFn>("LibClassDesc");
  auto libVersion = Symbol<LibVersionFn>("LibVersion");
  auto canAutoDefer = Symbol<CanAutoDeferFn>("CanAutoDefer");
  ASSERT_TRUE(libDescription && libNumberClasses && libClassDesc && libVersion && canAutoDefer);
  EXPECT_STREQ(libDescription(), "Kelvane MAX Exporter");
  EXPECT_EQ(libNumberClasses(), 1);
  EXPECT_EQ(libVersion(), 0x13EC0800ul);
  EXPECT_EQ(canAutoDefer(), 1);
  EXPECT_EQ(libClassDesc(1), nullptr);
  EXPECT_EQ(libClassDesc(-1), nullptr);
  // Nothing of the exporter's insides is visible from outside.
  EXPECT_EQ(dlsym(handle, "_ZN3kvl6KVLExp8DoExportEPKcPNS_4host12ExpInterfaceEPNS2_9InterfaceEbj"), nullptr);
}

TEST_F(PluginLibraryTest, ClassDescriptorCreatesTheExporterOfBothEndings) {
  host::ClassDesc2* desc = Symbol<LibClassDescFn>("LibClassDesc")(0);
  ASSERT_NE(desc, nullptr);
  EXPECT_EQ(desc->SuperClassID(), 0xA20u);
  EXPECT_EQ(desc->ClassID(), host::Class_ID(0x7A005920, 0x09C14A0B));
  std::unique_ptr<host::SceneExport> exporter(static_cast<host::SceneExport*>(desc->Create(false)));
  ASSERT_NE(exporter, nullptr);
  EXPECT_EQ(exporter->ExtCount(), 2);
  EXPECT_STREQ(exporter->Ext(0), "KVL");
  // Any other index, even one out of range, is the text dump.
  for (int n : {1, 2, -1}) EXPECT_STREQ(exporter->Ext(n), "TXT") << n;
  EXPECT_TRUE(exporter->SupportsOptions(1, host::SCENE_EXPORT_SELECTED));
}

}  // namespace
}  // namespace kvl
