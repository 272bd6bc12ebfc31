#include "model/clip.h"

#include <algorithm>
#include <cmath>

namespace brevelan {

Clip Clip::make(ClipSource source, std::string name, std::int64_t start, std::int64_t duration,
                std::int64_t sourceIn, std::optional<std::int64_t> sourceLimit) {
  Clip clip;
  clip.id = Uuid::make();
  clip.source = std::move(source);
  clip.name = std::move(name);
  clip.start = start;
  clip.duration = duration;
  clip.sourceIn = sourceIn;
  clip.sourceLimit = sourceLimit;
  return clip;
}

std::int64_t Clip::maxDuration() const {
  constexpr std::int64_t kUnbounded = 10'000'000;
  if (!sourceLimit || speed.freeze) return kUnbounded;
  const double left = static_cast<double>(std::max<std::int64_t>(*sourceLimit - sourceIn, 0));
  const auto whole = static_cast<std::int64_t>(std::floor(left / speed.averageRate() + 0.000000001));
  return std::max<std::int64_t>(whole, 1);
}

}  // namespace brevelan
