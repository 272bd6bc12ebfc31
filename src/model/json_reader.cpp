#include "model/json_reader.h"

#include <cmath>
#include <limits>

namespace brevelan {

std::string DecodeError::describe() const {
  const std::string where = path.empty() ? std::string() : " (at " + path + ")";
  return detail + where;
}

std::string JsonReader::name() const {
  const auto dot = path_.find_last_of('.');
  std::string last = dot == std::string::npos ? path_ : path_.substr(dot + 1);
  return last.empty() ? "the top-level value" : "“" + last + "”";
}

void JsonReader::fail(DecodeError::Kind kind, std::string detail) const {
  throw DecodeFailure(DecodeError{kind, path_, std::move(detail)});
}

void JsonReader::wrongType(std::string_view expected) const {
  fail(DecodeError::Kind::wrongType, name() + " should be " + std::string(expected));
}

const nlohmann::json::object_t& JsonReader::object() const {
  if (!value_->is_object()) wrongType("an object");
  return value_->get_ref<const nlohmann::json::object_t&>();
}

const nlohmann::json::array_t& JsonReader::arrayValue() const {
  if (!value_->is_array()) wrongType("a list");
  return value_->get_ref<const nlohmann::json::array_t&>();
}

JsonReader JsonReader::operator[](std::string_view key) const {
  const auto& members = object();
  const std::string childPath = path_.empty() ? std::string(key) : path_ + "." + std::string(key);
  auto it = members.find(std::string(key));
  if (it == members.end())
    throw DecodeFailure(DecodeError{DecodeError::Kind::missingKey, path_,
                                    "the required value “" + std::string(key) + "” is missing"});
  return JsonReader(it->second, childPath);
}

std::optional<JsonReader> JsonReader::optional(std::string_view key) const {
  const auto& members = object();
  auto it = members.find(std::string(key));
  if (it == members.end() || it->second.is_null()) return std::nullopt;
  return JsonReader(it->second, path_.empty() ? std::string(key) : path_ + "." + std::string(key));
}

std::int64_t JsonReader::integer() const {
  if (value_->is_number_integer()) {
    if (value_->is_number_unsigned() &&
        value_->get<std::uint64_t>() > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
      wrongType("a whole number in range");
    return value_->get<std::int64_t>();
  }
  if (value_->is_number_float()) {
    // A whole number written with a fraction part (1.0) is still that number.
    const double d = value_->get<double>();
    if (std::isfinite(d) && std::trunc(d) == d && std::fabs(d) < 9.2e18) return static_cast<std::int64_t>(d);
  }
  wrongType("a whole number");
}

double JsonReader::number() const {
  if (!value_->is_number()) wrongType("a number");
  return value_->get<double>();
}

bool JsonReader::boolean() const {
  if (!value_->is_boolean()) wrongType("true or false");
  return value_->get<bool>();
}

std::string JsonReader::string() const {
  if (!value_->is_string()) wrongType("text");
  return value_->get<std::string>();
}

Uuid JsonReader::uuid() const {
  if (!value_->is_string()) wrongType("an identifier");
  const auto& text = value_->get_ref<const std::string&>();
  if (auto id = Uuid::parse(text)) return *id;
  fail(DecodeError::Kind::badValue, "“" + text + "” is not a valid identifier");
}

}  // namespace brevelan
