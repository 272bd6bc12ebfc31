#pragma once

#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace brevelan {

// Stored enumerations are written by their display text. Each enumeration
// specialises EnumTexts with its cases in stored order and a short noun used in
// error messages ("transition kind").
template <class E>
struct EnumTexts;

template <class E>
constexpr std::string_view text(E value) {
  for (const auto& [item, name] : EnumTexts<E>::items)
    if (item == value) return name;
  return {};
}

template <class E>
constexpr std::optional<E> fromText(std::string_view name) {
  for (const auto& [item, itemName] : EnumTexts<E>::items)
    if (itemName == name) return item;
  return std::nullopt;
}

}  // namespace brevelan
