#include "media/media_writer.h"

#include <algorithm>
#include <cstring>
#include <thread>

#include "media/frame_converter.h"

extern "C" {
#include <libavutil/display.h>
#include <libavutil/opt.h>
}

namespace brevelan {
namespace {

std::string failure(const std::string& what, int code) { return what + ": " + ff::errorText(code); }

WriterError failed(std::string message) { return WriterError{WriterError::Kind::failed, std::move(message)}; }

bool isProRes(VideoFormat::Codec codec) {
  return codec != VideoFormat::Codec::h264 && codec != VideoFormat::Codec::hevc;
}

// The four-character code a player looks for; also what makes FFmpeg's MOV
// muxer write HEVC as hvc1 (parameter sets in the header) rather than hev1.
std::uint32_t codecTag(VideoFormat::Codec codec) {
  switch (codec) {
    case VideoFormat::Codec::h264: return MKTAG('a', 'v', 'c', '1');
    case VideoFormat::Codec::hevc: return MKTAG('h', 'v', 'c', '1');
    case VideoFormat::Codec::proresProxy: return MKTAG('a', 'p', 'c', 'o');
    case VideoFormat::Codec::prores422: return MKTAG('a', 'p', 'c', 'n');
    case VideoFormat::Codec::prores422HQ: return MKTAG('a', 'p', 'c', 'h');
  }
  return 0;
}

int proResProfile(VideoFormat::Codec codec) {
  switch (codec) {
    case VideoFormat::Codec::proresProxy: return FF_PROFILE_PRORES_PROXY;
    case VideoFormat::Codec::prores422HQ: return FF_PROFILE_PRORES_HQ;
    default: return FF_PROFILE_PRORES_STANDARD;
  }
}

const char* codecName(VideoFormat::Codec codec) {
  switch (codec) {
    case VideoFormat::Codec::h264: return "H.264";
    case VideoFormat::Codec::hevc: return "HEVC";
    default: return "ProRes";
  }
}

// Opens the picture encoder. Anything that goes wrong here means this
// FFmpeg cannot write the codec with these settings.
Expected<ff::CodecPtr, WriterError> openPictureEncoder(const VideoFormat& video, bool globalHeader) {
  const std::string name = codecName(video.codec);
  const auto unavailable = [&](std::string why) {
    return Unexpected{WriterError{WriterError::Kind::encoderUnavailable, "cannot open the " + name + " encoder: " + why}};
  };
  const char* encoderName = video.codec == VideoFormat::Codec::h264   ? "libx264"
                            : video.codec == VideoFormat::Codec::hevc ? "libx265"
                                                                      : "prores";  // prores_aw: ~5× prores_ks
  const AVCodec* codec = avcodec_find_encoder_by_name(encoderName);
  if (!codec) return unavailable(std::string(encoderName) + " is not built into this FFmpeg");
  ff::CodecPtr context(avcodec_alloc_context3(codec));
  if (!context) return Unexpected{failed("out of memory")};
  AVCodecContext* encoder = context.get();
  encoder->width = video.width;
  encoder->height = video.height;
  encoder->time_base = AVRational{video.rate.den, video.rate.num};
  encoder->framerate = video.rate;
  encoder->pix_fmt = isProRes(video.codec) ? AV_PIX_FMT_YUV422P10 : AV_PIX_FMT_YUV420P;
  encoder->gop_size = video.keyInterval;
  encoder->color_primaries = AVCOL_PRI_BT709;
  encoder->color_trc = AVCOL_TRC_BT709;
  encoder->colorspace = AVCOL_SPC_BT709;
  encoder->color_range = AVCOL_RANGE_MPEG;
  encoder->thread_count = 0;
  if (globalHeader) encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;

  AVDictionary* options = nullptr;
  if (isProRes(video.codec)) {
    encoder->profile = proResProfile(video.codec);
  } else {
    av_dict_set(&options, "preset", video.preset.c_str(), 0);
    // High (automatic level) plays everywhere H.264 plays; Main is HEVC's 8-bit 4:2:0 profile.
    av_dict_set(&options, "profile", video.codec == VideoFormat::Codec::h264 ? "high" : "main", 0);
    // Closed GOPs, as x264 makes them: every key frame is a clean place to
    // start playing, which players seeking in an MP4 expect of a sync sample.
    if (video.codec == VideoFormat::Codec::hevc) av_dict_set(&options, "x265-params", "log-level=error:open-gop=0", 0);
    if (video.codec == VideoFormat::Codec::h264) av_dict_set(&options, "x264-params", x264Params().c_str(), 0);
    if (video.bitRate > 0) {
      // One-pass average bit rate, as delivery presets quote it. No VBV cap:
      // a file to upload or play from disk needs none, and it costs x264 a
      // twentieth more time.
      encoder->bit_rate = video.bitRate;
    } else {
      av_dict_set(&options, "crf", std::to_string(video.quality).c_str(), 0);
    }
  }
  const int status = avcodec_open2(encoder, codec, &options);
  av_dict_free(&options);
  if (status < 0) return unavailable(ff::errorText(status));
  return context;
}

}  // namespace

// x264 gives its look-ahead one thread below 18 threads in all, and on a
// small machine that thread alone is the slowest stage: two share it, making
// the same decisions in slices of the frame, a tenth faster on 2 cores.
std::string x264Params() {
  return "lookahead-threads=" + std::to_string(std::max(2u, std::thread::hardware_concurrency() / 4));
}

Expected<std::unique_ptr<MediaWriter>, std::string> MediaWriter::create(const std::filesystem::path& file,
                                                                        const std::optional<VideoFormat>& video,
                                                                        const std::optional<SoundFormat>& sound) {
  auto writer = open(file, video, sound);
  if (!writer) return Unexpected{writer.error().message};
  return std::move(writer).value();
}

Expected<std::unique_ptr<MediaWriter>, WriterError> MediaWriter::open(const std::filesystem::path& file,
                                                                      const std::optional<VideoFormat>& video,
                                                                      const std::optional<SoundFormat>& sound,
                                                                      const std::string& container) {
  ff::quietLogging();
  std::unique_ptr<MediaWriter> writer(new MediaWriter());
  writer->file_ = file;
  AVFormatContext* raw = nullptr;
  int status = avformat_alloc_output_context2(&raw, nullptr, container.empty() ? nullptr : container.c_str(),
                                              file.c_str());
  if (status < 0 || !raw) return Unexpected{failed(failure("no container for " + file.string(), status))};
  writer->output_.reset(raw);
  const bool globalHeader = writer->output_->oformat->flags & AVFMT_GLOBALHEADER;

  if (video) {
    auto encoder = openPictureEncoder(*video, globalHeader);
    if (!encoder) return Unexpected{encoder.error()};
    writer->videoEncoder_ = std::move(encoder).value();
    writer->videoPacket_ = ff::makePacket();
    writer->videoStream_ = avformat_new_stream(writer->output_.get(), nullptr);
    if (!writer->videoStream_) return Unexpected{failed("out of memory")};
    avcodec_parameters_from_context(writer->videoStream_->codecpar, writer->videoEncoder_.get());
    writer->videoStream_->codecpar->codec_tag = codecTag(video->codec);
    writer->videoStream_->time_base = writer->videoEncoder_->time_base;
    writer->videoStream_->avg_frame_rate = video->rate;
    if (video->rotation % 360 != 0) {
      auto* matrix = reinterpret_cast<std::int32_t*>(
          av_stream_new_side_data(writer->videoStream_, AV_PKT_DATA_DISPLAYMATRIX, 9 * sizeof(std::int32_t)));
      if (!matrix) return Unexpected{failed("out of memory")};
      // FFmpeg's MOV muxer stores this matrix transposed, so the angle given
      // here reads back with its sign flipped: a clockwise quarter turn is
      // written as +90 and read back as -90, exactly as a phone tags its
      // portrait footage.
      av_display_rotation_set(matrix, static_cast<double>(video->rotation));
    }
    const AVCodecContext& context = *writer->videoEncoder_;
    writer->frames_.emplace(context.width, context.height, context.pix_fmt);
  }

  if (sound) {
    const SoundFormat::Codec kind = sound->codec;
    const AVCodecID id = kind == SoundFormat::Codec::pcm16   ? AV_CODEC_ID_PCM_S16LE
                         : kind == SoundFormat::Codec::pcm24 ? AV_CODEC_ID_PCM_S24LE
                                                             : AV_CODEC_ID_AAC;
    const AVCodec* codec = avcodec_find_encoder(id);
    if (!codec) return Unexpected{failed("no sound encoder")};
    writer->soundEncoder_.reset(avcodec_alloc_context3(codec));
    AVCodecContext* encoder = writer->soundEncoder_.get();
    encoder->sample_rate = 48000;
    encoder->time_base = AVRational{1, 48000};
    // 24-bit PCM is handed to FFmpeg in the top bits of 32-bit samples.
    encoder->sample_fmt = kind == SoundFormat::Codec::pcm16   ? AV_SAMPLE_FMT_S16
                          : kind == SoundFormat::Codec::pcm24 ? AV_SAMPLE_FMT_S32
                                                              : AV_SAMPLE_FMT_FLTP;
    writer->channels_ = std::clamp(sound->channels, 1, 2);
    av_channel_layout_default(&encoder->ch_layout, writer->channels_);
    if (kind == SoundFormat::Codec::aac) encoder->bit_rate = sound->bitRate;
    if (globalHeader) encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    status = avcodec_open2(encoder, codec, nullptr);
    if (status < 0) return Unexpected{failed(failure("cannot open the sound encoder", status))};
    writer->soundStream_ = avformat_new_stream(writer->output_.get(), nullptr);
    if (!writer->soundStream_) return Unexpected{failed("out of memory")};
    avcodec_parameters_from_context(writer->soundStream_->codecpar, encoder);
    writer->soundStream_->time_base = encoder->time_base;
    writer->soundFrameSize_ = encoder->frame_size > 0 ? encoder->frame_size : 1024;
    SwrContext* resampler = nullptr;
    AVChannelLayout layout{};
    av_channel_layout_default(&layout, writer->channels_);
    status = swr_alloc_set_opts2(&resampler, &layout, encoder->sample_fmt, 48000, &layout, AV_SAMPLE_FMT_FLT, 48000, 0,
                                 nullptr);
    writer->resampler_.reset(resampler);
    if (status < 0 || swr_init(writer->resampler_.get()) < 0) return Unexpected{failed("cannot convert sound")};
    writer->soundFrame_ = ff::makeFrame();
    writer->soundPacket_ = ff::makePacket();
  }

  if (!(writer->output_->oformat->flags & AVFMT_NOFILE)) {
    status = avio_open(&writer->output_->pb, file.c_str(), AVIO_FLAG_WRITE);
    if (status < 0) return Unexpected{failed(failure("cannot write " + file.string(), status))};
  }
  status = avformat_write_header(writer->output_.get(), nullptr);
  if (status < 0) return Unexpected{failed(failure("cannot start " + file.string(), status))};
  return writer;
}

MediaWriter::~MediaWriter() = default;

Expected<void, std::string> MediaWriter::addPicture(const Picture& picture) {
  if (!videoEncoder_) return Unexpected{std::string("this file has no picture stream")};
  const ff::FramePtr frame = frames_->fromPicture(picture);
  if (!frame) return Unexpected{std::string("cannot convert the picture")};
  return encodePicture(frame.get());
}

Expected<void, std::string> MediaWriter::addFrame(const AVFrame* source) {
  if (!videoEncoder_) return Unexpected{std::string("this file has no picture stream")};
  const ff::FramePtr frame = frames_->fromDecoded(source);
  if (!frame) return Unexpected{std::string("cannot convert the picture")};
  return encodePicture(frame.get());
}

AVPixelFormat MediaWriter::pictureFormat() const {
  return videoEncoder_ ? videoEncoder_->pix_fmt : AV_PIX_FMT_NONE;
}

bool MediaWriter::isCancelled() {
  std::lock_guard lock(lock_);
  return cancelled_;
}

Expected<void, std::string> MediaWriter::encodePicture(AVFrame* frame) {
  if (picturesFinished_) return Unexpected{std::string("the picture stream is already finished")};
  if (isCancelled()) return Unexpected{std::string("cancelled")};
  frame->pts = pictures_++;
  const int status = avcodec_send_frame(videoEncoder_.get(), frame);
  if (status < 0) return Unexpected{failure("cannot encode a picture", status)};
  auto drained = drain(videoEncoder_.get(), videoStream_, videoPacket_.get());
  {
    std::lock_guard lock(lock_);
    pictureSeconds_ = static_cast<double>(pictures_) * av_q2d(videoEncoder_->time_base);
  }
  picturesArrived_.notify_all();
  return drained;
}

void MediaWriter::paceSound(double seconds) {
  std::lock_guard lock(lock_);
  soundLead_ = seconds;
}

bool MediaWriter::waitForPictures() {
  std::unique_lock lock(lock_);
  if (videoEncoder_ && soundLead_ > 0) {
    const double soundSeconds = static_cast<double>(soundSamples_) / 48000.0;
    picturesArrived_.wait(lock, [&] {
      return cancelled_ || picturesEnded_ || soundSeconds <= pictureSeconds_ + soundLead_;
    });
  }
  return !cancelled_;
}

Expected<void, std::string> MediaWriter::addSound(const float* interleaved, std::int64_t frames) {
  if (!soundEncoder_) return Unexpected{std::string("this file has no sound stream")};
  if (soundFinished_) return Unexpected{std::string("the sound stream is already finished")};
  pendingSound_.insert(pendingSound_.end(), interleaved, interleaved + channels_ * frames);
  const auto frameFloats = static_cast<std::size_t>(channels_ * soundFrameSize_);
  while (pendingSound_.size() - soundRead_ >= frameFloats) {
    if (!waitForPictures()) return Unexpected{std::string("cancelled")};
    auto sent = encodeSound(soundFrameSize_);
    if (!sent) return sent;
  }
  pendingSound_.erase(pendingSound_.begin(), pendingSound_.begin() + static_cast<std::ptrdiff_t>(soundRead_));
  soundRead_ = 0;
  return {};
}

Expected<void, std::string> MediaWriter::encodeSound(std::int64_t count) {
  AVFrame* frame = soundFrame_.get();
  av_frame_unref(frame);
  frame->nb_samples = static_cast<int>(count);
  frame->format = soundEncoder_->sample_fmt;
  frame->sample_rate = 48000;
  av_channel_layout_copy(&frame->ch_layout, &soundEncoder_->ch_layout);
  if (av_frame_get_buffer(frame, 0) < 0) return Unexpected{std::string("out of memory")};
  const std::uint8_t* in[1] = {reinterpret_cast<const std::uint8_t*>(pendingSound_.data() + soundRead_)};
  if (swr_convert(resampler_.get(), frame->extended_data, frame->nb_samples, in, frame->nb_samples) < 0)
    return Unexpected{std::string("cannot convert sound")};
  soundRead_ += static_cast<std::size_t>(channels_ * count);
  frame->pts = soundSamples_;
  {
    std::lock_guard lock(lock_);  // read by waitForPictures()
    soundSamples_ += count;
  }
  const int status = avcodec_send_frame(soundEncoder_.get(), frame);
  if (status < 0) return Unexpected{failure("cannot encode sound", status)};
  return drain(soundEncoder_.get(), soundStream_, soundPacket_.get());
}

Expected<void, std::string> MediaWriter::drain(AVCodecContext* encoder, AVStream* stream, AVPacket* packet) {
  for (;;) {
    const int status = avcodec_receive_packet(encoder, packet);
    if (status == AVERROR(EAGAIN) || status == AVERROR_EOF) return {};
    if (status < 0) return Unexpected{failure("cannot encode", status)};
    av_packet_rescale_ts(packet, encoder->time_base, stream->time_base);
    packet->stream_index = stream->index;
    int written = 0;
    {
      std::lock_guard lock(lock_);
      written = av_interleaved_write_frame(output_.get(), packet);
    }
    if (written < 0) return Unexpected{failure("cannot write " + file_.string(), written)};
  }
}

Expected<void, std::string> MediaWriter::finishPictures() {
  if (!videoEncoder_ || picturesFinished_) return {};
  picturesFinished_ = true;
  avcodec_send_frame(videoEncoder_.get(), nullptr);
  auto drained = drain(videoEncoder_.get(), videoStream_, videoPacket_.get());
  {
    std::lock_guard lock(lock_);
    picturesEnded_ = true;
  }
  picturesArrived_.notify_all();
  return drained;
}

Expected<void, std::string> MediaWriter::finishSound() {
  if (!soundEncoder_ || soundFinished_) return {};
  soundFinished_ = true;
  if (pendingSound_.size() > soundRead_) {
    auto sent = encodeSound(static_cast<std::int64_t>(pendingSound_.size() - soundRead_) / channels_);
    if (!sent) return sent;
  }
  avcodec_send_frame(soundEncoder_.get(), nullptr);
  return drain(soundEncoder_.get(), soundStream_, soundPacket_.get());
}

void MediaWriter::cancel() {
  {
    std::lock_guard lock(lock_);
    cancelled_ = true;
  }
  picturesArrived_.notify_all();
}

Expected<void, std::string> MediaWriter::finish() {
  if (finished_) return {};
  if (isCancelled()) return Unexpected{std::string("cancelled")};
  auto sound = finishSound();
  if (!sound) return sound;
  auto pictures = finishPictures();
  if (!pictures) return pictures;
  const int status = av_write_trailer(output_.get());
  if (status < 0) return Unexpected{failure("cannot finish " + file_.string(), status)};
  finished_ = true;
  return {};
}

}  // namespace brevelan
