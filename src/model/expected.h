#pragma once

#include <utility>
#include <variant>

namespace brevelan {

template <class E>
struct Unexpected {
  E error;
};
template <class E>
Unexpected(E) -> Unexpected<E>;

// A value or a typed error. File and delivery operations return this; the
// error's text is the sentence shown to the user.
template <class T, class E>
class [[nodiscard]] Expected {
 public:
  Expected(T value) : state_(std::in_place_index<0>, std::move(value)) {}
  Expected(Unexpected<E> failure) : state_(std::in_place_index<1>, std::move(failure.error)) {}

  bool ok() const { return state_.index() == 0; }
  explicit operator bool() const { return ok(); }

  T& value() & { return std::get<0>(state_); }
  const T& value() const& { return std::get<0>(state_); }
  T&& value() && { return std::get<0>(std::move(state_)); }
  T* operator->() { return &value(); }
  const T* operator->() const { return &value(); }
  T& operator*() & { return value(); }
  const T& operator*() const& { return value(); }

  const E& error() const { return std::get<1>(state_); }

 private:
  std::variant<T, E> state_;
};

// Success without a value, or a typed error.
template <class E>
class [[nodiscard]] Expected<void, E> {
 public:
  Expected() = default;
  Expected(Unexpected<E> failure) : failed_(true), error_(std::move(failure.error)) {}

  bool ok() const { return !failed_; }
  explicit operator bool() const { return ok(); }
  const E& error() const { return error_; }

 private:
  bool failed_ = false;
  E error_{};
};

}  // namespace brevelan
