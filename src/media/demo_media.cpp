#include "media/demo_media.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <vector>

#include "media/media_writer.h"
#include "media/still_image.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;

constexpr int kCodeBits = 16;
constexpr double kRate = 48000;

void fill(Picture& picture, int x0, int y0, int x1, int y1, std::uint8_t r, std::uint8_t g, std::uint8_t b) {
  x0 = std::clamp(x0, 0, picture.width);
  x1 = std::clamp(x1, 0, picture.width);
  y0 = std::clamp(y0, 0, picture.height);
  y1 = std::clamp(y1, 0, picture.height);
  for (int y = y0; y < y1; ++y) {
    std::uint8_t* p = picture.row(y) + static_cast<std::size_t>(x0) * 4;
    for (int x = x0; x < x1; ++x, p += 4) {
      p[0] = r;
      p[1] = g;
      p[2] = b;
      p[3] = 255;
    }
  }
}

int codeHeight(int height) { return std::max(8, height / 12); }

Picture uprightPicture(int width, int height, int n, bool flash) {
  Picture picture(width, height, PixelOrder::rgba);
  if (flash) {
    std::memset(picture.pixels.get(), 255, picture.bytes());
    return picture;
  }
  // 75 % bars: white, yellow, cyan, green, magenta, red, blue.
  static constexpr std::uint8_t bars[7][3] = {{191, 191, 191}, {191, 191, 0}, {0, 191, 191}, {0, 191, 0},
                                              {191, 0, 191},   {191, 0, 0},   {0, 0, 191}};
  const int barsBottom = height * 2 / 3;
  for (int i = 0; i < 7; ++i)
    fill(picture, width * i / 7, 0, width * (i + 1) / 7, barsBottom, bars[i][0], bars[i][1], bars[i][2]);
  const int codeTop = height - codeHeight(height);
  const int shift = n * 8;
  for (int y = barsBottom; y < codeTop; ++y) {
    std::uint8_t* p = picture.row(y);
    for (int x = 0; x < width; ++x, p += 4) {
      const auto level = static_cast<std::uint8_t>(((x + shift) % width) * 255 / width);
      p[0] = level;
      p[1] = static_cast<std::uint8_t>(255 - level);
      p[2] = static_cast<std::uint8_t>((y - barsBottom) * 255 / std::max(1, codeTop - barsBottom));
      p[3] = 255;
    }
  }
  const int box = std::max(4, height / 8);
  const int boxX = (n * 16) % std::max(1, width - box);
  const int boxY = barsBottom + std::max(0, (codeTop - barsBottom - box) / 2);
  fill(picture, boxX, boxY, boxX + box, boxY + box, 255, 255, 255);
  for (int bit = 0; bit < kCodeBits; ++bit) {
    const bool on = (n >> (kCodeBits - 1 - bit)) & 1;
    const std::uint8_t level = on ? 235 : 16;
    fill(picture, width * bit / kCodeBits, codeTop, width * (bit + 1) / kCodeBits, height, level, level, level);
  }
  return picture;
}

// Appends the movie's sound for the span of picture n.
void soundFor(const SyntheticMovie& movie, int n, std::vector<float>& out) {
  const auto at = [&](int frame) {
    return static_cast<std::int64_t>(std::llround(frame * kRate * movie.rate.den / movie.rate.num));
  };
  const std::int64_t begin = at(n);
  const std::int64_t end = at(n + 1);
  const std::int64_t beepBegin = movie.beepAt >= 0 ? std::llround(movie.beepAt * kRate) : -1;
  const std::int64_t beepEnd = beepBegin + (at(1) - at(0));
  out.clear();
  for (std::int64_t s = begin; s < end; ++s) {
    float value = 0;
    if (beepBegin >= 0 && s >= beepBegin && s < beepEnd)
      value = static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * 1000.0 * static_cast<double>(s - beepBegin) / kRate));
    out.push_back(value);
    out.push_back(value);
  }
}

Expected<void, std::string> writeSound(const fs::path& file, const std::vector<float>& interleaved) {
  auto writer = MediaWriter::create(file, std::nullopt, SoundFormat{SoundFormat::Codec::pcm16, 0, 2});
  if (!writer) return Unexpected{writer.error()};
  auto added = (*writer)->addSound(interleaved.data(), static_cast<std::int64_t>(interleaved.size() / 2));
  if (!added) return added;
  return (*writer)->finish();
}

}  // namespace

Picture syntheticPicture(const SyntheticMovie& movie, int n) {
  const bool turned = movie.rotation % 180 != 0;
  Picture upright = uprightPicture(turned ? movie.height : movie.width, turned ? movie.width : movie.height, n,
                                   n == movie.flashFrame);
  if (movie.rotation % 360 == 0) return upright;
  return oriented(upright, orientationForRotation(360 - movie.rotation));
}

int readFrameNumber(const Picture& picture) {
  if (picture.empty()) return -1;
  const int y = picture.height - codeHeight(picture.height) / 2 - 1;
  int value = 0;
  for (int bit = 0; bit < kCodeBits; ++bit) {
    const int x = picture.width * (2 * bit + 1) / (2 * kCodeBits);
    const std::uint8_t* p = picture.at(x, y);
    const int level = (p[0] + p[1] + p[2]) / 3;
    if (level > 90 && level < 160) return -1;
    value = (value << 1) | (level >= 160 ? 1 : 0);
  }
  return value;
}

