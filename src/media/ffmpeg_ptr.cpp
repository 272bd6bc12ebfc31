#include "media/ffmpeg_ptr.h"

#include <mutex>

namespace brevelan::ff {

void quietLogging() {
  static std::once_flag once;
  std::call_once(once, [] { av_log_set_level(AV_LOG_FATAL); });
}

InputPtr openInput(const std::string& path, std::string* why) {
  quietLogging();
  AVFormatContext* raw = nullptr;
  int status = avformat_open_input(&raw, path.c_str(), nullptr, nullptr);
  if (status < 0) {
    if (why) *why = errorText(status);
    return nullptr;  // avformat_open_input frees the context itself on failure
  }
  InputPtr input(raw);
  status = avformat_find_stream_info(input.get(), nullptr);
  if (status < 0) {
    if (why) *why = errorText(status);
    return nullptr;
  }
  return input;
}

CodecPtr openDecoder(const AVStream* stream, bool threads) {
  const AVCodec* codec = avcodec_find_decoder(stream->codecpar->codec_id);
  if (!codec) return nullptr;
  CodecPtr context(avcodec_alloc_context3(codec));
  if (!context) return nullptr;
  if (avcodec_parameters_to_context(context.get(), stream->codecpar) < 0) return nullptr;
  context->pkt_timebase = stream->time_base;
  if (threads) {
    context->thread_count = 0;
    context->thread_type = FF_THREAD_FRAME | FF_THREAD_SLICE;
  }
  if (avcodec_open2(context.get(), codec, nullptr) < 0) return nullptr;
  return context;
}

}  // namespace brevelan::ff
