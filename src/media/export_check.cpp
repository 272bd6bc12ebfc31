#include "media/export_check.h"

#include <cctype>

#include "media/ffmpeg_ptr.h"

namespace brevelan {
namespace {

double streamSeconds(const AVFormatContext* input, const AVStream* stream) {
  // One division of exact integers, so 0.4 s reads as 0.4 and not 0.39999999999999997.
  if (stream->duration != AV_NOPTS_VALUE && stream->duration > 0)
    return static_cast<double>(stream->duration * stream->time_base.num) / stream->time_base.den;
  return input->duration != AV_NOPTS_VALUE ? static_cast<double>(input->duration) / AV_TIME_BASE : 0;
}

std::string fourCharacterCode(std::uint32_t tag) {
  std::string code;
  for (int shift = 0; shift < 32 && tag; shift += 8) {
    const auto c = static_cast<char>((tag >> shift) & 0xFF);
    code += std::isprint(static_cast<unsigned char>(c)) ? c : '?';
  }
  return code;
}

}  // namespace

Expected<ExportCheck, std::string> ExportCheck::inspect(const std::filesystem::path& file) {
  std::string why;
  ff::InputPtr input = ff::openInput(file.string(), &why);
  if (!input) return Unexpected{"cannot open " + file.string() + ": " + why};
  ExportCheck check;
  if (input->duration != AV_NOPTS_VALUE) check.duration = static_cast<double>(input->duration) / AV_TIME_BASE;

  // Cover art is a picture stream too, but not a picture track.
  const int video = av_find_best_stream(input.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (video >= 0 && !(input->streams[video]->disposition & AV_DISPOSITION_ATTACHED_PIC)) {
    const AVStream* stream = input->streams[video];
    check.hasVideo = true;
    check.width = stream->codecpar->width;
    check.height = stream->codecpar->height;
    AVRational rate = stream->avg_frame_rate.num > 0 ? stream->avg_frame_rate : stream->r_frame_rate;
    check.fps = rate.num > 0 && rate.den > 0 ? av_q2d(rate) : 0;
    check.videoDuration = streamSeconds(input.get(), stream);
    check.codec = fourCharacterCode(stream->codecpar->codec_tag);
  }
  const int audio = av_find_best_stream(input.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
  if (audio >= 0) {
    check.hasAudio = true;
    check.audioDuration = streamSeconds(input.get(), input->streams[audio]);
  }
  if (!check.hasVideo && !check.hasAudio) return Unexpected{file.string() + " holds neither picture nor sound"};
  return check;
}

}  // namespace brevelan
