#include "platform/replacing_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <functional>

#include "platform/temporary_files.h"

namespace kvl {
namespace {

namespace fs = std::filesystem;

void SetError(std::string* error, const std::string& what) {
  if (error) *error = what;
}

std::string Reason(int code) { return std::strerror(code); }

}  // namespace

std::string ReplacingFile::TemporaryName(const std::string& path, long pid) {
  const fs::path target(path);
  const std::string name = "." + target.filename().string() + ".kvlexp-" + std::to_string(pid) + ".tmp";
  return (target.parent_path() / name).string();
}

std::unique_ptr<ReplacingFile> ReplacingFile::Open(const std::string& path, const char* mode, std::string* error) {
  // What a process killed mid-write left beside this target goes first.
  RemoveStaleTemporaries(path);
  std::unique_ptr<ReplacingFile> out(new ReplacingFile());
  std::error_code ec;
  fs::path target(path);
  // Follow links, so the link stays and what it points at is replaced. A
  // link that leads nowhere, or round in a loop, is the user's to mend: a
  // file written in its place would lose it.
  if (fs::is_symlink(fs::symlink_status(target, ec))) {
    const fs::path resolved = fs::canonical(target, ec);
    if (ec) {
      SetError(error, ec == std::errc::too_many_symbolic_link_levels
                          ? "it is a symbolic link that leads round in a loop"
                          : "it is a symbolic link to " + fs::read_symlink(target, ec).string() +
                                ", which does not exist");
      return nullptr;
    }
    target = resolved;
  }
  const fs::file_status status = fs::status(target, ec);
  if (fs::is_directory(status)) {
    SetError(error, Reason(EISDIR));
    return nullptr;
  }
  const bool inPlace = fs::exists(status) && !fs::is_regular_file(status);
  out->target_ = target.string();
  if (inPlace) {
    out->file_ = std::fopen(out->target_.c_str(), mode);
  } else {
    out->temporary_ = TemporaryName(out->target_, static_cast<long>(::getpid()));
    out->file_ = std::fopen(out->temporary_.c_str(), mode);
    // A replaced file keeps its permissions.
    struct stat old {};
    if (out->file_ && ::stat(out->target_.c_str(), &old) == 0) ::fchmod(fileno(out->file_), old.st_mode & 07777);
  }
  if (!out->file_) {
    SetError(error, Reason(errno));
    out->temporary_.clear();  // nothing was created
    return nullptr;
  }
  return out;
}

ReplacingFile::~ReplacingFile() {
  if (file_) std::fclose(file_);
  if (!temporary_.empty()) std::remove(temporary_.c_str());
}

bool ReplacingFile::Commit(std::string* error) { return Commit(error, nullptr); }

bool ReplacingFile::Commit(std::string* error, const std::function<std::string(const std::string&)>& check) {
  // After a failed write the buffer still holds what did not fit, so the
  // flush fails again and tells why (a full disk is ENOSPC); only a
  // failure that left nothing to flush has no reason of its own.
  bool ok = true;
  int code = 0;
  if (std::fflush(file_) != 0) {
    ok = false;
    code = errno;
  }
  if (ok && std::ferror(file_)) {
    ok = false;
    code = EIO;
  }
  if (std::fclose(file_) != 0 && ok) {
    ok = false;
    code = errno;
  }
  file_ = nullptr;
  if (ok && check && !temporary_.empty()) {
    // A file that fails the check never replaces the old one; it is kept
    // beside it under a name that says so, for the user to look at.
    const std::string problem = check(temporary_);
    if (!problem.empty()) {
      const std::string kept = target_ + ".invalid";
      if (std::rename(temporary_.c_str(), kept.c_str()) == 0) {
        temporary_.clear();
        SetError(error, problem + "; it was kept as " + kept + " and " + target_ + " left as it was");
      } else {
        SetError(error, problem + "; " + target_ + " was left as it was");
      }
      return false;
    }
  }
  if (ok && !temporary_.empty()) {
    if (std::rename(temporary_.c_str(), target_.c_str()) != 0) {
      ok = false;
      code = errno;
    } else {
      temporary_.clear();
    }
  }
  if (!ok) SetError(error, Reason(code));
  return ok;
}

bool ReplaceFileText(const std::string& path, const std::string& text, std::string* error) {
  std::error_code ec;
  if (std::filesystem::is_regular_file(path, ec)) {
    std::ifstream in(path, std::ios::binary);
    const std::string existing{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (existing == text) return true;
  }
  std::unique_ptr<ReplacingFile> file = ReplacingFile::Open(path, "wb", error);
  if (!file) return false;
  std::fwrite(text.data(), 1, text.size(), file->get());
  return file->Commit(error);
}

}  // namespace kvl
