#include "captions/caption_builder.h"

#include <algorithm>

#include "captions/text_encoding.h"
#include "model/rounding.h"
#include "model/uuid.h"

namespace brevelan::CaptionBuilder {
namespace {

// Word times come from floating-point sums (0.3 + 0.7 is not exactly 1.0);
// limits are compared with this much room so that a pause of exactly 0.7 s
// as the user wrote it does not break.
constexpr double kTolerance = 1e-9;

}  // namespace

std::vector<Caption> lines(const std::vector<TimedWord>& words, const FrameRate& rate, std::int64_t offset,
                           std::size_t maxChars, double maxSeconds) {
  const double perSecond = static_cast<double>(rate.num) / static_cast<double>(rate.den);
  std::vector<Caption> captions;
  std::vector<const TimedWord*> pending;
  std::size_t pendingChars = 0;  // sum over pending words of (characters + 1)

  const auto flush = [&] {
    if (pending.empty()) return;
    Caption caption;
    caption.id = Uuid::make();
    for (const TimedWord* word : pending) {
      if (!caption.text.empty()) caption.text += ' ';
      caption.text += word->text;
    }
    const TimedWord& last = *pending.back();
    const std::int64_t s = roundHalfAway(pending.front()->start * perSecond);
    const std::int64_t e =
        std::max(roundHalfAway((last.start + std::max(last.duration, kMinLastWord)) * perSecond), s + 1);
    caption.start = offset + s;
    caption.end = offset + e;
    captions.push_back(std::move(caption));
    pending.clear();
    pendingChars = 0;
  };

  for (const TimedWord& word : words) {
    const std::size_t chars = characterCount(word.text);
    if (!pending.empty()) {
      const double span = word.start + word.duration - pending.front()->start;
      const double pause = word.start - (pending.back()->start + pending.back()->duration);
      if (pendingChars + chars > maxChars || span > maxSeconds + kTolerance || pause > kBreakingPause + kTolerance)
        flush();
    }
    pending.push_back(&word);
    pendingChars += chars + 1;
  }
  flush();
  return captions;
}

}  // namespace brevelan::CaptionBuilder
