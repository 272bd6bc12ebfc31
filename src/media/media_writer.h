#pragma once

#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "media/encoder_frames.h"
#include "media/ffmpeg_ptr.h"
#include "media/picture.h"
#include "model/expected.h"

namespace brevelan {

// Picture settings. H.264 and HEVC are encoded 4:2:0 8-bit, ProRes 4:2:2
// 10-bit; every picture stream is tagged BT.709, limited range.
struct VideoFormat {
  enum class Codec { h264, hevc, proresProxy, prores422, prores422HQ };
  Codec codec = Codec::h264;
  int width = 1920;
  int height = 1080;
  AVRational rate{30, 1};
  std::int64_t bitRate = 0;  // average bit/s (H.264, HEVC); 0 asks for constant quality instead
  int quality = 20;          // CRF when bitRate is 0
  int keyInterval = 60;      // frames between key frames at most
  std::string preset = "veryfast";  // the x264 / x265 speed preset
  int rotation = 0;  // clockwise degrees a player must turn the stored picture
};

// The x264 options set beyond the preset, in x264's own "key=value:…" form.
std::string x264Params();

// Sound is always 48 000 Hz, handed over as interleaved float.
struct SoundFormat {
  enum class Codec { aac, pcm16, pcm24 };
  Codec codec = Codec::aac;
  std::int64_t bitRate = 192000;  // AAC only
  int channels = 2;
};

// Why a writer could not be made. `encoderUnavailable`: the picture encoder
// is missing from this FFmpeg or refuses the settings (a codec the computer
// cannot write); anything else is `failed`.
struct WriterError {
  enum class Kind { encoderUnavailable, failed };
  Kind kind = Kind::failed;
  std::string message;
};

// Writes a movie (MP4 or MOV: H.264, HEVC or ProRes with AAC or PCM) or a
// sound file (WAV, M4A) from pictures and interleaved float sound. The
// container follows the file's extension. Nothing is valid until finish()
// returns success; a writer dropped before that leaves an incomplete file for
// the caller to remove.
//
// Threads: one thread may feed pictures (addPicture/addFrame/finishPictures)
// while another feeds sound (addSound/finishSound); only muxing is shared and
// it is locked. cancel() may be called from any thread. finish() is called
// once both feeders have stopped.
class MediaWriter {
 public:
  // `container` names FFmpeg's muxer ("mp4", "mov", "wav", "ipod" for M4A)
  // for a file whose name does not say it; empty: follow the extension.
  static Expected<std::unique_ptr<MediaWriter>, WriterError> open(const std::filesystem::path& file,
                                                                  const std::optional<VideoFormat>& video,
                                                                  const std::optional<SoundFormat>& sound,
                                                                  const std::string& container = {});
  // open() with the error as plain text.
  static Expected<std::unique_ptr<MediaWriter>, std::string> create(const std::filesystem::path& file,
                                                                    const std::optional<VideoFormat>& video,
                                                                    const std::optional<SoundFormat>& sound);
  ~MediaWriter();

  // The next picture, scaled to the output size when it differs.
  Expected<void, std::string> addPicture(const Picture& picture);
  // The next picture from a decoded frame of any pixel format and size; a
  // frame in the encoder's own format (see pictureFormat) is encoded as it is.
  Expected<void, std::string> addFrame(const AVFrame* frame);
  // The pixel format pictures are encoded in (AV_PIX_FMT_NONE without pictures).
  AVPixelFormat pictureFormat() const;
  Expected<void, std::string> addSound(const float* interleaved, std::int64_t frames);

  // Keeps the sound at most `seconds` ahead of the pictures: addSound waits
  // until enough pictures have arrived, or until finishPictures() or
  // cancel(). For a sound feeder on its own thread, so the muxer interleaves
  // as it goes instead of queueing the whole sound. Off (0) by default: a
  // single thread that writes all sound first would wait forever.
  void paceSound(double seconds);

  // No more pictures / sound: the encoder's delayed packets are written.
  Expected<void, std::string> finishPictures();
  Expected<void, std::string> finishSound();
  // Makes every waiting or later add fail, so feeders stop at once.
  void cancel();
  // Ends both streams when not yet done and completes the file.
  Expected<void, std::string> finish();

  std::int64_t picturesWritten() const { return pictures_; }

 private:
  MediaWriter() = default;
  Expected<void, std::string> encodePicture(AVFrame* frame);
  Expected<void, std::string> encodeSound(std::int64_t count);
  Expected<void, std::string> drain(AVCodecContext* encoder, AVStream* stream, AVPacket* packet);
  bool waitForPictures();
  bool isCancelled();

  std::filesystem::path file_;
  ff::OutputPtr output_;
  ff::CodecPtr videoEncoder_;
  ff::CodecPtr soundEncoder_;
  AVStream* videoStream_ = nullptr;
  AVStream* soundStream_ = nullptr;

  // Picture side: touched only by the picture feeder.
  std::optional<EncoderFrames> frames_;
  ff::PacketPtr videoPacket_;
  std::int64_t pictures_ = 0;
  bool picturesFinished_ = false;

  // Sound side: touched only by the sound feeder.
  ff::ResamplePtr resampler_;
  ff::FramePtr soundFrame_;
  ff::PacketPtr soundPacket_;
  std::vector<float> pendingSound_;
  std::size_t soundRead_ = 0;  // floats of pendingSound_ already encoded
  int soundFrameSize_ = 1024;
  int channels_ = 2;
  std::int64_t soundSamples_ = 0;
  bool soundFinished_ = false;

  // Shared: the muxer and the pacing between the two feeders.
  std::mutex lock_;
  std::condition_variable picturesArrived_;
  double soundLead_ = 0;
  double pictureSeconds_ = 0;   // pictures encoded so far, as time
  bool picturesEnded_ = false;  // no more pictures will come
  bool cancelled_ = false;
  bool finished_ = false;
};

}  // namespace brevelan
