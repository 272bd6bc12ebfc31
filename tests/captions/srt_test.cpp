#include "captions/srt.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "captions/text_encoding.h"
#include "model/rounding.h"
#include "support/temp_dir.h"

namespace brevelan {
namespace {

const FrameRate k30{30, 1};

Caption caption(std::int64_t start, std::int64_t end, std::string text) {
  return Caption{Uuid::make(), start, end, std::move(text)};
}

TEST(SRT, WritesAndReadsStamps) {
  const struct {
    double seconds;
    const char* text;
  } stamps[] = {
      {3723.5, "01:02:03,500"},  {-1, "00:00:00,000"},      {0.0005, "00:00:00,001"},       {0.0004, "00:00:00,000"},
      {59.9996, "00:01:00,000"}, {360000, "100:00:00,000"}, {std::nan(""), "00:00:00,000"},
  };
  for (const auto& c : stamps) EXPECT_EQ(SRT::stamp(c.seconds), c.text) << c.seconds;

  const struct {
    const char* text;
    std::optional<double> seconds;
  } times[] = {
      {"00:00:01.500", 1.5},            {"00:00:01,5", 1.005},         {" 01:02:03,500 ", 3723.5},
      {"0:0:7,560", 7.56},              {"123:00:00,000", 442800},     {"00:00:01", std::nullopt},
      {"00:00:01,000,1", std::nullopt}, {"a:00:01,000", std::nullopt}, {"-1:00:00,000", std::nullopt},
      {"", std::nullopt},
  };
  for (const auto& c : times) {
    const auto read = SRT::seconds(c.text);
    ASSERT_EQ(read.has_value(), c.seconds.has_value()) << c.text;
    EXPECT_NEAR(read.value_or(0), c.seconds.value_or(0), 1e-9) << c.text;
  }
}

TEST(SRT, MakeSortsNumbersAndTrimsAndRoundTrips) {
  EXPECT_EQ(SRT::make({caption(60, 90, "Second"), caption(0, 45, "  First\nline two \n\n")}, k30),
            "1\n00:00:00,000 --> 00:00:01,500\nFirst\nline two\n\n"
            "2\n00:00:02,000 --> 00:00:03,000\nSecond\n\n");

  std::mt19937 rng(5);
  std::vector<Caption> captions;
  std::int64_t at = 0;
  for (int i = 0; i < 200; ++i) {
    at += static_cast<std::int64_t>(rng() % 90);
    const std::string text = "Line " + std::to_string(i) + (i % 3 ? "\nsecond — ünï" : "");
    captions.push_back(caption(at, at + 1 + static_cast<std::int64_t>(rng() % 200), text));
  }
  for (const FrameRate& rate : {k30, FrameRate{30000, 1001}, FrameRate{24, 1}, FrameRate{60000, 1001}}) {
    const std::string text = SRT::make(captions, rate);
    const std::vector<Caption> read = SRT::parse(text, rate);
    ASSERT_EQ(read.size(), captions.size());
    for (std::size_t i = 0; i < read.size(); ++i)
      EXPECT_EQ(std::tie(read[i].start, read[i].end, read[i].text),
                std::tie(captions[i].start, captions[i].end, captions[i].text));
    EXPECT_EQ(SRT::make(read, rate), text);
  }
}

TEST(SRT, ParseReadsWhatItCanAndSkipsTheRest) {
  const std::string strict =
      "1\n00:00:01,000 --> 00:00:02,000\nHello\nthere\n\n2\n00:00:03,000 --> 00:00:04,000\nBye\n";
  std::string crlf;
  for (char c : strict) crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
  std::string bareCR = strict;
  std::replace(bareCR.begin(), bareCR.end(), '\n', '\r');
  for (const std::string& text : {strict, crlf, bareCR, "\xEF\xBB\xBF" + strict}) {
    const auto read = SRT::parse(text, k30);
    ASSERT_EQ(read.size(), 2u);
    EXPECT_EQ(std::tie(read[0].start, read[0].end, read[0].text), std::make_tuple(30, 60, "Hello\nthere"));
    EXPECT_EQ(read[1].text, "Bye");
  }

  const auto read = SRT::parse(
      "no time here\n\n"
      "7\n00:00:01,000 --> soon\nUnreadable\n\n"
      "8\n00:00:05,000 --> 00:00:06,000\n\n"                       // no text: read with empty text
      "00:00:07.250 --> 00:00:08,000 X1:40 X2:600\nNo number\n\n"  // position words after the end
      "00:00:09 --> 00:00:10,5\nWhole seconds\n",
      k30);
  ASSERT_EQ(read.size(), 3u);
  EXPECT_EQ(std::tie(read[0].start, read[0].text), std::make_tuple(150, ""));
  EXPECT_EQ(std::tie(read[1].start, read[1].text), std::make_tuple(roundHalfAway(7.25 * 30), "No number"));
  EXPECT_EQ(std::tie(read[2].start, read[2].end), std::make_tuple(270, roundHalfAway(10.005 * 30)));
}

TEST(SRT, ValidateWordsEachProblem) {
  using Problems = std::vector<std::string>;
  const struct {
    std::string text;
    Problems problems;
  } cases[] = {
      {"1\n00:00:02,000 --> 00:00:01,000\nBackwards\n\n3\n00:00:00,500 --> 00:00:00,900\nOverlap\n",
       {"block 1: start is not before end", "block 2: number is \"3\"", "block 2: overlaps the previous caption"}},
      {"", {"file does not end with a line break"}},
      {"1\n00:00:01,000 --> 00:00:02,000\nFine\n\n", {}},
      {"1\r\n00:00:01,000 --> 00:00:02,000\r\nFine\r\n", {}},
      {"1\n00:00:01,000 --> 00:00:02,000\n", {"block 1: fewer than 3 lines"}},
      {"1\n00:00:01,000 --> 00:00:02,000\n   \n", {"block 1: no text"}},
      {"1\n0:00:01,000 --> 00:00:02,000\nOne hour digit\n",
       {"block 1: bad time line \"0:00:01,000 --> 00:00:02,000\""}},
      {"1\n00:60:01,000 --> 00:00:02,000\nMinutes\n", {"block 1: bad time line \"00:60:01,000 --> 00:00:02,000\""}},
  };
  for (const auto& c : cases) EXPECT_EQ(SRT::validate(c.text), c.problems) << c.text;
}

TEST(SRT, BadInputNeverBreaksAnything) {
  std::mt19937 rng(17);
  std::string garbage(1 << 16, '\0');
  for (char& c : garbage) c = static_cast<char>(rng());
  const std::string text = decodeSubtitleText(garbage);
  EXPECT_TRUE(isValidUTF8(text));
  (void)SRT::parse(text, k30);
  (void)SRT::validate(text);

  EXPECT_TRUE(SRT::parse("", k30).empty());
  const std::string oneLine(100u << 20, 'x');
  EXPECT_TRUE(SRT::parse(oneLine, k30).empty());
  const auto problems = SRT::validate(oneLine);
  ASSERT_EQ(problems.size(), 3u);
  EXPECT_LT(problems[1].size(), 200u);  // the quoted line is cut short
}

TEST(SubtitleText, DecodesWhatTheBytesAre) {
  const std::string bom = "\xEF\xBB\xBF";
  const struct {
    std::string bytes;
    std::string text;
  } cases[] = {
      {"plain ü", "plain ü"},
      {bom + "bom", "bom"},
      {std::string("\xFF\xFEh\0i\0\xAC\x20", 8), "hi€"},
      {std::string("\xFE\xFF\0h\0i\xD8\x3D\xDE\x00", 10), "hi😀"},
      {std::string("1\0\n\0x\0y\0", 8), "1\nxy"},                        // UTF-16 without its mark
      {"caf\xE9 \x93quoted\x94 \x80", "café “quoted” €"},                // Windows-1252
      {bom + "a\xFF" + "b", std::string("a\xEF\xBF\xBD") + "b"},         // broken UTF-8 after a mark
  };
  for (const auto& c : cases) EXPECT_EQ(decodeSubtitleText(c.bytes), c.text);
}

// Real files from other programs; each is read as far as its content allows.
TEST(SRT, SharedSampleFiles) {
  const std::filesystem::path folder = std::filesystem::path(BREVELAN_SHARED_DIR) / "testdata" / "srt";
  if (!std::filesystem::is_directory(folder)) GTEST_SKIP() << "no shared test data at " << folder;

  const std::map<std::string, std::size_t> expected{
      {"astisub_carriage-return-only.srt", 3},     {"astisub_missing-sequence.srt", 6},
      {"astisub_styled-no-final-newline.srt", 10}, {"astisub_utf16le-mixed-separators.srt", 6},
      {"srt_monsters-bad-order.srt", 3},           {"srt_monsters-win-crlf.srt", 3},
      {"srtparser2_dot-as-separator.srt", 2},      {"srtparser2_dot-two-digit-fraction.srt", 3},
      {"srtparser2_single-digit-hour.srt", 3},     {"srtparser2_single-digit-timecodes.srt", 7},
  };
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    const std::string text = decodeSubtitleText(testing::readFile(entry.path()));
    EXPECT_TRUE(isValidUTF8(text)) << name;
    const auto captions = SRT::parse(text, k30);
    (void)SRT::validate(text);
    ++files;
    EXPECT_GE(captions.size(), expected.contains(name) ? expected.at(name) : 0u) << name;
    for (const Caption& c : captions) EXPECT_GE(c.start, 0) << name;
    if (name == "astisub_utf16le-mixed-separators.srt" && captions.size() >= 2) {
      EXPECT_EQ(captions[1].text, "MAN:\nHow did we end up here?");
    }
  }
  EXPECT_GT(files, 0);
}

}  // namespace
}  // namespace brevelan
