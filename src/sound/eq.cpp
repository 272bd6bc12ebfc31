#include "sound/eq.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numbers>

// Every multiply and add rounds on its own, as written, on every processor:
// the functions here are built for several instruction sets, and fusing
// multiply-adds on some would make the sound depend on the machine, and on
// how the compiler happened to arrange each copy of a loop.
#pragma GCC optimize("fp-contract=off")

namespace brevelan {
namespace {

constexpr double kSampleRate = 48000;
constexpr double kPassThroughFrom = 23520;  // 98% of Nyquist

// Third-octave ISO centres from 20 Hz to 20 kHz.
constexpr std::array<double, 31> kThirtyOne{20,   25,   31.5, 40,   50,   63,   80,    100,   125,   160,  200,
                                            250,  315,  400,  500,  630,  800,  1000,  1250,  1600,  2000, 2500,
                                            3150, 4000, 5000, 6300, 8000, 10000, 12500, 16000, 20000};

// Four lanes of one step of the chain (see EQChain::process), the same lanes
// as the 32-bit samples they read and write, and as a mask of active lanes.
using Quad = double __attribute__((vector_size(32)));
using Quarter = float __attribute__((vector_size(16)));
using QuadMask = std::int64_t __attribute__((vector_size(32)));

// Frames between the two halves of the chain (see EQChain::process): more
// than the first half's own delay of up to four frames, so that its output is
// stored before the second half reads it, with room for the stores to land;
// few enough that the ends of a piece, where lanes idle, stay cheap.
constexpr std::ptrdiff_t kLag = 16;
static_assert(kLag > 4);

struct Lanes {
  std::array<Quad, 5> z1, z2, b0, b1, b2, a1, a2;
};

// One piece of `frames` frames through `slots` slots. At step n, slot g works
// on frame n − g (lanes 0–1) and frame n − kLag − g (lanes 2–3): a slot takes
// the sample its predecessor made in the step before, so within a step the
// slots are independent and only each band's own recursion is serial. Steps
// near the ends of the piece, where some lanes have no frame, run with masks
// that leave those lanes' state untouched; every frame sees the same lane
// arithmetic either way, so pieces give the samples of the whole. The slot
// count is fixed at compile time so that the state lives in registers.
template <std::size_t slots, bool paired>
[[gnu::always_inline]] inline void runSlots(Lanes& l, float* s, std::ptrdiff_t frames) {
  constexpr auto last = static_cast<std::ptrdiff_t>(slots) - 1;
  std::array<Quad, slots> z1, z2, in{};
  for (std::size_t g = 0; g < slots; ++g) z1[g] = l.z1[g], z2[g] = l.z2[g];

  const auto at = [&](std::ptrdiff_t frame) { return 0 <= frame && frame < frames; };
  const auto step = [&]<bool masked>(std::ptrdiff_t n) {
    // Sample indices of the frames entering slot 0 and leaving the last slot.
    const std::ptrdiff_t p = 2 * n, q = 2 * (n - kLag), u = p - 2 * last, v = q - 2 * last;
    if constexpr (masked) {
      const bool first = at(n), second = paired && at(n - kLag);
      in[0] = Quad{first ? s[p] : 0.0f, first ? s[p + 1] : 0.0f, second ? s[q] : 0.0f, second ? s[q + 1] : 0.0f};
    } else if constexpr (paired) {
      in[0] = Quad{s[p], s[p + 1], s[q], s[q + 1]};
    } else {
      in[0] = Quad{s[p], s[p + 1], 0.0f, 0.0f};
    }
    Quarter out{};
    for (std::size_t g = slots; g-- > 0;) {
      const Quad x = in[g];
      const Quad y = l.b0[g] * x + z1[g];
      const Quad n1 = z2[g] + l.b1[g] * x - l.a1[g] * y;
      const Quad n2 = l.b2[g] * x - l.a2[g] * y;
      if constexpr (masked) {
        const auto k = static_cast<std::ptrdiff_t>(g);
        const std::int64_t first = at(n - k) ? -1 : 0, second = paired && at(n - kLag - k) ? -1 : 0;
        const QuadMask on{first, first, second, second};
        z1[g] = on ? n1 : z1[g];
        z2[g] = on ? n2 : z2[g];
      } else {
        z1[g] = n1;
        z2[g] = n2;
      }
      // Each band hands on a 32-bit sample, as a stored buffer would.
      const Quarter f = __builtin_convertvector(y, Quarter);
      if (g == slots - 1)
        out = f;
      else  // widened element by element: GCC 12 splits __builtin_convertvector here in two
        in[g + 1] = Quad{f[0], f[1], f[2], f[3]};
    }
    if (!masked || at(n - last)) s[u] = out[0], s[u + 1] = out[1];
    if (paired && (!masked || at(n - kLag - last))) s[v] = out[2], s[v + 1] = out[3];
  };

  // Every lane of every slot has a frame from step kLag + last to step frames − 1.
  const std::ptrdiff_t full = paired ? kLag + last : last;
  const std::ptrdiff_t end = frames + (paired ? kLag : 0) + last;
  std::ptrdiff_t n = 0;
  for (; n < std::min(full, end); ++n) step.template operator()<true>(n);
  for (; n < frames; ++n) step.template operator()<false>(n);
  for (; n < end; ++n) step.template operator()<true>(n);
  for (std::size_t g = 0; g < slots; ++g) l.z1[g] = z1[g], l.z2[g] = z2[g];
}

template <std::size_t slots>
[[gnu::always_inline]] inline void runPiece(Lanes& l, float* s, std::ptrdiff_t frames, bool paired) {
  if (paired)
    runSlots<slots, true>(l, s, frames);
  else
    runSlots<slots, false>(l, s, frames);
}

}  // namespace

BiquadCoef peakingCoef(double frequency, double gainDB) {
  if (frequency >= kPassThroughFrom) return {};
  const double gain = std::clamp(gainDB, -12.0, 12.0);
  const double a = std::pow(10.0, gain / 40);
  const double w = 2 * std::numbers::pi * frequency / kSampleRate;
  const double alpha = std::sin(w) / 2.82;
  const double n = 1 + alpha / a;
  BiquadCoef k;
  k.b0 = (1 + alpha * a) / n;
  k.b1 = -2 * std::cos(w) / n;
  k.b2 = (1 - alpha * a) / n;
  k.a1 = k.b1;
  k.a2 = (1 - alpha / a) / n;
  return k;
}

EQChain::EQChain(std::span<const double> gains) {
  const std::size_t bands = std::min(gains.size(), kEQFrequencies.size());
  for (std::size_t i = 0; i < bands; ++i) {
    // A NaN gain would poison every later sample; treat it as off.
    if (!std::isfinite(gains[i]) || std::abs(gains[i]) <= 0.01) continue;
    bands_[count_++] = peakingCoef(kEQFrequencies[i], gains[i]);
  }
}

// Every active band in one pass over the frames. A band's recursion is
// serial, and one band of one channel pair per step would leave the vector
// units idle, so the bands are split into two halves that run side by side in
// one four-lane value (lanes 0–1 left and right of the first half, lanes 2–3
// of the second, kLag frames behind and reading what the first half wrote),
// and within a half each band works one frame behind the band before it (see
// runSlots). Each band still sees exactly the float samples the band before
// it wrote, as if the bands ran one after the other.
// Built twice on x86-64 with GCC: for processors with AVX2 (one register
// holds all four lanes) and for the baseline; the loader picks one. Both give
// the same samples.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
__attribute__((target_clones("arch=x86-64-v3", "default")))
#endif
void EQChain::process(std::span<float> interleaved) {
  const auto frames = static_cast<std::ptrdiff_t>(interleaved.size() / 2);
  if (count_ == 0 || frames < 1) return;
  Lanes l{};
  const std::size_t half = (count_ + 1) / 2;  // the first half's bands; the second has count_ − half
  for (std::size_t g = 0; g < half; ++g) {
    // A second-half slot without a band passes its input through untouched.
    const std::size_t k = half + g;
    const bool paired = k < count_;
    const BiquadCoef a = bands_[g];
    const BiquadCoef b = paired ? bands_[k] : BiquadCoef{};
    l.z1[g] = Quad{z1l_[g], z1r_[g], paired ? z1l_[k] : 0, paired ? z1r_[k] : 0};
    l.z2[g] = Quad{z2l_[g], z2r_[g], paired ? z2l_[k] : 0, paired ? z2r_[k] : 0};
    l.b0[g] = Quad{a.b0, a.b0, b.b0, b.b0};
    l.b1[g] = Quad{a.b1, a.b1, b.b1, b.b1};
    l.b2[g] = Quad{a.b2, a.b2, b.b2, b.b2};
    l.a1[g] = Quad{a.a1, a.a1, b.a1, b.a1};
    l.a2[g] = Quad{a.a2, a.a2, b.a2, b.a2};
  }
  float* s = interleaved.data();
  const bool paired = count_ > 1;
  switch (half) {
    case 1: runPiece<1>(l, s, frames, paired); break;
    case 2: runPiece<2>(l, s, frames, paired); break;
    case 3: runPiece<3>(l, s, frames, paired); break;
    case 4: runPiece<4>(l, s, frames, paired); break;
    default: runPiece<5>(l, s, frames, paired); break;
  }
  for (std::size_t g = 0; g < half; ++g) {
    z1l_[g] = l.z1[g][0];
    z1r_[g] = l.z1[g][1];
    z2l_[g] = l.z2[g][0];
    z2r_[g] = l.z2[g][1];
    if (const std::size_t k = half + g; k < count_) {
      z1l_[k] = l.z1[g][2];
      z1r_[k] = l.z1[g][3];
      z2l_[k] = l.z2[g][2];
      z2r_[k] = l.z2[g][3];
    }
  }
}

void applyEQ(std::span<const double> gains, std::span<float> interleaved) { EQChain(gains).process(interleaved); }

std::span<const double> eqFrequencies(EQMode mode) {
  if (mode == EQMode::thirtyOne) return kThirtyOne;
  return kEQFrequencies;
}

std::string eqLabel(double frequency) {
  char text[48];
  if (frequency >= 1000) {
    const double k = frequency / 1000;
    if (k == std::floor(k))
      std::snprintf(text, sizeof text, "%lldk", static_cast<long long>(k));
    else
      std::snprintf(text, sizeof text, "%.1fk", k);
  } else if (frequency == std::floor(frequency)) {
    std::snprintf(text, sizeof text, "%lld", static_cast<long long>(frequency));
  } else {
    std::snprintf(text, sizeof text, "%.1f", frequency);
  }
  return text;
}

}  // namespace brevelan
