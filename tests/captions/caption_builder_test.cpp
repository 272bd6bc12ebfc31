#include "captions/caption_builder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace brevelan {
namespace {

const FrameRate k30{30, 1};

std::vector<std::string> texts(const std::vector<Caption>& captions) {
  std::vector<std::string> out;
  for (const Caption& c : captions) out.push_back(c.text);
  return out;
}

TEST(CaptionBuilder, BreaksAtPausesLengthAndSpan) {
  using Lines = std::vector<std::string>;
  const struct {
    const char* what;
    std::vector<TimedWord> words;
    Lines lines;
  } cases[] = {
      {"a pause of exactly 0.7 s stays", {{"one", 0, 0.3}, {"two", 1.0, 0.5}}, {"one two"}},
      {"a pause of 0.71 s breaks", {{"one", 0, 0.3}, {"two", 1.01, 0.5}}, {"one", "two"}},
      {"42 characters fit, 43 do not",
       {{std::string(20, 'a'), 0, 0.1}, {std::string(21, 'b'), 0.1, 0.1}, {"c", 0.2, 0.1}},
       {std::string(20, 'a').append(" ").append(21, 'b'), "c"}},
      {"characters, not bytes",
       {{std::string(20, 'a'), 0, 0.1}, {std::string("ü").append(20, 'b'), 0.1, 0.1}},
       {std::string(20, 'a').append(" ü").append(20, 'b')}},
      {"a span of 5 s fits, more does not",
       {{"a", 0, 0.5}, {"b", 0.9, 0.5}, {"c", 1.8, 0.5}, {"d", 2.7, 0.5}, {"e", 3.6, 0.5}, {"f", 4.5, 0.5},
        {"g", 5.0, 0.3}},
       {"a b c d e f", "g"}},
      {"no words, no lines", {}, {}},
  };
  for (const auto& c : cases) EXPECT_EQ(texts(CaptionBuilder::lines(c.words, k30)), c.lines) << c.what;
}

TEST(CaptionBuilder, TimesLinesInFramesWithAMinimumForTheLastWord) {
  // A word of 0.05 s stays 0.2 s: round(0.2 × 30) = 6 frames.
  auto lines = CaptionBuilder::lines({{"Hi", 0, 0.05}}, k30);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].start, 0);
  EXPECT_EQ(lines[0].end, 6);

  lines = CaptionBuilder::lines({{"So", 2.0, 0.3}, {"long", 2.4, 1.0}}, FrameRate{30000, 1001}, 100);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].start, 100 + 60);  // round(2.0 × 29.97) = 60
  EXPECT_EQ(lines[0].end, 100 + 102);   // round(3.4 × 29.97) = 102

  // A zero-length word still gives a caption of at least one frame.
  lines = CaptionBuilder::lines({{"x", 1.0, 0}}, FrameRate{1, 1});
  EXPECT_EQ(lines[0].end - lines[0].start, 1);
}

}  // namespace
}  // namespace brevelan
