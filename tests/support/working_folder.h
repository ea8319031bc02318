// A fresh folder for one test, made the working folder while the test runs
// (the settings file of an output path without backslashes goes there), with
// a sub-folder "c" for the host's drive C. Removed afterwards.
#pragma once

#include <unistd.h>

#include <filesystem>
#include <string>

namespace kvl::testing {

class WorkingFolder {
 public:
  explicit WorkingFolder(const std::string& label)
      : path_(std::filesystem::temp_directory_path() / ("kvl_" + label + "_" + std::to_string(::getpid()))),
        previous_(std::filesystem::current_path()) {
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_ / "c");
    std::filesystem::current_path(path_);
  }
  ~WorkingFolder() {
    std::filesystem::current_path(previous_);
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  WorkingFolder(const WorkingFolder&) = delete;
  WorkingFolder& operator=(const WorkingFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_, previous_;
};

}  // namespace kvl::testing
