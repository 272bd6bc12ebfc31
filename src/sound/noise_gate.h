#pragma once

#include <cstdint>
#include <span>

namespace brevelan {

// A peak-sensing gate with 1 ms opening, 30 ms hold and 40 ms closing. One
// object is one run: it starts closed and keeps its state across calls, so a
// buffer processed in pieces sounds the same as in one go. Allocates nothing.
class NoiseGate {
 public:
  explicit NoiseGate(double thresholdDB);

  // Gates frames from … to − 1 of an interleaved stereo buffer in place; the
  // range is cut to the buffer, and an empty range does nothing.
  void process(std::span<float> interleaved, std::int64_t from, std::int64_t to);

  double thresholdDB() const { return thresholdDB_; }

 private:
  double thresholdDB_;
  double open_;
  float envelope_ = 0;
  float gain_ = 0;
  std::int64_t hold_ = 0;
};

}  // namespace brevelan
