#include "sources/json/json_scene.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <new>

#include "sources/json/json_readers.h"
#include "sources/json/json_text.h"

namespace kvl::sources {
namespace {

constexpr const char* kFormatName = "kvl-scene";
constexpr int64_t kFormatVersion = 1;

std::unique_ptr<host::MemoryScene> ReadDocument(const Json& doc) {
  RequireObject(doc, "document");
  CheckKeys(doc, "", {"format", "version", "ticksPerFrame", "animationRange", "materials", "nodes"});

  const Json* format = Member(doc, "format");
  if (!format) Fail("format", "missing; a scene description starts with \"format\": \"kvl-scene\"");
  if (ReadString(*format, "format") != kFormatName) {
    Fail("format", "is " + Quoted(format->get<std::string>()) + ", expected \"kvl-scene\"");
  }
  const Json* version = Member(doc, "version");
  if (!version) Fail("version", "missing; expected 1");
  if (const int64_t v = ReadInteger(*version, "version", INT64_MIN, INT64_MAX); v != kFormatVersion) {
    Fail("version", "is " + std::to_string(v) + ", this program reads version 1");
  }

  auto scene = std::make_unique<host::MemoryScene>();
  if (const Json* tpf = Member(doc, "ticksPerFrame")) {
    scene->ticksPerFrame = static_cast<host::TimeValue>(ReadInteger(*tpf, "ticksPerFrame", 1, INT32_MAX));
  }
  if (const Json* range = Member(doc, "animationRange")) {
    RequireArraySize(*range, "animationRange", 2);
    const host::TimeValue start = ReadTick((*range)[0], "animationRange[0]");
    const host::TimeValue end = ReadTick((*range)[1], "animationRange[1]");
    if (start > end) {
      Fail("animationRange", "start " + std::to_string(start) + " is after end " + std::to_string(end));
    }
    scene->animationRange = host::Interval(start, end);
  }

  LoadContext context;
  if (const Json* materials = Member(doc, "materials")) ReadMaterials(*materials, "materials", *scene, context);
  if (const Json* nodes = Member(doc, "nodes")) ReadNodeList(*nodes, "nodes", scene->root, context);
  AssignDefaultHandles(context);
  return scene;
}

}  // namespace

SceneLoadResult LoadJsonScene(std::string_view text) {
  SceneLoadResult result;
  try {
    const Json doc = ParseJsonText(text);
    result.scene = ReadDocument(doc);
  } catch (const LoadError& e) {
    result.error = e.message;
  } catch (const std::bad_alloc&) {
    result.error = "document: too large to load (out of memory)";
  } catch (const std::exception& e) {
    // Not expected: every value is checked before it is read. Still a
    // refusal, never a crash.
    result.error = std::string("document: cannot be read: ") + e.what();
  }
  if (!result.error.empty()) result.scene.reset();
  return result;
}

SceneLoadResult LoadJsonSceneFile(const std::string& path) {
  SceneLoadResult result;
  std::error_code ec;
  if (std::filesystem::is_directory(path, ec)) {
    result.error = path + ": cannot be read: it is a folder, not a file";
    return result;
  }
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) {
    result.error = path + ": cannot be read: " + std::strerror(errno);
    return result;
  }
  std::string bytes;
  char buffer[65536];
  size_t got = 0;
  while ((got = std::fread(buffer, 1, sizeof buffer, file)) > 0) bytes.append(buffer, got);
  const bool failed = std::ferror(file) != 0;
  const int readErrno = errno;
  std::fclose(file);
  if (failed) {
    result.error = path + ": cannot be read: " + std::strerror(readErrno);
    return result;
  }
  SceneLoadResult loaded = LoadJsonScene(bytes);
  loaded.filesRead = {path};
  return loaded;
}

}  // namespace kvl::sources
