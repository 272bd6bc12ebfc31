#include "deliver/render_queue.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace brevelan {
namespace {

using namespace std::chrono_literals;

// The interface thread of a test: posted work runs when the test pumps it.
class MainThread {
 public:
  RenderQueue::Post poster() {
    return [this](std::function<void()> work) {
      std::lock_guard guard(lock_);
      work_.push_back(std::move(work));
      wake_.notify_all();
    };
  }
  // Runs posted work until `done` holds (or a second passes).
  template <class Done>
  bool pumpUntil(Done done) {
    const auto until = std::chrono::steady_clock::now() + 5s;
    while (!done()) {
      std::unique_lock lock(lock_);
      if (!wake_.wait_until(lock, until, [&] { return !work_.empty(); })) return false;
      auto work = std::move(work_.front());
      work_.pop_front();
      lock.unlock();
      work();
    }
    return true;
  }

 private:
  std::mutex lock_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> work_;
};

// An export of `frames` steps, 1 ms each, that fails for jobs named "bad".
struct FakeExports {
  std::atomic<int> running{0}, most{0};
  Expected<void, ExportError> operator()(RenderJob& job, const Exporter::Progress& progress) {
    most = std::max(most.load(), ++running);
    Expected<void, ExportError> result;
    for (int f = 1; f <= 200; ++f) {
      std::this_thread::sleep_for(1ms);
      if (!progress(f / 200.0)) {
        result = Unexpected{ExportError{ExportError::Kind::cancelled, {}}};
        break;
      }
    }
    if (result && job.name == "bad") result = Unexpected{ExportError{ExportError::Kind::cannotStart, "no room"}};
    --running;
    return result;
  }
};

std::shared_ptr<RenderJob> job(std::string name) {
  auto j = std::make_shared<RenderJob>();
  j->name = std::move(name);
  j->preset = *presetByID("yt1080");
  return j;
}

TEST(RenderQueue, RunsJobsOneAtATimeAndGoesOnPastFailuresAndCancels) {
  MainThread main;
  auto fake = std::make_shared<FakeExports>();
  RenderQueue queue(main.poster(), [fake](RenderJob& j, const Exporter::Progress& p) { return (*fake)(j, p); });
  int progressUpdates = 0;
  std::vector<std::string> finished;
  queue.onChange = [&](const RenderJob& j) { progressUpdates += j.status == RenderJob::Status::rendering; };
  queue.onFinish = [&](const RenderJob& j) { finished.push_back(j.name); };

  const auto first = queue.add(job("first"));
  const auto bad = queue.add(job("bad"));
  const auto third = queue.add(job("third"));
  EXPECT_TRUE(queue.running());
  EXPECT_EQ(first->status, RenderJob::Status::rendering);
  EXPECT_EQ(third->status, RenderJob::Status::waiting);
  queue.runNext();  // already running: nothing changes
  EXPECT_EQ(bad->status, RenderJob::Status::waiting);

  ASSERT_TRUE(main.pumpUntil([&] { return third->status == RenderJob::Status::rendering; }));
  queue.cancel(third->id);
  ASSERT_TRUE(main.pumpUntil([&] { return !queue.running(); }));

  EXPECT_EQ(fake->most.load(), 1);
  EXPECT_EQ(finished, (std::vector<std::string>{"first", "bad", "third"}));
  EXPECT_EQ(first->status, RenderJob::Status::done);
  EXPECT_EQ(bad->status, RenderJob::Status::failed);
  EXPECT_EQ(bad->failure, "The export could not start: no room");
  EXPECT_EQ(third->status, RenderJob::Status::cancelled);
  // About 0.2 s of exporting per job, posted at most every 0.1 s (plus the status changes).
  EXPECT_LE(progressUpdates, 3 * 5);

  queue.clearFinished();
  EXPECT_TRUE(queue.jobs().empty());
}

}  // namespace
}  // namespace brevelan
