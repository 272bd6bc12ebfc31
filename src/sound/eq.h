#pragma once

#include <array>
#include <span>
#include <string>

namespace brevelan {

// One second-order section, normalised so that a0 = 1.
struct BiquadCoef {
  double b0 = 1;
  double b1 = 0;
  double b2 = 0;
  double a1 = 0;
  double a2 = 0;
};

// Centre frequencies of the clip EQ, band 0 first.
inline constexpr std::array<double, 10> kEQFrequencies{31, 62, 125, 250, 500, 1000, 2000, 4000, 8000, 16000};

// Peaking section at 48 000 Hz with Q = 1.41; the gain is clamped to ±12 dB.
// Bands at or above 98% of Nyquist pass the sound through.
BiquadCoef peakingCoef(double frequency, double gainDB);

// The ten-band EQ as one run over consecutive pieces of a stereo stream: the
// state carries from piece to piece, so processing a buffer in pieces gives
// exactly the samples of processing it whole. Band i uses gains[i]; missing
// bands and gains within ±0.01 dB are skipped, leaving the samples
// bit-identical. Allocates nothing.
class EQChain {
 public:
  explicit EQChain(std::span<const double> gains);

  bool active() const { return count_ > 0; }
  void process(std::span<float> interleaved);

 private:
  std::array<BiquadCoef, 10> bands_{};
  std::size_t count_ = 0;
  // z1, z2 of each band for left and right.
  std::array<double, 10> z1l_{}, z1r_{}, z2l_{}, z2r_{};
};

// The ten-band EQ over a whole interleaved stereo buffer, in place, from a
// fresh state.
void applyEQ(std::span<const double> gains, std::span<float> interleaved);

// Band layouts of the equaliser. Only `ten` drives the clip EQ.
enum class EQMode { ten, thirtyOne };

std::span<const double> eqFrequencies(EQMode mode);
// "31", "125", "1k", "16k", "31.5k", "12.5": how a band frequency reads on screen.
std::string eqLabel(double frequency);

}  // namespace brevelan
