#include "media/caf_file.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <system_error>

#include "media/ffmpeg_ptr.h"

namespace brevelan {
namespace {

constexpr int kRate = 48000;
constexpr std::size_t kChunkFrames = 65536;

std::string failure(const std::string& what, int code) { return what + ": " + ff::errorText(code); }

}  // namespace

Expected<void, std::string> writeCAF(std::span<const float> interleaved, const std::filesystem::path& file) {
  ff::quietLogging();
  std::error_code ignored;
  std::filesystem::remove(file, ignored);

  AVFormatContext* raw = nullptr;
  int status = avformat_alloc_output_context2(&raw, nullptr, "caf", file.c_str());
  if (status < 0 || !raw) return Unexpected{failure("could not make a CAF file", status)};
  ff::OutputPtr output(raw);
  AVStream* stream = avformat_new_stream(output.get(), nullptr);
  if (!stream) return Unexpected{std::string("could not make a CAF file: no memory")};
  AVCodecParameters* par = stream->codecpar;
  par->codec_type = AVMEDIA_TYPE_AUDIO;
  par->codec_id = AV_CODEC_ID_PCM_F32LE;
  par->sample_rate = kRate;
  av_channel_layout_default(&par->ch_layout, 2);
  par->bits_per_coded_sample = 32;
  par->block_align = 8;
  par->bit_rate = static_cast<std::int64_t>(kRate) * 64;
  stream->time_base = AVRational{1, kRate};

  if ((status = avio_open(&output->pb, file.c_str(), AVIO_FLAG_WRITE)) < 0)
    return Unexpected{failure("could not create " + file.string(), status)};
  if ((status = avformat_write_header(output.get(), nullptr)) < 0)
    return Unexpected{failure("could not start " + file.string(), status)};

  // Raw float samples are the packets: little-endian on every machine we build for.
  static_assert(std::endian::native == std::endian::little);
  ff::PacketPtr packet = ff::makePacket();
  const std::size_t frames = interleaved.size() / 2;
  for (std::size_t at = 0; at < frames; at += kChunkFrames) {
    const std::size_t count = std::min(kChunkFrames, frames - at);
    const auto bytes = static_cast<int>(count * 2 * sizeof(float));
    if ((status = av_new_packet(packet.get(), bytes)) < 0) return Unexpected{failure("could not write the sound", status)};
    std::memcpy(packet->data, interleaved.data() + 2 * at, static_cast<std::size_t>(bytes));
    packet->stream_index = stream->index;
    packet->pts = packet->dts = static_cast<std::int64_t>(at);
    packet->duration = static_cast<std::int64_t>(count);
    av_packet_rescale_ts(packet.get(), AVRational{1, kRate}, stream->time_base);
    status = av_write_frame(output.get(), packet.get());
    av_packet_unref(packet.get());
    if (status < 0) return Unexpected{failure("could not write " + file.string(), status)};
  }
  if ((status = av_write_trailer(output.get())) < 0) return Unexpected{failure("could not finish " + file.string(), status)};
  if ((status = avio_closep(&output->pb)) < 0) return Unexpected{failure("could not close " + file.string(), status)};
  return {};
}

}  // namespace brevelan
