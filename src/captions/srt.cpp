#include "captions/srt.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "model/rounding.h"
#include "model/uuid.h"

namespace brevelan::SRT {
namespace {

bool isSpace(char c) { return c == ' ' || c == '\t'; }
bool isLineBreakOrSpace(char c) { return isSpace(c) || c == '\n' || c == '\r'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

std::string_view trim(std::string_view s, bool (*drop)(char)) {
  while (!s.empty() && drop(s.front())) s.remove_prefix(1);
  while (!s.empty() && drop(s.back())) s.remove_suffix(1);
  return s;
}

// Text with "\n" line ends only and without a leading byte-order mark.
std::string normalised(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\r') {
      out.push_back(text[i]);
    } else {
      out.push_back('\n');
      if (i + 1 < text.size() && text[i + 1] == '\n') ++i;
    }
  }
  return out;
}

// The text's blocks: runs of lines that are not empty (the same as splitting
// at "\n\n" and leaving out empty lines). `blank` says which lines count as empty.
template <class Blank>
std::vector<std::vector<std::string_view>> blocks(std::string_view text, Blank blank) {
  std::vector<std::vector<std::string_view>> out;
  bool inBlock = false;
  std::size_t begin = 0;
  while (begin <= text.size()) {
    std::size_t end = text.find('\n', begin);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view line = text.substr(begin, end - begin);
    if (blank(line)) {
      inBlock = false;
    } else {
      if (!inBlock) out.emplace_back();
      out.back().push_back(line);
      inBlock = true;
    }
    begin = end + 1;
  }
  return out;
}

std::optional<std::int64_t> integer(std::string_view s) {
  if (s.empty() || !std::all_of(s.begin(), s.end(), isDigit)) return std::nullopt;
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(s.data(), s.data() + s.size(), value);
  if (error != std::errc() || end != s.data() + s.size()) return std::nullopt;
  return value;
}

// One side of a time line as parse reads it: the strict form first, then the
// first word (extra words after the end time), then whole seconds.
std::optional<double> sideSeconds(std::string_view side) {
  side = trim(side, isSpace);
  if (auto s = seconds(side)) return s;
  const std::string_view word = side.substr(0, std::min(side.size(), side.find_first_of(" \t")));
  if (word.size() != side.size())
    if (auto s = seconds(word)) return s;
  if (word.find_first_of(",.") == std::string_view::npos) return seconds(std::string(word) + ",0");
  return std::nullopt;
}

std::int64_t toFrames(double secs, const FrameRate& rate) {
  return roundHalfAway(secs * static_cast<double>(rate.num) / static_cast<double>(rate.den));
}

// "HH:MM:SS,mmm" with exactly two hour digits, minutes and seconds 00–59.
std::optional<std::int64_t> strictMilliseconds(std::string_view t) {
  if (t.size() != 12 || t[2] != ':' || t[5] != ':' || t[8] != ',') return std::nullopt;
  for (std::size_t i : {0, 1, 3, 4, 6, 7, 9, 10, 11})
    if (!isDigit(t[i])) return std::nullopt;
  if (t[3] > '5' || t[6] > '5') return std::nullopt;
  const auto two = [&](std::size_t i) { return (t[i] - '0') * 10 + (t[i + 1] - '0'); };
  return ((two(0) * 60 + two(3)) * 60 + two(6)) * 1000 + (t[9] - '0') * 100 + two(10);
}

// The strict time line; start and end in milliseconds.
std::optional<std::pair<std::int64_t, std::int64_t>> strictTimeLine(std::string_view line) {
  constexpr std::string_view arrow = " --> ";
  if (line.size() != 12 + arrow.size() + 12 || line.substr(12, arrow.size()) != arrow) return std::nullopt;
  const auto start = strictMilliseconds(line.substr(0, 12));
  const auto end = strictMilliseconds(line.substr(12 + arrow.size()));
  if (!start || !end) return std::nullopt;
  return std::pair{*start, *end};
}

// Built by appending: GCC 12 warns falsely on "x" + std::string&& (PR 105329).
std::string quoted(std::string_view line) {
  constexpr std::size_t kLimit = 120;
  std::string out = "\"";
  if (line.size() <= kLimit) {
    out.append(line);
  } else {
    std::size_t cut = kLimit;
    while (cut > 0 && (static_cast<unsigned char>(line[cut]) & 0xC0) == 0x80) --cut;  // whole characters only
    out.append(line.substr(0, cut));
    out.append("…");
  }
  out.push_back('"');
  return out;
}

}  // namespace

std::string stamp(double secs) {
  if (!(secs > 0)) secs = 0;      // also not-a-number
  secs = std::min(secs, 9.0e12);  // keeps the milliseconds in 64 bits
  const std::int64_t ms = roundHalfAway(secs * 1000);
  const std::int64_t hours = ms / 3600000;
  char rest[16];
  std::snprintf(rest, sizeof rest, ":%02d:%02d,%03d", static_cast<int>(ms / 60000 % 60),
                static_cast<int>(ms / 1000 % 60), static_cast<int>(ms % 1000));
  std::string out = hours < 10 ? "0" : "";
  out += std::to_string(hours);
  out += rest;
  return out;
}

