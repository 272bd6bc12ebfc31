#include "app/frame_command.h"

#include <charconv>
#include <optional>
#include <ostream>

#include "app/project_loading.h"
#include "media/still_image.h"
#include "picture/composition_builder.h"
#include "picture/frame_renderer.h"
#include "picture/gui_environment.h"

namespace brevelan {
namespace {

constexpr const char* kUsage =
    "usage: brevelan frame PROJECT --at FRAME -o OUT.png [--size WxH] [--reframe fit|fitBlur|fill] [--burn-captions]";

std::optional<std::int64_t> wholeNumber(const std::string& text) {
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

// "1080x1920" → (1080, 1920); sides from 2 to 16384.
std::optional<std::pair<int, int>> frameSize(const std::string& text) {
  const auto x = text.find('x');
  if (x == std::string::npos) return std::nullopt;
  const auto w = wholeNumber(text.substr(0, x)), h = wholeNumber(text.substr(x + 1));
  if (!w || !h || *w < 2 || *h < 2 || *w > 16384 || *h > 16384) return std::nullopt;
  return std::pair{static_cast<int>(*w), static_cast<int>(*h)};
}

}  // namespace

int runFrameCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  const auto usage = [&](const std::string& why) {
    err << "brevelan: " << why << "\n" << "brevelan: " << kUsage << "\n";
    return 2;
  };
  if (args.empty()) return usage("which project?");
  std::optional<std::int64_t> at;
  std::optional<std::string> output;
  BuildOptions options;
  for (std::size_t i = 1; i < args.size(); ++i) {
    const std::string& flag = args[i];
    const bool hasValue = i + 1 < args.size();
    if (flag == "--burn-captions") {
      options.burnCaptions = true;
    } else if (flag == "--at" && hasValue) {
      at = wholeNumber(args[++i]);
      if (!at || *at < 0) return usage("“--at” takes a frame number (0 or more).");
    } else if (flag == "-o" && hasValue) {
      output = args[++i];
    } else if (flag == "--size" && hasValue) {
      options.output = frameSize(args[++i]);
      if (!options.output) return usage("“--size” takes WIDTHxHEIGHT, for example 1080x1920.");
    } else if (flag == "--reframe" && hasValue) {
      const auto mode = reframeNamed(args[++i]);
      if (!mode) return usage("“--reframe” is fit, fitBlur or fill.");
      options.reframe = *mode;
    } else {
      return usage("“" + flag + "” is not understood here.");
    }
  }
  if (!at || !output) return usage("both “--at” and “-o” are needed.");

  const auto project = loadWithOpenSequence(args[0], err);
  if (!project) return 1;
  const BrevSequence* seq = project->activeSequence();
  if (*at >= std::max<std::int64_t>(seq->duration(), 1)) {
    err << "brevelan: Frame " << *at << " is past the end of “" << seq->name << "” (" << seq->duration()
        << " frames).\n";
    return 1;
  }
  ensureGuiEnvironment();  // titles and captions are laid out with Qt
  const auto build = buildComposition(*project, *seq, options);
  SourceFrames sources;
  const Picture picture = FrameRenderer::output(*build, *at, sources);
  if (auto written = writePNG(picture, *output); !written) {
    err << "brevelan: " << written.error() << "\n";
    return 1;
  }
  out << "Wrote frame " << *at << " (" << seq->rate.timecode(*at) << ", " << picture.width << " × "
      << picture.height << ") to " << *output << "\n";
  return 0;
}

}  // namespace brevelan
