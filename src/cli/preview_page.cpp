#include "cli/preview_page.h"

#include <algorithm>
#include <cctype>
#include <nlohmann/json.hpp>

#include "cli/preview_assets.h"
#include "output/read/kvl_summary.h"
#include "platform/text_escapes.h"

namespace kvl::cli {
namespace {

// Replaces the first `marker` at or after `from`; returns where the
// inserted text ends, so that no inserted text is searched for the next one.
size_t ReplaceOnce(std::string& page, size_t from, std::string_view marker, std::string_view value) {
  const size_t at = page.find(marker, from);
  if (at == std::string::npos) return from;
  page.replace(at, marker.size(), value);
  return at + value.size();
}

// JSON inside a <script> element. The HTML parser knows nothing of JSON
// strings: "</script" would end the element early, and "<!--" followed by
// "<script" would keep it open past its own end tag. So no '<' may stand in
// it at all; '>' and '&' go too, so that no markup can be made of the rest.
// Outside strings JSON has none of the three, and inside one the \u form
// reads back as the same character.
std::string ScriptSafeJson(const nlohmann::json& value) {
  // The texts shown are valid UTF-8 already (PreviewData); the image keys are
  // replaced where they are not, rather than abort.
  const std::string text = value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    switch (c) {
      case '<': out += "\\u003c"; break;
      case '>': out += "\\u003e"; break;
      case '&': out += "\\u0026"; break;
      default: out += c;
    }
  }
  return out;
}

// Text between tags or inside a quoted attribute.
std::string HtmlEscaped(const std::string& text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '&': out += "&amp;"; break;
      case '"': out += "&quot;"; break;
      case '\'': out += "&#39;"; break;
      default: out += c;
    }
  }
  return out;
}

// A file's name or a text quoting the file's names, shown as inspect shows
// it: bytes that are not UTF-8 escaped, so that JSON and HTML can hold it.
std::string PageText(const std::string& bytes) { return text::WithInvalidBytesEscaped(bytes); }

}  // namespace

std::string Base64(std::span<const uint8_t> bytes) {
  static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  size_t i = 0;
  for (; i + 2 < bytes.size(); i += 3) {
    const uint32_t v = (uint32_t{bytes[i]} << 16) | (uint32_t{bytes[i + 1]} << 8) | bytes[i + 2];
    for (int shift = 18; shift >= 0; shift -= 6) out += digits[(v >> shift) & 63];
  }
  if (i < bytes.size()) {
    uint32_t v = uint32_t{bytes[i]} << 16;
    if (i + 1 < bytes.size()) v |= uint32_t{bytes[i + 1]} << 8;
    out += digits[(v >> 18) & 63];
    out += digits[(v >> 12) & 63];
    out += i + 1 < bytes.size() ? digits[(v >> 6) & 63] : '=';
    out += '=';
  }
  return out;
}

std::string ImageMimeType(const std::string& fileName) {
  const size_t dot = fileName.rfind('.');
  if (dot == std::string::npos) return "";
  std::string ext = fileName.substr(dot + 1);
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
  if (ext == "png") return "image/png";
  if (ext == "jpg" || ext == "jpeg") return "image/jpeg";
  if (ext == "gif") return "image/gif";
  if (ext == "bmp") return "image/bmp";
  if (ext == "webp") return "image/webp";
  return "";
}

std::string BuildPreviewPage(const PreviewInput& input) {
  const nlohmann::json page = PreviewData(input.fileName, input.kvl, input.images);

  std::string html(PageTemplate());
  // The markers in the template's order, each once.
  const auto bytesOf = [](std::string_view text) {
    return std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(text.data()), text.size());
  };
  size_t at = ReplaceOnce(html, 0, "@TITLE@", HtmlEscaped(PageText(input.fileName)));
  at = ReplaceOnce(html, at, "@PAGE_JSON@", ScriptSafeJson(page));
  at = ReplaceOnce(html, at, "@KVL_BASE64@", Base64(input.kvl));
  at = ReplaceOnce(html, at, "@THREE_BASE64@", Base64(bytesOf(ThreeModule())));
  at = ReplaceOnce(html, at, "@CONTROLS_BASE64@", Base64(bytesOf(OrbitControlsModule())));
  at = ReplaceOnce(html, at, "@DECODER_JS@", DecoderScript());
  ReplaceOnce(html, at, "@VIEWER_JS@", ViewerScript());
  return html;
}

}  // namespace kvl::cli
