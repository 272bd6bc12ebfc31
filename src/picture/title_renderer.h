#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "media/picture.h"
#include "model/caption.h"
#include "model/title_spec.h"

namespace brevelan {

// Draws title clips and burned-in captions into transparent canvas-size
// pictures (8-bit premultiplied, PixelOrder::rgba) that the compositor lays
// over the frame like any other layer. Sizes in a TitleSpec or CaptionStyle are
// pixels of a 1080-line picture, scaled by canvas height ÷ 1080 (credits:
// canvas width ÷ 1920). Every call returns null when there is nothing to draw:
// a zero-size canvas, a picture too large to allocate, or an empty caption.
//
// Safe to call from several threads at once. Finished pictures are kept (at
// most kMaxEntries and kMaxBytes, oldest dropped first) so a still title or a
// caption is laid out once for all the frames that show it.
class TitleRenderer {
 public:
  static constexpr std::size_t kMaxEntries = 64;
  static constexpr std::size_t kMaxBytes = std::size_t{256} << 20;

  TitleRenderer() = default;
  TitleRenderer(const TitleRenderer&) = delete;
  TitleRenderer& operator=(const TitleRenderer&) = delete;

  static TitleRenderer& shared();

  // A lower third or centred title; for end credits, the top of the sheet.
  std::shared_ptr<const Picture> still(const TitleSpec& title, int width, int height);
  // The whole end-credits sheet: `width` wide, as tall as its text needs.
  std::shared_ptr<const Picture> credits(const TitleSpec& title, int width);
  // Frame `frame` (0-based) of a title clip `duration` frames long: the still or
  // the rolling credits (travelling from just below the canvas to just above
  // it, gone after the last frame), faded in and out over fadeFrames.
  std::shared_ptr<const Picture> image(const TitleSpec& title, int canvasWidth, int canvasHeight, std::int64_t frame,
                                       std::int64_t duration);
  // One caption, white text centred above the style's bottom margin.
  std::shared_ptr<const Picture> caption(const std::string& text, const CaptionStyle& style, int canvasWidth,
                                         int canvasHeight);

  // Layer opacity at `frame`: a linear ramp over fadeFrames at each end that
  // never reaches 0 inside the clip, (frame + 1) / (fadeFrames + 1) going in.
  static double fadeFactor(std::int64_t fadeFrames, std::int64_t frame, std::int64_t duration);
  // Top edge of the credits sheet in canvas rows at `frame`.
  static int rollTop(int canvasHeight, int sheetHeight, std::int64_t frame, std::int64_t duration);

  std::size_t cachedPictures() const;

 private:
  enum class Kind { still, credits, caption };
  struct Key {
    Kind kind = Kind::still;
    TitleSpec title;
    std::string text;
    CaptionStyle style;
    int width = 0;
    int height = 0;
    friend bool operator==(const Key&, const Key&) = default;
  };
  struct Entry {
    Key key;
    std::shared_ptr<const Picture> picture;
  };

  std::shared_ptr<const Picture> cached(const Key& key, const std::function<std::shared_ptr<const Picture>()>& make);

  mutable std::mutex lock_;
  std::deque<Entry> cache_;  // insertion order, oldest first
  std::size_t cacheBytes_ = 0;
};

}  // namespace brevelan
