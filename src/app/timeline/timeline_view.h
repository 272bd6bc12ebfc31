#pragma once

#include <QRect>
#include <QRectF>
#include <QWidget>

#include <cstdint>
#include <memory>

#include "app/timeline/timeline_keys.h"
#include "model/track.h"

namespace brevelan {

class EditorModel;

// The timeline: track headers on the left, clips on a canvas that scrolls
// and zooms by the editor's pixels per frame, the playhead and the In–Out
// range on a ruler. Every tool works with the mouse through the editor's
// drag protocol; media dragged from the bin land where they are dropped.
// Sound clips show their volume or pan keys as a line with a dot per key:
// Ctrl+click on the line adds a key, a dot drags, a double-click removes it.
//
// Rows run from the top video track down to V1, then A1 down to the last
// audio track. Only the clips in view are drawn, found by halving each
// track's sorted clips, so long sequences scroll as fast as short ones.
class TimelineView : public QWidget {
  Q_OBJECT
 public:
  static constexpr int kHeaderWidth = 172;
  static constexpr int kRulerHeight = 34;
  static constexpr int kVideoTrackHeight = 62;
  static constexpr int kAudioTrackHeight = 54;
  static constexpr double kMinZoom = 0.02;
  static constexpr double kMaxZoom = 48;

  explicit TimelineView(EditorModel& editor, QWidget* parent = nullptr);
  ~TimelineView() override;

  // The lane of a track (its header excluded) in widget coordinates, as
  // scrolled now; empty when the track does not exist.
  QRect laneRect(TrackRef track) const;
  // A toggle in a track's header; only sound tracks have mute, solo and the
  // key line switch. Empty when the track has no such toggle.
  enum class HeaderSwitch { lock, solo, mute, keys };
  QRectF switchRect(TrackRef track, HeaderSwitch which) const;
  // The keys a track shows over its clips: volume on sound tracks until its
  // header switch is clicked; always off on video tracks.
  KeyLine keyLine(TrackRef track) const;
  void setKeyLine(TrackRef track, KeyLine line);
  // The strip of a track's clips that their key lines span, as scrolled now.
  KeyBand keyBand(TrackRef track) const;
  // The widget x of the boundary before a frame, at the current zoom and scroll.
  double xOf(std::int64_t frame) const;

  // Scroll offsets in pixels: from frame 0, and from the top row.
  double scrollX() const;
  void setScrollX(double px);
  int scrollY() const;
  void setScrollY(int px);
  // Changes the zoom by `factor`, keeping the frame under widget x in place.
  void zoomAround(double x, double factor);

  QSize sizeHint() const override { return {1200, 360}; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragMoveEvent(QDragMoveEvent* event) override;
  void dragLeaveEvent(QDragLeaveEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  struct Parts;
  // Lays out the rows and the scroll ranges for the current project, zoom and size.
  void relayout();

  EditorModel& editor_;
  std::unique_ptr<Parts> parts_;
};

}  // namespace brevelan
