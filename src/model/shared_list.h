#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <vector>

namespace brevelan {

// A list with value semantics whose copies share storage. The list and each of
// its elements are immutable payloads, reference-counted and copied only when
// written through mut(): copying a project of thousands of clips copies a few
// pointers, and changing one clip copies that clip and the spine of its list.
// The undo history keeps up to 1000 whole projects this way.
//
// Writers must hold the only reference to the SharedList object itself (as with
// any value); other copies, on any thread, never see the write.
template <class T>
class SharedList {
  using Slot = std::shared_ptr<const T>;
  using Slots = std::vector<Slot>;

 public:
  using value_type = T;
  using size_type = std::size_t;

  class const_iterator {
   public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using pointer = const T*;
    using reference = const T&;

    const_iterator() = default;
    explicit const_iterator(typename Slots::const_iterator it) : it_(it) {}

    reference operator*() const { return **it_; }
    pointer operator->() const { return it_->get(); }
    reference operator[](difference_type n) const { return *it_[n]; }
    const_iterator& operator++() { ++it_; return *this; }
    const_iterator operator++(int) { auto old = *this; ++it_; return old; }
    const_iterator& operator--() { --it_; return *this; }
    const_iterator operator--(int) { auto old = *this; --it_; return old; }
    const_iterator& operator+=(difference_type n) { it_ += n; return *this; }
    const_iterator& operator-=(difference_type n) { it_ -= n; return *this; }
    friend const_iterator operator+(const_iterator a, difference_type n) { return a += n; }
    friend const_iterator operator+(difference_type n, const_iterator a) { return a += n; }
    friend const_iterator operator-(const_iterator a, difference_type n) { return a -= n; }
    friend difference_type operator-(const const_iterator& a, const const_iterator& b) { return a.it_ - b.it_; }
    friend bool operator==(const const_iterator& a, const const_iterator& b) { return a.it_ == b.it_; }
    friend auto operator<=>(const const_iterator& a, const const_iterator& b) { return a.it_ <=> b.it_; }

   private:
    typename Slots::const_iterator it_{};
  };
  using iterator = const_iterator;

  SharedList() = default;
  SharedList(std::initializer_list<T> items) : SharedList(std::vector<T>(items)) {}
  explicit SharedList(std::vector<T> items) {
    if (items.empty()) return;
    auto slots = std::make_shared<Slots>();
    slots->reserve(items.size());
    for (auto& item : items) slots->push_back(std::make_shared<T>(std::move(item)));
    slots_ = std::move(slots);
  }

  size_type size() const { return slots_ ? slots_->size() : 0; }
  bool empty() const { return size() == 0; }

  const T& operator[](size_type i) const { return *(*slots_)[i]; }
  const T& front() const { return *slots_->front(); }
  const T& back() const { return *slots_->back(); }
  const_iterator begin() const { return slots_ ? const_iterator(slots_->cbegin()) : const_iterator(); }
  const_iterator end() const { return slots_ ? const_iterator(slots_->cend()) : const_iterator(); }

  // Writable access to element i; copies the spine and the element first if
  // either is shared with another list.
  T& mut(size_type i) {
    Slot& slot = ownSlots()[i];
    if (slot.use_count() > 1) slot = std::make_shared<T>(*slot);
    // Every element is created non-const by make_shared<T>, so writing through
    // the const view of an element we own alone is well defined.
    return const_cast<T&>(*slot);
  }
  T& mutBack() { return mut(size() - 1); }

  void set(size_type i, T value) { ownSlots()[i] = std::make_shared<T>(std::move(value)); }
  void push_back(T value) { ownSlots().push_back(std::make_shared<T>(std::move(value))); }
  void insert(size_type pos, T value) {
    auto& slots = ownSlots();
    slots.insert(slots.begin() + static_cast<std::ptrdiff_t>(pos), std::make_shared<T>(std::move(value)));
  }
  void erase(size_type pos) {
    auto& slots = ownSlots();
    slots.erase(slots.begin() + static_cast<std::ptrdiff_t>(pos));
  }
  void clear() { slots_.reset(); }

  // Removes every element for which pred(element) holds; returns how many.
  template <class Pred>
  size_type removeIf(Pred pred) {
    if (std::none_of(begin(), end(), pred)) return 0;
    auto& slots = ownSlots();
    auto tail = std::remove_if(slots.begin(), slots.end(), [&](const Slot& s) { return pred(*s); });
    size_type removed = static_cast<size_type>(slots.end() - tail);
    slots.erase(tail, slots.end());
    return removed;
  }

  // Stable sort by less(a, b); shares the elements, reorders only the spine.
  template <class Less>
  void sortBy(Less less) {
    if (std::is_sorted(begin(), end(), less)) return;
    auto& slots = ownSlots();
    std::stable_sort(slots.begin(), slots.end(), [&](const Slot& a, const Slot& b) { return less(*a, *b); });
  }

  std::vector<T> toVector() const { return std::vector<T>(begin(), end()); }

  // True when both lists are the very same storage (a cheap, certain equality).
  bool sharesStorageWith(const SharedList& other) const { return slots_ == other.slots_; }

  friend bool operator==(const SharedList& a, const SharedList& b) {
    if (a.slots_ == b.slots_) return true;
    if (a.size() != b.size()) return false;
    for (size_type i = 0; i < a.size(); ++i) {
      const Slot& x = (*a.slots_)[i];
      const Slot& y = (*b.slots_)[i];
      if (x != y && !(*x == *y)) return false;
    }
    return true;
  }

 private:
  Slots& ownSlots() {
    if (!slots_) {
      slots_ = std::make_shared<Slots>();
    } else if (slots_.use_count() > 1) {
      slots_ = std::make_shared<Slots>(*slots_);
    }
    return const_cast<Slots&>(*slots_);
  }

  std::shared_ptr<const Slots> slots_;
};

}  // namespace brevelan
