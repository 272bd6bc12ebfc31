#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "media/media_writer.h"
#include "model/enum_text.h"
#include "model/frame_rate.h"
#include "model/json_reader.h"
#include "model/json_writer.h"
#include "picture/reframe.h"

namespace brevelan {

// Picture codecs an export can write; the text value is also the label shown.
enum class VideoCodec { h264, hevc, prores422, prores422HQ, proresProxy };

template <>
struct EnumTexts<VideoCodec> {
  static constexpr std::string_view noun = "video codec";
  static constexpr std::array<std::pair<VideoCodec, std::string_view>, 5> items{
      {{VideoCodec::h264, "H.264"},
       {VideoCodec::hevc, "HEVC (H.265)"},
       {VideoCodec::prores422, "Apple ProRes 422"},
       {VideoCodec::prores422HQ, "Apple ProRes 422 HQ"},
       {VideoCodec::proresProxy, "Apple ProRes 422 Proxy"}}};
};

constexpr bool isProRes(VideoCodec codec) { return codec != VideoCodec::h264 && codec != VideoCodec::hevc; }

// The four-character codec type written for the picture track: avc1, hvc1, apcn, apch, apco.
std::string_view codecType(VideoCodec codec);

// The sentence an export reports when this computer's encoder refuses the codec.
std::string codecUnavailableMessage(VideoCodec codec);

// Sound-only exports: the whole mix as one file.
enum class AudioOnlyFormat { wav, m4a };

template <>
struct EnumTexts<AudioOnlyFormat> {
  static constexpr std::string_view noun = "sound-only format";
  static constexpr std::array<std::pair<AudioOnlyFormat, std::string_view>, 2> items{
      {{AudioOnlyFormat::wav, "WAV (24-bit)"}, {AudioOnlyFormat::m4a, "M4A (AAC 256 kbps)"}}};
};

// What file an export makes. Presets are built in, not edited by the user.
struct ExportPreset {
  std::string id;      // stable key
  std::string name;    // shown in the preset list
  std::string detail;  // one line under the name
  std::optional<VideoCodec> codec;  // absent for sound-only presets
  std::optional<int> width;         // absent: the sequence's own size
  std::optional<int> height;
  std::int64_t bitrate = 16'000'000;  // average picture bit/s; ignored by ProRes and sound-only
  Reframe reframe = Reframe::fit;
  std::optional<AudioOnlyFormat> audioOnly;  // present: only the sound mix is written

  // "wav", "m4a", "mov" for ProRes, otherwise "mp4".
  std::string fileExtension() const;
  // The output frame: the preset's own size, or the sequence's where it has none.
  std::pair<int, int> outputSize(int sequenceWidth, int sequenceHeight) const;

  friend bool operator==(const ExportPreset&, const ExportPreset&) = default;
};

// All presets in the order shown; the first, "YouTube 1080p", is preselected.
const std::vector<ExportPreset>& allPresets();
const ExportPreset* presetByID(std::string_view id);

// Encoded with the field names as keys; absent optionals are left out.
void write(JsonWriter& writer, const ExportPreset& preset);
ExportPreset readExportPreset(const JsonReader& reader);  // throws JsonReader::DecodeFailure

// x264/x265 speed preset used by every export (see the writer's notes for the trade-off).
inline constexpr std::string_view kExportEncoderPreset = "veryfast";

// The writer settings of a movie preset (codec present) at an output size:
// average bit rate, a key frame at least every two seconds of whole frames.
VideoFormat exportVideoFormat(const ExportPreset& preset, const FrameRate& rate, int width, int height);
// PCM 24-bit in a ProRes MOV, otherwise AAC 256 kbit/s; 48 kHz stereo either way.
SoundFormat exportSoundFormat(const ExportPreset& preset);

}  // namespace brevelan
