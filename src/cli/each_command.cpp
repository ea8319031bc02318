#include "cli/each_command.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <ostream>

#include "cli/exit_codes.h"
#include "cli/progress_bar.h"

extern char** environ;

namespace kvl::cli {
namespace {

namespace fs = std::filesystem;

struct Job {
  size_t scene = 0;
  fs::path errors;  // the run's standard error
};

// Starts `program export SCENE OUTPUT OPTIONS...`, its output to nowhere and
// its errors to a file of their own; -1 if it could not be started.
pid_t StartExport(const std::string& program, const std::string& scene, const std::string& output,
                  const std::vector<std::string>& options, const fs::path& errors) {
  std::vector<std::string> words = {program, "export", scene, output};
  words.insert(words.end(), options.begin(), options.end());
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&files, STDERR_FILENO, errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  pid_t pid = -1;
  const int failed = posix_spawn(&pid, program.c_str(), &files, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&files);
  return failed ? -1 : pid;
}

// The line a failed run ended with: its own one-line account.
std::string LastLine(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
  const size_t start = text.find_last_of('\n');
  return start == std::string::npos ? text : text.substr(start + 1);
}

}  // namespace

std::string EachOutputPath(const std::string& scene, const std::string& outputFolder) {
  return (fs::path(outputFolder) / (fs::path(scene).stem().string() + ".kvl")).string();
}

int RunEach(const EachRequest& request, const std::string& program, std::ostream& err) {
  std::error_code ec;
  if (!fs::is_directory(request.outputFolder, ec)) {
    err << "kvlexp: --out-dir " << request.outputFolder << ": not a folder\n";
    return EXIT_USAGE;
  }
  // Two scenes of one stem would write one file: refused before any runs.
  std::map<std::string, std::string> byOutput;
  for (const std::string& scene : request.scenes) {
    const std::string output = EachOutputPath(scene, request.outputFolder);
    auto [it, added] = byOutput.emplace(output, scene);
    if (!added) {
      err << "kvlexp: --each: " << it->second << " and " << scene << " would both be exported to " << output << "\n";
      return EXIT_USAGE;
    }
  }

  const fs::path scratch = fs::temp_directory_path() / ("kvlexp-each-" + std::to_string(::getpid()));
  fs::create_directories(scratch, ec);
  // Per scene, the line that tells why it failed; empty while it has not.
  std::vector<std::string> failures(request.scenes.size());
  std::map<pid_t, Job> running;
  size_t next = 0, done = 0;
  TerminalProgress progress(err);
  if (request.showProgress) progress.Start("Exporting");
  const unsigned jobs = request.jobs == 0 ? 1 : request.jobs;
  // Exports side by side have a core each already: none starts threads of
  // its own besides.
  if (jobs > 1) setenv("KVLEXP_THREADS", "1", 1);
  while (done < request.scenes.size()) {
    while (running.size() < jobs && next < request.scenes.size()) {
      const std::string& scene = request.scenes[next];
      const fs::path errors = scratch / (std::to_string(next) + ".err");
      const pid_t pid = StartExport(program, scene, EachOutputPath(scene, request.outputFolder),
                                    request.exportOptions, errors);
      if (pid < 0) {
        failures[next] = "kvlexp: " + scene + ": the export could not be started";
        ++done;
      } else {
        running[pid] = {next, errors};
      }
      ++next;
    }
    if (running.empty()) continue;
    int status = 0;
    const pid_t pid = ::waitpid(-1, &status, 0);
    auto it = running.find(pid);
    if (it == running.end()) continue;
    const Job job = it->second;
    running.erase(it);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != EXIT_OK) {
      failures[job.scene] = LastLine(job.errors);
      if (failures[job.scene].empty()) failures[job.scene] = "kvlexp: " + request.scenes[job.scene] + ": failed";
    }
    ++done;
    if (request.showProgress) {
      progress.Update(static_cast<int>(100 * done / request.scenes.size()), true,
                      (std::to_string(done) + " of " + std::to_string(request.scenes.size())).c_str());
    }
  }
  if (request.showProgress) progress.End();
  fs::remove_all(scratch, ec);

  // In the order of the scenes, whatever order they finished in.
  std::vector<std::string> failedScenes;
  for (size_t i = 0; i < request.scenes.size(); ++i) {
    if (failures[i].empty()) continue;
    err << failures[i] << "\n";
    failedScenes.push_back(request.scenes[i]);
  }
  err << "kvlexp: " << request.scenes.size() - failedScenes.size() << " exported, " << failedScenes.size()
      << " failed";
  for (size_t i = 0; i < failedScenes.size(); ++i) err << (i ? ", " : ": ") << failedScenes[i];
  err << "\n";
  return failedScenes.empty() ? EXIT_OK : EXIT_FAILED;
}

}  // namespace kvl::cli
