#include "media/video_reader.h"

#include <cmath>
#include <cstring>

extern "C" {
#include <libavutil/display.h>
}

namespace brevelan {
namespace {

// Requests at most this many seconds ahead of the last decoded frame are
// reached by decoding on; further ones seek.
constexpr double kForwardWindowSeconds = 3.0;
// Consecutive decoder errors after which a stream counts as ended.
constexpr int kMaxErrors = 64;

}  // namespace

int streamRotation(const AVStream* stream) {
  const std::uint8_t* matrix = av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr);
  if (!matrix) return 0;
  const double counterClockwise = av_display_rotation_get(reinterpret_cast<const std::int32_t*>(matrix));
  if (std::isnan(counterClockwise)) return 0;
  const long quarter = std::lround(-counterClockwise / 90.0);
  return static_cast<int>(((quarter % 4) + 4) % 4) * 90;
}

int findPictureStream(const AVFormatContext* input) {
  for (unsigned i = 0; i < input->nb_streams; ++i) {
    const AVStream* stream = input->streams[i];
    if (stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO && !(stream->disposition & AV_DISPOSITION_ATTACHED_PIC))
      return static_cast<int>(i);
  }
  return -1;
}

Expected<std::unique_ptr<VideoReader>, std::string> VideoReader::open(const std::filesystem::path& file, bool threads) {
  std::unique_ptr<VideoReader> reader(new VideoReader());
  std::string why;
  reader->input_ = ff::openInput(file.string(), &why);
  if (!reader->input_) return Unexpected{"cannot open " + file.string() + ": " + why};
  reader->streamIndex_ = findPictureStream(reader->input_.get());
  if (reader->streamIndex_ < 0) return Unexpected{file.string() + " has no picture stream"};
  AVStream* stream = reader->input_->streams[reader->streamIndex_];
  // Only the chosen stream's packets are wanted; the demuxer drops the rest.
  for (unsigned i = 0; i < reader->input_->nb_streams; ++i)
    if (static_cast<int>(i) != reader->streamIndex_) reader->input_->streams[i]->discard = AVDISCARD_ALL;
  reader->decoder_ = ff::openDecoder(stream, threads);
  if (!reader->decoder_) return Unexpected{file.string() + ": no decoder for its picture stream"};
  reader->packet_ = ff::makePacket();
  reader->current_ = ff::makeFrame();
  reader->previous_ = ff::makeFrame();
  reader->spare_ = ff::makeFrame();
  reader->timeBase_ = stream->time_base;
  if (stream->avg_frame_rate.num > 0 && stream->avg_frame_rate.den > 0) {
    reader->rate_ = stream->avg_frame_rate;
  } else if (stream->r_frame_rate.num > 0 && stream->r_frame_rate.den > 0) {
    reader->rate_ = stream->r_frame_rate;
  }
  reader->rotation_ = streamRotation(stream);
  if (stream->duration > 0 && stream->duration != AV_NOPTS_VALUE) {
    reader->duration_ = static_cast<double>(stream->duration) * av_q2d(stream->time_base);
  } else if (reader->input_->duration > 0) {
    reader->duration_ = static_cast<double>(reader->input_->duration) / AV_TIME_BASE;
  }
  reader->frameCount_ = stream->nb_frames > 0 ? stream->nb_frames
                                              : std::max<std::int64_t>(1, std::llround(reader->duration_ * reader->fps()));

  // The first picture fixes frame 0's time; it stays decoded as frame 0.
  ff::FramePtr first = ff::makeFrame();
  if (!reader->receive(first.get())) return Unexpected{file.string() + ": its first picture does not decode"};
  reader->firstPts_ = first->best_effort_timestamp != AV_NOPTS_VALUE ? first->best_effort_timestamp : 0;
  reader->take(first);
  return reader;
}

bool VideoReader::receive(AVFrame* into) {
  int errors = 0;
  for (;;) {
    const int status = avcodec_receive_frame(decoder_.get(), into);
    if (status == 0) return true;
    if (status == AVERROR_EOF) return false;
    if (status != AVERROR(EAGAIN)) {
      if (++errors > kMaxErrors) return false;
      continue;
    }
    if (draining_) return false;
    if (av_read_frame(input_.get(), packet_.get()) < 0) {
      draining_ = true;
      avcodec_send_packet(decoder_.get(), nullptr);
      continue;
    }
    if (packet_->stream_index != streamIndex_) {
      av_packet_unref(packet_.get());
      continue;
    }
    // Pictures before the one asked for that nothing else refers to need not
    // be decoded at all: this roughly halves the work of a seek.
    const bool skippable = skipBefore_ != AV_NOPTS_VALUE && packet_->pts != AV_NOPTS_VALUE && packet_->pts < skipBefore_;
    decoder_->skip_frame = skippable ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
    const int sent = avcodec_send_packet(decoder_.get(), packet_.get());
    av_packet_unref(packet_.get());
    if (sent < 0 && sent != AVERROR(EAGAIN) && ++errors > kMaxErrors) return false;
  }
}

