#include "app/playback/voice_over_file.h"

#include <QByteArray>
#include <QtEndian>

#include <bit>
#include <cstring>

namespace brevelan {
namespace {

// Where the sound chunk's size lies: after the file header (8), the
// description chunk (12 + 32) and the sound chunk's type (4).
constexpr qint64 kDataSizeAt = 8 + 12 + 32 + 4;

void put32(QByteArray& out, quint32 value) {
  const quint32 big = qToBigEndian(value);
  out.append(reinterpret_cast<const char*>(&big), 4);
}

void put64(QByteArray& out, quint64 value) {
  const quint64 big = qToBigEndian(value);
  out.append(reinterpret_cast<const char*>(&big), 8);
}

QByteArray header() {
  QByteArray out;
  out.append("caff", 4);
  out.append("\x00\x01\x00\x00", 4);  // version 1, no flags
  out.append("desc", 4);
  put64(out, 32);
  put64(out, std::bit_cast<quint64>(static_cast<double>(VoiceOverFile::kRate)));
  out.append("lpcm", 4);
  put32(out, 1 | 2);  // float, little-endian
  put32(out, VoiceOverFile::kChannels * sizeof(float));  // bytes per packet
  put32(out, 1);  // frames per packet
  put32(out, VoiceOverFile::kChannels);
  put32(out, 32);
  out.append("data", 4);
  put64(out, ~quint64{0});  // unknown yet: to the end of the file
  put32(out, 0);            // edit count
  return out;
}

std::string reason(const QFile& file, const std::string& what) {
  return what + " " + file.fileName().toStdString() + ": " + file.errorString().toStdString();
}

}  // namespace

Expected<std::unique_ptr<VoiceOverFile>, std::string> VoiceOverFile::create(const std::filesystem::path& file) {
  std::unique_ptr<VoiceOverFile> take(new VoiceOverFile(file));
  if (!take->file_.open(QIODevice::WriteOnly | QIODevice::Truncate)) return Unexpected{reason(take->file_, "could not create")};
  const QByteArray start = header();
  if (take->file_.write(start) != start.size() || !take->file_.flush())
    return Unexpected{reason(take->file_, "could not write")};
  return take;
}

Expected<void, std::string> VoiceOverFile::append(std::span<const float> interleaved) {
  if (!file_.isOpen()) return Unexpected{std::string("the take is already closed")};
  static_assert(std::endian::native == std::endian::little);
  const auto bytes = static_cast<qint64>(interleaved.size_bytes());
  // Flushed at once: what was heard is on disk even if the program dies.
  if (file_.write(reinterpret_cast<const char*>(interleaved.data()), bytes) != bytes || !file_.flush())
    return Unexpected{reason(file_, "could not write")};
  frames_ += static_cast<std::int64_t>(interleaved.size() / kChannels);
  return {};
}

Expected<void, std::string> VoiceOverFile::finish() {
  if (!file_.isOpen()) return Unexpected{std::string("the take is already closed")};
  QByteArray size;
  put64(size, static_cast<quint64>(4 + frames_ * kChannels * static_cast<std::int64_t>(sizeof(float))));
  const bool written = file_.seek(kDataSizeAt) && file_.write(size) == size.size() && file_.flush();
  if (!written) {
    const std::string why = reason(file_, "could not finish");
    file_.close();
    return Unexpected{why};
  }
  file_.close();
  return {};
}

}  // namespace brevelan
