#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "media/demo_media.h"
#include "media/still_image.h"
#include "support/temp_dir.h"

namespace brevelan::testing {

// Media written once per test run with our own writer, in a temporary folder
// that also serves as XDG_DATA_HOME, so derived files never touch the home folder.
struct TestMedia {
  TempDir dir;
  std::filesystem::path seek, sound, rotated, upperCase, uhd, hd, mono, stereo, still;
  SyntheticMovie seekMovie;

  TestMedia() {
    ::setenv("XDG_DATA_HOME", (dir.path() / "xdg").c_str(), 1);
    seekMovie.width = 320;
    seekMovie.height = 180;
    seekMovie.frames = 90;
    seekMovie.keyInterval = 30;
    seekMovie.quality = 16;
    write(seek = dir / "seek.mov", seekMovie);

    SyntheticMovie withSound = seekMovie;
    withSound.frames = 30;
    withSound.sound = true;
    withSound.beepAt = 0.5;
    write(sound = dir / "sound.mp4", withSound);
    write(upperCase = dir / "clip.MOV", withSound);

    SyntheticMovie turned = seekMovie;
    turned.frames = 15;
    turned.rotation = 90;
    write(rotated = dir / "rotated.mov", turned);

    SyntheticMovie big;
    big.width = 3840;
    big.height = 2160;
    big.frames = 3;
    big.preset = "ultrafast";
    write(uhd = dir / "uhd.mov", big);
    big.width = 1920;
    big.height = 1080;
    write(hd = dir / "hd.mov", big);

    check(writeToneWAV(mono = dir / "mono.wav", 440, -6, 2.0, 1));
    check(writeToneWAV(stereo = dir / "stereo.wav", 1000, -6, 1.0, 2));
    SyntheticMovie picture;
    picture.width = 200;
    picture.height = 100;
    check(writePNG(syntheticPicture(picture, 5), still = dir / "still.png"));
  }

  static void check(const Expected<void, std::string>& made) {
    if (!made) throw std::runtime_error(made.error());
  }
  static void write(const std::filesystem::path& file, const SyntheticMovie& movie) {
    check(writeSyntheticMovie(file, movie));
  }
};

inline TestMedia& testMedia() {
  static TestMedia media;
  return media;
}

inline bool haveTool(const char* name) {
  return std::system((std::string("command -v ") + name + " >/dev/null 2>&1").c_str()) == 0;
}

// Mean absolute difference of two pictures of one size, over all four bytes.
inline double meanDifference(const Picture& a, const Picture& b) {
  if (a.width != b.width || a.height != b.height) return 1e9;
  double sum = 0;
  for (std::size_t i = 0; i < a.bytes(); ++i) sum += std::abs(int(a.pixels[i]) - int(b.pixels[i]));
  return sum / static_cast<double>(a.bytes());
}

}  // namespace brevelan::testing
