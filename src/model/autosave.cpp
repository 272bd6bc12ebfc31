#include "model/autosave.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdint>

#include "model/app_folders.h"
#include "model/atomic_file.h"
#include "model/json_reader.h"
#include "model/json_writer.h"
#include "model/project_coding.h"
#include "model/trash.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;

// A process id as the lock holds it: decimal digits, spaces and line breaks around.
std::optional<pid_t> lockedProcess(std::string_view text) {
  const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  std::int32_t pid = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), pid);
  if (text.empty() || error != std::errc() || end != text.data() + text.size() || pid <= 0) return std::nullopt;
  return static_cast<pid_t>(pid);
}

bool processExists(pid_t pid) {
  // EPERM: it exists but belongs to someone else.
  return ::kill(pid, 0) == 0 || errno == EPERM;
}

}  // namespace

Autosave Autosave::standard() { return Autosave(AppFolders::autosave()); }

fs::path Autosave::location(const Uuid& projectID) const { return folder_ / (projectID.str() + kExtension); }

std::string Autosave::encode(const AutosaveRecord& record) {
  JsonWriter writer(JsonWriter::Layout::compact);
  writer.beginObject();
  if (record.originalPath) writer.key("originalPath").value(*record.originalPath);
  writer.key("project");
  coding::write(writer, record.project);
  writer.key("saved");
  coding::write(writer, record.saved);
  writer.endObject();
  return writer.take();
}

std::optional<AutosaveRecord> Autosave::decode(std::string_view bytes) {
  const nlohmann::json json = nlohmann::json::parse(bytes, nullptr, false);
  if (json.is_discarded()) return std::nullopt;
  try {
    const JsonReader reader(json);
    AutosaveRecord record;
    record.project = coding::readProject(reader["project"]);
    if (!record.project.format.starts_with(Project::kFormatPrefix)) return std::nullopt;
    if (auto path = reader.optional("originalPath")) record.originalPath = path->string();
    record.saved = coding::readDate(reader["saved"]);
    return record;
  } catch (const JsonReader::DecodeFailure&) {
    return std::nullopt;
  }
}

Expected<void, FileError> Autosave::write(const Project& project, const std::optional<fs::path>& originalPath) const {
  std::error_code ec;
  fs::create_directories(folder_, ec);  // a failure shows in the write below
  AutosaveRecord record{project, std::nullopt, Date::now()};
  if (originalPath) record.originalPath = fs::absolute(*originalPath, ec).string();
  return writeFileAtomically(location(project.id), encode(record));
}

std::vector<PendingCopy> Autosave::pending() const {
  std::vector<PendingCopy> copies;
  std::error_code ec;
  for (fs::directory_iterator it(folder_, ec), end; !ec && it != end; it.increment(ec)) {
    const fs::path& path = it->path();
    if (path.extension() != kExtension || !it->is_regular_file(ec)) continue;
    auto bytes = readWholeFile(path);
    if (!bytes) continue;
    if (auto record = decode(*bytes)) copies.push_back({std::move(*record), path});
  }
  std::sort(copies.begin(), copies.end(), [](const PendingCopy& a, const PendingCopy& b) {
    return a.record.saved != b.record.saved ? a.record.saved > b.record.saved : a.location < b.location;
  });
  return copies;
}

void Autosave::discard(const Uuid& projectID) const {
  std::error_code ec;
  fs::remove(location(projectID), ec);
}

Expected<fs::path, FileError> Autosave::trash(const fs::path& copy) const { return Trash::moveToTrash(copy); }

bool Autosave::beginSession() const {
  const fs::path lock = folder_ / kLockName;
  bool crashed = false;
  if (auto text = readWholeFile(lock)) {
    const auto pid = lockedProcess(*text);
    crashed = pid && *pid != ::getpid() && !processExists(*pid);
  }
  std::error_code ec;
  fs::create_directories(folder_, ec);
  (void)writeFileAtomically(lock, std::to_string(::getpid()));  // without a lock the next launch just sees no crash
  return crashed;
}

void Autosave::endSession() const {
  std::error_code ec;
  fs::remove(folder_ / kLockName, ec);
}

}  // namespace brevelan
