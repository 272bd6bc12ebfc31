// Mixer::addClip: one clip's sound, from its source samples through speed,
// effects, level, fades, crossfades and pan into a track buffer.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <numbers>

#include "sound/compressor.h"
#include "sound/eq.h"
#include "sound/mixer.h"
#include "sound/noise_gate.h"

// Every multiply and add rounds on its own, as written, on every processor:
// the functions here are built for several instruction sets, and fusing
// multiply-adds on some would make the sound depend on the machine, and on
// how the compiler happened to arrange each copy of a loop.
#pragma GCC optimize("fp-contract=off")

namespace brevelan {
namespace {

constexpr std::int64_t kBlock = 32;    // frames that share one gain and pan
constexpr std::int64_t kChunk = 1024;  // frames carried through the chain at once (a whole number of blocks)
constexpr double kRate = Mixer::kRate;

// Four sample positions at once: the arithmetic of one position, lane by lane.
using Doubles = double __attribute__((vector_size(32)));
using Fractions = float __attribute__((vector_size(16)));

// Where, in source sample frames, samples of the sequence read: sample s is
// u = s·framesPerSample − startFrame frames into the clip, which has read q(u)
// source frames by then. NaN-free settings give finite answers; the caller
// treats anything else as silence.
struct SpeedMap {
  double framesPerSample, startFrame, duration, rate, rampPerFrame, consumed, sourceIn, samplesPerFrame;
  bool ramp, reverse;
};

// For samples s0 … s0 + n − 1 (n a multiple of 4): the whole source frame at
// or before the position (−2 where the position is out of the source, or not
// a number) and the fraction past it (0 there). Positions are computed four
// at a time; they cost more than the rest of reading.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
__attribute__((target_clones("arch=x86-64-v3", "default")))
#endif
void sourcePositions(const SpeedMap& settings, std::int64_t last, std::int64_t s0, std::size_t n, double* whole,
                     float* fraction) {
  const SpeedMap map = settings;  // a copy the stores below cannot touch, held in registers
  const double end = static_cast<double>(last) + 1.0;
  const auto first = static_cast<double>(s0);
  Doubles at{first, first + 1, first + 2, first + 3};  // whole numbers: exact as they count up
  for (std::size_t k = 0; k < n; k += 4, at += 4.0) {
    // Multiplications only: a division per position costs more than all the rest.
    const Doubles u = at * map.framesPerSample - map.startFrame;
    Doubles c = u < 0.0 ? Doubles{} : u;
    c = map.duration < c ? Doubles{} + map.duration : c;
    Doubles q = map.rate * c;
    if (map.ramp) q += c * c * map.rampPerFrame;
    q += map.rate * (u - c);  // the transition extensions run on at the base rate
    if (map.reverse) q = map.consumed - q;
    const Doubles y = (map.sourceIn + q) * map.samplesPerFrame;
    // Nearest whole number by the magic-number trick (|y| < 2^51 wherever it
    // counts), then down to the floor.
    const Doubles r = (y + 6755399441055744.0) - 6755399441055744.0;
    const Doubles floor = r > y ? r - 1.0 : r;
    const auto inside = (y > -1.0) & (y < end);
    const Doubles w = inside ? floor : Doubles{} - 2.0;
    const Doubles f = inside ? y - floor : Doubles{};
    const auto g = __builtin_convertvector(f, Fractions);
    std::memcpy(whole + k, &w, sizeof w);
    std::memcpy(fraction + k, &g, sizeof g);
  }
}

void readSource(const PCMSource& src, const SpeedMap& map, std::int64_t s0, std::int64_t s1, float* out) {
  const float* data = src.data.data();
  const auto last = std::min<std::int64_t>(src.frames, static_cast<std::int64_t>(src.data.size() / 2)) - 1;
  const auto n = static_cast<std::size_t>(s1 - s0);
  std::array<double, kChunk> whole;
  std::array<float, kChunk> fraction;
  sourcePositions(map, last, s0, (n + 3) / 4 * 4, whole.data(), fraction.data());
  const auto sample = [&](std::int64_t i, int ch) -> float {
    return i >= 0 && i <= last ? data[2 * i + ch] : 0.0f;
  };
  for (std::size_t k = 0; k < n; ++k, out += 2) {
    const auto i = static_cast<std::int64_t>(whole[k]);
    const float f = fraction[k];
    if (i >= 0 && i < last) {
      const float* p = data + 2 * i;
      out[0] = p[0] + (p[2] - p[0]) * f;
      out[1] = p[1] + (p[3] - p[1]) * f;
    } else {
      for (int ch = 0; ch < 2; ++ch) {
        const float a = sample(i, ch);
        out[ch] = a + (sample(i + 1, ch) - a) * f;
      }
    }
  }
}

}  // namespace

void Mixer::addClip(const Clip& clip, const Clip* prev, const Clip* next, const BrevSequence& seq,
                    std::span<float> into, std::int64_t from, std::int64_t count, int depth) const {
  addClip(clip, prev, next, seq, into, from, count, depth, Balance{});
}

void Mixer::addClip(const Clip& clip, const Clip* prev, const Clip* next, const BrevSequence& seq,
                    std::span<float> into, std::int64_t from, std::int64_t count, int depth, Balance balance) const {
  count = std::min(count, static_cast<std::int64_t>(into.size() / 2));
  if (!clip.enabled || clip.audio->muted || count <= 0) return;
  const AudioFX& fx = *clip.audio;

  // Transition extensions: half the transition before the cut, half after.
  const bool headFade = prev && clip.transitionIn && prev->start + prev->duration == clip.start;
  const std::int64_t d = headFade ? clip.transitionIn->duration : 0;
  const std::int64_t h = d / 2;
  const bool tailFade = next && next->transitionIn && next->start == clip.start + clip.duration;
  const std::int64_t e = tailFade ? next->transitionIn->duration : 0;
  const std::int64_t t = e - e / 2;

  const std::int64_t s0 = Mixer::sampleAt(seq.rate, clip.start - h);
  const std::int64_t s1 = Mixer::sampleAt(seq.rate, clip.start + clip.duration + t);
  const std::int64_t lo = std::max(s0, from);
  const std::int64_t hi = std::min(from + count, s1);
  if (lo >= hi) return;
  std::shared_ptr<const PCMSource> src = source(clip, depth);
  if (!src) return;

  // The effects carry state from the clip's first sample, so with any of them
  // on the clip is rendered from s0 and sounds the same wherever playback
  // starts. Without them, rendering starts at the block that holds the window.
  // Blocks count from s0 whatever the window, so a sample's gain never depends
  // on where rendering began.
  const bool effects = fx.eqOn || fx.gateOn || fx.compOn;
  const std::int64_t r0 = effects ? s0 : s0 + (lo - s0) / kBlock * kBlock;

  const double fps = static_cast<double>(seq.rate.num) / static_cast<double>(seq.rate.den);
  const double clipStart = static_cast<double>(seq.rate.den) * static_cast<double>(clip.start) /
                           static_cast<double>(seq.rate.num);
  const auto duration = static_cast<double>(clip.duration);
  const SpeedSettings& sp = clip.speed;
  // A ramp from rate to rampTo over the clip has read rate·c + (rampTo − rate)·c²/(2·duration) at c.
  const SpeedMap map{fps / kRate,
                     fps * clipStart,
                     duration,
                     sp.rate,
                     sp.rampTo ? (*sp.rampTo - sp.rate) / (2 * duration) : 0.0,
                     static_cast<double>(sp.consumed(clip.duration)),
                     static_cast<double>(clip.sourceIn),
                     kRate / fps,
                     sp.rampTo.has_value() && clip.duration >= 1,
                     sp.reverse};

  EQChain eq(fx.eqOn ? std::span<const double>(fx.eq) : std::span<const double>());
  NoiseGate gate(fx.gateThresholdDB);
  Compressor compressor(fx.compThresholdDB, fx.compRatio, fx.compMakeupDB);

  const double halfD = static_cast<double>(d / 2);
  const double outFrom = duration - static_cast<double>(e / 2);
  const auto levelAt = [&](std::int64_t b, float& left, float& right) {
    const double v = fps * (static_cast<double>(b) / kRate - clipStart);
    const double dB = fx.gainDB + fx.volumeKeys.value(v, 0);
    double g = dB < -90 ? 1e-10 : std::pow(10.0, dB / 20);
    if (fx.fadeIn >= 1 && v < static_cast<double>(fx.fadeIn)) g *= std::max(v / static_cast<double>(fx.fadeIn), 0.0);
    if (fx.fadeOut >= 1 && v > duration - static_cast<double>(fx.fadeOut))
      g *= std::max(duration - v, 0.0) / static_cast<double>(fx.fadeOut);
    if (headFade && v < static_cast<double>(d - d / 2)) {
      double r = v + halfD;
      if (d >= 1) r /= static_cast<double>(d);
      g *= r >= 0 ? std::sin(std::min(r, 1.0) * std::numbers::pi / 2) : 0.0;
    }
    if (tailFade && v > outFrom) {
      double r = v - outFrom;
      if (e >= 1) r /= static_cast<double>(e);
      if (r >= 0) g *= std::cos(std::min(r, 1.0) * std::numbers::pi / 2);
    }
    if (!std::isfinite(g)) g = 0;
    const double p = fx.panKeys.empty() ? fx.pan : fx.panKeys.value(v, fx.pan);
    left = static_cast<float>(g * (p > 0 ? 1 - p : 1)) * balance.left;
    right = static_cast<float>(g * (p < 0 ? 1 + p : 1)) * balance.right;
  };

  // The clip runs through the whole chain a chunk at a time, so its samples
  // stay in cache from the source read to the track buffer.
  std::array<float, 2 * kChunk> chunk;
  for (std::int64_t c0 = r0; c0 < hi; c0 += kChunk) {
    const std::int64_t c1 = std::min(c0 + kChunk, hi);
    const std::span<float> piece(chunk.data(), static_cast<std::size_t>(2 * (c1 - c0)));
    if (sp.freeze)
      std::fill(piece.begin(), piece.end(), 0.0f);
    else
      readSource(*src, map, c0, c1, piece.data());
    eq.process(piece);
    if (fx.gateOn) gate.process(piece, 0, c1 - c0);
    if (fx.compOn) compressor.process(piece, 0, c1 - c0);
    if (c1 <= lo) continue;  // still before the window: only the effects' state matters

    for (std::int64_t b = c0; b < c1; b += kBlock) {
      const std::int64_t a = std::max(b, lo);
      const std::int64_t z = std::min(b + kBlock, c1);
      if (a >= z) continue;
      float left, right;
      levelAt(b, left, right);
      const float* in = chunk.data() + 2 * (a - c0);
      float* out = into.data() + 2 * (a - from);
      for (std::int64_t s = a; s < z; ++s, in += 2, out += 2) {
        out[0] += in[0] * left;
        out[1] += in[1] * right;
      }
    }
  }
}

}  // namespace brevelan
