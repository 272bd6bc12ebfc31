#pragma once

#include <cstdint>
#include <span>

namespace brevelan {

// A hard-knee, peak-sensing, stereo-linked compressor with 5 ms attack and
// 80 ms release. The makeup gain applies to every frame. One object is one
// run, fresh at construction; it allocates nothing.
class Compressor {
 public:
  // Ratios below 1 (or not a number) act as 1:1.
  Compressor(double thresholdDB, double ratio, double makeupDB);

  // Compresses frames from … to − 1 of an interleaved stereo buffer in place.
  void process(std::span<float> interleaved, std::int64_t from, std::int64_t to);

 private:
  double thresholdDB_;
  double makeupDB_;
  double slope_;
  float envelope_ = 0;
  float reductionDB_ = 0;
};

}  // namespace brevelan
