#include "app/export_command.h"


#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <optional>
#include <ostream>

#include "app/project_loading.h"
#include "app/terminal_progress.h"
#include "deliver/exporter.h"

namespace brevelan {
namespace {

constexpr const char* kUsage =
    "usage: brevelan export PROJECT --preset ID -o FILE [--burn-captions] [--reframe fit|fitBlur|fill]";

std::string presetList() {
  std::string list;
  for (const ExportPreset& preset : allPresets()) list += (list.empty() ? "" : ", ") + preset.id;
  return list;
}

}  // namespace

int runExportCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  const auto usage = [&](const std::string& why) {
    err << "brevelan: " << why << "\n" << "brevelan: " << kUsage << "\n";
    return 2;
  };
  if (args.empty()) return usage("which project?");
  std::optional<std::string> presetID, output;
  std::optional<Reframe> reframe;
  bool burnCaptions = false;
  for (std::size_t i = 1; i < args.size(); ++i) {
    const std::string& flag = args[i];
    const bool hasValue = i + 1 < args.size();
    if (flag == "--burn-captions") {
      burnCaptions = true;
    } else if (flag == "--preset" && hasValue) {
      presetID = args[++i];
    } else if (flag == "-o" && hasValue) {
      output = args[++i];
    } else if (flag == "--reframe" && hasValue) {
      reframe = reframeNamed(args[++i]);
      if (!reframe) return usage("“--reframe” is fit, fitBlur or fill.");
    } else {
      return usage("“" + flag + "” is not understood here.");
    }
  }
  if (!presetID || !output) return usage("both “--preset” and “-o” are needed.");
  const ExportPreset* preset = presetByID(*presetID);
  if (!preset) {
    err << "brevelan: There is no preset “" << *presetID << "”. Presets: " << presetList() << ".\n";
    return 1;
  }
  const auto project = loadWithOpenSequence(args[0], err);
  if (!project) return 1;
  const BrevSequence* seq = project->activeSequence();

  InterruptGuard guard;
  ProgressBar bar;
  const auto result = Exporter::exportSequence(*project, *seq, *preset, *output, burnCaptions,
                                               reframe.value_or(preset->reframe), [&](double fraction) {
                                                 bar.show(fraction);
                                                 return !InterruptGuard::interrupted();
                                               });
  bar.end();
  if (!result) {
    err << "brevelan: " << result.error().description() << "\n";
    return 1;
  }
  out << "Exported “" << seq->name << "” with “" << preset->name << "” to " << *output << "\n";
  return 0;
}

}  // namespace brevelan
