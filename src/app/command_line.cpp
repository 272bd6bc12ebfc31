#include "app/command_line.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <optional>
#include <ostream>
#include <string_view>

#include "app/inspect_command.h"
#include "app/media_commands.h"
#include "app/export_command.h"
#include "app/frame_command.h"
#include "app/mix_command.h"
#include "app/project_summary.h"
#include "app/safekeeping_commands.h"
#include "app/srt_command.h"
#include "app/transcribe_command.h"
#include "media/media_probe.h"
#include "app/script_runner.h"
#include "model/project_file.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;
using Args = std::vector<std::string>;

struct Context {
  std::istream& in;
  std::ostream& out;
  std::ostream& err;

  int fail(const std::string& message) const {
    err << "brevelan: " << message << "\n";
    return 1;
  }
  int usage(const std::string& message) const {
    err << "brevelan: " << message << " (see brevelan --help)\n";
    return 2;
  }
};

struct Command {
  std::string_view name;
  std::string_view usage;
  std::string_view summary;
  std::size_t minArguments;
  std::size_t maxArguments;
  std::function<int(const Args&, const Context&)> run;
};

int runInfo(const Args& args, const Context& ctx) {
  auto project = ProjectFile::load(args[0]);
  if (!project) return ctx.fail(project.error().message);
  ctx.out << summarize(*project);
  return 0;
}

int runScriptCommand(const Args& args, const Context& ctx) {
  if (args[0] == "--help") {
    ctx.out << scriptHelp();
    return 0;
  }
  std::optional<fs::path> saveTo;
  if (args.size() == 3) {
    if (args[1] != "--save") return ctx.usage("usage: brevelan script PROJECT [--save OUT]");
    saveTo = args[2];
  } else if (args.size() != 1) {
    return ctx.usage("usage: brevelan script PROJECT [--save OUT]");
  }
  return runScript(args[0], saveTo, ctx.in, ctx.out, ctx.err);
}

const std::vector<Command>& commands() {
  static const std::vector<Command> table{
      {"demo", "demo DIR", "write synthetic media and the sample project into DIR", 1, 1,
       [](const Args& a, const Context& c) { return runDemoCommand(a, c.out, c.err); }},
      {"probe", "probe FILE…", "print each file's media item as JSON, or why it cannot be used", 1, 1000,
       [](const Args& a, const Context& c) { return runProbeCommand(a, c.out, c.err); }},
      {"info", "info PROJECT", "describe a .brevelan project: sequences, lengths, media", 1, 1, runInfo},
      {"srt", "srt check|import|export …", "check, import or export SubRip captions (srt alone for usage)", 1, 5,
       [](const Args& a, const Context& c) { return runSrtCommand(a, c.out, c.err); }},
      {"recover", "recover --list | ID -o OUT", "list recovery copies of unsaved work, or write one out", 1, 3,
       [](const Args& a, const Context& c) { return runRecoverCommand(a, c.out, c.err); }},
      {"archive", "archive PROJECT PARENT-DIR", "copy the project with all its media and LUTs into one folder", 2, 2,
       [](const Args& a, const Context& c) { return runArchiveCommand(a, c.out, c.err); }},
      {"relink", "relink PROJECT DIR [--save OUT]", "find missing media in DIR and its subfolders", 2, 4,
       [](const Args& a, const Context& c) { return runRelinkCommand(a, MediaProbe(), c.out, c.err); }},
      {"inspect", "inspect FILE", "print a finished export's length, size, frame rate and codec as JSON", 1, 1,
       [](const Args& a, const Context& c) { return runInspectCommand(a, c.out, c.err); }},
      {"export", "export PROJECT --preset ID -o FILE", "deliver the open sequence as a movie or sound file (export alone for options)",
       1, 8, [](const Args& a, const Context& c) { return runExportCommand(a, c.out, c.err); }},
      {"frame", "frame PROJECT --at N -o OUT.png", "draw one frame of the open sequence as PNG (frame alone for options)",
       1, 10, [](const Args& a, const Context& c) { return runFrameCommand(a, c.out, c.err); }},
      {"mix", "mix PROJECT -o FILE.wav", "render the full sound mix of the open sequence as float WAV", 3, 3,
       [](const Args& a, const Context& c) { return runMixCommand(a, c.out, c.err); }},
      {"transcribe", "transcribe PROJECT [--save OUT]",
       "turn the open sequence's speech into captions, on this computer (printed as SRT)", 1, 3,
       [](const Args& a, const Context& c) { return runTranscribeCommand(a, c.out, c.err); }},
      {"script", "script PROJECT [--save OUT]", "apply JSON-lines edit commands from stdin (script --help)", 1, 3,
       runScriptCommand},
  };
  return table;
}

void printHelp(std::ostream& out) {
  out << "Vael Brevelan " << BREVELAN_VERSION << " — a non-linear video editor\n\n"
      << "Usage: brevelan [COMMAND] [ARGUMENTS]\n\n"
      << "Without a command the editor opens. Commands run without a display:\n";
  for (const Command& command : commands()) {
    // Pad by characters, not bytes: usages hold "…".
    const auto width = std::count_if(command.usage.begin(), command.usage.end(),
                                      [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; });
    out << "  brevelan " << command.usage << std::string(static_cast<std::size_t>(std::max<long>(34 - width, 1)), ' ')
        << command.summary << "\n";
  }
  out << "\n  brevelan --help      show this text\n  brevelan --version   show the version\n";
}

}  // namespace

int runCommandLine(const Args& args, std::istream& in, std::ostream& out, std::ostream& err) {
  const Context ctx{in, out, err};
  if (args.empty() || args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
    printHelp(out);
    return 0;
  }
  if (args[0] == "--version") {
    out << "brevelan " << BREVELAN_VERSION << "\n";
    return 0;
  }
  for (const Command& command : commands()) {
    if (args[0] != command.name) continue;
    const Args rest(args.begin() + 1, args.end());
    if (rest.size() < command.minArguments || rest.size() > command.maxArguments)
      return ctx.usage("usage: brevelan " + std::string(command.usage));
    return command.run(rest, ctx);
  }
  return ctx.usage("unknown command " + curlyQuoted(args[0]));
}

}  // namespace brevelan
