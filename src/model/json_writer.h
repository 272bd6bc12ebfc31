#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace brevelan {

// Writes JSON straight into a string, pretty-printed (two-space indent, one
// member per line) or compact. Callers write object members in sorted key order; the writer
// notes any member that breaks the order so tests can hold every encoder to it.
class JsonWriter {
 public:
  enum class Layout { pretty, compact };
  explicit JsonWriter(Layout layout = Layout::pretty) : pretty_(layout == Layout::pretty) {}

  void beginObject();
  void endObject();
  void beginArray();
  void endArray();

  // The next member's key; must be followed by exactly one value.
  JsonWriter& key(std::string_view name);

  void value(std::int64_t number);
  void value(int number) { value(static_cast<std::int64_t>(number)); }
  // Shortest text that reads back as the same double. Not-a-number and
  // infinities have no JSON form and are written as 0.
  void value(double number);
  void value(bool flag);
  // Invalid UTF-8 (a name from a foreign disk) is written as U+FFFD so the
  // document always reads back.
  void value(std::string_view text);
  void value(const char* text) { value(std::string_view(text)); }
  void value(const std::string& text) { value(std::string_view(text)); }

  bool keysInOrder() const { return keysInOrder_; }
  std::string take() { return std::move(out_); }

 private:
  struct Level {
    bool isObject = false;
    bool empty = true;
    std::string lastKey;
  };
  void beforeValue();
  void writeString(std::string_view text);
  void newline(std::size_t depth);
  void begin(char bracket, bool isObject);
  void end(char bracket);

  std::string out_;
  std::vector<Level> levels_;
  bool pretty_ = true;
  bool afterKey_ = false;
  bool keysInOrder_ = true;
};

}  // namespace brevelan
