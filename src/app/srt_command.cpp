#include "app/srt_command.h"

#include <optional>
#include <ostream>

#include "captions/caption_edits.h"
#include "captions/srt.h"
#include "captions/text_encoding.h"
#include "model/atomic_file.h"
#include "model/project_file.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;
using Args = std::vector<std::string>;

constexpr const char* kUsage =
    "usage: brevelan srt check FILE | import PROJECT FILE [--save OUT] | export PROJECT -o FILE";

int usage(std::ostream& err) {
  err << "brevelan: " << kUsage << " (see brevelan --help)\n";
  return 2;
}

int fail(std::ostream& err, const std::string& message) {
  err << "brevelan: " << message << "\n";
  return 1;
}

int check(const Args& args, std::ostream& out, std::ostream& err) {
  auto bytes = readWholeFile(args[1]);
  if (!bytes) return fail(err, bytes.error().message);
  const std::vector<std::string> problems = SRT::validate(decodeSubtitleText(*bytes));
  for (const std::string& problem : problems) out << problem << "\n";
  return problems.empty() ? 0 : 1;
}

int import(const Args& args, std::ostream& out, std::ostream& err) {
  std::optional<fs::path> saveTo;
  if (args.size() == 5 && args[3] == "--save")
    saveTo = args[4];
  else if (args.size() != 3)
    return usage(err);

  auto project = ProjectFile::load(args[1]);
  if (!project) return fail(err, project.error().message);
  auto bytes = readWholeFile(args[2]);
  if (!bytes) return fail(err, bytes.error().message);
  EditorModel editor(std::move(project).value());
  if (!editor.activeSequence()) return fail(err, "The project has no open sequence to put the captions in.");

  const std::size_t count = CaptionEdits::importSRT(editor, decodeSubtitleText(*bytes));
  out << "Read " << count << (count == 1 ? " caption" : " captions") << " into "
      << curlyQuoted(editor.activeSequence()->name) << "\n";
  if (saveTo) {
    if (auto saved = ProjectFile::save(editor.project(), *saveTo); !saved) return fail(err, saved.error().message);
    out << "Wrote " << saveTo->string() << "\n";
  }
  return 0;
}

int exportCaptions(const Args& args, std::ostream& out, std::ostream& err) {
  if (args.size() != 4 || args[2] != "-o") return usage(err);
  auto project = ProjectFile::load(args[1]);
  if (!project) return fail(err, project.error().message);
  const BrevSequence* sequence = project->activeSequence();
  if (!sequence) return fail(err, "The project has no open sequence to take the captions from.");
  const std::string text = SRT::make(sequence->captions.toVector(), sequence->rate);
  if (auto written = writeFileAtomically(args[3], text); !written) return fail(err, written.error().message);
  out << "Wrote " << sequence->captions.size() << (sequence->captions.size() == 1 ? " caption" : " captions") << " to "
      << args[3] << "\n";
  return 0;
}

}  // namespace

int runSrtCommand(const Args& args, std::ostream& out, std::ostream& err) {
  if (args.empty()) return usage(err);
  if (args[0] == "check") return args.size() == 2 ? check(args, out, err) : usage(err);
  if (args[0] == "import") return import(args, out, err);
  if (args[0] == "export") return exportCaptions(args, out, err);
  return usage(err);
}

}  // namespace brevelan
