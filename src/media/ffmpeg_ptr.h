#pragma once

#include <memory>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

// Owners for every FFmpeg object the media layer touches. Each deleter calls
// the object's own free function, so early returns never leak.
namespace brevelan::ff {

struct InputDeleter {
  void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
struct OutputDeleter {
  void operator()(AVFormatContext* context) const {
    if (!context) return;
    if (context->pb && !(context->oformat->flags & AVFMT_NOFILE)) avio_closep(&context->pb);
    avformat_free_context(context);
  }
};
struct CodecDeleter {
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct FrameDeleter {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct PacketDeleter {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct ScaleDeleter {
  void operator()(SwsContext* context) const { sws_freeContext(context); }
};
struct ResampleDeleter {
  void operator()(SwrContext* context) const { swr_free(&context); }
};

using InputPtr = std::unique_ptr<AVFormatContext, InputDeleter>;
using OutputPtr = std::unique_ptr<AVFormatContext, OutputDeleter>;
using CodecPtr = std::unique_ptr<AVCodecContext, CodecDeleter>;
using FramePtr = std::unique_ptr<AVFrame, FrameDeleter>;
using PacketPtr = std::unique_ptr<AVPacket, PacketDeleter>;
using ScalePtr = std::unique_ptr<SwsContext, ScaleDeleter>;
using ResamplePtr = std::unique_ptr<SwrContext, ResampleDeleter>;

inline FramePtr makeFrame() { return FramePtr(av_frame_alloc()); }
inline PacketPtr makePacket() { return PacketPtr(av_packet_alloc()); }

// FFmpeg's text for an error code, for messages and logs.
inline std::string errorText(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, text, sizeof text);
  return text;
}

// Opens a file for reading and reads its stream facts; null when FFmpeg cannot.
InputPtr openInput(const std::string& path, std::string* why = nullptr);

// A decoder for one stream of an opened input, using every core for frame
// threading. Null when the codec is unknown or refuses to open.
CodecPtr openDecoder(const AVStream* stream, bool threads);

// Keeps FFmpeg's own logging to errors only (a damaged file should not flood
// the terminal); safe to call from any thread, any number of times.
void quietLogging();

}  // namespace brevelan::ff
