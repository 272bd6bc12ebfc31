#include "media/audio_reader.h"

#include "media/ffmpeg_ptr.h"

extern "C" {
#include <libavutil/opt.h>
}

namespace brevelan {
namespace {

constexpr int kRate = 48000;

// Converts decoded frames to 48 kHz float: mono stays mono (and is copied to
// both sides afterwards, so it keeps its level), everything else becomes stereo.
class SoundSink {
 public:
  bool prepare(const AVCodecContext* decoder) {
    AVChannelLayout in{};
    if (decoder->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC || decoder->ch_layout.nb_channels <= 0) {
      av_channel_layout_default(&in, std::max(1, decoder->ch_layout.nb_channels));
    } else if (av_channel_layout_copy(&in, &decoder->ch_layout) < 0) {
      return false;
    }
    mono_ = in.nb_channels == 1;
    AVChannelLayout out{};
    av_channel_layout_default(&out, mono_ ? 1 : 2);
    SwrContext* raw = nullptr;
    const int status = swr_alloc_set_opts2(&raw, &out, AV_SAMPLE_FMT_FLT, kRate, &in, decoder->sample_fmt,
                                           decoder->sample_rate, 0, nullptr);
    av_channel_layout_uninit(&in);
    av_channel_layout_uninit(&out);
    resampler_.reset(raw);
    // Room for the whole sound at once when its length is known: growing by
    // doubling would copy it about twice over and fault in fresh pages each time.
    if (expectedSeconds_ > 0)
      samples_.reserve(static_cast<std::size_t>((expectedSeconds_ + 1) * kRate) * (mono_ ? 1 : 2));
    return status >= 0 && swr_init(resampler_.get()) >= 0;
  }

  void expect(double seconds) { expectedSeconds_ = std::min(seconds, 24.0 * 3600); }

  // frame null: flush what the resampler still holds.
  bool add(const AVFrame* frame) {
    const int inCount = frame ? frame->nb_samples : 0;
    const int room = swr_get_out_samples(resampler_.get(), inCount);
    if (room < 0) return false;
    const int channels = mono_ ? 1 : 2;
    const std::size_t start = samples_.size();
    samples_.resize(start + static_cast<std::size_t>(room) * channels);
    std::uint8_t* out[1] = {reinterpret_cast<std::uint8_t*>(samples_.data() + start)};
    const int made = swr_convert(resampler_.get(), out, room, frame ? const_cast<const std::uint8_t**>(frame->extended_data) : nullptr,
                                 inCount);
    if (made < 0) return false;
    samples_.resize(start + static_cast<std::size_t>(made) * channels);
    return true;
  }

  std::vector<float> take() {
    if (!mono_) return std::move(samples_);
    std::vector<float> stereo(samples_.size() * 2);
    for (std::size_t i = 0; i < samples_.size(); ++i) stereo[2 * i] = stereo[2 * i + 1] = samples_[i];
    return stereo;
  }

 private:
  ff::ResamplePtr resampler_;
  bool mono_ = false;
  double expectedSeconds_ = 0;
  std::vector<float> samples_;
};

}  // namespace

Expected<std::vector<float>, std::string> decodeSound(const std::filesystem::path& file) {
  std::string why;
  ff::InputPtr input = ff::openInput(file.string(), &why);
  if (!input) return Unexpected{"cannot open " + file.string() + ": " + why};
  const int index = av_find_best_stream(input.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
  if (index < 0) return Unexpected{file.string() + " has no sound"};
  for (unsigned i = 0; i < input->nb_streams; ++i)
    if (static_cast<int>(i) != index) input->streams[i]->discard = AVDISCARD_ALL;
  ff::CodecPtr decoder = ff::openDecoder(input->streams[index], false);
  if (!decoder) return Unexpected{file.string() + ": no decoder for its sound"};

  SoundSink sink;
  if (input->duration > 0) sink.expect(static_cast<double>(input->duration) / AV_TIME_BASE);
  ff::PacketPtr packet = ff::makePacket();
  ff::FramePtr frame = ff::makeFrame();
  bool prepared = false;
  bool draining = false;
  int errors = 0;
  for (;;) {
    const int status = avcodec_receive_frame(decoder.get(), frame.get());
    if (status == 0) {
      // The decoder knows the real layout only after the first frame.
      if (!prepared && !(prepared = sink.prepare(decoder.get()))) return Unexpected{file.string() + ": cannot convert its sound"};
      if (!sink.add(frame.get())) return Unexpected{file.string() + ": cannot convert its sound"};
      av_frame_unref(frame.get());
      continue;
    }
    if (status == AVERROR_EOF) break;
    if (status != AVERROR(EAGAIN)) {
      if (++errors > 64) break;  // a damaged stream: keep what decoded
      continue;
    }
    if (draining) break;
    if (av_read_frame(input.get(), packet.get()) < 0) {
      draining = true;
      avcodec_send_packet(decoder.get(), nullptr);
      continue;
    }
    if (packet->stream_index == index) avcodec_send_packet(decoder.get(), packet.get());
    av_packet_unref(packet.get());
  }
  if (!prepared) return std::vector<float>{};
  sink.add(nullptr);
  return sink.take();
}

}  // namespace brevelan
