#include "app/safekeeping_commands.h"

#include <ctime>
#include <optional>
#include <ostream>

#include "edit/editor_model.h"
#include "edit/relink.h"
#include "model/archiver.h"
#include "model/autosave.h"
#include "model/project_file.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;
using Args = std::vector<std::string>;

int usage(std::ostream& err, const char* text) {
  err << "brevelan: usage: brevelan " << text << " (see brevelan --help)\n";
  return 2;
}

int fail(std::ostream& err, const std::string& message) {
  err << "brevelan: " << message << "\n";
  return 1;
}

std::string localTime(const Date& date) {
  const auto seconds = static_cast<std::time_t>(date.unixSeconds());
  std::tm local{};
  ::localtime_r(&seconds, &local);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
  return text;
}

}  // namespace

int runRecoverCommand(const Args& args, std::ostream& out, std::ostream& err) {
  constexpr const char* kUsage = "recover --list | recover PROJECT-ID -o OUT.brevelan";
  const Autosave autosave = Autosave::standard();
  if (args.size() == 1 && args[0] == "--list") {
    const auto pending = autosave.pending();
    if (pending.empty()) out << "No recovery copies: no unsaved work is waiting.\n";
    for (const PendingCopy& copy : pending)
      out << copy.record.project.id.str() << "\t" << copy.record.project.name << "\tAutosaved "
          << localTime(copy.record.saved) << "\t" << copy.record.originalPath.value_or("never saved") << "\n";
    return 0;
  }
  if (args.size() != 3 || args[1] != "-o") return usage(err, kUsage);
  const auto id = Uuid::parse(args[0]);
  if (!id) return fail(err, curlyQuoted(args[0]) + " is not a project id (see brevelan recover --list).");
  for (const PendingCopy& copy : autosave.pending()) {
    if (copy.record.project.id != *id) continue;
    if (auto saved = ProjectFile::save(copy.record.project, args[2]); !saved) return fail(err, saved.error().message);
    out << "Wrote " << args[2] << "\n";
    return 0;
  }
  return fail(err, "There is no recovery copy of the project " + id->str() + ".");
}

int runArchiveCommand(const Args& args, std::ostream& out, std::ostream& err) {
  if (args.size() != 2) return usage(err, "archive PROJECT PARENT-DIR");
  auto project = ProjectFile::load(args[0]);
  if (!project) return fail(err, project.error().message);
  auto archived = Archiver::collect(*project, args[1]);
  if (!archived) return fail(err, archived.error().message);
  out << archived->string() << "\n";
  return 0;
}

int runRelinkCommand(const Args& args, const MediaProber& prober, std::ostream& out, std::ostream& err) {
  constexpr const char* kUsage = "relink PROJECT DIR [--save OUT]";
  std::optional<fs::path> saveTo;
  if (args.size() == 4 && args[2] == "--save")
    saveTo = args[3];
  else if (args.size() != 2)
    return usage(err, kUsage);
  std::error_code ec;
  if (!fs::is_directory(args[1], ec)) return fail(err, "The folder " + curlyQuoted(args[1]) + " doesn’t exist.");

  auto project = ProjectFile::load(args[0]);
  if (!project) return fail(err, project.error().message);
  EditorModel editor(std::move(project).value());
  const RelinkOutcome outcome = relink(editor, args[1], prober);
  switch (outcome.kind) {
    case RelinkOutcome::Kind::nothingToRelink:
      out << outcome.title << ": " << outcome.message << "\n";
      return 0;
    case RelinkOutcome::Kind::noMatches:
      return fail(err, outcome.title + ": " + outcome.message);
    case RelinkOutcome::Kind::relinked:
      break;
  }
  out << outcome.title << "\n";
  if (saveTo) {
    if (auto saved = ProjectFile::save(editor.project(), *saveTo); !saved) return fail(err, saved.error().message);
    out << "Wrote " << saveTo->string() << "\n";
  }
  return 0;
}

}  // namespace brevelan
