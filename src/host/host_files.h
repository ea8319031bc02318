// The host's file system. The exporter names some files by Windows paths
// ("c:\kvlexp.log", "c:\3dsmax5\kvlexp.ini"); on this platform the host maps a
// drive letter to a folder that it chooses, and leaves every other path alone.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace kvl::host {

// Maps drive `letter` (either case) to `folder`; an empty folder removes it.
void SetDriveFolder(char letter, const std::string& folder);

// "c:\a\b.ini" becomes "<folder of c>/a/b.ini" when drive c is mapped; any
// other path comes back as it is. ".." stops at the drive's folder.
std::string HostPath(const std::string& path);

// The same for one drive `letter` standing for `folder`, whatever is mapped.
std::string DrivePath(const std::string& path, char letter, const std::string& folder);

// fopen on the mapped path. A file opened for reading is recorded.
std::FILE* HostFopen(const std::string& path, const char* mode);

// The mapped paths of the files HostFopen opened for reading since the last
// ForgetHostFilesRead, each once, in order: what a run depended on.
const std::vector<std::string>& HostFilesRead();
void ForgetHostFilesRead();

}  // namespace kvl::host
