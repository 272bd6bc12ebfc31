#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "model/audio_fx.h"
#include "model/clip_source.h"
#include "model/color_grade.h"
#include "model/cow.h"
#include "model/speed_settings.h"
#include "model/transform.h"
#include "model/transition.h"
#include "model/uuid.h"

namespace brevelan {

// One clip on a track. It covers timeline frame f when start <= f < start + duration.
// The defaults are those of a clip made from imported media: enabled, normal
// speed, centred, a neutral grade and sound that passes unchanged.
struct Clip {
  Uuid id;
  ClipSource source;
  std::string name;
  std::int64_t start = 0;
  std::int64_t duration = 0;
  std::int64_t sourceIn = 0;
  std::optional<std::int64_t> sourceLimit;  // absent for stills, titles, colour mattes
  std::optional<Uuid> linkID;               // clips sharing a link id are partners
  bool enabled = true;
  SpeedSettings speed;
  // Larger settings are shared between copies until written (clip.grade.mut()).
  Cow<Transform> transform;
  Cow<ColorGrade> grade;
  Cow<AudioFX> audio;
  std::optional<Transition> transitionIn;   // absent: a hard cut at the head
  std::int64_t label = 0;

  // A new clip with a fresh id and every setting at its default.
  static Clip make(ClipSource source, std::string name, std::int64_t start, std::int64_t duration,
                   std::int64_t sourceIn = 0, std::optional<std::int64_t> sourceLimit = std::nullopt);

  std::int64_t end() const { return start + duration; }
  bool covers(std::int64_t frame) const { return start <= frame && frame < start + duration; }

  // The longest the clip may be at its speed: 10 000 000 frames for a source
  // without an end or a frozen clip, else the source left after sourceIn
  // divided by the average speed, at least 1.
  std::int64_t maxDuration() const;

  friend bool operator==(const Clip&, const Clip&) = default;
};

}  // namespace brevelan
