#pragma once

#include <string_view>
#include <variant>

#include "model/cow.h"
#include "model/rgba.h"
#include "model/title_spec.h"
#include "model/uuid.h"

namespace brevelan {

// What a clip shows or plays: a media item, a title, a colour matte, or
// another sequence of the same project.
class ClipSource {
 public:
  enum class Kind { media, title, color, nested };

  ClipSource() : value_(RGBA::black()) {}
  static ClipSource media(Uuid item) { return ClipSource(MediaRef{item}); }
  static ClipSource title(TitleSpec look) { return ClipSource(Cow<TitleSpec>(std::move(look))); }
  static ClipSource color(RGBA color) { return ClipSource(color); }
  static ClipSource nested(Uuid sequence) { return ClipSource(NestedRef{sequence}); }

  Kind kind() const { return static_cast<Kind>(value_.index()); }
  // The case name as stored in the project file ("media", "title", "color", "nested").
  static std::string_view caseName(Kind kind);

  // Each accessor gives the payload when the source is of that kind, else null.
  const Uuid* mediaID() const {
    auto* ref = std::get_if<MediaRef>(&value_);
    return ref ? &ref->id : nullptr;
  }
  const TitleSpec* titleSpec() const {
    auto* title = std::get_if<Cow<TitleSpec>>(&value_);
    return title ? &**title : nullptr;
  }
  // Writable title text and look (copied first if shared), or null.
  TitleSpec* mutableTitleSpec() {
    auto* title = std::get_if<Cow<TitleSpec>>(&value_);
    return title ? &title->mut() : nullptr;
  }
  const RGBA* color() const { return std::get_if<RGBA>(&value_); }
  const Uuid* nestedID() const {
    auto* ref = std::get_if<NestedRef>(&value_);
    return ref ? &ref->id : nullptr;
  }

  friend bool operator==(const ClipSource&, const ClipSource&) = default;

 private:
  struct MediaRef {
    Uuid id;
    friend bool operator==(const MediaRef&, const MediaRef&) = default;
  };
  struct NestedRef {
    Uuid id;
    friend bool operator==(const NestedRef&, const NestedRef&) = default;
  };
  // Alternative order matches Kind.
  using Value = std::variant<MediaRef, Cow<TitleSpec>, RGBA, NestedRef>;

  template <class V>
  explicit ClipSource(V value) : value_(std::move(value)) {}

  Value value_;
};

inline std::string_view ClipSource::caseName(Kind kind) {
  switch (kind) {
    case Kind::media: return "media";
    case Kind::title: return "title";
    case Kind::color: return "color";
    case Kind::nested: return "nested";
  }
  return {};
}

}  // namespace brevelan
