#include "output/read/kvl_reader.h"

#include <cstdio>
#include <fstream>
#include <iterator>

#include "output/write/chunk.h"
#include "output/read/kvl_decoders.h"
#include "scene/record_kinds.h"

namespace kvl {
namespace {

// The versions the writer gives a chunk of this kind, as a message says them.
std::string ExpectedVersions(const RecordKind& kind) {
  if (kind.firstVersion == kind.lastVersion) return std::to_string(kind.firstVersion);
  return std::to_string(kind.firstVersion) + " or " + std::to_string(kind.lastVersion);
}

template <class T>
NodePtr Own(std::unique_ptr<T> record) {
  return NodePtr(record.release());
}

NodePtr DecodeByType(const ChunkEntry& chunk, PayloadReader& r) {
  switch (chunk.chunkType) {
    case CUSTOM_TYPE_GROUP: return Own(DecodeGroup(r, chunk.chunkType));
    case CHUNK_GEOMETRY: return Own(DecodeGeometry(r));
    case CHUNK_MESH: return Own(DecodeMesh(r));
    case CHUNK_CAMERA: return Own(DecodeCamera(r));
    case CHUNK_LIGHT: return Own(DecodeLight(r));
    case CHUNK_HELPER: return Own(DecodeHelper(r));
    case CHUNK_PARTICLE_SYSTEM: return Own(DecodeParticleSystem(r));
    case CHUNK_SPRITE: return Own(DecodeSprite(r));
    case CHUNK_SOUND_SOURCE: return Own(DecodeSoundSource(r));
    case CHUNK_MICROPHONE: return Own(DecodeMicrophone(r));
    case CHUNK_COLLIDER: return Own(DecodeCollider(r));
    case CHUNK_VERTEX_BUFFER: return Own(DecodeVertexBuffer(r, chunk.version));
    case CHUNK_FACE_LIST: return Own(DecodeFaceList(r));
    case CHUNK_MATERIAL: return Own(DecodeMaterial(r));
    case CHUNK_TEXTURE: return Own(DecodeTexture(r));
    case CHUNK_PRS_ANIMATION: return Own(DecodePRSAnimation(r));
    case CHUNK_LOADER: return Own(DecodeLoader(r));
    case CHUNK_SPRING: return Own(DecodeSpring(r));
    case CHUNK_TRIANGLE_INFO_BUFFER: return Own(DecodeTriangleInfoBuffer(r));
    case CHUNK_ATTRIBUTE: return Own(DecodeAttribute(r));
    default: return nullptr;
  }
}

uint32_t ReadLE(std::span<const uint8_t> bytes, size_t at, int size) {
  uint32_t value = 0;
  for (int i = size - 1; i >= 0; --i) value = (value << 8) | bytes[at + i];
  return value;
}

// Decodes one complete chunk and files its record.
void ReadChunk(KvlDocument& doc, std::span<const uint8_t> payload, size_t index) {
  ChunkEntry& chunk = doc.chunks[index];
  const RecordKind* kind = RecordKindOfChunk(chunk.chunkType);
  if (!kind) {
    doc.problems.push_back(ChunkProblem(chunk, chunk.offset, Severity::ERROR,
                                        "chunk type " + std::to_string(chunk.chunkType) +
                                            " is not a type of the format; skipped by its size"));
    return;
  }
  if (chunk.version < kind->firstVersion || chunk.version > kind->lastVersion) {
    doc.problems.push_back(ChunkProblem(chunk, chunk.offset + 2, Severity::ERROR,
                                        "unknown version of this chunk type, skipped by its size (expected " +
                                            ExpectedVersions(*kind) + ", found " +
                                            std::to_string(chunk.version) + ")"));
    return;
  }
  PayloadReader reader(payload, chunk, doc.problems);
  NodePtr record = DecodeByType(chunk, reader);
  reader.Finish();
  if (!record || !reader.ok()) return;
  record->id = chunk.id;
  record->reachable = 1;  // the file holds only what was written
  chunk.decoded = true;
  if (doc.table.Find(chunk.id)) return;  // a duplicate id: the first record stays, the checks report it
  doc.table.InsertNode(std::move(record));
  doc.chunkById[chunk.id] = index;
}

}  // namespace

FileProblem ChunkProblem(const ChunkEntry& chunk, size_t offset, Severity severity, std::string message) {
  FileProblem p;
  p.offset = offset;
  p.inChunk = true;
  p.chunkType = chunk.chunkType;
  p.id = chunk.id;
  p.severity = severity;
  p.message = std::move(message);
  return p;
}

const ChunkEntry* KvlDocument::ChunkOf(uint32_t id) const {
  auto it = chunkById.find(id);
  if (it != chunkById.end()) return &chunks[it->second];
  for (const ChunkEntry& chunk : chunks) {
    if (chunk.id == id) return &chunk;
  }
  return nullptr;
}

size_t KvlDocument::Count(Severity severity) const {
  size_t n = 0;
  for (const FileProblem& p : problems) n += p.severity == severity;
  return n;
}

KvlDocument ReadKvl(std::span<const uint8_t> bytes) {
  KvlDocument doc;
  doc.fileSize = bytes.size();
  if (bytes.empty()) {
    FileProblem p;
    p.message = "the file is empty (expected at least one chunk of 12 bytes or more, found 0 bytes)";
    doc.problems.push_back(std::move(p));
    return doc;
  }
  size_t pos = 0;
  while (pos < bytes.size()) {
    const size_t left = bytes.size() - pos;
    if (left < Chunk::HEADER_SIZE) {
      FileProblem p;
      p.offset = pos;
      p.message = "the file ends inside a chunk header (expected 12 bytes, found " + std::to_string(left) + ")";
      doc.problems.push_back(std::move(p));
      break;
    }
    ChunkEntry chunk;
    chunk.offset = pos;
    chunk.chunkType = static_cast<uint16_t>(ReadLE(bytes, pos, 2));
    chunk.version = static_cast<uint16_t>(ReadLE(bytes, pos + 2, 2));
    chunk.id = ReadLE(bytes, pos + 4, 4);
    chunk.size = ReadLE(bytes, pos + 8, 4);
    chunk.complete = chunk.size <= left - Chunk::HEADER_SIZE;
    doc.chunks.push_back(chunk);
    if (!chunk.complete) {
      doc.problems.push_back(ChunkProblem(
          chunk, pos + 8, Severity::ERROR,
          "chunk size runs past the end of the file (expected at most " +
              std::to_string(left - Chunk::HEADER_SIZE) + ", found " + std::to_string(chunk.size) + ")"));
      break;  // nothing behind it can be found
    }
    ReadChunk(doc, bytes.subspan(pos + Chunk::HEADER_SIZE, chunk.size), doc.chunks.size() - 1);
    pos += Chunk::HEADER_SIZE + chunk.size;
  }
  return doc;
}

bool ReadFileBytes(const std::string& path, std::vector<uint8_t>& bytes, std::string& error) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    error = "cannot open the file for reading";
    return false;
  }
  bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  if (in.bad()) {
    error = "reading the file failed";
    return false;
  }
  return true;
}

std::string ChunkTypeName(uint16_t chunkType) {
  const RecordKind* kind = RecordKindOfChunk(chunkType);
  return kind ? kind->name : "";
}

std::string FormatProblem(const FileProblem& problem) {
  char offset[32];
  std::snprintf(offset, sizeof offset, "offset 0x%08zX: ", problem.offset);
  std::string line = offset;
  if (problem.inChunk) {
    line += "chunk " + std::to_string(problem.chunkType);
    const std::string name = ChunkTypeName(problem.chunkType);
    if (!name.empty()) line += " (" + name + ")";
    line += " id " + std::to_string(problem.id) + ": ";
  }
  line += problem.severity == Severity::ERROR ? "error: " : "warning: ";
  line += problem.message;
  return line;
}

}  // namespace kvl
