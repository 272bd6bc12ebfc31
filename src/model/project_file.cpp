#include "model/project_file.h"

#include <vector>

#include <nlohmann/json.hpp>

#include "model/atomic_file.h"
#include "model/project_coding.h"

namespace brevelan::ProjectFile {
namespace {

namespace fs = std::filesystem;

fs::path standardized(const fs::path& path) { return fs::absolute(path).lexically_normal(); }

std::vector<std::string> components(const fs::path& path) {
  std::vector<std::string> parts;
  for (const auto& part : path)
    if (!part.empty()) parts.push_back(part.string());
  return parts;
}

// Line and column (from 1) of a byte offset, for parse error messages.
std::pair<std::size_t, std::size_t> lineAndColumn(const std::string& text, std::size_t offset) {
  std::size_t line = 1, column = 1;
  for (std::size_t i = 0; i < offset && i < text.size(); ++i) {
    if (text[i] == '\n') {
      ++line;
      column = 1;
    } else {
      ++column;
    }
  }
  return {line, column};
}

FileError notJSON(const fs::path& path, const std::string& bytes, const nlohmann::json::parse_error& error) {
  const std::string file = curlyQuoted(path.filename().string());
  const std::string opening = "The file " + file + " couldn’t be opened because ";
  if (bytes.find_first_not_of(" \t\r\n") == std::string::npos)
    return {FileError::Kind::notJSON, opening + "it is empty."};
  if (error.byte >= bytes.size())
    return {FileError::Kind::notJSON, opening + "it ends too early; it may have been cut short while being written or copied."};
  auto [line, column] = lineAndColumn(bytes, error.byte == 0 ? 0 : error.byte - 1);
  return {FileError::Kind::notJSON, opening + "it isn’t a project file (it isn’t valid JSON at line " +
                                        std::to_string(line) + ", column " + std::to_string(column) + ")."};
}

FileError wrongFormat(const fs::path& path, const nlohmann::json& document) {
  std::string detail = ": it is not a Vael Brevelan project.";
  if (document.is_object()) {
    auto it = document.find("format");
    if (it != document.end() && it->is_string())
      detail = ": it is not a Vael Brevelan project (its format is " + curlyQuoted(it->get<std::string>()) + ").";
  }
  return {FileError::Kind::wrongFormat,
          "The file " + curlyQuoted(path.filename().string()) + " couldn’t be opened because it isn’t in the correct format" + detail};
}

bool hasForeignFormat(const nlohmann::json& document) {
  if (!document.is_object()) return true;
  auto it = document.find("format");
  return it != document.end() && it->is_string() && !it->get<std::string>().starts_with(Project::kFormatPrefix);
}

bool fileExists(const fs::path& path) {
  std::error_code ec;
  return fs::exists(path, ec);
}

}  // namespace

std::optional<std::string> relative(const fs::path& path, const fs::path& folder) {
  const auto target = components(standardized(path));
  const auto base = components(standardized(folder));
  std::size_t shared = 0;
  while (shared < target.size() && shared < base.size() && target[shared] == base[shared]) ++shared;
  if (shared < 2) return std::nullopt;  // only the root in common: another volume
  std::string result;
  auto append = [&](const std::string& part) {
    if (!result.empty()) result += "/";
    result += part;
  };
  for (std::size_t i = shared; i < base.size(); ++i) append("..");
  for (std::size_t i = shared; i < target.size(); ++i) append(target[i]);
  return result;
}

Project withRelativePaths(const Project& project, const fs::path& projectFile) {
  const fs::path folder = standardized(projectFile).parent_path();
  Project copy = project;
  for (std::size_t i = 0; i < copy.media.size(); ++i) {
    auto rel = ProjectFile::relative(copy.media[i].path, folder);
    if (copy.media[i].relativePath != rel) copy.media.mut(i).relativePath = std::move(rel);
  }
  return copy;
}

std::vector<MediaItem> missingMedia(const Project& project) {
  std::vector<MediaItem> missing;
  for (const MediaItem& item : project.media)
    if (!fileExists(item.path)) missing.push_back(item);
  return missing;
}

std::string encode(const Project& project) {
  JsonWriter writer;
  coding::write(writer, project);
  return writer.take() + "\n";
}

Expected<void, FileError> save(const Project& project, const fs::path& to) {
  return writeFileAtomically(to, encode(withRelativePaths(project, to)));
}

Expected<Project, FileError> load(const fs::path& from) {
  auto bytes = readWholeFile(from);
  if (!bytes) return Unexpected{bytes.error()};

  nlohmann::json document;
  try {
    document = nlohmann::json::parse(*bytes);
  } catch (const nlohmann::json::parse_error& error) {
    return Unexpected{notJSON(from, *bytes, error)};
  }

  auto decoded = coding::decodeProject(document);
  if (!decoded) {
    if (hasForeignFormat(document)) return Unexpected{wrongFormat(from, document)};
    return Unexpected{FileError{FileError::Kind::decodeFailed, "The file " + curlyQuoted(from.filename().string()) +
                                                                   " couldn’t be opened because " +
                                                                   decoded.error().describe() + "."}};
  }
  Project project = std::move(decoded).value();
  if (!project.format.starts_with(Project::kFormatPrefix)) return Unexpected{wrongFormat(from, document)};

  // Media moved together with the project folder are found through their
  // relative path; the new absolute path is kept in memory until the next save.
  const fs::path folder = standardized(from).parent_path();
  for (std::size_t i = 0; i < project.media.size(); ++i) {
    const MediaItem& item = project.media[i];
    if (fileExists(item.path) || !item.relativePath) continue;
    const fs::path candidate = (folder / *item.relativePath).lexically_normal();
    if (fileExists(candidate)) project.media.mut(i).path = candidate.string();
  }
  return project;
}

}  // namespace brevelan::ProjectFile
