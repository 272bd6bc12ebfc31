#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "sound/mixer.h"
#include "sound_fixture.h"

namespace brevelan {
namespace {

using namespace testing;
constexpr double kSilent = -300;

void expectLevel(double measured, double expected) {
  if (expected <= kSilent) EXPECT_LT(measured, kSilent);
  else EXPECT_NEAR(measured, expected, 0.1);
}

TEST(Mixer, Levels) {
  const auto secondTrack = [](MixFixture& f) { f.track(1).clips.push_back(f.toneClip(0, 60)); };
  const auto crossfade = [](MixFixture& f) {
    f.clip().duration = 30;
    Clip in = f.toneClip(30, 30, 30);  // in phase with the outgoing clip
    in.transitionIn = Transition{};
    in.transitionIn->duration = 10;
    f.track(0).clips.push_back(in);
  };
  const auto keys = [](MixFixture& f) { f.fx().volumeKeys.set(0, 0), f.fx().volumeKeys.set(20, -20); };
  struct {
    const char* name;
    std::function<void(MixFixture&)> change;
    double left, right;
    std::int64_t at = kSecond / 2, to = 3 * kSecond / 2;  // measured over samples at … to − 1
  } cases[] = {
      {"plain", [](MixFixture&) {}, -6, -6},
      {"fader -6", [](MixFixture& f) { f.track(0).volumeDB = -6; }, -12, -12},
      {"clip +3", [](MixFixture& f) { f.fx().gainDB = 3; }, -3, -3},
      {"master -6", [](MixFixture& f) { f.seq().masterDB = -6; }, -12, -12},
      {"two tracks", secondTrack, 0, 0},
      {"A2 muted", [&](MixFixture& f) { secondTrack(f), f.track(1).muted = true; }, -6, -6},
      {"A1 solo", [&](MixFixture& f) { secondTrack(f), f.track(0).solo = true; }, -6, -6},
      {"other track solo", [](MixFixture& f) { f.track(1).solo = true; }, kSilent, kSilent},
      {"track pan left", [](MixFixture& f) { f.track(0).pan = -1; }, -6, kSilent},
      {"track pan half right", [](MixFixture& f) { f.track(0).pan = 0.5; }, -12.02, -6},
      {"clip pan keys", [](MixFixture& f) { f.fx().panKeys.set(0, 1); }, kSilent, -6},
      {"volume key -20", [](MixFixture& f) { f.fx().volumeKeys.set(0, -20); }, -26, -26},
      {"gain floor", [](MixFixture& f) { f.fx().gainDB = -100; }, -206, -206},
      {"gain +96", [](MixFixture& f) { f.fx().gainDB = 96; }, 90, 90},
      {"disabled", [](MixFixture& f) { f.clip().enabled = false; }, kSilent, kSilent},
      {"clip muted", [](MixFixture& f) { f.fx().muted = true; }, kSilent, kSilent},
      {"frozen", [](MixFixture& f) { f.clip().speed.freeze = true; }, kSilent, kSilent},
      {"no sound", [](MixFixture& f) { f.clip().source = ClipSource::media(f.addMedia(tone(-6, 1000, 9), false)); },
       kSilent, kSilent},
      {"missing media", [](MixFixture& f) { f.clip().source = ClipSource::media(Uuid::make()); }, kSilent, kSilent},
      // One 32-frame block where the level moves.
      {"fade-in halfway", [](MixFixture& f) { f.fx().fadeIn = 15; }, -12, -12, 12000, 12000 + 32},  // frame 7.5
      {"fade-out halfway", [](MixFixture& f) { f.fx().fadeOut = 10; }, -12, -12, 55 * kFrame, 55 * kFrame + 32},
      {"between keys", keys, -16, -16, 10 * kFrame, 10 * kFrame + 32},
      {"after keys", keys, -26, -26, 30 * kFrame, 30 * kFrame + 32},
      // Equal power: each clip at −3 dB on the cut, the two in phase sum to +3 dB.
      {"crossfade at the cut", crossfade, -2.99, -2.99, 30 * kFrame, 30 * kFrame + 32},
      {"before the crossfade", crossfade, -6, -6, 5 * kFrame, 24 * kFrame},
      {"after the crossfade", crossfade, -6, -6, 36 * kFrame, 50 * kFrame},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    MixFixture f;
    c.change(f);
    expectLevel(f.level(c.at, c.to, 0), c.left);
    expectLevel(f.level(c.at, c.to, 1), c.right);
  }
}

// Sample n of the source holds n × 1e-6, so an output sample tells where it read.
TEST(Mixer, SpeedReadsTheRightSourceSamples) {
  struct {
    double rate;
    bool reverse;
    std::optional<double> rampTo;
    std::int64_t sourceIn, at;
    double index;
  } cases[] = {{1, false, {}, 0, 1000, 1000},  {1, false, {}, 3, 1000, 1000 + 3 * kFrame},
               {2, false, {}, 0, 1000, 2000},  {0.5, false, {}, 0, 1001, 500.5},
               {1, true, {}, 0, 100, 30 * kFrame - 100}, {1, false, 3.0, 0, 15 * kFrame, 22.5 * kFrame},
               // Past the source's last frame (4 s): silence.
               {2, false, {}, 100, 20 * kFrame, 0}};
  std::vector<float> ramp(2 * 4 * kSecond);
  for (std::size_t n = 0; n < ramp.size(); ++n) ramp[n] = static_cast<float>(static_cast<double>(n / 2) * 1e-6);
  for (const auto& c : cases) {
    MixFixture f;
    f.clip() = Clip::make(ClipSource::media(f.addMedia(ramp)), "ramp", 0, 30, c.sourceIn);
    f.clip().speed.rate = c.rate;
    f.clip().speed.reverse = c.reverse;
    f.clip().speed.rampTo = c.rampTo;
    EXPECT_NEAR(f.mix(c.at, 1)[0], c.index * 1e-6, 2e-7) << c.rate << " " << c.reverse << " " << c.sourceIn;
  }
}

// Effects carry state from the clip's start: a late window gives exactly the
// samples of the whole render. With nothing set, the clip is its source.
TEST(Mixer, SameSamplesWhereverRenderingStarts) {
  for (bool effects : {false, true}) {
    MixFixture f;
    f.clip().start = 5;
    f.fx().eqOn = f.fx().gateOn = f.fx().compOn = effects;
    f.fx().eq[3] = 6;
    f.fx().fadeOut = 50;  // the level moves under the late window
    const std::vector<float> whole = f.mix(0, 70 * kFrame);
    const std::int64_t late = 31 * kFrame + 13;  // not on a block edge
    const std::vector<float> part = f.mix(late, 977);
    EXPECT_TRUE(std::equal(part.begin(), part.end(), whole.begin() + 2 * late)) << effects;
  }
  MixFixture f;
  const std::vector<float> plain = f.mix(0, 2 * kSecond);
  const std::vector<float>& source = f.sound.sources[f.toneID]->data;
  for (std::size_t i = 0; i < plain.size(); ++i) ASSERT_NEAR(plain[i], source[i], 1e-6) << i;
  f.fx().eqOn = true;  // every band at 0 dB
  EXPECT_EQ(f.mix(0, 2 * kSecond), plain);
}

TEST(Mixer, NestedSequencesPlayUpToDepthEight) {
  for (int depth : {1, 8, 9}) {
    MixFixture f;
    std::vector<BrevSequence> chain(static_cast<std::size_t>(depth), BrevSequence::make("Nest"));
    for (auto& s : chain) s.id = Uuid::make();
    chain.back().audio.mut(0).clips.push_back(f.toneClip(0, 60));
    for (int k = depth - 2; k >= 0; --k)
      chain[k].audio.mut(0).clips.push_back(Clip::make(ClipSource::nested(chain[k + 1].id), "n", 0, 60));
    for (auto& s : chain) f.project.sequences.push_back(s);
    f.clip().source = ClipSource::nested(chain[0].id);
    expectLevel(f.level(kSecond / 2, kSecond), depth <= 8 ? -6 : kSilent);
  }
}

TEST(Mixer, LengthsAndEmptyRequests) {
  MixFixture f;
  EXPECT_EQ(Mixer::sampleCount(f.seq()), 2 * kSecond);
  f.seq().rate = {30000, 1001};
  EXPECT_EQ(Mixer::sampleCount(f.seq()), 2 * 48048);
  f.track(0).clips.clear();
  EXPECT_EQ(Mixer::sampleCount(f.seq()), 1602);  // an empty sequence counts one frame
  EXPECT_TRUE(f.mix(0, 0).empty());
  f.seq().audio.clear();
  EXPECT_EQ(f.mix(100, 500), std::vector<float>(1000, 0.0f));
}

}  // namespace
}  // namespace brevelan