std::optional<double> seconds(std::string_view text) {
  std::string t(trim(text, isSpace));
  std::replace(t.begin(), t.end(), '.', ',');
  const std::size_t comma = t.find(',');
  if (comma == std::string::npos || t.find(',', comma + 1) != std::string::npos) return std::nullopt;
  const auto ms = integer(std::string_view(t).substr(comma + 1));
  if (!ms) return std::nullopt;

  const std::string_view clock = std::string_view(t).substr(0, comma);
  const std::size_t c1 = clock.find(':');
  const std::size_t c2 = c1 == std::string_view::npos ? c1 : clock.find(':', c1 + 1);
  if (c2 == std::string_view::npos || clock.find(':', c2 + 1) != std::string_view::npos) return std::nullopt;
  const auto h = integer(clock.substr(0, c1));
  const auto m = integer(clock.substr(c1 + 1, c2 - c1 - 1));
  const auto s = integer(clock.substr(c2 + 1));
  if (!h || !m || !s) return std::nullopt;
  return static_cast<double>(*h) * 3600 + static_cast<double>(*m) * 60 + static_cast<double>(*s) +
         static_cast<double>(*ms) / 1000;
}

std::string make(const std::vector<Caption>& captions, const FrameRate& rate) {
  std::vector<const Caption*> sorted;
  sorted.reserve(captions.size());
  for (const Caption& caption : captions) sorted.push_back(&caption);
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const Caption* a, const Caption* b) { return a->start < b->start; });

  std::string out;
  out.reserve(captions.size() * 64);
  std::size_t number = 0;
  for (const Caption* caption : sorted) {
    out += std::to_string(++number);
    out += '\n';
    out += stamp(rate.seconds(caption->start));
    out += " --> ";
    out += stamp(rate.seconds(caption->end));
    out += '\n';
    const std::string text = normalised(trim(caption->text, isLineBreakOrSpace));
    for (const auto& lines : blocks(text, [](std::string_view line) { return trim(line, isSpace).empty(); })) {
      for (std::string_view line : lines) {
        out += line;
        out += '\n';
      }
    }
    out += '\n';
  }
  return out;
}

std::vector<Caption> parse(std::string_view text, const FrameRate& rate) {
  const std::string clean = normalised(text);
  std::vector<Caption> captions;
  const auto blank = [](std::string_view line) { return trim(line, isSpace).empty(); };
  for (const auto& lines : blocks(clean, blank)) {
    const auto timeLine = std::find_if(
        lines.begin(), lines.end(), [](std::string_view line) { return line.find("-->") != std::string_view::npos; });
    if (timeLine == lines.end()) continue;
    const std::size_t arrow = timeLine->find("-->");
    const auto start = sideSeconds(timeLine->substr(0, arrow));
    const auto end = sideSeconds(timeLine->substr(arrow + 3));
    if (!start || !end) continue;

    Caption caption;
    caption.id = Uuid::make();
    caption.start = toFrames(*start, rate);
    caption.end = toFrames(*end, rate);
    for (auto line = timeLine + 1; line != lines.end(); ++line) {
      if (!caption.text.empty()) caption.text += '\n';
      caption.text += *line;
    }
    captions.push_back(std::move(caption));
  }
  return captions;
}

std::vector<std::string> validate(std::string_view text) {
  const std::string clean = normalised(text);
  std::vector<std::string> problems;
  std::optional<std::int64_t> previousEnd;
  std::size_t number = 0;
  for (const auto& lines : blocks(clean, [](std::string_view line) { return line.empty(); })) {
    const std::string block = "block " + std::to_string(++number);
    if (lines.size() < 3) problems.push_back(block + ": fewer than 3 lines");
    if (lines[0] != std::to_string(number)) problems.push_back(block + ": number is " + quoted(lines[0]));
    if (lines.size() < 2) continue;

    if (const auto times = strictTimeLine(lines[1])) {
      const auto [start, end] = *times;
      if (start >= end) problems.push_back(block + ": start is not before end");
      if (previousEnd && start < *previousEnd) problems.push_back(block + ": overlaps the previous caption");
      previousEnd = end;
    } else {
      problems.push_back(block + ": bad time line " + quoted(lines[1]));
    }
    if (lines.size() >= 3 &&
        std::all_of(lines.begin() + 2, lines.end(), [](std::string_view line) { return trim(line, isSpace).empty(); }))
      problems.push_back(block + ": no text");
  }
  if (!clean.ends_with('\n')) problems.push_back("file does not end with a line break");
  return problems;
}

}  // namespace brevelan::SRT
