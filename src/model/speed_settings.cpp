#include "model/speed_settings.h"

#include <algorithm>

#include "model/rounding.h"

namespace brevelan {

std::int64_t SpeedSettings::consumed(std::int64_t n) const {
  if (freeze) return 1;
  const double frames = static_cast<double>(n);
  const std::int64_t used = rampTo ? roundHalfAway((rate + *rampTo) * frames * 0.5)
                                   : roundHalfAway(frames * rate);
  return std::max<std::int64_t>(used, 1);
}

}  // namespace brevelan
