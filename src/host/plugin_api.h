// The functions every plug-in library exports, by which the host finds out
// what the library holds and creates its objects.
#pragma once

#include "host/plugin_bases.h"

// The SDK the host speaks: release 5100, API 8, revision 0. A library that
// answers another LibVersion was built for another host.
inline constexpr unsigned long HOST_SDK_VERSION = (5100ul << 16) | (8ul << 8) | 0ul;

extern "C" {
using LibDescriptionFn = const char* (*)();
using LibNumberClassesFn = int (*)();
using LibClassDescFn = kvl::host::ClassDesc2* (*)(int i);
using LibVersionFn = unsigned long (*)();
using CanAutoDeferFn = int (*)();
}
