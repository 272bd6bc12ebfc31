#include "captions/text_encoding.h"

#include <array>
#include <cstdint>

namespace brevelan {
namespace {

void appendUTF8(std::string& out, std::uint32_t code) {
  if (code < 0x80) {
    out.push_back(static_cast<char>(code));
  } else if (code < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (code >> 6)));
    out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
  } else if (code < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (code >> 12)));
    out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (code >> 18)));
    out.push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (code & 0x3F)));
  }
}

constexpr std::uint32_t kReplacement = 0xFFFD;

// Length of the well-formed UTF-8 sequence at `i`, or 0 when it is not one.
std::size_t sequenceLength(std::string_view s, std::size_t i) {
  const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(s[k]); };
  const unsigned char b0 = byte(i);
  if (b0 < 0x80) return 1;
  std::size_t length = 0;
  unsigned char low = 0x80, high = 0xBF;  // allowed range of the second byte
  if (b0 >= 0xC2 && b0 <= 0xDF) {
    length = 2;
  } else if (b0 >= 0xE0 && b0 <= 0xEF) {
    length = 3;
    if (b0 == 0xE0) low = 0xA0;   // no overlong forms
    if (b0 == 0xED) high = 0x9F;  // no surrogates
  } else if (b0 >= 0xF0 && b0 <= 0xF4) {
    length = 4;
    if (b0 == 0xF0) low = 0x90;
    if (b0 == 0xF4) high = 0x8F;  // nothing past U+10FFFF
  } else {
    return 0;
  }
  if (i + length > s.size()) return 0;
  if (byte(i + 1) < low || byte(i + 1) > high) return 0;
  for (std::size_t k = 2; k < length; ++k)
    if ((byte(i + k) & 0xC0) != 0x80) return 0;
  return length;
}

std::string repairUTF8(std::string_view s) {
  std::string out;
  out.reserve(s.size());
  for (std::size_t i = 0; i < s.size();) {
    const std::size_t n = sequenceLength(s, i);
    if (n == 0) {
      appendUTF8(out, kReplacement);
      ++i;
    } else {
      out.append(s.substr(i, n));
      i += n;
    }
  }
  return out;
}

std::string fromUTF16(std::string_view s, bool littleEndian) {
  std::string out;
  out.reserve(s.size());
  const auto unit = [&](std::size_t i) -> std::uint32_t {
    const auto a = static_cast<unsigned char>(s[i]), b = static_cast<unsigned char>(s[i + 1]);
    return littleEndian ? (a | (b << 8)) : ((a << 8) | b);
  };
  for (std::size_t i = 0; i + 1 < s.size(); i += 2) {
    const std::uint32_t u = unit(i);
    if (u >= 0xD800 && u <= 0xDBFF && i + 3 < s.size()) {
      const std::uint32_t v = unit(i + 2);
      if (v >= 0xDC00 && v <= 0xDFFF) {
        appendUTF8(out, 0x10000 + ((u - 0xD800) << 10) + (v - 0xDC00));
        i += 2;
        continue;
      }
    }
    appendUTF8(out, (u >= 0xD800 && u <= 0xDFFF) ? kReplacement : u);
  }
  return out;
}

// Windows-1252 bytes 0x80–0x9F; the rest of the code page is Latin-1.
constexpr std::array<std::uint16_t, 32> kWindows1252High{
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

std::string fromWindows1252(std::string_view s) {
  std::string out;
  out.reserve(s.size() + s.size() / 4);
  for (char c : s) {
    const auto b = static_cast<unsigned char>(c);
    appendUTF8(out, b >= 0x80 && b < 0xA0 ? kWindows1252High[b - 0x80] : b);
  }
  return out;
}

// UTF-16 without a byte-order mark shows as zero bytes in every other place
// (subtitle text is mostly ASCII). Returns 1 for little-endian, 2 for big-endian.
int unmarkedUTF16(std::string_view s) {
  const std::size_t n = std::min<std::size_t>(s.size(), 4096) & ~std::size_t{1};
  if (n < 4) return 0;
  std::size_t evenZeros = 0, oddZeros = 0;
  for (std::size_t i = 0; i < n; i += 2) {
    evenZeros += s[i] == '\0';
    oddZeros += s[i + 1] == '\0';
  }
  const std::size_t pairs = n / 2;
  if (oddZeros * 10 >= pairs * 4 && evenZeros * 20 < pairs) return 1;
  if (evenZeros * 10 >= pairs * 4 && oddZeros * 20 < pairs) return 2;
  return 0;
}

}  // namespace

bool isValidUTF8(std::string_view bytes) {
  for (std::size_t i = 0; i < bytes.size();) {
    // Runs of ASCII are the common case.
    if (static_cast<unsigned char>(bytes[i]) < 0x80) {
      ++i;
      continue;
    }
    const std::size_t n = sequenceLength(bytes, i);
    if (n == 0) return false;
    i += n;
  }
  return true;
}

std::size_t characterCount(std::string_view text) {
  std::size_t count = 0;
  for (char c : text) count += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  return count;
}

std::string decodeSubtitleText(std::string_view bytes) {
  if (bytes.starts_with("\xEF\xBB\xBF")) return repairUTF8(bytes.substr(3));
  if (bytes.starts_with("\xFF\xFE")) return fromUTF16(bytes.substr(2), true);
  if (bytes.starts_with("\xFE\xFF")) return fromUTF16(bytes.substr(2), false);
  if (const int order = unmarkedUTF16(bytes)) return fromUTF16(bytes, order == 1);
  if (isValidUTF8(bytes)) return std::string(bytes);
  return fromWindows1252(bytes);
}

}  // namespace brevelan
