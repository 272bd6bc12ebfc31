#include "media/still_image.h"

#include "model/file_names.h"

#include <libheif/heif.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "media/ffmpeg_ptr.h"
#include "media/frame_converter.h"
#include "media/video_reader.h"

namespace brevelan {
namespace {

struct HeifContextDeleter {
  void operator()(heif_context* context) const { heif_context_free(context); }
};
struct HeifHandleDeleter {
  void operator()(heif_image_handle* handle) const { heif_image_handle_release(handle); }
};
struct HeifImageDeleter {
  void operator()(heif_image* image) const { heif_image_release(image); }
};

Expected<Picture, std::string> loadHeif(const std::filesystem::path& file, PixelOrder order) {
  std::unique_ptr<heif_context, HeifContextDeleter> context(heif_context_alloc());
  heif_error error = heif_context_read_from_file(context.get(), file.c_str(), nullptr);
  if (error.code != heif_error_Ok) return Unexpected{std::string(error.message)};
  heif_image_handle* rawHandle = nullptr;
  error = heif_context_get_primary_image_handle(context.get(), &rawHandle);
  if (error.code != heif_error_Ok) return Unexpected{std::string(error.message)};
  std::unique_ptr<heif_image_handle, HeifHandleDeleter> handle(rawHandle);
  heif_image* rawImage = nullptr;
  error = heif_decode_image(handle.get(), &rawImage, heif_colorspace_RGB, heif_chroma_interleaved_RGBA, nullptr);
  if (error.code != heif_error_Ok) return Unexpected{std::string(error.message)};
  std::unique_ptr<heif_image, HeifImageDeleter> image(rawImage);
  const int width = heif_image_get_width(image.get(), heif_channel_interleaved);
  const int height = heif_image_get_height(image.get(), heif_channel_interleaved);
  int stride = 0;
  const std::uint8_t* data = heif_image_get_plane_readonly(image.get(), heif_channel_interleaved, &stride);
  if (!data || width <= 0 || height <= 0) return Unexpected{std::string("no picture data")};
  Picture picture(width, height, PixelOrder::rgba);
  for (int y = 0; y < height; ++y) std::memcpy(picture.row(y), data + static_cast<std::size_t>(stride) * y, picture.stride());
  premultiply(picture);
  if (order != PixelOrder::rgba) return reordered(picture, order);
  return picture;
}

int exifOrientation(const AVFrame* frame) {
  const AVDictionaryEntry* entry = av_dict_get(frame->metadata, "Orientation", nullptr, 0);
  if (!entry) return 1;
  const int value = std::atoi(entry->value);
  return value >= 1 && value <= 8 ? value : 1;
}

Expected<Picture, std::string> loadWithFFmpeg(const std::filesystem::path& file, PixelOrder order) {
  std::string why;
  ff::InputPtr input = ff::openInput(file.string(), &why);
  if (!input) return Unexpected{why};
  const int index = findPictureStream(input.get());
  if (index < 0) return Unexpected{std::string("no picture in the file")};
  ff::CodecPtr decoder = ff::openDecoder(input->streams[index], false);
  if (!decoder) return Unexpected{std::string("no decoder for the picture")};
  ff::PacketPtr packet = ff::makePacket();
  ff::FramePtr frame = ff::makeFrame();
  bool draining = false;
  for (int errors = 0; errors < 64;) {
    const int status = avcodec_receive_frame(decoder.get(), frame.get());
    if (status == 0) break;
    if (status == AVERROR_EOF) return Unexpected{std::string("the picture does not decode")};
    if (status != AVERROR(EAGAIN)) {
      ++errors;
      continue;
    }
    if (draining) return Unexpected{std::string("the picture does not decode")};
    if (av_read_frame(input.get(), packet.get()) < 0) {
      draining = true;
      avcodec_send_packet(decoder.get(), nullptr);
      continue;
    }
    if (packet->stream_index == index && avcodec_send_packet(decoder.get(), packet.get()) < 0) ++errors;
    av_packet_unref(packet.get());
  }
  if (frame->width <= 0 || frame->height <= 0 || !frame->data[0]) return Unexpected{std::string("the picture does not decode")};
  Picture picture(frame->width, frame->height, order);
  FrameConverter converter;
  converter.convert(frame.get(), picture);
  const int orientation = exifOrientation(frame.get());
  if (orientation != 1) return oriented(picture, orientation);
  return picture;
}

}  // namespace

Expected<Picture, std::string> loadStill(const std::filesystem::path& file, PixelOrder order) {
  ff::quietLogging();
  const std::string ext = lowerExtension(file);
  if (ext == "heic" || ext == "heif") return loadHeif(file, order);
  return loadWithFFmpeg(file, order);
}

Expected<void, std::string> writePNG(const Picture& picture, const std::filesystem::path& file) {
  const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_PNG);
  if (!codec) return Unexpected{std::string("no PNG encoder")};
  ff::CodecPtr encoder(avcodec_alloc_context3(codec));
  encoder->width = picture.width;
  encoder->height = picture.height;
  encoder->pix_fmt = AV_PIX_FMT_RGBA;
  encoder->time_base = AVRational{1, 1};
  if (avcodec_open2(encoder.get(), codec, nullptr) < 0) return Unexpected{std::string("cannot open the PNG encoder")};
  ff::FramePtr frame = ff::makeFrame();
  frame->width = picture.width;
  frame->height = picture.height;
  frame->format = AV_PIX_FMT_RGBA;
  if (av_frame_get_buffer(frame.get(), 0) < 0) return Unexpected{std::string("out of memory")};
  for (int y = 0; y < picture.height; ++y) {
    const std::uint8_t* src = picture.row(y);
    std::uint8_t* dst = frame->data[0] + static_cast<std::size_t>(frame->linesize[0]) * y;
    for (int x = 0; x < picture.width; ++x, src += 4, dst += 4) {
      const int r = picture.order == PixelOrder::rgba ? 0 : 2;
      const unsigned a = src[3];
      const auto straight = [a](unsigned v) {
        return static_cast<std::uint8_t>(a == 0 ? 0 : std::min(255u, (v * 255 + a / 2) / a));
      };
      dst[0] = straight(src[r]);
      dst[1] = straight(src[1]);
      dst[2] = straight(src[2 - r]);
      dst[3] = static_cast<std::uint8_t>(a);
    }
  }
  ff::PacketPtr packet = ff::makePacket();
  if (avcodec_send_frame(encoder.get(), frame.get()) < 0 || avcodec_send_frame(encoder.get(), nullptr) < 0 ||
      avcodec_receive_packet(encoder.get(), packet.get()) < 0)
    return Unexpected{std::string("cannot encode the PNG")};
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(packet->data), packet->size);
  out.close();
  if (!out) return Unexpected{"cannot write " + file.string()};
  return {};
}

}  // namespace brevelan
