#include "app/shell/playbench_command.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "app/playback/playback_engine.h"
#include "app/project_loading.h"
#include "picture/composition_builder.h"

namespace brevelan {

int runPlaybench(int argc, char** argv) {
  const std::vector<std::string> args(argv + 2, argv + argc);
  std::string project;
  double seconds = 10;
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--seconds" && i + 1 < args.size()) {
      try {
        seconds = std::stod(args[++i]);
      } catch (const std::exception&) {
        seconds = -1;
      }
      if (!(seconds > 0)) return std::fprintf(stderr, "brevelan: --seconds wants a positive number\n"), 2;
    } else if (project.empty()) {
      project = args[i];
    } else {
      return std::fprintf(stderr, "brevelan: usage: brevelan playbench PROJECT [--seconds N]\n"), 2;
    }
  }
  if (project.empty()) return std::fprintf(stderr, "brevelan: usage: brevelan playbench PROJECT [--seconds N]\n"), 2;
  auto loaded = loadWithOpenSequence(project, std::cerr);
  if (!loaded) return 1;

  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  const BrevSequence sequence = *loaded->activeSequence();
  BuildOptions options;
  options.withStems = true;
  options.useProxies = true;
  std::fprintf(stderr, "Building the composition…\n");
  const auto build = buildComposition(*loaded, sequence, options);
  if (!build || build->duration == 0)
    return std::fprintf(stderr, "brevelan: The sequence is empty — put some clips on the timeline first.\n"), 1;

  PlaybackEngine engine;
  QObject::connect(&engine, &PlaybackEngine::soundUnavailable, &engine,
                   [](const QString& message) { std::fprintf(stderr, "%s\n", message.toUtf8().constData()); });
  engine.replaceItem(build, sequence);
  engine.seek(0, sequence.rate);

  // Playback starts the way a person starts it: from a shown first picture.
  QEventLoop loop;
  bool ended = false;
  QTimer patience;
  patience.setSingleShot(true);
  QObject::connect(&patience, &QTimer::timeout, &loop, &QEventLoop::quit);
  QObject::connect(&engine, &PlaybackEngine::frameShown, &loop, [&] { loop.quit(); });
  patience.start(10000);
  loop.exec();
  QObject::disconnect(&engine, &PlaybackEngine::frameShown, &loop, nullptr);

  const double length = sequence.rate.seconds(build->duration);
  const double playFor = std::min(seconds, length);
  QElapsedTimer clock;
  engine.setRate(1);
  clock.start();
  QObject::connect(&engine, &PlaybackEngine::reachedEnd, &loop, [&] {
    ended = true;
    loop.quit();
  });
  patience.start(static_cast<int>(playFor * 1000));
  loop.exec();
  // The counters start over when playback pauses: read them first.
  const std::int64_t shown = engine.framesShown(), dropped = engine.framesDropped();
  const double played = clock.elapsed() / 1000.0;
  engine.setRate(0);

  std::printf("played %.1f s of \"%s\"%s: %lld frames shown, %lld dropped, %lld drawn\n", played,
              sequence.name.c_str(), ended ? " to its end" : "", static_cast<long long>(shown),
              static_cast<long long>(dropped), static_cast<long long>(engine.framesDrawn()));
  std::printf("compositor %.1f ms per frame on average\n", engine.averageDrawMilliseconds());
  return 0;
}

}  // namespace brevelan
