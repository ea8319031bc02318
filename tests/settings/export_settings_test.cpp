// Finding, reading and rewriting the settings file. Drive c is a fresh
// folder per test; outputs go to "c:\out\scene.kvl" so that the file next to
// the output is "c:\out\kvlexp.ini".
#include <gtest/gtest.h>

#include <string>

#include "settings/config_store.h"
#include "settings/export_settings.h"
#include "temp_folder.h"

namespace kvl {
namespace {

using kvl::testing::TempFolder;
using kvl::testing::WorkingDirectory;

const char* const kOutput = "c:\\out\\scene.kvl";
const char* const kBeside = "c:\\out\\kvlexp.ini";

// What Save writes for a record that holds only the defaults.
const char* const kDefaultFile =
    "# kvlexp.ini\n"
    "exporthidden = 0\n"
    "exportlights = 0\n"
    "exportnodeattributes = 1\n"
    "optimize = 1\n"
    "ignorespecial = 0\n"
    "removescaling = 1\n"
    "outputlog = 0\n"
    "displaylog = 1\n"
    "threshold = 10\n"
    "samplerate = 1\n"
    "scale = 1.000000\n"
    "exportanims = 1\n"
    "exportmorph = 1\n"
    "enableadaptivesampling = 0\n"
    "postolerance = 0.000000\n"
    "rottolerance = 0.000000\n"
    "scaletolerance = 0.000000\n";

ExportSettings LoadFor(const std::string& output) {
  ConfigStore store("=", false);
  ExportSettings settings;
  settings.Load(output, store);
  return settings;
}

void ExpectDefaults(const ExportSettings& s) {
  EXPECT_EQ(s.scale, 1.0f);
  EXPECT_FALSE(s.enableadaptivesampling);
  EXPECT_EQ(s.postolerance, 0.0f);
  EXPECT_EQ(s.rottolerance, 0.0f);
  EXPECT_EQ(s.scaletolerance, 0.0f);
  EXPECT_EQ(s.samplerate, 1);
  EXPECT_FALSE(s.exporthidden);
  EXPECT_FALSE(s.exportlights);
  EXPECT_TRUE(s.exportnodeattributes);
  EXPECT_TRUE(s.optimize);
  EXPECT_EQ(s.threshold, 10);
  EXPECT_FALSE(s.ignorespecial);
  EXPECT_TRUE(s.removescaling);
  EXPECT_TRUE(s.exportanims);
  EXPECT_TRUE(s.exportmorph);
  EXPECT_FALSE(s.outputlog);
  EXPECT_TRUE(s.displaylog);
}

TEST(ExportSettings, NoFileAnywhereGivesDefaultsAndANewFileBesideTheOutput) {
  TempFolder c;
  c.Write("out/.keep", "");  // the output folder exists, the settings file does not
  ExportSettings settings = LoadFor(kOutput);
  ExpectDefaults(settings);
  EXPECT_EQ(settings.iniPath, kBeside);

  settings.Save();
  EXPECT_EQ(c.Read("out/kvlexp.ini"), kDefaultFile);
  EXPECT_FALSE(c.Exists("3dsmax5/kvlexp.ini"));
}

TEST(ExportSettings, SaveWritesEveryKeyInItsFixedOrder) {
  TempFolder c;
  ExportSettings s;
  s.scale = 2.5f;
  s.enableadaptivesampling = true;
  s.postolerance = 0.125f;
  s.rottolerance = 0.0000001f;  // below the sixth decimal
  s.scaletolerance = 3.0f;
  s.samplerate = 4;
  s.exporthidden = true;
  s.exportlights = true;
  s.exportnodeattributes = false;
  s.optimize = false;
  s.threshold = -1;
  s.ignorespecial = true;
  s.removescaling = false;
  s.exportanims = false;
  s.exportmorph = false;
  s.outputlog = true;
  s.displaylog = false;
  s.iniPath = "c:\\kvlexp.ini";
  c.Write("kvlexp.ini", "old content that goes\n");
  s.Save();
  EXPECT_EQ(c.Read("kvlexp.ini"),
            "# kvlexp.ini\n"
            "exporthidden = 1\n"
            "exportlights = 1\n"
            "exportnodeattributes = 0\n"
            "optimize = 0\n"
            "ignorespecial = 1\n"
            "removescaling = 0\n"
            "outputlog = 1\n"
            "displaylog = 0\n"
            "threshold = -1\n"
            "samplerate = 4\n"
            "scale = 2.500000\n"
            "exportanims = 0\n"
            "exportmorph = 0\n"
            "enableadaptivesampling = 1\n"
            "postolerance = 0.125000\n"
            "rottolerance = 0.000000\n"
            "scaletolerance = 3.000000\n");

  // Read back, the record is the same except for what %f rounded away.
  ExportSettings back = LoadFor("c:\\scene.kvl");
  EXPECT_EQ(back.iniPath, "c:\\kvlexp.ini");
  EXPECT_EQ(back.scale, 2.5f);
  EXPECT_TRUE(back.enableadaptivesampling);
  EXPECT_EQ(back.postolerance, 0.125f);
  EXPECT_EQ(back.rottolerance, 0.0f);
  EXPECT_EQ(back.scaletolerance, 3.0f);
  EXPECT_EQ(back.samplerate, 4);
  EXPECT_TRUE(back.exporthidden);
  EXPECT_TRUE(back.exportlights);
  EXPECT_FALSE(back.exportnodeattributes);
  EXPECT_FALSE(back.optimize);
  EXPECT_EQ(back.threshold, -1);
  EXPECT_TRUE(back.ignorespecial);
  EXPECT_FALSE(back.removescaling);
  EXPECT_FALSE(back.exportanims);
  EXPECT_FALSE(back.exportmorph);
  EXPECT_TRUE(back.outputlog);
  EXPECT_FALSE(back.displaylog);
}

TEST(ExportSettings, SaveIntoAMissingFolderIsSilent) {
  TempFolder c;
  ExportSettings s;
  s.iniPath = "c:\\missing\\kvlexp.ini";
  s.Save();
  EXPECT_FALSE(c.Exists("missing"));
}

TEST(ExportSettings, SearchOrder) {
  TempFolder c;
  c.Write("3dsmax4/kvlexp.ini", "threshold = 4\n");
  EXPECT_EQ(LoadFor(kOutput).threshold, 4);
  EXPECT_EQ(LoadFor(kOutput).iniPath, "c:\\3dsmax4\\kvlexp.ini");

  c.Write("3dsmax42/kvlexp.ini", "threshold = 42\n");
  EXPECT_EQ(LoadFor(kOutput).threshold, 42);
  EXPECT_EQ(LoadFor(kOutput).iniPath, "c:\\3dsmax42\\kvlexp.ini");

  c.Write("3dsmax5/kvlexp.ini", "threshold = 5\n");
  EXPECT_EQ(LoadFor(kOutput).threshold, 5);
  EXPECT_EQ(LoadFor(kOutput).iniPath, "c:\\3dsmax5\\kvlexp.ini");

  c.Write("out/kvlexp.ini", "threshold = 1\n");
  EXPECT_EQ(LoadFor(kOutput).threshold, 1);
  EXPECT_EQ(LoadFor(kOutput).iniPath, kBeside);

  // Another output folder does not see c:\out's file.
  EXPECT_EQ(LoadFor("c:\\elsewhere\\scene.kvl").threshold, 5);
}

TEST(ExportSettings, FileFoundInAFixedFolderIsTheOneRewritten) {
  TempFolder c;
  c.Write("out/.keep", "");
  c.Write("3dsmax5/kvlexp.ini", "exporthidden = 1\n");
  ExportSettings settings = LoadFor(kOutput);
  EXPECT_TRUE(settings.exporthidden);
  EXPECT_EQ(settings.iniPath, "c:\\3dsmax5\\kvlexp.ini");
  settings.threshold = 77;
  settings.Save();
  EXPECT_FALSE(c.Exists("out/kvlexp.ini"));
  const std::string written = c.Read("3dsmax5/kvlexp.ini");
  EXPECT_NE(written.find("\nexporthidden = 1\n"), std::string::npos) << written;
  EXPECT_NE(written.find("\nthreshold = 77\n"), std::string::npos) << written;
}

TEST(ExportSettings, OnlyBackslashesSeparateFolders) {
  EXPECT_EQ(SettingsPathBeside("c:\\out\\scene.kvl"), "c:\\out\\kvlexp.ini");
  EXPECT_EQ(SettingsPathBeside("c:\\scene.kvl"), "c:\\kvlexp.ini");
  EXPECT_EQ(SettingsPathBeside("c:/out/scene.kvl"), "kvlexp.ini");
  EXPECT_EQ(SettingsPathBeside("scene.kvl"), "kvlexp.ini");
  EXPECT_EQ(SettingsPathBeside("a\\b/c\\d.kvl"), "a\\b/c\\kvlexp.ini");

  // With no backslash the file is looked for in the working directory.
  TempFolder c;
  c.Write("cwd/kvlexp.ini", "threshold = 3\n");
  c.Write("3dsmax5/kvlexp.ini", "threshold = 5\n");
  {
    WorkingDirectory here(c.path() / "cwd");
    ExportSettings settings = LoadFor("out/scene.kvl");
    EXPECT_EQ(settings.iniPath, "kvlexp.ini");
    EXPECT_EQ(settings.threshold, 3);
  }
  {
    WorkingDirectory here(c.path());  // no kvlexp.ini here
    EXPECT_EQ(LoadFor("scene.kvl").threshold, 5);
  }
}

TEST(ExportSettings, BooleansAreTrueOnlyForOne) {
  TempFolder c;
  c.Write("out/kvlexp.ini",
          "exporthidden = 2\n"
          "exportlights\n"
          "optimize = yes\n"
          "removescaling = -1\n"
          "displaylog = 0\n"
          "exportanims = 1\n");
  ExportSettings settings = LoadFor(kOutput);
  EXPECT_FALSE(settings.exporthidden);  // 2 is not 1
  EXPECT_TRUE(settings.exportlights);   // a key alone reads as "1"
  EXPECT_FALSE(settings.optimize);      // no number reads 0, despite the default
  EXPECT_FALSE(settings.removescaling);
  EXPECT_FALSE(settings.displaylog);
  EXPECT_TRUE(settings.exportanims);
  EXPECT_TRUE(settings.exportnodeattributes);  // missing: its default

  settings.Save();
  const std::string written = c.Read("out/kvlexp.ini");
  EXPECT_NE(written.find("\nexporthidden = 0\n"), std::string::npos) << written;
  EXPECT_NE(written.find("\nexportlights = 1\n"), std::string::npos) << written;
  EXPECT_NE(written.find("\noptimize = 0\n"), std::string::npos) << written;
}

TEST(ExportSettings, NumbersAreReadAsTheRuntimeConvertsThem) {
  TempFolder c;
  c.Write("out/kvlexp.ini",
          "SCALE = 2,5\n"
          "Threshold = 12 vertices\n"
          "samplerate = 0\n"
          "postolerance = -0.5\n"
          "rottolerance = .25\n");
  ExportSettings settings = LoadFor(kOutput);
  EXPECT_EQ(settings.scale, 2.0f);  // stops at the comma; upper-case key found
  EXPECT_EQ(settings.threshold, 12);
  EXPECT_EQ(settings.samplerate, 0);      // not validated on reading
  EXPECT_EQ(settings.postolerance, -0.5f);
  EXPECT_EQ(settings.rottolerance, 0.25f);
  EXPECT_EQ(settings.scaletolerance, 0.0f);

  c.Write("out/kvlexp.ini", "scale = 0\nthreshold = -1\n");
  settings = LoadFor(kOutput);
  EXPECT_EQ(settings.scale, 0.0f);
  EXPECT_EQ(settings.threshold, -1);
}

TEST(ExportSettings, FirstOccurrenceStandsAndForeignLinesVanishOnWrite) {
  TempFolder c;
  c.Write("out/kvlexp.ini",
          "# my own notes\r\n"
          "threshold = 20\r\n"
          "colour = red\r\n"
          "threshold = 30\r\n"
          "samplerate = 2 # every other frame\r\n");
  ConfigStore store("=", false);
  ExportSettings settings;
  settings.Load(kOutput, store);
  EXPECT_EQ(settings.threshold, 20);
  EXPECT_EQ(settings.samplerate, 2);
  // Foreign keys are parsed into the store all the same.
  EXPECT_STREQ(store.GetString("colour", nullptr), "red");

  settings.Save();
  std::string expected = kDefaultFile;
  expected.replace(expected.find("threshold = 10"), 14, "threshold = 20");
  expected.replace(expected.find("samplerate = 1"), 14, "samplerate = 2");
  EXPECT_EQ(c.Read("out/kvlexp.ini"), expected);
}

}  // namespace
}  // namespace kvl
