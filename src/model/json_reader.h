#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "model/enum_text.h"
#include "model/uuid.h"

namespace brevelan {

// Why a JSON document does not decode into a record, and where.
struct DecodeError {
  enum class Kind { missingKey, wrongType, badValue };
  Kind kind = Kind::badValue;
  std::string path;    // e.g. sequences[0].video[1].clips[3].duration
  std::string detail;  // a phrase that completes "…because "

  // A clause such as: the value “duration” is missing (at sequences[0].video[1].clips[3])
  std::string describe() const;
};

// Reads typed values out of a JSON tree while keeping the path it is at, so a
// failure names the exact member. Failures are thrown as DecodeFailure and are
// meant to be caught once, at the entry of a decoder, and turned into a value.
class JsonReader {
 public:
  struct DecodeFailure : std::runtime_error {
    explicit DecodeFailure(DecodeError e) : std::runtime_error(e.detail), error(std::move(e)) {}
    DecodeError error;
  };

  JsonReader(const nlohmann::json& value, std::string path = {}) : value_(&value), path_(std::move(path)) {}

  const nlohmann::json& json() const { return *value_; }
  const std::string& path() const { return path_; }

  // A required member of an object.
  JsonReader operator[](std::string_view key) const;
  // An optional member: absent (or null) gives nothing.
  std::optional<JsonReader> optional(std::string_view key) const;

  // This value as an object; fails with wrongType otherwise.
  const nlohmann::json::object_t& object() const;

  std::int64_t integer() const;
  double number() const;
  bool boolean() const;
  std::string string() const;
  Uuid uuid() const;

  template <class E>
  E enumeration() const {
    std::string name = string();
    if (auto value = fromText<E>(name)) return *value;
    fail(DecodeError::Kind::badValue, "“" + name + "” is not a known " + std::string(EnumTexts<E>::noun));
  }

  // Each element of an array, decoded by read(JsonReader) in order.
  template <class Read>
  auto list(Read read) const -> std::vector<decltype(read(std::declval<JsonReader>()))> {
    std::vector<decltype(read(std::declval<JsonReader>()))> out;
    const auto& array = arrayValue();
    out.reserve(array.size());
    for (std::size_t i = 0; i < array.size(); ++i)
      out.push_back(read(JsonReader(array[i], path_ + "[" + std::to_string(i) + "]")));
    return out;
  }

  [[noreturn]] void fail(DecodeError::Kind kind, std::string detail) const;

 private:
  const nlohmann::json::array_t& arrayValue() const;
  [[noreturn]] void wrongType(std::string_view expected) const;
  std::string name() const;

  const nlohmann::json* value_;
  std::string path_;
};

}  // namespace brevelan
