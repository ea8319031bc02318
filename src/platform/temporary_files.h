// The temporary files that ReplacingFile writes beside a target are named
// ".NAME.kvlexp-PID.tmp". A process that dies before it can remove them
// (killed, or a child that crashed) leaves them behind; these find and
// remove them by that name, and only them.
#pragma once

#include <string>

namespace kvl {

// The file that a write to `path` replaces: a symbolic link is followed,
// as ReplacingFile follows it. `path` itself when it is no link or leads
// nowhere.
std::string ReplacedFile(const std::string& path);

// True while process `pid` lives and runs a program of the same name as
// this one: its temporary files may still be in use.
bool IsOursAndAlive(long pid);

// Removes every temporary file that process `pid` left in `folder`.
void RemoveTemporariesOf(long pid, const std::string& folder);

// Removes the temporary files of the target of `path` whose process is
// gone (or is another program now that its pid was reused).
void RemoveStaleTemporaries(const std::string& path);

}  // namespace kvl
