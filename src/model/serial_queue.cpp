#include "model/serial_queue.h"

#include <pthread.h>

namespace brevelan {

SerialQueue::SerialQueue(std::string label) : label_(std::move(label)) { thread_ = std::thread([this] { run(); }); }

SerialQueue::~SerialQueue() {
  {
    std::lock_guard guard(lock_);
    stopping_ = true;
    work_.clear();
  }
  wake_.notify_all();
  thread_.join();
}

void SerialQueue::async(std::function<void()> work) {
  {
    std::lock_guard guard(lock_);
    work_.push_back(std::move(work));
  }
  wake_.notify_one();
}

void SerialQueue::waitIdle() {
  std::unique_lock guard(lock_);
  idle_.wait(guard, [this] { return (work_.empty() && !busy_) || stopping_; });
}

void SerialQueue::run() {
  pthread_setname_np(pthread_self(), label_.substr(0, 15).c_str());
  std::unique_lock guard(lock_);
  for (;;) {
    wake_.wait(guard, [this] { return stopping_ || !work_.empty(); });
    if (stopping_) break;
    std::function<void()> work = std::move(work_.front());
    work_.pop_front();
    busy_ = true;
    guard.unlock();
    work();
    guard.lock();
    busy_ = false;
    if (work_.empty()) idle_.notify_all();
  }
  idle_.notify_all();
}

}  // namespace brevelan
