#include "model/json_writer.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace brevelan {
namespace {

TEST(JsonWriter, PrettyPrintsNestedValuesAndNotesKeyOrder) {
  JsonWriter w;
  w.beginObject();
  w.key("a").beginArray();
  w.value(std::int64_t{1});
  w.value(0.1);
  w.endArray();
  w.key("b").beginObject();
  w.endObject();
  w.key("c").beginArray();
  w.endArray();
  w.endObject();
  EXPECT_TRUE(w.keysInOrder());
  EXPECT_EQ(w.take(), "{\n  \"a\": [\n    1,\n    0.1\n  ],\n  \"b\": {},\n  \"c\": []\n}");

  JsonWriter unordered;
  unordered.beginObject();
  unordered.key("b").value(true);
  unordered.key("a").value(false);
  unordered.endObject();
  EXPECT_FALSE(unordered.keysInOrder());
}

TEST(JsonWriter, TextAndNumbersAlwaysReadBack) {
  struct Case {
    std::string in;
    std::string readBack;
  };
  const Case cases[] = {
      {"quote \" and \\ backslash", "quote \" and \\ backslash"},
      {"tab\tnew\nline\x01", "tab\tnew\nline\x01"},
      {"ünïcode “curly” 🎬", "ünïcode “curly” 🎬"},
      {"latin-1 \xE9t\xE9", "latin-1 \xEF\xBF\xBDt\xEF\xBF\xBD"},  // invalid bytes become U+FFFD
      {"cut \xE2\x82", "cut \xEF\xBF\xBD\xEF\xBF\xBD"},             // a sequence cut short
      {"overlong \xC0\xAF", "overlong \xEF\xBF\xBD\xEF\xBF\xBD"},
      {"surrogate \xED\xA0\x80", "surrogate \xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
  };
  for (const auto& c : cases) {
    JsonWriter w;
    w.value(c.in);
    const std::string text = w.take();
    EXPECT_EQ(nlohmann::json::parse(text).get<std::string>(), c.readBack) << text;
  }
  for (double d : {0.1, 1.0 / 3.0, -1e-300, 1e300, -0.0}) {
    JsonWriter w;
    w.value(d);
    EXPECT_EQ(nlohmann::json::parse(w.take()).get<double>(), d);
  }
  JsonWriter w;
  w.value(std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(w.take(), "0");
}

}  // namespace
}  // namespace brevelan
