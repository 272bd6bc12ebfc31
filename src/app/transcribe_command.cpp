#include "app/transcribe_command.h"


#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <ostream>

#include "app/project_loading.h"
#include "app/terminal_progress.h"
#include "app/speech_captions.h"
#include "captions/srt.h"
#include "edit/editor_model.h"
#include "model/project_file.h"

namespace brevelan {
namespace {

constexpr const char* kUsage = "usage: brevelan transcribe PROJECT [--save OUT]";

// The command's main thread: work posted from the recognizer's threads runs here, in order.
class MainQueue {
 public:
  void post(std::function<void()> work) {
    std::lock_guard guard(lock_);
    work_.push_back(std::move(work));
    wake_.notify_one();
  }
  // Runs what has been posted, waiting up to `wait` for something to arrive.
  void drain(std::chrono::milliseconds wait) {
    std::deque<std::function<void()>> ready;
    {
      std::unique_lock guard(lock_);
      wake_.wait_for(guard, wait, [&] { return !work_.empty(); });
      ready.swap(work_);
    }
    for (auto& work : ready) work();
  }

 private:
  std::mutex lock_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> work_;
};

}  // namespace

int runTranscribeCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  const auto usage = [&](const std::string& why) {
    err << "brevelan: " << why << "\n" << "brevelan: " << kUsage << "\n";
    return 2;
  };
  if (args.empty()) return usage("which project?");
  std::optional<std::string> saveTo;
  if (args.size() == 3 && args[1] == "--save") saveTo = args[2];
  else if (args.size() != 1) return usage("“" + args[1] + "” is not understood here.");

  auto project = loadWithOpenSequence(args[0], err);
  if (!project) return 1;

  MainQueue main;
  EditorServices services;
  services.speech = std::make_shared<LocalSpeechCaptioner>([&main](std::function<void()> work) { main.post(std::move(work)); });
  EditorModel editor(std::move(*project), services);
  ProgressBar bar;
  editor.subscribe([&](Field field) {
    if (field == Field::busyProgress) bar.show(editor.state().busyProgress);
  });

  InterruptGuard guard;
  if (editor.transcribe()) {
    while (editor.transcribing()) {
      main.drain(std::chrono::milliseconds(100));
      if (InterruptGuard::interrupted()) editor.cancelTranscription();
    }
  }
  bar.end();
  if (const auto& alert = editor.state().alert) {
    err << "brevelan: " << alert->title << ": " << alert->message << "\n";
    return 1;
  }
  if (InterruptGuard::interrupted()) {
    err << "brevelan: " << editor.state().status << "\n";
    return 1;
  }
  const BrevSequence& sequence = *editor.activeSequence();
  if (saveTo) {
    if (auto saved = ProjectFile::save(editor.project(), *saveTo); !saved) {
      err << "brevelan: " << saved.error().message << "\n";
      return 1;
    }
    out << editor.state().status << "; saved to " << *saveTo << "\n";
    return 0;
  }
  out << SRT::make(std::vector<Caption>(sequence.captions.begin(), sequence.captions.end()), sequence.rate);
  err << editor.state().status << "\n";
  return 0;
}

}  // namespace brevelan
