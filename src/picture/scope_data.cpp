#include "picture/scope_data.h"

#include <algorithm>
#include <cmath>

namespace brevelan {

ScopeData ScopeData::measure(std::span<const std::uint8_t> rgba, int width, int height, int columns) {
  ScopeData data;
  data.width = width;
  data.waveCols = std::max(columns, 0);
  data.waveform.assign(static_cast<std::size_t>(data.waveCols) * 256, 0);
  data.vector.assign(kVectorSide * kVectorSide, 0);
  for (auto* hist : {&data.histR, &data.histG, &data.histB, &data.histY}) hist->assign(256, 0);
  if (width < 1 || height < 1 || columns < 1) return data;
  const auto pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  if (rgba.size() < pixels * 4) return data;

  // The column of each x is the same on every row.
  std::vector<std::uint32_t> columnBase(static_cast<std::size_t>(width));
  for (int x = 0; x < width; ++x) {
    const auto c = std::min<std::int64_t>(static_cast<std::int64_t>(x) * columns / width, columns - 1);
    columnBase[static_cast<std::size_t>(x)] = static_cast<std::uint32_t>(c * 256);
  }
  const std::uint8_t* p = rgba.data();
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x, p += 4) {
      const int r = p[0], g = p[1], b = p[2];
      const double luma = 0.2126 * r + 0.7152 * g + 0.0722 * b;
      const int level = std::min(static_cast<int>(std::lround(luma)), 255);
      ++data.histR[r];
      ++data.histG[g];
      ++data.histB[b];
      ++data.histY[level];
      ++data.waveform[columnBase[static_cast<std::size_t>(x)] + level];
      // BT.709 colour differences: red rises toward the top rows, blue to the right.
      const auto u = std::clamp(std::lround((b - luma) / 1.8556 * 0.5 + 64), 0L, 127L);
      const auto v = std::clamp(std::lround((r - luma) / 1.5748 * -0.5 + 64), 0L, 127L);
      ++data.vector[static_cast<std::size_t>(v * kVectorSide + u)];
    }
  }
  return data;
}

double ScopeData::columnMeanLuma(int column) const {
  if (column < 0 || column >= waveCols) return 0;
  double sum = 0;
  double count = 0;
  for (int y = 0; y < 256; ++y) {
    const double n = waveform[static_cast<std::size_t>(column) * 256 + y];
    sum += y * n;
    count += n;
  }
  return count > 0 ? sum / count : 0;
}

}  // namespace brevelan
