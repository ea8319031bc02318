// Names come from scenes and files the user does not control: any bytes at
// all. These helpers decide how such bytes are cut and how they are shown.
// One convention everywhere: a byte that cannot be shown as it is becomes
// \xNN (two upper-case hex digits), the way the JSON reader's messages show
// bytes. A backslash already in a name is left alone, so that paths read as
// typed; the escape can therefore be mistaken for four typed characters, but
// never for a character it is not.
//
// Header only: the exporter, the dialogs and the program all use it, and
// none of them should have to link another library for a few loops.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

namespace kvl::text {

// The length of the well-formed UTF-8 sequence at `at` (RFC 3629: no
// overlong forms, no surrogates, nothing above U+10FFFF), or 0 if the bytes
// there are not one.
inline size_t Utf8SequenceAt(std::string_view text, size_t at) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(at);
  if (lead < 0x80) return 1;
  size_t length = 0;
  unsigned char low = 0x80, high = 0xBF;  // the allowed range of the second byte
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;   // overlong below U+0800
    if (lead == 0xED) high = 0x9F;  // surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;   // overlong below U+10000
    if (lead == 0xF4) high = 0x8F;  // above U+10FFFF
  } else {
    return 0;
  }
  if (at + length > text.size()) return 0;
  if (byte(at + 1) < low || byte(at + 1) > high) return 0;
  for (size_t i = 2; i < length; ++i) {
    if ((byte(at + i) & 0xC0) != 0x80) return 0;
  }
  return length;
}

inline bool IsValidUtf8(std::string_view text) {
  for (size_t at = 0; at < text.size();) {
    const size_t length = Utf8SequenceAt(text, at);
    if (length == 0) return false;
    at += length;
  }
  return true;
}

// How many bytes of `text` fit in `limit`. Valid UTF-8 is cut before a
// character that would not fit whole, so that what is kept is still valid;
// other bytes (a Latin-1 name, say) have no characters to respect and are
// cut at the limit exactly.
inline size_t CutLength(std::string_view text, size_t limit) {
  if (text.size() <= limit) return text.size();
  if (!IsValidUtf8(text)) return limit;
  size_t length = limit;
  while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) --length;
  return length;
}

inline void AppendByteEscape(std::string& out, unsigned char byte) {
  char escape[5];
  std::snprintf(escape, sizeof escape, "\\x%02X", byte);
  out += escape;
}

// Valid UTF-8 as it is, every other byte escaped: the result is always
// valid UTF-8, so a JSON writer takes it. Control characters stay: a JSON
// writer escapes those itself, and a reader gets the name back.
inline std::string WithInvalidBytesEscaped(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t at = 0; at < text.size();) {
    const size_t length = Utf8SequenceAt(text, at);
    if (length == 0) {
      AppendByteEscape(out, static_cast<unsigned char>(text[at]));
      ++at;
    } else {
      out.append(text, at, length);
      at += length;
    }
  }
  return out;
}

// Text for a terminal: also escapes every control character (C0, DEL and
// the C1 range, which some terminals take as the start of a command), byte
// by byte, so that no name can move the cursor, clear the screen, set the
// window title or break a line. `keepLineEnds` leaves CR LF pairs alone,
// for texts that are made of lines; a lone CR or LF is still escaped.
inline std::string EscapedForTerminal(std::string_view text, bool keepLineEnds = false) {
  std::string out;
  out.reserve(text.size());
  for (size_t at = 0; at < text.size();) {
    const auto byte = static_cast<unsigned char>(text[at]);
    if (keepLineEnds && byte == '\r' && at + 1 < text.size() && text[at + 1] == '\n') {
      out += "\r\n";
      at += 2;
      continue;
    }
    const size_t length = Utf8SequenceAt(text, at);
    const bool c1 = length == 2 && byte == 0xC2 && static_cast<unsigned char>(text[at + 1]) < 0xA0;
    if (length == 0 || byte < 0x20 || byte == 0x7F || c1) {
      const size_t shown = length == 0 ? 1 : length;
      for (size_t i = 0; i < shown; ++i) AppendByteEscape(out, static_cast<unsigned char>(text[at + i]));
      at += shown;
    } else {
      out.append(text, at, length);
      at += length;
    }
  }
  return out;
}

}  // namespace kvl::text
