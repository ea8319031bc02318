// What `kvlexp inspect` shows of a file, as one JSON value. The text form
// is rendered from the same value, so the two cannot tell different stories.
#pragma once

#include <nlohmann/json.hpp>
#include <map>
#include <span>
#include <string>

#include "output/read/kvl_reader.h"

namespace kvl {

// The hierarchy, meshes, materials, textures, animations and totals; the
// totals' errors and warnings are the ones `kvlexp validate` lists.
nlohmann::json InspectSummary(const KvlDocument& doc, const std::string& path);
// Every chunk as the file holds it.
nlohmann::json ChunkListing(const KvlDocument& doc, const std::string& path);

// The readable forms of the two.
void PrintSummary(const nlohmann::json& summary, std::ostream& out);
void PrintChunkListing(const nlohmann::json& listing, std::ostream& out);

// What the preview page shows of a file beside the picture: its name, its
// problems as `kvlexp validate` lists them, and the images of its textures
// (file name -> data URL), all as the page's script reads them.
nlohmann::json PreviewData(const std::string& fileName, std::span<const uint8_t> kvl,
                           const std::map<std::string, std::string>& images);

}  // namespace kvl
