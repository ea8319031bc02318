// Work that runs beside the caller's, on another core when it is worth
// one: the task runs on a thread of its own from construction, and Wait
// waits for it. Where a thread is not worth it, or cannot be had, or the
// environment says KVLEXP_THREADS=1 (one core per export, as when several
// run at once), the task runs at once, before the caller's part: results
// must not depend on which.
#pragma once

#include <cstdlib>
#include <exception>
#include <functional>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

namespace kvl {

class SideTask {
 public:
  SideTask(bool worthAThread, std::function<void()> task) : task_(std::move(task)) {
    if (worthAThread && ThreadsAllowed()) {
      try {
        thread_ = std::thread([this] { Run(); });
        return;
      } catch (const std::system_error&) {
        // No thread to be had: the work is done here instead.
      }
    }
    Run();
  }
  // Waits for the task; an exception it threw is thrown here.
  void Wait() {
    if (thread_.joinable()) thread_.join();
    if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
  }
  // A task still running when the caller's part threw is waited for, and
  // its own failure dropped: the caller's is the one on its way.
  ~SideTask() {
    if (thread_.joinable()) thread_.join();
  }
  SideTask(const SideTask&) = delete;
  SideTask& operator=(const SideTask&) = delete;

 private:
  static bool ThreadsAllowed() {
    static const bool allowed = [] {
      const char* threads = std::getenv("KVLEXP_THREADS");
      return !threads || std::string_view(threads) != "1";
    }();
    return allowed;
  }
  void Run() {
    try {
      task_();
    } catch (...) {
      failure_ = std::current_exception();
    }
  }

  std::function<void()> task_;
  std::exception_ptr failure_;
  std::thread thread_;
};

}  // namespace kvl
