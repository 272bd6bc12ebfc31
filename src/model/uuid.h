#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace brevelan {

// A 128-bit identifier. Records refer to each other only through these.
// Text form is the canonical upper-case 8-4-4-4-12 hexadecimal.
class Uuid {
 public:
  constexpr Uuid() = default;
  explicit constexpr Uuid(const std::array<std::uint8_t, 16>& bytes) : bytes_(bytes) {}

  // A fresh random (version 4) identifier.
  static Uuid make();
  // Accepts upper or lower case; anything else than 8-4-4-4-12 hex gives nothing.
  static std::optional<Uuid> parse(std::string_view text);

  std::string str() const;
  const std::array<std::uint8_t, 16>& bytes() const { return bytes_; }
  bool isNil() const;

  friend bool operator==(const Uuid&, const Uuid&) = default;
  friend auto operator<=>(const Uuid&, const Uuid&) = default;

 private:
  std::array<std::uint8_t, 16> bytes_{};
};

}  // namespace brevelan

template <>
struct std::hash<brevelan::Uuid> {
  std::size_t operator()(const brevelan::Uuid& id) const noexcept {
    std::uint64_t h = 1469598103934665603ull;
    for (auto b : id.bytes()) h = (h ^ b) * 1099511628211ull;
    return static_cast<std::size_t>(h);
  }
};
