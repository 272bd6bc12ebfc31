#include "picture/lut.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>

namespace brevelan {

std::string LUTParseError::description() const {
  switch (kind) {
    case Kind::badData:
      return "The LUT has the wrong number of color lines (" + std::to_string(count) + ").";
    case Kind::notCube:
      return "This is not a .cube LUT file (no LUT_3D_SIZE or LUT_1D_SIZE line).";
    case Kind::badSize:
      return "The LUT size is missing or not between 2 and 256.";
  }
  return {};
}

namespace {

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\v' || c == '\f' || c == '\r' || c == '\n'; }

std::string_view trimmed(std::string_view s) {
  while (!s.empty() && isSpace(s.front())) s.remove_prefix(1);
  while (!s.empty() && isSpace(s.back())) s.remove_suffix(1);
  return s;
}

// Up to `limit` words; the rest of the line is not split (colour lines need
// only three, and a 33³ file has 35,937 of them).
int splitWords(std::string_view line, std::string_view* words, int limit) {
  int n = 0;
  std::size_t i = 0;
  while (n < limit) {
    while (i < line.size() && isSpace(line[i])) ++i;
    if (i == line.size()) break;
    const std::size_t start = i;
    while (i < line.size() && !isSpace(line[i])) ++i;
    words[n++] = line.substr(start, i - start);
  }
  return n;
}

std::string_view withoutPlus(std::string_view word) {
  if (word.size() > 1 && word.front() == '+' && word[1] != '-' && word[1] != '+') word.remove_prefix(1);
  return word;
}

// A whole word as a finite number: "0.5", ".75", "-1e-3", "+2".
std::optional<double> number(std::string_view word) {
  word = withoutPlus(word);
  double value = 0;
  const auto [end, ec] = std::from_chars(word.data(), word.data() + word.size(), value);
  if (ec != std::errc() || end != word.data() + word.size() || !std::isfinite(value)) return std::nullopt;
  return value;
}

std::optional<int> integer(std::string_view word) {
  word = withoutPlus(word);
  int value = 0;
  const auto [end, ec] = std::from_chars(word.data(), word.data() + word.size(), value);
  if (ec != std::errc() || end != word.data() + word.size()) return std::nullopt;
  return value;
}

bool equalsUpper(std::string_view word, std::string_view upper) {
  return word.size() == upper.size() && std::equal(word.begin(), word.end(), upper.begin(), [](char a, char b) {
           return (a >= 'a' && a <= 'z' ? static_cast<char>(a - 'a' + 'A') : a) == b;
         });
}

std::optional<std::array<float, 3>> triple(const std::string_view* words) {
  std::array<float, 3> out{};
  for (int c = 0; c < 3; ++c) {
    const auto v = number(words[c]);
    if (!v) return std::nullopt;
    out[static_cast<std::size_t>(c)] = static_cast<float>(*v);
  }
  return out;
}

}  // namespace

Expected<LUT, LUTParseError> LUT::parse(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  LUT lut;
  bool sawSize = false;
  std::optional<int> size;
  std::size_t pos = 0;
  while (pos < text.size()) {
    std::size_t end = text.find_first_of("\r\n", pos);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view line = trimmed(text.substr(pos, end - pos));
    pos = end + 1;
    if (line.empty() || line.front() == '#') continue;

    std::string_view words[4];
    const int count = splitWords(line, words, 4);
    const std::string_view key = words[0];
    if (equalsUpper(key, "TITLE")) {
      std::string_view rest = trimmed(line.substr(key.size()));
      while (!rest.empty() && rest.front() == '"') rest.remove_prefix(1);
      while (!rest.empty() && rest.back() == '"') rest.remove_suffix(1);
      lut.title = std::string(rest);
    } else if (equalsUpper(key, "LUT_3D_SIZE") || equalsUpper(key, "LUT_1D_SIZE")) {
      sawSize = true;
      lut.is3D = key[4] == '3';
      size = count >= 2 ? integer(words[1]) : std::nullopt;
      // A colour line takes at least six characters, so a size line cannot
      // make us reserve more than the text could hold.
      if (size && *size >= 2 && *size <= 256) {
        const auto n = static_cast<std::size_t>(*size);
        lut.data.reserve(std::min(lut.is3D ? n * n * n : n, text.size() / 6));
      }
    } else if (equalsUpper(key, "DOMAIN_MIN") || equalsUpper(key, "DOMAIN_MAX")) {
      if (count < 4) continue;
      if (const auto v = triple(words + 1)) (equalsUpper(key, "DOMAIN_MIN") ? lut.domainMin : lut.domainMax) = *v;
    } else if (count >= 3) {
      if (const auto rgb = triple(words)) lut.data.push_back(*rgb);
    }
  }

  if (!sawSize) return Unexpected(LUTParseError{LUTParseError::Kind::notCube});
  if (!size || *size < 2 || *size > 256) return Unexpected(LUTParseError{LUTParseError::Kind::badSize});
  const std::size_t n = static_cast<std::size_t>(*size);
  if (lut.data.size() != (lut.is3D ? n * n * n : n))
    return Unexpected(LUTParseError{LUTParseError::Kind::badData, static_cast<int>(lut.data.size())});
  lut.size = *size;
  return lut;
}

ColorRGB LUT::apply(ColorRGB rgb) const {
  if (size < 2 || data.size() < static_cast<std::size_t>(is3D ? size * size * size : size)) return rgb;
  const double in[3] = {rgb.r, rgb.g, rgb.b};
  const int n = size - 1;
  int index[3];
  double frac[3];
  for (int c = 0; c < 3; ++c) {
    double t = (in[c] - domainMin[static_cast<std::size_t>(c)]) /
               (static_cast<double>(domainMax[static_cast<std::size_t>(c)]) - domainMin[static_cast<std::size_t>(c)]);
    t = t > 0 ? std::min(t, 1.0) : 0;  // also catches NaN from an empty domain
    const double position = t * n;
    index[c] = std::min(static_cast<int>(position), size - 2);
    frac[c] = position - index[c];
  }

  if (!is3D) {
    double out[3];
    for (int c = 0; c < 3; ++c) {
      const double lo = data[static_cast<std::size_t>(index[c])][static_cast<std::size_t>(c)];
      const double hi = data[static_cast<std::size_t>(index[c] + 1)][static_cast<std::size_t>(c)];
      out[c] = lo + (hi - lo) * frac[c];
    }
    return {out[0], out[1], out[2]};
  }

  const std::size_t s = static_cast<std::size_t>(size);
  const auto at = [&](int di, int dj, int dk) -> const std::array<float, 3>& {
    return data[static_cast<std::size_t>(index[0] + di) + static_cast<std::size_t>(index[1] + dj) * s +
                static_cast<std::size_t>(index[2] + dk) * s * s];
  };
  double out[3];
  for (int c = 0; c < 3; ++c) {
    const auto ch = static_cast<std::size_t>(c);
    const auto lerp = [](double a, double b, double t) { return a + (b - a) * t; };
    const double c00 = lerp(at(0, 0, 0)[ch], at(1, 0, 0)[ch], frac[0]);
    const double c10 = lerp(at(0, 1, 0)[ch], at(1, 1, 0)[ch], frac[0]);
    const double c01 = lerp(at(0, 0, 1)[ch], at(1, 0, 1)[ch], frac[0]);
    const double c11 = lerp(at(0, 1, 1)[ch], at(1, 1, 1)[ch], frac[0]);
    out[c] = lerp(lerp(c00, c10, frac[1]), lerp(c01, c11, frac[1]), frac[2]);
  }
  return {out[0], out[1], out[2]};
}

}  // namespace brevelan
