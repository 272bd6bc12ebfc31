#include "app/export_command.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <optional>
#include <ostream>

#include "app/project_loading.h"
#include "deliver/exporter.h"

namespace brevelan {
namespace {

constexpr const char* kUsage =
    "usage: brevelan export PROJECT --preset ID -o FILE [--burn-captions] [--reframe fit|fitBlur|fill]";

std::atomic<bool> interrupted{false};

extern "C" void onInterrupt(int) { interrupted = true; }

// Ctrl-C asks the export to stop; the exporter then removes the unfinished file.
class InterruptGuard {
 public:
  InterruptGuard() {
    interrupted = false;
    struct sigaction action {};
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &previous_);
  }
  ~InterruptGuard() { sigaction(SIGINT, &previous_, nullptr); }

 private:
  struct sigaction previous_ {};
};

std::string presetList() {
  std::string list;
  for (const ExportPreset& preset : allPresets()) list += (list.empty() ? "" : ", ") + preset.id;
  return list;
}

// "[#####-----]  42 %" redrawn in place, at most ten times a second.
class ProgressBar {
 public:
  explicit ProgressBar(bool shown) : shown_(shown) {}
  void show(double fraction) {
    if (!shown_) return;
    const auto now = std::chrono::steady_clock::now();
    if (fraction < 1 && now - last_ < std::chrono::milliseconds(100)) return;
    last_ = now;
    const int filled = static_cast<int>(fraction * 30);
    std::fprintf(stderr, "\r[%s%s] %3d %%", std::string(static_cast<std::size_t>(filled), '#').c_str(),
                 std::string(static_cast<std::size_t>(30 - filled), '-').c_str(), static_cast<int>(fraction * 100));
    std::fflush(stderr);
  }
  void end() {
    if (shown_) std::fputs("\n", stderr);
  }

 private:
  bool shown_;
  std::chrono::steady_clock::time_point last_{};
};

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
  ProgressBar bar(::isatty(STDERR_FILENO) == 1);
  const auto result = Exporter::exportSequence(*project, *seq, *preset, *output, burnCaptions,
                                               reframe.value_or(preset->reframe), [&](double fraction) {
                                                 bar.show(fraction);
                                                 return !interrupted.load();
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
