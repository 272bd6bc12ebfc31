#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "model/enum_text.h"

namespace brevelan {

enum class ScopeKind { waveform, vectorscope, histogram };

template <>
struct EnumTexts<ScopeKind> {
  static constexpr std::string_view noun = "scope";
  static constexpr std::array<std::pair<ScopeKind, std::string_view>, 3> items{
      {{ScopeKind::waveform, "Waveform"}, {ScopeKind::vectorscope, "Vectorscope"}, {ScopeKind::histogram, "Histogram"}}};
};

// Counts behind the three scopes, measured in one pass over an 8-bit RGBA
// picture. The views only draw these counts.
struct ScopeData {
  static constexpr int kVectorSide = 128;

  int width = 0;
  // Column c, luma level y (0…255) at c × 256 + y.
  std::vector<std::uint32_t> waveform;
  int waveCols = 0;
  // Row v, column u at v × 128 + u; greys land on the centre cell (64, 64).
  std::vector<std::uint32_t> vector;
  std::vector<std::uint32_t> histR, histG, histB, histY;

  // rgba: width × height pixels, four bytes each (alpha ignored), rows packed.
  // A buffer shorter than that gives all-zero counts.
  static ScopeData measure(std::span<const std::uint8_t> rgba, int width, int height, int columns);

  // Mean luma (0…255) of one waveform column; 0 for a column without counts.
  double columnMeanLuma(int column) const;
};

}  // namespace brevelan
