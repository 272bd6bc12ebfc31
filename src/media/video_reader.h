#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include "media/ffmpeg_ptr.h"
#include "media/frame_converter.h"
#include "media/picture.h"
#include "model/expected.h"

namespace brevelan {

// Frame-exact reading of the picture stream of one movie. Source frame n is
// the n-th picture in presentation order, counted at the stream's nominal
// rate from its first picture. A request far from the last one seeks to the
// key frame before it and decodes forward; a request a little ahead (playing
// forward, stepping) keeps decoding without a seek. One thread at a time.
class VideoReader {
 public:
  // `threads`: decode on several threads, for the lowest wait per frame
  // (playing, stepping). One thread costs less work per frame in all, which
  // suits an export whose encoder already keeps every core busy.
  static Expected<std::unique_ptr<VideoReader>, std::string> open(const std::filesystem::path& file,
                                                                  bool threads = true);

  // Upright size: the stored size turned by the stream's rotation tag.
  int width() const { return rotation_ % 180 == 0 ? storedWidth() : storedHeight(); }
  int height() const { return rotation_ % 180 == 0 ? storedHeight() : storedWidth(); }
  int storedWidth() const { return decoder_->width; }
  int storedHeight() const { return decoder_->height; }
  // Clockwise degrees (0, 90, 180, 270) that turn the stored picture upright.
  int rotation() const { return rotation_; }
  AVRational frameRate() const { return rate_; }
  double fps() const { return av_q2d(rate_); }
  // Frames the container announces; reading may find the true last one earlier.
  std::int64_t frameCount() const { return frameCount_; }
  double duration() const { return duration_; }

  // Premultiplied picture of source frame n, upright. Past the end gives the
  // last frame. The picture stays valid while the caller holds it.
  Expected<std::shared_ptr<const Picture>, std::string> picture(std::int64_t n, PixelOrder order = PixelOrder::rgba);

  // The decoded frame shown at source frame n, stored orientation, decoder's
  // pixel format; valid until the next call. Null when nothing decodes.
  const AVFrame* decoded(std::int64_t n);
  // Source frame number of the frame `decoded` returned last.
  std::int64_t decodedIndex() const { return returnedIndex_; }
  // The last frame number, once reading has reached the end (else -1).
  std::int64_t lastIndex() const { return lastIndex_; }
  // Seeks made so far (playing forward must not add any).
  std::int64_t seeks() const { return seeks_; }

 private:
  VideoReader() = default;
  bool receive(AVFrame* into);
  std::int64_t indexOf(const AVFrame* frame) const;
  bool seekNear(std::int64_t n);
  const AVFrame* advanceTo(std::int64_t n);
  void take(ff::FramePtr& fresh);

  ff::InputPtr input_;
  ff::CodecPtr decoder_;
  ff::PacketPtr packet_;
  int streamIndex_ = -1;
  AVRational timeBase_{1, 1};
  AVRational rate_{30, 1};
  std::int64_t firstPts_ = 0;
  int rotation_ = 0;
  std::int64_t frameCount_ = 0;
  double duration_ = 0;

  ff::FramePtr current_;
  ff::FramePtr previous_;
  ff::FramePtr spare_;
  std::int64_t currentIndex_ = -1;
  std::int64_t previousIndex_ = -1;
  std::int64_t returnedIndex_ = -1;
  std::int64_t lastIndex_ = -1;
  std::int64_t skipBefore_ = AV_NOPTS_VALUE;
  bool draining_ = false;
  bool ended_ = false;
  std::int64_t seeks_ = 0;

  FrameConverter converter_;
  std::shared_ptr<Picture> picture_;
  std::int64_t pictureIndex_ = -1;
};

// Clockwise rotation in degrees (a multiple of 90) that the stream's display
// matrix asks for; 0 without one.
int streamRotation(const AVStream* stream);

// The first picture stream that is not an attached cover picture, or -1.
int findPictureStream(const AVFormatContext* input);

}  // namespace brevelan
