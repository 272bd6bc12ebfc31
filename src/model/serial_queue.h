#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace brevelan {

// Work items run one after another, in order, on one thread of their own
// (named after the queue's label, cut to the 15 characters Linux keeps).
// Destroying the queue drops what has not started and waits for what has.
class SerialQueue {
 public:
  explicit SerialQueue(std::string label);
  ~SerialQueue();
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  void async(std::function<void()> work);
  // Returns once everything queued before the call has run.
  void waitIdle();
  const std::string& label() const { return label_; }

 private:
  void run();

  std::string label_;
  std::mutex lock_;
  std::condition_variable wake_;
  std::condition_variable idle_;
  std::deque<std::function<void()>> work_;
  bool busy_ = false;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace brevelan
