// Running the real program from a test, as a user's shell would.
#pragma once

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace kvl::testing {

struct CommandRun {
  int status = -1;  // the exit status; -1 if a signal ended it
  std::string out;  // what it wrote to standard output
};

// Runs `command` with /bin/sh; redirect inside it to capture stderr instead.
inline CommandRun RunCommand(const std::string& command) {
  CommandRun run;
  std::FILE* pipe = ::popen(command.c_str(), "r");
  if (!pipe) return run;
  std::array<char, 4096> buffer{};
  size_t n;
  while ((n = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0) run.out.append(buffer.data(), n);
  const int raw = ::pclose(pipe);
  run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  return run;
}

inline std::string ReadWholeFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace kvl::testing
