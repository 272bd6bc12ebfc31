#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "media/picture.h"
#include "model/expected.h"

extern "C" {
#include <libavutil/rational.h>
}

namespace brevelan {

// A synthetic movie: colour bars over a scrolling ramp, a box that moves one
// step per frame, and the frame number as a row of 16 black or white blocks
// along the bottom edge (most significant bit first), so any decoded
// picture can be told apart from its neighbours without a reference decode.
struct SyntheticMovie {
  int width = 1920;
  int height = 1080;
  AVRational rate{30, 1};
  int frames = 120;
  int keyInterval = 60;
  int rotation = 0;          // clockwise degrees the player turns the stored picture
  int flashFrame = -1;       // this frame is all white
  bool sound = false;        // silence with a beep, see below
  double beepAt = -1;        // seconds: one frame of 1 kHz at −6 dBFS starts here
  std::string preset = "veryfast";
  int quality = 20;
};

Expected<void, std::string> writeSyntheticMovie(const std::filesystem::path& file, const SyntheticMovie& movie);

// Frame n's picture as stored: drawn upright, then turned against the
// movie's rotation so that a player's turn stands it upright again.
Picture syntheticPicture(const SyntheticMovie& movie, int n);
// Reads the frame number back from an upright picture of a synthetic movie;
// -1 when the blocks are unreadable.
int readFrameNumber(const Picture& picture);

// A WAV file of a sine tone at a peak level in dBFS, both channels.
Expected<void, std::string> writeToneWAV(const std::filesystem::path& file, double hertz, double dBFS, double seconds,
                                         int channels = 2);
// A click track: a short 1.5 kHz burst on every beat, the first of each bar of four louder.
Expected<void, std::string> writeClickTrack(const std::filesystem::path& file, double bpm, double seconds);

// The demo's colour-bar movie: 1080p30, 4 s, sound, a one-frame white flash
// at frame 60 and one frame of 1 kHz beep at 2.000 s.
SyntheticMovie demoBarsMovie();

// The files `brevelan demo` writes into one folder.
struct DemoMedia {
  std::filesystem::path bars;    // 1080p30, 4 s, sound; white flash at frame 60, 1 kHz beep at 2.000 s
  std::filesystem::path uhd;     // 3840 × 2160, 2 s
  std::filesystem::path phone;   // stored 1920 × 1080 with a 90° rotation: upright 1080 × 1920, 3 s
  std::filesystem::path tone;    // 440 Hz at −6 dBFS, 5 s
  std::filesystem::path click;   // 120 BPM, 8 s
  std::filesystem::path picture; // 1920 × 1080 PNG
};

// Writes the demo media with our own writer. `step` hears each file's name
// before it is written.
Expected<DemoMedia, std::string> writeDemoMedia(const std::filesystem::path& folder,
                                                const std::function<void(const std::string&)>& step = {});

}  // namespace brevelan
