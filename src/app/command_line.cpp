#include "app/command_line.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <optional>
#include <ostream>
#include <string_view>

#include "app/project_summary.h"
#include "app/sample_project.h"
#include "app/script_runner.h"
#include "model/project_file.h"

#ifndef BREVELAN_VERSION
#define BREVELAN_VERSION "0.0.0"
#endif

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

int runDemo(const Args& args, const Context& ctx) {
  const fs::path folder = args[0];
  std::error_code ec;
  fs::create_directories(folder, ec);
  if (ec) return ctx.fail("could not make the folder " + curlyQuoted(folder.string()) + ": " + ec.message() + ".");
  const fs::path file = folder / "Sample.brevelan";
  auto saved = ProjectFile::save(makeSampleProject(), file);
  if (!saved) return ctx.fail(saved.error().message);
  ctx.out << "Wrote " << file.string() << "\n";
  return 0;
}

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
      {"demo", "demo DIR", "write the sample project into DIR", 1, 1, runDemo},
      {"info", "info PROJECT", "describe a .brevelan project: sequences, lengths, media", 1, 1, runInfo},
      {"script", "script PROJECT [--save OUT]", "apply JSON-lines edit commands from stdin (script --help)", 1, 3,
       runScriptCommand},
  };
  return table;
}

void printHelp(std::ostream& out) {
  out << "Vael Brevelan " << BREVELAN_VERSION << " — a non-linear video editor\n\n"
      << "Usage: brevelan [COMMAND] [ARGUMENTS]\n\n"
      << "Without a command the editor opens. Commands run without a display:\n";
  for (const Command& command : commands())
    out << "  brevelan " << command.usage << std::string(30 - std::min<std::size_t>(command.usage.size(), 28), ' ')
        << command.summary << "\n";
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
