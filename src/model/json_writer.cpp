#include "model/json_writer.h"

#include <charconv>
#include <cmath>

namespace brevelan {
namespace {

// Length of the valid UTF-8 sequence starting at s[i], or 0 when invalid.
std::size_t utf8Length(std::string_view s, std::size_t i) {
  const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(s[k]); };
  const unsigned char c = byte(i);
  std::size_t n;
  std::uint32_t code;
  if (c < 0x80) return 1;
  if (c >= 0xC2 && c <= 0xDF) { n = 2; code = c & 0x1F; }
  else if (c >= 0xE0 && c <= 0xEF) { n = 3; code = c & 0x0F; }
  else if (c >= 0xF0 && c <= 0xF4) { n = 4; code = c & 0x07; }
  else return 0;
  if (i + n > s.size()) return 0;
  for (std::size_t k = 1; k < n; ++k) {
    if ((byte(i + k) & 0xC0) != 0x80) return 0;
    code = (code << 6) | (byte(i + k) & 0x3F);
  }
  // Overlong forms, surrogates and values past U+10FFFF are not valid.
  if ((n == 3 && code < 0x800) || (n == 4 && (code < 0x10000 || code > 0x10FFFF)) ||
      (code >= 0xD800 && code <= 0xDFFF))
    return 0;
  return n;
}

}  // namespace

void JsonWriter::newline(std::size_t depth) {
  if (!pretty_) return;
  out_.push_back('\n');
  out_.append(depth * 2, ' ');
}

void JsonWriter::beforeValue() {
  if (afterKey_) {
    afterKey_ = false;
    return;
  }
  if (levels_.empty()) return;
  Level& level = levels_.back();
  if (!level.empty) out_.push_back(',');
  level.empty = false;
  newline(levels_.size());
}

JsonWriter& JsonWriter::key(std::string_view name) {
  Level& level = levels_.back();
  if (!level.empty) out_.push_back(',');
  if (!level.empty && !(std::string_view(level.lastKey) < name)) keysInOrder_ = false;
  level.empty = false;
  level.lastKey.assign(name);
  newline(levels_.size());
  writeString(name);
  out_ += pretty_ ? ": " : ":";
  afterKey_ = true;
  return *this;
}

void JsonWriter::begin(char bracket, bool isObject) {
  beforeValue();
  out_.push_back(bracket);
  Level level;
  level.isObject = isObject;
  levels_.push_back(std::move(level));
}

void JsonWriter::end(char bracket) {
  const bool empty = levels_.back().empty;
  levels_.pop_back();
  if (!empty) newline(levels_.size());
  out_.push_back(bracket);
}

void JsonWriter::beginObject() { begin('{', true); }
void JsonWriter::endObject() { end('}'); }
void JsonWriter::beginArray() { begin('[', false); }
void JsonWriter::endArray() { end(']'); }

void JsonWriter::value(std::int64_t number) {
  beforeValue();
  char buffer[24];
  auto result = std::to_chars(buffer, buffer + sizeof buffer, number);
  out_.append(buffer, result.ptr);
}

void JsonWriter::value(double number) {
  beforeValue();
  if (!std::isfinite(number)) number = 0;
  char buffer[32];
  auto result = std::to_chars(buffer, buffer + sizeof buffer, number);
  out_.append(buffer, result.ptr);
}

void JsonWriter::value(bool flag) {
  beforeValue();
  out_ += flag ? "true" : "false";
}

void JsonWriter::value(std::string_view text) {
  beforeValue();
  writeString(text);
}

void JsonWriter::writeString(std::string_view text) {
  static constexpr char kHex[] = "0123456789abcdef";
  out_.push_back('"');
  for (std::size_t i = 0; i < text.size();) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (c >= 0x80) {
      const std::size_t n = utf8Length(text, i);
      if (n == 0) {
        out_ += "\xEF\xBF\xBD";
        ++i;
      } else {
        out_.append(text.substr(i, n));
        i += n;
      }
      continue;
    }
    switch (c) {
      case '"': out_ += "\\\""; break;
      case '\\': out_ += "\\\\"; break;
      case '\n': out_ += "\\n"; break;
      case '\r': out_ += "\\r"; break;
      case '\t': out_ += "\\t"; break;
      case '\b': out_ += "\\b"; break;
      case '\f': out_ += "\\f"; break;
      default:
        if (c < 0x20) {
          out_ += "\\u00";
          out_.push_back(kHex[c >> 4]);
          out_.push_back(kHex[c & 0xF]);
        } else {
          out_.push_back(static_cast<char>(c));
        }
    }
    ++i;
  }
  out_.push_back('"');
}

}  // namespace brevelan