Expected<void, std::string> writeSyntheticMovie(const fs::path& file, const SyntheticMovie& movie) {
  VideoFormat video;
  video.width = movie.width;
  video.height = movie.height;
  video.rate = movie.rate;
  video.keyInterval = movie.keyInterval;
  video.rotation = movie.rotation;
  video.preset = movie.preset;
  video.quality = movie.quality;
  std::optional<SoundFormat> sound;
  if (movie.sound) sound = SoundFormat{};
  auto writer = MediaWriter::create(file, video, sound);
  if (!writer) return Unexpected{writer.error()};
  std::vector<float> samples;
  for (int n = 0; n < movie.frames; ++n) {
    auto added = (*writer)->addPicture(syntheticPicture(movie, n));
    if (!added) return added;
    if (movie.sound) {
      soundFor(movie, n, samples);
      auto heard = (*writer)->addSound(samples.data(), static_cast<std::int64_t>(samples.size() / 2));
      if (!heard) return heard;
    }
  }
  return (*writer)->finish();
}

Expected<void, std::string> writeToneWAV(const fs::path& file, double hertz, double dBFS, double seconds, int channels) {
  const double peak = std::pow(10.0, dBFS / 20.0);
  const auto count = static_cast<std::size_t>(std::llround(seconds * kRate));
  std::vector<float> samples(count * 2);
  for (std::size_t i = 0; i < count; ++i) {
    const auto value = static_cast<float>(peak * std::sin(2 * std::numbers::pi * hertz * static_cast<double>(i) / kRate));
    samples[2 * i] = value;
    samples[2 * i + 1] = value;
  }
  if (channels != 1) return writeSound(file, samples);
  // A mono file: written through a one-channel PCM path.
  auto writer = MediaWriter::create(file, std::nullopt, SoundFormat{SoundFormat::Codec::pcm16, 0, 1});
  if (!writer) return Unexpected{writer.error()};
  std::vector<float> mono(count);
  for (std::size_t i = 0; i < count; ++i) mono[i] = samples[2 * i];
  auto added = (*writer)->addSound(mono.data(), static_cast<std::int64_t>(count));
  if (!added) return added;
  return (*writer)->finish();
}

Expected<void, std::string> writeClickTrack(const fs::path& file, double bpm, double seconds) {
  const auto count = static_cast<std::size_t>(std::llround(seconds * kRate));
  std::vector<float> samples(count * 2, 0.0f);
  const double beat = 60.0 / bpm;
  const auto clickLength = static_cast<std::size_t>(0.03 * kRate);
  for (int k = 0; k * beat < seconds; ++k) {
    const auto start = static_cast<std::size_t>(std::llround(k * beat * kRate));
    const double level = k % 4 == 0 ? 0.8 : 0.4;
    for (std::size_t i = 0; i < clickLength && start + i < count; ++i) {
      const double t = static_cast<double>(i) / kRate;
      const auto value = static_cast<float>(level * std::exp(-t * 150) * std::sin(2 * std::numbers::pi * 1500 * t));
      samples[2 * (start + i)] = samples[2 * (start + i) + 1] = value;
    }
  }
  return writeSound(file, samples);
}

SyntheticMovie demoBarsMovie() {
  SyntheticMovie bars;
  bars.frames = 120;
  bars.flashFrame = 60;
  bars.sound = true;
  bars.beepAt = 2.0;
  return bars;
}

Expected<DemoMedia, std::string> writeDemoMedia(const fs::path& folder, const std::function<void(const std::string&)>& step) {
  std::error_code ec;
  fs::create_directories(folder, ec);
  if (ec) return Unexpected{"cannot make the folder " + folder.string() + ": " + ec.message()};
  DemoMedia media{folder / "colour-bars.mov",  folder / "uhd-4k.mov",       folder / "phone-portrait.mov",
                  folder / "tone-6dBFS.wav",   folder / "click-120bpm.wav", folder / "still.png"};
  const auto announce = [&](const fs::path& file) {
    if (step) step(file.filename().string());
  };

  const SyntheticMovie bars = demoBarsMovie();
  announce(media.bars);
  if (auto made = writeSyntheticMovie(media.bars, bars); !made) return Unexpected{made.error()};

  SyntheticMovie uhd;
  uhd.width = 3840;
  uhd.height = 2160;
  uhd.frames = 60;
  uhd.preset = "ultrafast";
  announce(media.uhd);
  if (auto made = writeSyntheticMovie(media.uhd, uhd); !made) return Unexpected{made.error()};

  SyntheticMovie phone;
  phone.frames = 90;
  phone.rotation = 90;
  phone.sound = true;
  announce(media.phone);
  if (auto made = writeSyntheticMovie(media.phone, phone); !made) return Unexpected{made.error()};

  announce(media.tone);
  if (auto made = writeToneWAV(media.tone, 440, -6, 5); !made) return Unexpected{made.error()};
  announce(media.click);
  if (auto made = writeClickTrack(media.click, 120, 8); !made) return Unexpected{made.error()};

  announce(media.picture);
  SyntheticMovie still;
  if (auto made = writePNG(syntheticPicture(still, 0), media.picture); !made) return Unexpected{made.error()};
  return media;
}

}  // namespace brevelan
