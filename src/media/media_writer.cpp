#include "media/media_writer.h"

#include <algorithm>
#include <cstring>

#include "media/frame_converter.h"

extern "C" {
#include <libavutil/display.h>
#include <libavutil/opt.h>
}

namespace brevelan {
namespace {

std::string failure(const std::string& what, int code) { return what + ": " + ff::errorText(code); }

}  // namespace

Expected<std::unique_ptr<MediaWriter>, std::string> MediaWriter::create(const std::filesystem::path& file,
                                                                        const std::optional<VideoFormat>& video,
                                                                        const std::optional<SoundFormat>& sound) {
  ff::quietLogging();
  std::unique_ptr<MediaWriter> writer(new MediaWriter());
  writer->file_ = file;
  writer->packet_ = ff::makePacket();
  AVFormatContext* raw = nullptr;
  int status = avformat_alloc_output_context2(&raw, nullptr, nullptr, file.c_str());
  if (status < 0 || !raw) return Unexpected{failure("no container for " + file.string(), status)};
  writer->output_.reset(raw);
  const bool globalHeader = writer->output_->oformat->flags & AVFMT_GLOBALHEADER;

  if (video) {
    const AVCodec* codec = avcodec_find_encoder_by_name("libx264");
    if (!codec) codec = avcodec_find_encoder(AV_CODEC_ID_H264);
    if (!codec) return Unexpected{std::string("no H.264 encoder")};
    writer->videoEncoder_.reset(avcodec_alloc_context3(codec));
    AVCodecContext* encoder = writer->videoEncoder_.get();
    encoder->width = video->width;
    encoder->height = video->height;
    encoder->time_base = AVRational{video->rate.den, video->rate.num};
    encoder->framerate = video->rate;
    encoder->pix_fmt = AV_PIX_FMT_YUV420P;
    encoder->gop_size = video->keyInterval;
    encoder->color_primaries = AVCOL_PRI_BT709;
    encoder->color_trc = AVCOL_TRC_BT709;
    encoder->colorspace = AVCOL_SPC_BT709;
    encoder->color_range = AVCOL_RANGE_MPEG;
    encoder->thread_count = 0;
    if (globalHeader) encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "preset", video->preset.c_str(), 0);
    if (video->bitRate > 0) {
      encoder->bit_rate = video->bitRate;
    } else {
      av_dict_set(&options, "crf", std::to_string(video->quality).c_str(), 0);
    }
    status = avcodec_open2(encoder, codec, &options);
    av_dict_free(&options);
    if (status < 0) return Unexpected{failure("cannot open the H.264 encoder", status)};
    writer->videoStream_ = avformat_new_stream(writer->output_.get(), nullptr);
    if (!writer->videoStream_) return Unexpected{std::string("out of memory")};
    avcodec_parameters_from_context(writer->videoStream_->codecpar, encoder);
    writer->videoStream_->time_base = encoder->time_base;
    writer->videoStream_->avg_frame_rate = video->rate;
    if (video->rotation % 360 != 0) {
      auto* matrix = reinterpret_cast<std::int32_t*>(
          av_stream_new_side_data(writer->videoStream_, AV_PKT_DATA_DISPLAYMATRIX, 9 * sizeof(std::int32_t)));
      if (!matrix) return Unexpected{std::string("out of memory")};
      // FFmpeg's MOV muxer stores this matrix transposed, so the angle given
      // here reads back with its sign flipped: a clockwise quarter turn is
      // written as +90 and read back as -90, exactly as a phone tags its
      // portrait footage.
      av_display_rotation_set(matrix, static_cast<double>(video->rotation));
    }
    writer->yuv_ = ff::makeFrame();
    writer->yuv_->width = video->width;
    writer->yuv_->height = video->height;
    writer->yuv_->format = AV_PIX_FMT_YUV420P;
    if (av_frame_get_buffer(writer->yuv_.get(), 0) < 0) return Unexpected{std::string("out of memory")};
  }

  if (sound) {
    const bool pcm = sound->codec == SoundFormat::Codec::pcm16;
    const AVCodec* codec = avcodec_find_encoder(pcm ? AV_CODEC_ID_PCM_S16LE : AV_CODEC_ID_AAC);
    if (!codec) return Unexpected{std::string("no sound encoder")};
    writer->soundEncoder_.reset(avcodec_alloc_context3(codec));
    AVCodecContext* encoder = writer->soundEncoder_.get();
    encoder->sample_rate = 48000;
    encoder->time_base = AVRational{1, 48000};
    encoder->sample_fmt = pcm ? AV_SAMPLE_FMT_S16 : AV_SAMPLE_FMT_FLTP;
    writer->channels_ = std::clamp(sound->channels, 1, 2);
    av_channel_layout_default(&encoder->ch_layout, writer->channels_);
    if (!pcm) encoder->bit_rate = sound->bitRate;
    if (globalHeader) encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    status = avcodec_open2(encoder, codec, nullptr);
    if (status < 0) return Unexpected{failure("cannot open the sound encoder", status)};
    writer->soundStream_ = avformat_new_stream(writer->output_.get(), nullptr);
    if (!writer->soundStream_) return Unexpected{std::string("out of memory")};
    avcodec_parameters_from_context(writer->soundStream_->codecpar, encoder);
    writer->soundStream_->time_base = encoder->time_base;
    writer->soundFrameSize_ = encoder->frame_size > 0 ? encoder->frame_size : 1024;
    SwrContext* resampler = nullptr;
    AVChannelLayout layout{};
    av_channel_layout_default(&layout, writer->channels_);
    status = swr_alloc_set_opts2(&resampler, &layout, encoder->sample_fmt, 48000, &layout, AV_SAMPLE_FMT_FLT, 48000, 0,
                                 nullptr);
    writer->resampler_.reset(resampler);
    if (status < 0 || swr_init(writer->resampler_.get()) < 0) return Unexpected{std::string("cannot convert sound")};
    writer->soundFrame_ = ff::makeFrame();
  }