std::int64_t VideoReader::indexOf(const AVFrame* frame) const {
  const std::int64_t pts = frame->best_effort_timestamp;
  if (pts == AV_NOPTS_VALUE) return currentIndex_ + 1;
  return av_rescale_q_rnd(pts - firstPts_, timeBase_, AVRational{rate_.den, rate_.num}, AV_ROUND_NEAR_INF);
}

void VideoReader::take(ff::FramePtr& fresh) {
  const std::int64_t index = indexOf(fresh.get());
  std::swap(previous_, current_);
  previousIndex_ = currentIndex_;
  std::swap(current_, fresh);
  currentIndex_ = index;
  av_frame_unref(fresh.get());
}

bool VideoReader::seekNear(std::int64_t n) {
  const std::int64_t target = firstPts_ + av_rescale_q(n, AVRational{rate_.den, rate_.num}, timeBase_);
  const std::int64_t second = av_rescale_q(1, AVRational{1, 1}, timeBase_);
  // The container's index may place a key frame's decode time before the
  // picture wanted while its picture comes after it: then step further back.
  const std::int64_t backoffs[] = {0, second, 5 * second, -1};
  for (const std::int64_t backoff : backoffs) {
    const std::int64_t ts = backoff < 0 ? INT64_MIN : target - backoff;
    ++seeks_;
    const int status = backoff < 0 ? avformat_seek_file(input_.get(), streamIndex_, INT64_MIN, firstPts_, firstPts_, 0)
                                   : av_seek_frame(input_.get(), streamIndex_, ts, AVSEEK_FLAG_BACKWARD);
    if (status < 0) continue;
    avcodec_flush_buffers(decoder_.get());
    draining_ = false;
    ended_ = false;
    av_frame_unref(current_.get());
    av_frame_unref(previous_.get());
    currentIndex_ = previousIndex_ = -1;
    skipBefore_ = target - 2 * av_rescale_q(1, AVRational{rate_.den, rate_.num}, timeBase_);
    if (!receive(spare_.get())) continue;
    take(spare_);
    if (currentIndex_ <= n || backoff < 0) return true;
  }
  return false;
}

const AVFrame* VideoReader::advanceTo(std::int64_t n) {
  while (currentIndex_ < n && !ended_) {
    if (!receive(spare_.get())) {
      ended_ = true;
      lastIndex_ = currentIndex_;
      break;
    }
    take(spare_);
  }
  skipBefore_ = AV_NOPTS_VALUE;
  if (currentIndex_ < 0) return nullptr;
  // A stream without a picture at n (variable rate) shows the one before it.
  if (currentIndex_ > n && previousIndex_ >= 0 && previousIndex_ < n) {
    returnedIndex_ = previousIndex_;
    return previous_.get();
  }
  returnedIndex_ = currentIndex_;
  return current_.get();
}

const AVFrame* VideoReader::decoded(std::int64_t n) {
  if (n < 0) n = 0;
  if (lastIndex_ >= 0 && n > lastIndex_) n = lastIndex_;
  if (currentIndex_ == n) {
    returnedIndex_ = n;
    return current_.get();
  }
  if (previousIndex_ == n) {
    returnedIndex_ = n;
    return previous_.get();
  }
  const std::int64_t window = std::max<std::int64_t>(1, std::llround(kForwardWindowSeconds * fps()));
  const bool onward = currentIndex_ >= 0 && n > currentIndex_ && n - currentIndex_ <= window && !ended_;
  if (!onward && !seekNear(n)) return nullptr;
  return advanceTo(n);
}

Expected<std::shared_ptr<const Picture>, std::string> VideoReader::picture(std::int64_t n, PixelOrder order) {
  const AVFrame* frame = decoded(n);
  if (!frame) return Unexpected{std::string("frame ") + std::to_string(n) + " does not decode"};
  if (picture_ && pictureIndex_ == returnedIndex_ && picture_->order == order) return std::shared_ptr<const Picture>(picture_);
  const bool reuse = picture_ && picture_.use_count() == 1 && rotation_ == 0 && picture_->width == frame->width &&
                     picture_->height == frame->height;
  if (!reuse) picture_ = std::make_shared<Picture>(frame->width, frame->height, order);
  picture_->order = order;
  converter_.convert(frame, *picture_);
  if (rotation_ != 0) picture_ = std::make_shared<Picture>(oriented(*picture_, orientationForRotation(rotation_)));
  pictureIndex_ = returnedIndex_;
  return std::shared_ptr<const Picture>(picture_);
}

}  // namespace brevelan
