#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "media/ffmpeg_ptr.h"
#include "media/picture.h"
#include "model/expected.h"

namespace brevelan {

// H.264 picture settings. Pictures are encoded 4:2:0 and tagged BT.709.
struct VideoFormat {
  int width = 1920;
  int height = 1080;
  AVRational rate{30, 1};
  std::int64_t bitRate = 0;  // average bit/s; 0 asks for constant quality instead
  int quality = 20;          // x264 CRF when bitRate is 0
  int keyInterval = 60;      // frames between key frames at most
  std::string preset = "veryfast";
  int rotation = 0;  // clockwise degrees a player must turn the stored picture
};

// Sound is always 48 000 Hz, handed over as interleaved float.
struct SoundFormat {
  enum class Codec { aac, pcm16 };
  Codec codec = Codec::aac;
  std::int64_t bitRate = 192000;
  int channels = 2;
};

// Writes a movie (MOV or MP4: H.264 with AAC or PCM) or a sound file (WAV)
// from pictures and interleaved float sound. The container follows the file's
// extension. Nothing is valid until finish() returns success; a writer
// dropped before that leaves an incomplete file for the caller to remove.
class MediaWriter {
 public:
  static Expected<std::unique_ptr<MediaWriter>, std::string> create(const std::filesystem::path& file,
                                                                    const std::optional<VideoFormat>& video,
                                                                    const std::optional<SoundFormat>& sound);
  ~MediaWriter();

  // The next picture, scaled to the output size when it differs.
  Expected<void, std::string> addPicture(const Picture& picture);
  // The next picture from a decoded frame of any pixel format and size.
  Expected<void, std::string> addFrame(const AVFrame* frame);
  Expected<void, std::string> addSound(const float* interleaved, std::int64_t frames);
  Expected<void, std::string> finish();

  std::int64_t picturesWritten() const { return pictures_; }

 private:
  MediaWriter() = default;
  Expected<void, std::string> encodePicture(AVFrame* frame);
  Expected<void, std::string> encodeSound(std::int64_t count);
  Expected<void, std::string> drain(AVCodecContext* encoder, AVStream* stream);
  AVFrame* scaledPicture(const std::uint8_t* const planes[], const int strides[], int width, int height,
                         AVPixelFormat format, int colorSpace, int fullRange);

  std::filesystem::path file_;
  ff::OutputPtr output_;
  ff::CodecPtr videoEncoder_;
  ff::CodecPtr soundEncoder_;
  AVStream* videoStream_ = nullptr;
  AVStream* soundStream_ = nullptr;
  ff::FramePtr yuv_;
  ff::ScalePtr scaler_;
  int scalerKey_[5] = {-1, -1, -1, -1, -1};
  ff::ResamplePtr resampler_;
  ff::FramePtr soundFrame_;
  ff::PacketPtr packet_;
  std::vector<float> pendingSound_;
  std::size_t soundRead_ = 0;  // floats of pendingSound_ already encoded
  int soundFrameSize_ = 1024;
  int channels_ = 2;
  std::int64_t pictures_ = 0;
  std::int64_t soundSamples_ = 0;
  bool finished_ = false;
};

}  // namespace brevelan
