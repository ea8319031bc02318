// A fresh folder per test, mapped as drive c so that the exporter's Windows
// paths ("c:\3dsmax5\kvlexp.ini", "c:\kvlexp.log") land inside it. Removed,
// with the mapping, when the test ends.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "host/host_files.h"

namespace kvl::testing {

class TempFolder {
 public:
  TempFolder() {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string name = "kvl_settings_" + std::to_string(::getpid());
    if (info) name += std::string("_") + info->test_suite_name() + "_" + info->name();
    path_ = std::filesystem::temp_directory_path() / name;
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
    host::SetDriveFolder('c', path_.string());
  }
  ~TempFolder() {
    host::SetDriveFolder('c', "");
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

  // Writes `content` byte for byte to `relative`, making its folders.
  void Write(const std::string& relative, const std::string& content) const {
    const auto file = path_ / relative;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary);
    out << content;
  }

  bool Exists(const std::string& relative) const { return std::filesystem::exists(path_ / relative); }

  // The file's bytes; empty if it is missing.
  std::string Read(const std::string& relative) const {
    std::ifstream in(path_ / relative, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
  }

 private:
  std::filesystem::path path_;
};

// Runs the test body in another working directory and comes back.
class WorkingDirectory {
 public:
  explicit WorkingDirectory(const std::filesystem::path& dir) : previous_(std::filesystem::current_path()) {
    std::filesystem::current_path(dir);
  }
  ~WorkingDirectory() { std::filesystem::current_path(previous_); }
  WorkingDirectory(const WorkingDirectory&) = delete;
  WorkingDirectory& operator=(const WorkingDirectory&) = delete;

 private:
  std::filesystem::path previous_;
};

}  // namespace kvl::testing
