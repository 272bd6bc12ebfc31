#pragma once

#include <chrono>

namespace brevelan {

// A moment, kept as seconds since 1 January 2001 00:00:00 UTC (the project
// file's date form), with fraction.
struct Date {
  double secondsSince2001 = 0;

  // Seconds from the Unix epoch to 2001-01-01 00:00:00 UTC.
  static constexpr double kUnixOffset = 978307200.0;

  static Date now() {
    using namespace std::chrono;
    const double unix = duration<double>(system_clock::now().time_since_epoch()).count();
    return Date{unix - kUnixOffset};
  }
  double unixSeconds() const { return secondsSince2001 + kUnixOffset; }

  friend bool operator==(const Date&, const Date&) = default;
  friend auto operator<=>(const Date&, const Date&) = default;
};

}  // namespace brevelan