  if (!(writer->output_->oformat->flags & AVFMT_NOFILE)) {
    status = avio_open(&writer->output_->pb, file.c_str(), AVIO_FLAG_WRITE);
    if (status < 0) return Unexpected{failure("cannot write " + file.string(), status)};
  }
  status = avformat_write_header(writer->output_.get(), nullptr);
  if (status < 0) return Unexpected{failure("cannot start " + file.string(), status)};
  return writer;
}

MediaWriter::~MediaWriter() = default;

AVFrame* MediaWriter::scaledPicture(const std::uint8_t* const planes[], const int strides[], int width, int height,
                                    AVPixelFormat format, int colorSpace, int fullRange) {
  const int key[5] = {width, height, format, colorSpace, fullRange};
  if (!scaler_ || !std::equal(key, key + 5, scalerKey_)) {
    scaler_.reset(sws_getContext(width, height, format, yuv_->width, yuv_->height, AV_PIX_FMT_YUV420P, SWS_BILINEAR,
                                 nullptr, nullptr, nullptr));
    if (!scaler_) return nullptr;
    sws_setColorspaceDetails(scaler_.get(), sws_getCoefficients(colorSpace), fullRange,
                             sws_getCoefficients(SWS_CS_ITU709), 0, 0, 1 << 16, 1 << 16);
    std::copy(key, key + 5, scalerKey_);
  }
  // The encoder may still hold the previous frame's buffer.
  if (av_frame_make_writable(yuv_.get()) < 0) return nullptr;
  sws_scale(scaler_.get(), planes, strides, 0, height, yuv_->data, yuv_->linesize);
  return yuv_.get();
}

Expected<void, std::string> MediaWriter::addPicture(const Picture& picture) {
  if (!videoEncoder_) return Unexpected{std::string("this file has no picture stream")};
  const std::uint8_t* planes[4] = {picture.pixels.get(), nullptr, nullptr, nullptr};
  const int strides[4] = {static_cast<int>(picture.stride()), 0, 0, 0};
  const AVPixelFormat format = picture.order == PixelOrder::rgba ? AV_PIX_FMT_RGBA : AV_PIX_FMT_BGRA;
  AVFrame* frame = scaledPicture(planes, strides, picture.width, picture.height, format, SWS_CS_ITU709, 1);
  if (!frame) return Unexpected{std::string("cannot convert the picture")};
  return encodePicture(frame);
}

Expected<void, std::string> MediaWriter::addFrame(const AVFrame* source) {
  if (!videoEncoder_) return Unexpected{std::string("this file has no picture stream")};
  AVFrame* frame = scaledPicture(source->data, source->linesize, source->width, source->height,
                                 static_cast<AVPixelFormat>(source->format), swsColorSpace(source),
                                 isFullRange(source) ? 1 : 0);
  if (!frame) return Unexpected{std::string("cannot convert the picture")};
  return encodePicture(frame);
}

Expected<void, std::string> MediaWriter::encodePicture(AVFrame* frame) {
  frame->pts = pictures_++;
  const int status = avcodec_send_frame(videoEncoder_.get(), frame);
  if (status < 0) return Unexpected{failure("cannot encode a picture", status)};
  return drain(videoEncoder_.get(), videoStream_);
}

Expected<void, std::string> MediaWriter::addSound(const float* interleaved, std::int64_t frames) {
  if (!soundEncoder_) return Unexpected{std::string("this file has no sound stream")};
  pendingSound_.insert(pendingSound_.end(), interleaved, interleaved + channels_ * frames);
  const auto frameFloats = static_cast<std::size_t>(channels_ * soundFrameSize_);
  while (pendingSound_.size() - soundRead_ >= frameFloats) {
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
  soundSamples_ += count;
  const int status = avcodec_send_frame(soundEncoder_.get(), frame);
  if (status < 0) return Unexpected{failure("cannot encode sound", status)};
  return drain(soundEncoder_.get(), soundStream_);
}

Expected<void, std::string> MediaWriter::drain(AVCodecContext* encoder, AVStream* stream) {
  for (;;) {
    const int status = avcodec_receive_packet(encoder, packet_.get());
    if (status == AVERROR(EAGAIN) || status == AVERROR_EOF) return {};
    if (status < 0) return Unexpected{failure("cannot encode", status)};
    av_packet_rescale_ts(packet_.get(), encoder->time_base, stream->time_base);
    packet_->stream_index = stream->index;
    const int written = av_interleaved_write_frame(output_.get(), packet_.get());
    if (written < 0) return Unexpected{failure("cannot write " + file_.string(), written)};
  }
}

Expected<void, std::string> MediaWriter::finish() {
  if (finished_) return {};
  if (soundEncoder_) {
    if (pendingSound_.size() > soundRead_) {
      auto sent = encodeSound(static_cast<std::int64_t>(pendingSound_.size() - soundRead_) / channels_);
      if (!sent) return sent;
    }
    avcodec_send_frame(soundEncoder_.get(), nullptr);
    auto drained = drain(soundEncoder_.get(), soundStream_);
    if (!drained) return drained;
  }
  if (videoEncoder_) {
    avcodec_send_frame(videoEncoder_.get(), nullptr);
    auto drained = drain(videoEncoder_.get(), videoStream_);
    if (!drained) return drained;
  }
  const int status = av_write_trailer(output_.get());
  if (status < 0) return Unexpected{failure("cannot finish " + file_.string(), status)};
  finished_ = true;
  return {};
}

}  // namespace brevelan
