// What `kvlexp inspect` shows of a file, as one JSON value. The text form
// is rendered from the same value, so the two cannot tell different stories.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "output/read/kvl_reader.h"

namespace kvl::cli {

// The hierarchy, meshes, materials, textures, animations and totals; the
// totals' errors and warnings are the ones `kvlexp validate` lists.
nlohmann::json InspectSummary(const KvlDocument& doc, const std::string& path);
// Every chunk as the file holds it.
nlohmann::json ChunkListing(const KvlDocument& doc, const std::string& path);

// The readable forms of the two.
void PrintSummary(const nlohmann::json& summary, std::ostream& out);
void PrintChunkListing(const nlohmann::json& listing, std::ostream& out);

}  // namespace kvl::cli
