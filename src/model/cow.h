#pragma once

#include <memory>
#include <utility>

namespace brevelan {

// One value shared between copies and copied only when written through mut().
// Clips hold their larger settings (grade, sound, placement, title) this way,
// so an edit that moves a hundred clips copies a hundred small records, not
// their curves, keys and texts; undo snapshots share what they did not change.
// Read with -> or *; == compares values (and is immediate on shared storage).
template <class T>
class Cow {
 public:
  Cow() : value_(defaultValue()) {}
  Cow(T value) : value_(std::make_shared<T>(std::move(value))) {}  // NOLINT: implicit, like T itself

  const T& operator*() const { return *value_; }
  const T* operator->() const { return value_.get(); }
  operator const T&() const { return *value_; }  // NOLINT: reads pass through

  // Writable access; first copies the value if any other Cow shares it.
  T& mut() {
    if (value_.use_count() > 1) value_ = std::make_shared<T>(*value_);
    // Every value is made non-const by make_shared<T>, so writing through it
    // once we hold it alone is well defined.
    return const_cast<T&>(*value_);
  }

  friend bool operator==(const Cow& a, const Cow& b) { return a.value_ == b.value_ || *a.value_ == *b.value_; }

 private:
  // New records share one default value rather than allocating their own.
  static const std::shared_ptr<const T>& defaultValue() {
    static const std::shared_ptr<const T> value = std::make_shared<T>();
    return value;
  }

  std::shared_ptr<const T> value_;
};

}  // namespace brevelan
