#include "media/media_probe.h"

#include "model/file_names.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <string_view>

#include "media/ffmpeg_ptr.h"
#include "media/still_image.h"
#include "media/video_reader.h"

namespace brevelan {
namespace {

constexpr std::array<std::string_view, 8> kPictures{"png", "jpg", "jpeg", "heic", "tif", "tiff", "gif", "bmp"};
constexpr std::array<std::string_view, 5> kMovies{"mov", "mp4", "m4v", "3gp", "qt"};
constexpr std::array<std::string_view, 9> kSounds{"wav", "wave", "aif", "aiff", "aifc", "mp3", "m4a", "aac", "caf"};

// Containers accepted for movie and sound extensions. Anything else that
// FFmpeg happens to recognise under such a name (a transport stream renamed
// .mov, a text file that looks like some raw format) is refused as unreadable.
constexpr std::array<std::string_view, 7> kContainers{"mov,mp4,m4a,3gp,3g2,mj2", "wav", "w64", "aiff", "mp3", "aac", "caf"};

template <std::size_t N>
bool contains(const std::array<std::string_view, N>& list, std::string_view text) {
  return std::find(list.begin(), list.end(), text) != list.end();
}

bool hasDecoder(const AVStream* stream) { return avcodec_find_decoder(stream->codecpar->codec_id) != nullptr; }

}  // namespace

std::optional<MediaKind> MediaProbe::kindForExtension(std::string extension) {
  extension = lowercased(std::move(extension));
  if (contains(kPictures, extension)) return MediaKind::image;
  if (contains(kMovies, extension)) return MediaKind::video;
  if (contains(kSounds, extension)) return MediaKind::audio;
  return std::nullopt;
}

Expected<MediaItem, MediaError> MediaProbe::probe(const std::filesystem::path& file) const {
  const std::string fileName = file.filename().string();
  const std::optional<MediaKind> kind = kindForExtension(lowerExtension(file));
  if (!kind) return Unexpected{MediaError::unsupported(fileName)};

  std::error_code ec;
  const std::filesystem::path absolute = std::filesystem::absolute(file, ec);
  if (ec || !std::filesystem::is_regular_file(absolute, ec)) return Unexpected{MediaError::unreadable(fileName)};

  MediaItem item;
  item.id = Uuid::make();
  item.name = file.stem().string();
  item.kind = *kind;
  item.path = absolute.lexically_normal().string();

  if (*kind == MediaKind::image) {
    // Decoding the whole picture is the only sure test that it can be shown.
    auto picture = loadStill(absolute);
    if (!picture) return Unexpected{MediaError::unreadable(fileName)};
    item.width = picture->width;
    item.height = picture->height;
    item.hasVideo = true;
    return item;
  }

  ff::InputPtr input = ff::openInput(absolute.string());
  if (!input || !contains(kContainers, input->iformat->name)) return Unexpected{MediaError::unreadable(fileName)};
  const int pictureIndex = findPictureStream(input.get());
  const int soundIndex = av_find_best_stream(input.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
  if (pictureIndex < 0 && soundIndex < 0) return Unexpected{MediaError::noTracks(fileName)};
  const AVStream* picture = pictureIndex >= 0 ? input->streams[pictureIndex] : nullptr;
  const AVStream* sound = soundIndex >= 0 ? input->streams[soundIndex] : nullptr;
  // Streams are there but none can be decoded here.
  if ((!picture || !hasDecoder(picture)) && (!sound || !hasDecoder(sound)))
    return Unexpected{MediaError::unreadable(fileName)};
  if (picture && !hasDecoder(picture)) picture = nullptr;
  if (sound && !hasDecoder(sound)) sound = nullptr;

  double duration = input->duration > 0 ? static_cast<double>(input->duration) / AV_TIME_BASE : 0;
  if (duration <= 0) {
    for (const AVStream* stream : {picture, sound})
      if (stream && stream->duration > 0) duration = std::max(duration, stream->duration * av_q2d(stream->time_base));
  }
  item.duration = duration;
  item.hasVideo = picture != nullptr;
  item.hasAudio = sound != nullptr;
  if (picture) {
    std::int64_t width = picture->codecpar->width;
    std::int64_t height = picture->codecpar->height;
    if (width <= 0 || height <= 0) return Unexpected{MediaError::unreadable(fileName)};
    if (streamRotation(picture) % 180 != 0) std::swap(width, height);
    item.width = width;
    item.height = height;
    const AVRational rate = picture->avg_frame_rate.num > 0 && picture->avg_frame_rate.den > 0 ? picture->avg_frame_rate
                                                                                               : picture->r_frame_rate;
    item.nominalFPS = rate.num > 0 && rate.den > 0 ? av_q2d(rate) : 0;
  }
  return item;
}

}  // namespace brevelan
