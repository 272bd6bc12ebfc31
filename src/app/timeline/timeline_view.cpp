#include "app/timeline/timeline_view.h"

#include <QApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFontMetricsF>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QWheelEvent>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string>
#include <filesystem>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "app/timeline/media_drag.h"
#include "app/timeline/timeline_artwork.h"
#include "app/timeline/timeline_cursors.h"
#include "app/timeline/timeline_geometry.h"
#include "edit/editor_model.h"
#include "edit/placement_edits.h"
#include "edit/sequence_queries.h"
#include "edit/snapping.h"
#include "edit/trim_tools.h"
#include "media/audio_cache.h"

namespace brevelan {

namespace {

constexpr int kScrollBar = 12;
constexpr int kSectionGap = 6;   // between the video and the audio rows
constexpr int kNameStrip = 17;   // the clip's name bar
constexpr int kButton = 20;      // header toggles
constexpr int kKeyButton = 30;   // the key line switch, wide enough for its word
constexpr int kKeyInset = 3;     // between a clip's box and its key band
constexpr double kDragStart = 3;  // pixels the pointer travels before a press becomes a drag
// Room after the last clip, so there is somewhere to drag to.
constexpr std::int64_t kTailSeconds = 30;

// The dark theme.
namespace colors {
const QColor background(24, 25, 28);
const QColor laneA(33, 34, 38);
const QColor laneB(37, 38, 43);
const QColor laneLine(20, 21, 24);
const QColor header(42, 43, 48);
const QColor headerLine(28, 29, 33);
const QColor ruler(45, 46, 52);
const QColor tick(120, 124, 134);
const QColor text(214, 217, 224);
const QColor dimText(146, 150, 160);
const QColor accent(77, 143, 214);
const QColor playhead(232, 72, 77);
const QColor selection(255, 204, 85);
const QColor snapLine(255, 204, 85);
const QColor buttonOff(58, 60, 66);
const QColor mute(214, 120, 56);
const QColor solo(220, 184, 60);
const QColor lock(112, 130, 166);
const QColor video(58, 104, 156);
const QColor still(52, 130, 140);
const QColor audio(56, 128, 86);
const QColor title(132, 88, 170);
const QColor matte(164, 78, 112);
const QColor nested(170, 98, 58);
}  // namespace colors

const std::array<QColor, 8> kMarkerColors{QColor(232, 72, 77),  QColor(230, 150, 50), QColor(226, 200, 64),
                                          QColor(90, 190, 100), QColor(70, 180, 200), QColor(77, 143, 214),
                                          QColor(150, 110, 220), QColor(220, 110, 180)};

QColor toQColor(const RGBA& c) {
  return QColor::fromRgbF(static_cast<float>(c.r), static_cast<float>(c.g), static_cast<float>(c.b), 1.0f);
}

enum class Op { move, trim, ripple, roll, slip, slide };

const char* opName(Op op) {
  switch (op) {
    case Op::move: return "Move";
    case Op::trim: return "Trim";
    case Op::ripple: return "Ripple";
    case Op::roll: return "Roll";
    case Op::slip: return "Slip";
    case Op::slide: return "Slide";
  }
  return "";
}

enum class Switch { mute, solo, lock };

struct Row {
  TrackRef ref;
  int top = 0;  // from the top of the first row, unscrolled
  int height = 0;
};

// A press on a clip that may become a live drag.
struct ClipDrag {
  Op op = Op::move;
  TrimEdge edge = TrimEdge::tail;
  Uuid clip;              // the clip operated on (Roll: the one left of the cut)
  TrackRef track;         // the pressed row
  double pressX = 0;
  double pressY = 0;
  std::int64_t edge0 = 0;   // the dragged edge before the drag (Move, Slide: the start)
  std::int64_t length = 0;  // Move, Slide: the clip's length, whose end may snap too
  std::vector<Uuid> ids;    // Move: the moved clips
  std::vector<std::int64_t> snapTo;
  bool linked = true;
  bool started = false;     // the pointer has travelled far enough
  bool cancelled = false;
  bool collapse = false;    // a plain click on a selected clip selects it alone
  std::optional<std::int64_t> snapped;
};

// A press on a key's dot that may become a live drag of the key.
struct KeyDrag {
  Uuid clip;
  KeyLine line = KeyLine::volume;
  std::size_t index = 0;
  AudioFX audio;  // the clip's sound settings at the press
  std::int64_t duration = 0;
  KeyBand band;
  double dotY = 0;
  double pressX = 0;
  double pressY = 0;
  bool started = false;
  bool cancelled = false;
};

// The key band of a row drawn at widget y: the clip's body below its name bar.
KeyBand keyBandAt(int y, int height) {
  return KeyBand{static_cast<double>(y + 3 + kNameStrip + kKeyInset), static_cast<double>(y + height - 3 - kKeyInset)};
}

// The source second a clip plays `t` timeline frames after its start.
double sourceSecondsAt(const Clip& clip, double t, const FrameRate& rate) {
  double frame = static_cast<double>(clip.sourceIn);
  if (!clip.speed.freeze) {
    const double a = clip.speed.rate;
    const double length = static_cast<double>(std::max<std::int64_t>(clip.duration, 1));
    const double b = clip.speed.rampTo.value_or(a);
    const double used = a * t + (b - a) * t * t / (2 * length);
    frame = clip.speed.reverse ? frame + static_cast<double>(clip.speed.consumed(clip.duration)) - used : frame + used;
  }
  return frame * static_cast<double>(rate.den) / static_cast<double>(rate.num);
}

QColor kindColor(const Clip& clip, const MediaItem* media, TrackKind kind) {
  switch (clip.source.kind()) {
    case ClipSource::Kind::title: return colors::title;
    case ClipSource::Kind::color: return colors::matte;
    case ClipSource::Kind::nested: return colors::nested;
    case ClipSource::Kind::media: break;
  }
  if (kind == TrackKind::audio) return colors::audio;
  if (media && media->kind == MediaKind::image) return colors::still;
  return colors::video;
}

}  // namespace

struct TimelineView::Parts {
  explicit Parts(TimelineView& view) : artwork([&view] { view.update(); }) {}

  std::uint64_t observer = 0;
  QScrollBar* hbar = nullptr;
  QScrollBar* vbar = nullptr;
  double scrollX = 0;
  int scrollY = 0;

  std::vector<Row> rows;
  int rowsHeight = 0;
  // Media by id, rebuilt when the bin changes.
  SharedList<MediaItem> mediaSeen;
  std::unordered_map<Uuid, const MediaItem*> mediaByID;
  // Media whose file is not where the project says: their clips show as offline.
  std::unordered_set<Uuid> offline;

  TimelineArtwork artwork;
  std::vector<QLineF> lines;  // reused by every waveform

  bool playheadDrag = false;
  std::optional<ClipDrag> drag;
  std::optional<KeyDrag> keyDrag;
  // What each sound track shows, by track id; volume when absent.
  std::unordered_map<Uuid, KeyLine> keyLines;
  // Blade: where a click would cut, shown while hovering.
  std::optional<std::pair<TrackRef, std::int64_t>> bladeAt;
  // Media dragged over the timeline: where they would land.
  std::optional<Row> dropRow;
  std::int64_t dropFrame = 0;
  std::int64_t dropLength = 0;

  KeyLine keyLine(const Track& track) const {
    if (track.kind != TrackKind::audio) return KeyLine::off;
    auto it = keyLines.find(track.id);
    return it == keyLines.end() ? KeyLine::volume : it->second;
  }

  const MediaItem* media(const Clip& clip) const {
    const Uuid* id = clip.source.mediaID();
    if (!id) return nullptr;
    auto it = mediaByID.find(*id);
    return it == mediaByID.end() ? nullptr : it->second;
  }
};

TimelineView::TimelineView(EditorModel& editor, QWidget* parent)
    : QWidget(parent), editor_(editor), parts_(std::make_unique<Parts>(*this)) {
  setMinimumHeight(200);
  setMouseTracking(true);
  setAcceptDrops(true);
  setFocusPolicy(Qt::StrongFocus);
  setAttribute(Qt::WA_OpaquePaintEvent);

  QFont small = font();
  small.setPixelSize(11);
  setFont(small);

  parts_->hbar = new QScrollBar(Qt::Horizontal, this);
  parts_->vbar = new QScrollBar(Qt::Vertical, this);
  for (QScrollBar* bar : {parts_->hbar, parts_->vbar}) {
    bar->setCursor(Qt::ArrowCursor);
    bar->setStyleSheet(QStringLiteral(
        "QScrollBar { background: #2a2b30; border: none; }"
        "QScrollBar::handle { background: #55585f; border-radius: 4px; margin: 2px;"
        " min-width: 24px; min-height: 24px; }"
        "QScrollBar::handle:hover { background: #6a6e77; }"
        "QScrollBar::add-line, QScrollBar::sub-line { width: 0; height: 0; }"
        "QScrollBar::add-page, QScrollBar::sub-page { background: none; }"));
  }
  connect(parts_->hbar, &QScrollBar::valueChanged, this, [this](int value) { setScrollX(value); });
  connect(parts_->vbar, &QScrollBar::valueChanged, this, [this](int value) { setScrollY(value); });

  parts_->observer = editor_.subscribe([this](Field field) {
    switch (field) {
      case Field::project:
      case Field::pixelsPerFrame:
        relayout();
        update();
        break;
      case Field::playhead: {
        // Keep the playhead in view while it plays or jumps, not while the user drags it.
        const double x = xOf(editor_.state().playhead);
        if (!parts_->playheadDrag && (x < kHeaderWidth || x > width() - kScrollBar))
          setScrollX(static_cast<double>(editor_.state().playhead) * editor_.state().pixelsPerFrame -
                     std::max(width() - kHeaderWidth, 400) * 0.1);  // also before the first layout
        update();
        break;
      }
      case Field::selection:
      case Field::markIn:
      case Field::markOut:
      case Field::tool:
      case Field::snapping:
      case Field::linkedSelection:
      case Field::targetVideo:
      case Field::targetAudio:
      case Field::dragPreview:
        update();
        break;
      default: break;
    }
  });
  relayout();
}

TimelineView::~TimelineView() { editor_.unsubscribe(parts_->observer); }

// ---- geometry ---------------------------------------------------------------

namespace {

QRectF buttonRect(const QRect& header, int slot) {
  // Slots count from the right edge.
  const double right = header.right() - 8 - slot * (kButton + 4);
  return QRectF(right - kButton, header.top() + (header.height() - kButton) / 2.0 + 8, kButton, kButton - 4);
}

// Left of mute, on sound tracks only.
QRectF keyButtonRect(const QRect& header) {
  const QRectF mute = buttonRect(header, 2);
  return QRectF(mute.left() - 4 - kKeyButton, mute.top(), kKeyButton, mute.height());
}

TimeAxis axisOf(double scrollX, double pixelsPerFrame) {
  return TimeAxis{TimelineView::kHeaderWidth - scrollX, pixelsPerFrame};
}

}  // namespace

double TimelineView::xOf(std::int64_t frame) const {
  return axisOf(parts_->scrollX, editor_.state().pixelsPerFrame).x(frame);
}

double TimelineView::scrollX() const { return parts_->scrollX; }
int TimelineView::scrollY() const { return parts_->scrollY; }

void TimelineView::setScrollX(double px) {
  px = std::clamp(px, 0.0, static_cast<double>(parts_->hbar->maximum()));
  if (px == parts_->scrollX) return;
  parts_->scrollX = px;
  const QSignalBlocker block(parts_->hbar);
  parts_->hbar->setValue(static_cast<int>(std::lround(px)));
  update();
}

void TimelineView::setScrollY(int px) {
  px = std::clamp(px, 0, parts_->vbar->maximum());
  if (px == parts_->scrollY) return;
  parts_->scrollY = px;
  const QSignalBlocker block(parts_->vbar);
  parts_->vbar->setValue(px);
  update();
}

QRect TimelineView::laneRect(TrackRef track) const {
  for (const Row& row : parts_->rows)
    if (row.ref == track)
      return QRect(kHeaderWidth, kRulerHeight + row.top - parts_->scrollY, width() - kScrollBar - kHeaderWidth,
                   row.height);
  return {};
}

QRectF TimelineView::switchRect(TrackRef track, HeaderSwitch which) const {
  const QRect lane = laneRect(track);
  if (lane.isEmpty() || (track.kind == TrackKind::video && which != HeaderSwitch::lock)) return {};
  if (which == HeaderSwitch::keys) return keyButtonRect(QRect(0, lane.top(), kHeaderWidth, lane.height()));
  return buttonRect(QRect(0, lane.top(), kHeaderWidth, lane.height()), static_cast<int>(which));
}

KeyLine TimelineView::keyLine(TrackRef track) const {
  const BrevSequence* seq = editor_.activeSequence();
  return seq && valid(*seq, track) ? parts_->keyLine(trackAt(*seq, track)) : KeyLine::off;
}

void TimelineView::setKeyLine(TrackRef track, KeyLine line) {
  const BrevSequence* seq = editor_.activeSequence();
  if (!seq || !valid(*seq, track) || track.kind != TrackKind::audio) return;
  parts_->keyLines[trackAt(*seq, track).id] = line;
  update();
}

KeyBand TimelineView::keyBand(TrackRef track) const {
  const QRect lane = laneRect(track);
  return keyBandAt(lane.top(), lane.height());
}

void TimelineView::zoomAround(double x, double factor) {
  const double before = editor_.state().pixelsPerFrame;
  const double after = std::clamp(before * factor, kMinZoom, kMaxZoom);
  if (after == before) return;
  // The frame position (fractional) under x stays under x.
  const double at = (x - kHeaderWidth + parts_->scrollX) / before;
  editor_.setPixelsPerFrame(after);
  setScrollX(at * after - (x - kHeaderWidth));
}

void TimelineView::resizeEvent(QResizeEvent*) { relayout(); }

void TimelineView::relayout() {
  Parts& p = *parts_;
  const BrevSequence* seq = editor_.activeSequence();
  p.rows.clear();
  int top = 0;
  if (seq) {
    for (std::size_t i = seq->video.size(); i-- > 0;) {
      p.rows.push_back({{TrackKind::video, static_cast<std::int64_t>(i)}, top, kVideoTrackHeight});
      top += kVideoTrackHeight;
    }
    if (!seq->video.empty() && !seq->audio.empty()) top += kSectionGap;
    for (std::size_t i = 0; i < seq->audio.size(); ++i) {
      p.rows.push_back({{TrackKind::audio, static_cast<std::int64_t>(i)}, top, kAudioTrackHeight});
      top += kAudioTrackHeight;
    }
  }
  p.rowsHeight = top;

  const Project& project = editor_.project();
  if (!p.mediaSeen.sharesStorageWith(project.media)) {
    p.mediaSeen = project.media;
    p.mediaByID.clear();
    p.offline.clear();
    for (const MediaItem& item : p.mediaSeen) {
      p.mediaByID.emplace(item.id, &item);
      std::error_code ec;
      if (!std::filesystem::exists(item.path, ec)) p.offline.insert(item.id);
    }
  }

  const int laneWidth = std::max(0, width() - kScrollBar - kHeaderWidth);
  const int laneHeight = std::max(0, height() - kScrollBar - kRulerHeight);
  p.hbar->setGeometry(kHeaderWidth, height() - kScrollBar, laneWidth, kScrollBar);
  p.vbar->setGeometry(width() - kScrollBar, kRulerHeight, kScrollBar, laneHeight);

  const double ppf = editor_.state().pixelsPerFrame;
  const std::int64_t tail = seq ? kTailSeconds * seq->rate.nominalFPS() : 0;
  const double content = static_cast<double>((seq ? seq->duration() : 0) + tail) * ppf;
  // The scroll bar counts in int.
  const double maxX = std::min(std::max(0.0, content - laneWidth), 2.0e9);
  {
    const QSignalBlocker block(p.hbar);
    p.hbar->setRange(0, static_cast<int>(maxX));
    p.hbar->setPageStep(std::max(1, laneWidth));
    p.hbar->setSingleStep(40);
  }
  {
    const QSignalBlocker block(p.vbar);
    p.vbar->setRange(0, std::max(0, p.rowsHeight - laneHeight));
    p.vbar->setPageStep(std::max(1, laneHeight));
    p.vbar->setSingleStep(20);
  }
  // Keep the offsets inside the new ranges.
  const double sx = p.scrollX;
  const int sy = p.scrollY;
  p.scrollX = -1;
  p.scrollY = -1;
  setScrollX(sx);
  setScrollY(sy);
}

// ---- painting ----------------------------------------------------------------

namespace {

// Frames between labelled ticks: the first nice step at least `minPixels` wide.
std::int64_t tickStep(double pixelsPerFrame, std::int64_t fps, double minPixels) {
  static constexpr std::array<std::int64_t, 4> kFrames{1, 2, 5, 10};
  static constexpr std::array<std::int64_t, 15> kSeconds{1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600,
                                                         7200, 36000};
  for (const std::int64_t f : kFrames)
    if (f < fps && static_cast<double>(f) * pixelsPerFrame >= minPixels) return f;
  for (const std::int64_t s : kSeconds)
    if (static_cast<double>(s * fps) * pixelsPerFrame >= minPixels) return s * fps;
  return kSeconds.back() * fps;
}


}  // namespace

void TimelineView::paintEvent(QPaintEvent*) {
  Parts& p = *parts_;
  const EditorState& state = editor_.state();
  const BrevSequence* seq = editor_.activeSequence();
  const double ppf = state.pixelsPerFrame;
  const TimeAxis axis = axisOf(p.scrollX, ppf);
  const int right = width() - kScrollBar;
  const int bottom = height() - kScrollBar;
  const QRect lanes(kHeaderWidth, kRulerHeight, std::max(0, right - kHeaderWidth), std::max(0, bottom - kRulerHeight));

  QPainter painter(this);
  painter.fillRect(rect(), colors::background);
  if (!seq) {
    painter.setPen(colors::dimText);
    painter.drawText(lanes, Qt::AlignCenter, tr("No sequence open"));
    return;
  }

  // Frames in view, with a margin so edges and transitions just outside still draw.
  const std::int64_t viewFirst = axis.frameAt(kHeaderWidth) - 1;
  const std::int64_t viewLast = axis.frameAt(right) + 2;
  const QFontMetricsF metrics(font());

  // Lanes, clips, transitions.
  painter.save();
  painter.setClipRect(lanes);
  for (std::size_t r = 0; r < p.rows.size(); ++r) {
    const Row& row = p.rows[r];
    const int y = kRulerHeight + row.top - p.scrollY;
    if (y + row.height < kRulerHeight || y > bottom) continue;
    const Track& track = trackAt(*seq, row.ref);
    const QRect lane(kHeaderWidth, y, lanes.width(), row.height);
    painter.fillRect(lane, r % 2 ? colors::laneB : colors::laneA);
    painter.fillRect(QRect(lane.left(), lane.bottom(), lane.width(), 1), colors::laneLine);
    if (track.locked) painter.fillRect(lane, QBrush(QColor(255, 255, 255, 10), Qt::BDiagPattern));

    const auto [first, last] = clipsBetween(track, viewFirst, viewLast);
    for (std::size_t i = first; i < last; ++i) {
      const Clip& clip = track.clips[i];
      const double x0 = axis.x(clip.start);
      const double x1 = axis.x(clip.end());
      // Drawn no further than just past the view: very long clips stay cheap.
      const double left = std::max(x0, kHeaderWidth - 4.0);
      const double rightEdge = std::min(x1, right + 4.0);
      const QRectF box(left, y + 3, std::max(1.0, rightEdge - left - 1), row.height - 6);
      const MediaItem* media = p.media(clip);
      const bool selected = state.selection.contains(clip.id);
      QColor base = kindColor(clip, media, row.ref.kind);
      if (selected) base = base.lighter(135);

      painter.setOpacity(clip.enabled ? 1.0 : 0.38);
      painter.fillRect(box, base.darker(160));
      const QRectF body(box.left(), box.top() + kNameStrip, box.width(), box.height() - kNameStrip);

      // Filmstrip: pictures side by side, each at the source time of its left edge.
      if (media && row.ref.kind == TrackKind::video && (media->hasVideo || media->kind == MediaKind::image) &&
          body.width() > 12) {
        const double th = body.height();
        const double aspect = media->width > 0 && media->height > 0
                                  ? static_cast<double>(media->width) / static_cast<double>(media->height)
                                  : 16.0 / 9.0;
        const double tw = std::max(16.0, th * aspect);
        // Coarser steps when zoomed out, so each picture is asked for once per step.
        const double slotSeconds = tw / ppf * static_cast<double>(seq->rate.den) / static_cast<double>(seq->rate.num);
        const double step =
            std::max(TimelineArtwork::kThumbStep, std::exp2(std::ceil(std::log2(std::max(1e-9, slotSeconds)))));
        painter.save();
        painter.setClipRect(body.intersected(QRectF(lanes)));
        const auto k0 = static_cast<std::int64_t>(std::max(0.0, std::floor((body.left() - x0) / tw)));
        for (std::int64_t k = k0;; ++k) {
          const double sx = x0 + static_cast<double>(k) * tw;
          if (sx >= body.right()) break;
          double seconds = 0;
          if (media->kind != MediaKind::image) {
            seconds = sourceSecondsAt(clip, static_cast<double>(k) * tw / ppf, seq->rate);
            seconds = std::max(0.0, std::floor(seconds / step) * step);
          }
          if (const QImage* thumb = p.artwork.thumb(*media, seconds))
            painter.drawImage(QRectF(sx, body.top(), tw, th), *thumb);
          painter.fillRect(QRectF(sx, body.top(), 1, th), QColor(0, 0, 0, 90));
        }
        painter.restore();
      }

      // Waveform: the loudest peak under each pixel column, mirrored around the middle.
      if (media && row.ref.kind == TrackKind::audio && body.width() > 2) {
        if (const std::vector<float>* peaks = p.artwork.peaks(*media); peaks && !peaks->empty()) {
          constexpr double kPeaksPerSecond = 48000.0 / static_cast<double>(AudioCache::kPeakFrames);
          const double mid = body.center().y();
          const double half = body.height() / 2 - 1;
          const auto count = static_cast<std::int64_t>(peaks->size());
          p.lines.clear();
          for (double px = std::floor(body.left()); px < body.right(); px += 1) {
            const double s0 = sourceSecondsAt(clip, (px - x0) / ppf, seq->rate) * kPeaksPerSecond;
            const double s1 = sourceSecondsAt(clip, (px + 1 - x0) / ppf, seq->rate) * kPeaksPerSecond;
            auto a = static_cast<std::int64_t>(std::floor(std::min(s0, s1)));
            auto b = static_cast<std::int64_t>(std::ceil(std::max(s0, s1)));
            a = std::clamp<std::int64_t>(a, 0, count);
            b = std::clamp<std::int64_t>(std::max(b, a + 1), 0, count);
            float peak = 0;
            for (std::int64_t k = a; k < b; ++k) peak = std::max(peak, (*peaks)[static_cast<std::size_t>(k)]);
            // Silence still shows as a thin line, so a quiet clip reads as sound.
            const double h = std::max(0.5, half * std::min(1.0, std::pow(static_cast<double>(peak), 0.7)));
            p.lines.emplace_back(px + 0.5, mid - h, px + 0.5, mid + h);
          }
          painter.setPen(QPen(base.lighter(150), 1));
          painter.drawLines(p.lines.data(), static_cast<int>(p.lines.size()));
        }
      }

      if (media && p.offline.contains(media->id)) {
        painter.fillRect(body, QColor(120, 28, 32));
        painter.fillRect(body, QBrush(QColor(255, 255, 255, 28), Qt::BDiagPattern));
        painter.setPen(QColor(255, 210, 210));
        painter.drawText(body.adjusted(5, 0, -4, 0), Qt::AlignLeft | Qt::AlignVCenter,
                         metrics.elidedText("Media Offline", Qt::ElideRight, static_cast<int>(body.width()) - 9));
      }

      if (const KeyLine line = p.keyLine(track); line != KeyLine::off && body.width() > 2) {
        painter.save();
        painter.setClipRect(QRectF(box.left(), body.top(), box.width(), body.height()).intersected(QRectF(lanes)));
        drawKeyLine(painter, clip, line, axis, keyBandAt(y, row.height), box.left(), box.right());
        painter.restore();
      }

      // The name bar.
      const QRectF strip(box.left(), box.top(), box.width(), kNameStrip);
      painter.fillRect(strip, base);
      if (const RGBA* matte = clip.source.color(); matte && strip.width() > 14)
        painter.fillRect(QRectF(strip.left() + 4, strip.top() + 4, 9, 9), toQColor(*matte));
      if (strip.width() > 18) {
        const double indent = clip.source.color() ? 17 : 5;
        QString name = QString::fromStdString(clip.name);
        if (!clip.speed.freeze && clip.speed.rate != 1 && !clip.speed.rampTo)
          name += QStringLiteral("  %1%").arg(std::lround(clip.speed.rate * 100));
        // Names stay readable while the clip's head is scrolled off to the left.
        const QRectF textBox(strip.left() + indent, strip.top(), strip.width() - indent - 4, strip.height());
        painter.setPen(QColor(245, 246, 248));
        painter.drawText(textBox, Qt::AlignLeft | Qt::AlignVCenter,
                         metrics.elidedText(name, Qt::ElideRight, textBox.width()));
      }
      painter.setOpacity(1.0);
      if (selected) {
        painter.setPen(QPen(colors::selection, 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(box.adjusted(1, 1, -1, -1));
      } else {
        painter.setPen(QPen(QColor(0, 0, 0, 110), 1));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(box.adjusted(0.5, 0.5, -0.5, -0.5));
      }
    }

    // Transitions sit over the cut at a clip's head, centred on it.
    const auto [tFirst, tLast] = clipsBetween(track, viewFirst - 10000, viewLast + 10000);
    for (std::size_t i = tFirst; i < tLast; ++i) {
      const Clip& clip = track.clips[i];
      if (!clip.transitionIn) continue;
      const double half = static_cast<double>(clip.transitionIn->duration) * ppf / 2;
      const double cx = axis.x(clip.start);
      if (cx + half < kHeaderWidth || cx - half > right) continue;
      const QRectF t(cx - std::max(half, 3.0), y + 3 + kNameStrip, std::max(2 * half, 6.0),
                     row.height - 6 - kNameStrip);
      painter.setRenderHint(QPainter::Antialiasing, true);
      painter.setPen(QPen(QColor(255, 255, 255, 170), 1));
      painter.setBrush(QColor(20, 20, 24, 150));
      painter.drawRoundedRect(t.adjusted(0.5, 2.5, -0.5, -2.5), 3, 3);
      if (t.width() > 14) {
        painter.setPen(QPen(QColor(255, 255, 255, 120), 1));
        painter.drawLine(QPointF(t.left() + 3, t.bottom() - 5), QPointF(t.right() - 3, t.top() + 5));
        painter.drawLine(QPointF(t.left() + 3, t.top() + 5), QPointF(t.right() - 3, t.bottom() - 5));
      }
      painter.setRenderHint(QPainter::Antialiasing, false);
    }

    if (p.bladeAt && p.bladeAt->first == row.ref) {
      const double bx = axis.x(p.bladeAt->second);
      painter.fillRect(QRectF(bx - 0.5, y + 2, 1.5, row.height - 4), colors::playhead.lighter(130));
    }
    if (p.dropRow && p.dropRow->ref == row.ref) {
      const QRectF ghost(axis.x(p.dropFrame), y + 3, std::max(2.0, static_cast<double>(p.dropLength) * ppf),
                         row.height - 6);
      painter.setPen(QPen(QColor(255, 255, 255, 220), 1.5, Qt::DashLine));
      painter.setBrush(QColor(255, 255, 255, 30));
      painter.drawRect(ghost);
    }
  }

  // The In–Out range lightly over every lane.
  const double inX = state.markIn ? axis.x(*state.markIn) : kHeaderWidth;
  const double outX = state.markOut ? axis.x(*state.markOut) : right;
  const bool range = state.markIn || state.markOut;
  if (range && outX > inX)
    painter.fillRect(QRectF(inX, kRulerHeight, outX - inX, lanes.height()), QColor(77, 143, 214, 22));
  if (p.drag && p.drag->snapped) {
    painter.fillRect(QRectF(axis.x(*p.drag->snapped) - 0.5, kRulerHeight, 1.5, lanes.height()), colors::snapLine);
  }
  painter.restore();

  // Headers.
  painter.save();
  painter.setClipRect(QRect(0, kRulerHeight, kHeaderWidth, lanes.height()));
  QFont nameFont = font();
  nameFont.setPixelSize(12);
  nameFont.setBold(true);
  for (const Row& row : p.rows) {
    const int y = kRulerHeight + row.top - p.scrollY;
    if (y + row.height < kRulerHeight || y > bottom) continue;
    const Track& track = trackAt(*seq, row.ref);
    const QRect header(0, y, kHeaderWidth, row.height);
    painter.fillRect(header, colors::header);
    painter.fillRect(QRect(0, header.bottom(), kHeaderWidth, 1), colors::headerLine);
    painter.fillRect(QRect(kHeaderWidth - 1, y, 1, row.height), colors::headerLine);
    const bool target = row.ref.index == (row.ref.kind == TrackKind::video ? state.targetVideo : state.targetAudio);
    if (target) painter.fillRect(QRect(0, y + 3, 3, row.height - 6), colors::accent);
    painter.setFont(nameFont);
    painter.setPen(colors::text);
    painter.drawText(QRect(12, y + 6, kHeaderWidth - 20, 18), Qt::AlignLeft | Qt::AlignVCenter,
                     QString::fromStdString(track.name));
    painter.setFont(font());
    painter.setPen(colors::dimText);
    painter.drawText(QRect(12, y + 24, 60, row.height - 28), Qt::AlignLeft | Qt::AlignVCenter,
                     row.ref.kind == TrackKind::video ? tr("Video") : tr("Audio"));

    // Mute and solo only on sound tracks: they change nothing else.
    struct Toggle {
      const char* label;
      bool on;
      QColor color;
    };
    std::array<Toggle, 3> toggles{{{"L", track.locked, colors::lock},
                                   {"S", track.solo, colors::solo},
                                   {"M", track.muted, colors::mute}}};
    const int count = row.ref.kind == TrackKind::audio ? 3 : 1;
    painter.setRenderHint(QPainter::Antialiasing, true);
    for (int slot = 0; slot < count; ++slot) {
      const Toggle& t = toggles[static_cast<std::size_t>(slot)];
      const QRectF b = buttonRect(header, slot);
      painter.setPen(Qt::NoPen);
      painter.setBrush(t.on ? t.color : colors::buttonOff);
      painter.drawRoundedRect(b, 3, 3);
      painter.setPen(t.on ? QColor(20, 20, 22) : colors::dimText);
      painter.drawText(b, Qt::AlignCenter, QString::fromLatin1(t.label));
    }
    if (row.ref.kind == TrackKind::audio) {
      const KeyLine line = p.keyLine(track);
      const QRectF b = keyButtonRect(header);
      painter.setPen(Qt::NoPen);
      painter.setBrush(line == KeyLine::off ? colors::buttonOff : keyLineColor(line));
      painter.drawRoundedRect(b, 3, 3);
      painter.setPen(line == KeyLine::off ? colors::dimText : QColor(20, 20, 22));
      const QString label = line == KeyLine::off ? tr("Off") : line == KeyLine::pan ? tr("Pan") : tr("Vol");
      painter.drawText(b, Qt::AlignCenter, label);
    }
    painter.setRenderHint(QPainter::Antialiasing, false);
  }
  painter.restore();

  // The ruler: ticks, timecode, In–Out, markers.
  painter.fillRect(QRect(kHeaderWidth, 0, lanes.width(), kRulerHeight), colors::ruler);
  painter.fillRect(QRect(kHeaderWidth, kRulerHeight - 1, lanes.width(), 1), colors::headerLine);
  painter.save();
  painter.setClipRect(QRect(kHeaderWidth, 0, lanes.width(), kRulerHeight));
  if (range && outX > inX) {
    painter.fillRect(QRectF(inX, kRulerHeight - 9, outX - inX, 8), QColor(77, 143, 214, 150));
    painter.setPen(QPen(colors::accent.lighter(130), 2));
    if (state.markIn) painter.drawLine(QPointF(inX, kRulerHeight - 12), QPointF(inX, kRulerHeight - 1));
    if (state.markOut) painter.drawLine(QPointF(outX, kRulerHeight - 12), QPointF(outX, kRulerHeight - 1));
  }
  const std::int64_t fps = seq->rate.nominalFPS();
  const std::int64_t major = tickStep(ppf, fps, 96);
  std::int64_t minor = 0;
  for (const std::int64_t divisions : {10, 5, 4, 2})
    if (major % divisions == 0 && static_cast<double>(major / divisions) * ppf >= 7) {
      minor = major / divisions;
      break;
    }
  const std::int64_t firstTick = std::max<std::int64_t>(0, viewFirst / major * major);
  painter.setPen(colors::tick);
  if (minor > 0)
    for (std::int64_t f = firstTick; f <= viewLast; f += minor) {
      const double x = std::floor(axis.x(f)) + 0.5;
      painter.drawLine(QPointF(x, kRulerHeight - (f % major ? 5 : 12)), QPointF(x, kRulerHeight - 1));
    }
  for (std::int64_t f = firstTick; f <= viewLast; f += major) {
    const double x = std::floor(axis.x(f)) + 0.5;
    painter.setPen(colors::tick);
    painter.drawLine(QPointF(x, kRulerHeight - 12), QPointF(x, kRulerHeight - 1));
    painter.setPen(colors::dimText);
    painter.drawText(QPointF(x + 4, 13), QString::fromStdString(seq->rate.timecode(f)));
  }
  painter.setRenderHint(QPainter::Antialiasing, true);
  for (const Marker& marker : seq->markers) {
    if (marker.frame < viewFirst || marker.frame > viewLast) continue;
    const double x = axis.x(marker.frame);
    QPainterPath flag;
    flag.moveTo(x - 5, kRulerHeight - 14);
    flag.lineTo(x + 5, kRulerHeight - 14);
    flag.lineTo(x + 5, kRulerHeight - 7);
    flag.lineTo(x, kRulerHeight - 2);
    flag.lineTo(x - 5, kRulerHeight - 7);
    flag.closeSubpath();
    painter.fillPath(flag, kMarkerColors[static_cast<std::size_t>(marker.color) % kMarkerColors.size()]);
  }
  painter.restore();

  // The playhead over ruler and lanes.
  const double ph = axis.x(state.playhead);
  if (ph >= kHeaderWidth - 1 && ph <= right) {
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.fillRect(QRectF(std::floor(ph), kRulerHeight - 4, 1, bottom - kRulerHeight + 4), colors::playhead);
    QPainterPath head;
    head.moveTo(ph - 6, 16);
    head.lineTo(ph + 6, 16);
    head.lineTo(ph + 6, 24);
    head.lineTo(ph, kRulerHeight - 2);
    head.lineTo(ph - 6, 24);
    head.closeSubpath();
    painter.fillPath(head, colors::playhead);
    painter.setRenderHint(QPainter::Antialiasing, false);
  }

  // The corner: the playhead's timecode.
  const QRect corner(0, 0, kHeaderWidth, kRulerHeight);
  painter.fillRect(corner, colors::header);
  painter.fillRect(QRect(0, kRulerHeight - 1, kHeaderWidth, 1), colors::headerLine);
  painter.fillRect(QRect(kHeaderWidth - 1, 0, 1, kRulerHeight), colors::headerLine);
  QFont code = font();
  code.setPixelSize(15);
  code.setFamily(QStringLiteral("monospace"));
  code.setStyleHint(QFont::Monospace);
  painter.setFont(code);
  painter.setPen(colors::accent.lighter(120));
  painter.drawText(corner.adjusted(12, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter,
                   QString::fromStdString(seq->rate.timecode(state.playhead)));
  painter.fillRect(QRect(0, bottom, kHeaderWidth, kScrollBar), colors::header);
  painter.fillRect(QRect(right, bottom, kScrollBar, kScrollBar), colors::header);
}

// ---- the mouse and the keyboard ---------------------------------------------

namespace {

const Row* rowAt(const std::vector<Row>& rows, int scrollY, double y) {
  if (y < TimelineView::kRulerHeight) return nullptr;
  const double top = y - TimelineView::kRulerHeight + scrollY;
  for (const Row& row : rows)
    if (top >= row.top && top < row.top + row.height) return &row;
  return nullptr;
}

// The track offset of a Move: how many tracks of the pressed kind lie between
// the pressed row and the row under the pointer. Past the last track of the
// kind (or over the other kind) the offset stops at the end of its range.
std::int64_t trackOffsetAt(const std::vector<Row>& rows, int scrollY, TrackRef pressed, double y) {
  if (const Row* row = rowAt(rows, scrollY, y); row && row->ref.kind == pressed.kind)
    return row->ref.index - pressed.index;
  // Video rows run upwards, audio rows downwards: beyond the top of the
  // canvas is the top video track, beyond its bottom the last audio track.
  std::int64_t count = 0;
  int kindTop = 0;
  for (const Row& row : rows)
    if (row.ref.kind == pressed.kind) {
      if (count++ == 0) kindTop = row.top;
    }
  const double top = y - TimelineView::kRulerHeight + scrollY;
  const bool above = top < kindTop;
  const bool upwards = pressed.kind == TrackKind::video ? above : !above;
  return upwards ? (pressed.kind == TrackKind::video ? count - 1 - pressed.index : -pressed.index)
                 : (pressed.kind == TrackKind::video ? -pressed.index : count - 1 - pressed.index);
}

}  // namespace

void TimelineView::mousePressEvent(QMouseEvent* event) {
  Parts& p = *parts_;
  if (event->button() != Qt::LeftButton || p.drag || p.keyDrag || p.playheadDrag) return;
  const BrevSequence* seq = editor_.activeSequence();
  if (!seq) return;
  setFocus(Qt::MouseFocusReason);
  const QPointF pos = event->position();
  const EditorState& state = editor_.state();
  const TimeAxis axis = axisOf(p.scrollX, state.pixelsPerFrame);

  // The ruler moves the playhead.
  if (pos.y() < kRulerHeight) {
    if (pos.x() < kHeaderWidth) return;
    p.playheadDrag = true;
    editor_.setPlayhead(std::max<std::int64_t>(0, axis.boundaryAt(pos.x())));
    return;
  }
  const Row* row = rowAt(p.rows, p.scrollY, pos.y());
  if (!row) {
    if (!(event->modifiers() & Qt::ShiftModifier)) editor_.clearSelection();
    return;
  }
  const TrackRef ref = row->ref;
  const Track& track = trackAt(*seq, ref);

  // Headers: the toggles, or elsewhere makes the track a target of source edits.
  if (pos.x() < kHeaderWidth) {
    const QRect header(0, kRulerHeight + row->top - p.scrollY, kHeaderWidth, row->height);
    if (ref.kind == TrackKind::audio && keyButtonRect(header).contains(pos)) {
      setKeyLine(ref, nextKeyLine(p.keyLine(track)));
      return;
    }
    const int count = ref.kind == TrackKind::audio ? 3 : 1;
    for (int slot = 0; slot < count; ++slot) {
      if (!buttonRect(header, slot).contains(pos)) continue;
      if (slot == 0) editor_.setTrackLocked(ref, !track.locked);
      if (slot == 1) editor_.setTrackSolo(ref, !track.solo);
      if (slot == 2) editor_.setTrackMuted(ref, !track.muted);
      return;
    }
    if (ref.kind == TrackKind::video) editor_.setTargetVideo(ref.index);
    else editor_.setTargetAudio(ref.index);
    return;
  }

  // Keys: a dot drags with every tool but the blade; Ctrl+click on the line adds one.
  const KeyLine line = p.keyLine(track);
  const KeyBand band = keyBandAt(kRulerHeight + row->top - p.scrollY, row->height);
  if (line != KeyLine::off && state.tool != Tool::blade && !track.locked)
    if (const std::optional<KeyHit> on = keyHit(track, line, axis, band, pos)) {
      const Clip& clip = track.clips[on->clip];
      if (on->key) {
        const Keyframe& key = keysOf(*clip.audio, line).keys[*on->key];
        p.keyDrag = KeyDrag{clip.id, line, *on->key, *clip.audio, clip.duration, band,
                            band.y(line, lineValue(*clip.audio, line, static_cast<double>(key.frame))),
                            pos.x(), pos.y(), false, false};
        editor_.beginDrag();
        return;
      }
      if (event->modifiers() & Qt::ControlModifier) {
        const std::int64_t frame = std::clamp<std::int64_t>(axis.boundaryAt(pos.x()) - clip.start, 0, clip.duration);
        const double value = keyValueFor(*clip.audio, line, band.value(line, pos.y()));
        const Uuid id = clip.id;
        if (line == KeyLine::volume) editor_.addVolumeKey(id, frame, value);
        else editor_.addPanKey(id, frame, value);
        return;
      }
    }

  const std::optional<ClipHit> hit = hitClip(track, axis, pos.x());
  const bool shift = event->modifiers() & Qt::ShiftModifier;
  const bool alt = event->modifiers() & Qt::AltModifier;
  const bool linked = state.linkedSelection && !alt;
  const Tool tool = state.tool;
  if (!hit) {
    if (tool == Tool::select && !shift) editor_.clearSelection();
    return;
  }
  const Clip& clip = track.clips[hit->index];

  if (tool == Tool::blade) {
    const std::int64_t at = axis.frameAt(pos.x());
    editor_.editSeq("Blade", false, true, [&](BrevSequence& s) { blade(s, hit->clip, at, linked); });
    return;
  }

  ClipDrag drag;
  drag.clip = hit->clip;
  drag.track = ref;
  drag.pressX = pos.x();
  drag.pressY = pos.y();
  drag.linked = linked;
  drag.edge = hit->grab == Grab::head ? TrimEdge::head : TrimEdge::tail;
  drag.edge0 = hit->grab == Grab::head ? clip.start : clip.end();
  const bool edge = hit->grab != Grab::body;
  switch (tool) {
    case Tool::select:
      if (edge) {
        drag.op = Op::trim;
        editor_.select(clip.id, shift);
      } else {
        drag.op = Op::move;
        drag.edge0 = clip.start;
        drag.length = clip.duration;
        if (alt) {
          editor_.setSelection({clip.id});
        } else if (!state.selection.contains(clip.id)) {
          editor_.select(clip.id, shift);
        } else {
          drag.collapse = !shift;
        }
        // The clips of the pressed kind move by the offset; their partners
        // come along on their own tracks.
        for (const TrackRef r : allRefs(*seq))
          if (r.kind == ref.kind)
            for (const Clip& c : trackAt(*seq, r).clips)
              if (editor_.state().selection.contains(c.id)) drag.ids.push_back(c.id);
      }
      break;
    case Tool::ripple:
    case Tool::trim:
      if (!edge) return;
      drag.op = tool == Tool::ripple ? Op::ripple : Op::trim;
      editor_.select(clip.id, false);
      break;
    case Tool::roll: {
      if (!edge) return;
      drag.op = Op::roll;
      if (hit->grab == Grab::head) {
        const std::optional<Clip> left = prev(*seq, clip, ref);
        if (!left) return;
        drag.clip = left->id;
      }
      break;
    }
    case Tool::slip:
    case Tool::slide:
      drag.op = tool == Tool::slip ? Op::slip : Op::slide;
      drag.edge0 = clip.start;
      drag.length = clip.duration;
      editor_.select(clip.id, false);
      break;
    case Tool::blade: return;
  }

  // The dragged clips, and with linked selection their partners, never snap to their own edges.
  if (state.snapping && drag.op != Op::slip) {
    std::vector<Uuid> excluded = drag.op == Op::move ? drag.ids : std::vector<Uuid>{drag.clip};
    if (drag.op == Op::roll)
      if (const auto where = locate(*seq, drag.clip))
        if (const auto right = next(*seq, trackAt(*seq, where->track).clips[where->index], where->track))
          excluded.push_back(right->id);
    for (const GroupMember& member : group(*seq, excluded, linked)) excluded.push_back(member.id);
    std::vector<std::int64_t> extra;
    if (state.markIn) extra.push_back(*state.markIn);
    if (state.markOut) extra.push_back(*state.markOut);
    drag.snapTo = snapPoints(*seq, excluded, state.playhead, extra);
  }
  editor_.beginDrag();
  p.drag = std::move(drag);
  if (p.drag->op == Op::move) setCursor(timelineCursor(TimelineCursor::grabbing));
}

void TimelineView::mouseMoveEvent(QMouseEvent* event) {
  Parts& p = *parts_;
  const EditorState& state = editor_.state();
  const BrevSequence* seq = editor_.activeSequence();
  if (!seq) return;
  const QPointF pos = event->position();
  const double ppf = state.pixelsPerFrame;
  const TimeAxis axis = axisOf(p.scrollX, ppf);

  if (p.playheadDrag) {
    editor_.setPlayhead(std::max<std::int64_t>(0, axis.boundaryAt(pos.x())));
    return;
  }
  if (p.keyDrag) {
    KeyDrag& k = *p.keyDrag;
    if (k.cancelled) return;
    if (!k.started && std::abs(pos.x() - k.pressX) < kDragStart && std::abs(pos.y() - k.pressY) < kDragStart) return;
    k.started = true;
    KeyTrack keys = keysOf(k.audio, k.line);
    Keyframe& key = keys.keys[k.index];
    key.frame = keyFrameWithin(keys, k.index, key.frame + std::llround((pos.x() - k.pressX) / ppf), k.duration);
    // Moved only sideways, the key keeps its exact value.
    if (pos.y() != k.pressY)
      key.value = keyValueFor(k.audio, k.line, k.band.value(k.line, k.dotY + pos.y() - k.pressY));
    editor_.previewDrag([&](BrevSequence& s) {
      if (const auto where = locate(s, k.clip))
        keysOf(mutTrack(s, where->track).clips.mut(where->index).audio.mut(), k.line) = keys;
    });
    return;
  }
  if (p.drag) {
    ClipDrag& drag = *p.drag;
    if (drag.cancelled) return;
    if (!drag.started && std::abs(pos.x() - drag.pressX) < kDragStart && std::abs(pos.y() - drag.pressY) < kDragStart)
      return;
    drag.started = true;
    std::int64_t d = std::llround((pos.x() - drag.pressX) / ppf);
    // The dragged edge (or a moved clip's start, else its end) snaps.
    drag.snapped.reset();
    if (!drag.snapTo.empty()) {
      const std::int64_t reach = snapReach(ppf);
      if (auto s = snap(drag.edge0 + d, drag.snapTo, reach)) {
        d = *s - drag.edge0;
        drag.snapped = s;
      } else if (drag.length > 0) {
        if (auto e = snap(drag.edge0 + drag.length + d, drag.snapTo, reach)) {
          d = *e - drag.edge0 - drag.length;
          drag.snapped = e;
        }
      }
    }
    const std::int64_t offset = drag.op == Op::move ? trackOffsetAt(p.rows, p.scrollY, drag.track, pos.y()) : 0;
    const ClipDrag& g = drag;
    editor_.previewDrag([&](BrevSequence& s) {
      switch (g.op) {
        case Op::move: brevelan::move(s, g.ids, d, offset, g.linked); break;
        case Op::trim: trim(s, g.clip, g.edge, d, g.linked); break;
        case Op::ripple: rippleTrim(s, g.clip, g.edge, d, g.linked); break;
        case Op::roll: roll(s, g.clip, d, g.linked); break;
        // The picture follows the pointer: dragging right shows earlier source.
        case Op::slip: slip(s, g.clip, -d, g.linked); break;
        case Op::slide: slide(s, g.clip, d, g.linked); break;
      }
    });
    return;
  }

  // Hovering: tell with the cursor what a press would do.
  const auto bladeBefore = p.bladeAt;
  p.bladeAt.reset();
  TimelineCursor shape = TimelineCursor::plain;
  const Row* row = pos.x() >= kHeaderWidth ? rowAt(p.rows, p.scrollY, pos.y()) : nullptr;
  std::optional<Qt::CursorShape> keyShape;
  if (row) {
    const Track& track = trackAt(*seq, row->ref);
    const KeyLine line = p.keyLine(track);
    if (line != KeyLine::off && state.tool != Tool::blade && !track.locked)
      if (const auto on = keyHit(track, line, axis, keyBandAt(kRulerHeight + row->top - p.scrollY, row->height), pos))
        if (on->key || (event->modifiers() & Qt::ControlModifier))
          keyShape = on->key ? Qt::SizeAllCursor : Qt::CrossCursor;
    const std::optional<ClipHit> hit = keyShape ? std::nullopt : hitClip(track, axis, pos.x());
    if (hit) {
      const bool edge = hit->grab != Grab::body;
      switch (state.tool) {
        case Tool::select: shape = edge ? TimelineCursor::trim : TimelineCursor::grab; break;
        case Tool::blade:
          shape = TimelineCursor::blade;
          p.bladeAt = std::make_pair(row->ref, axis.frameAt(pos.x()));
          break;
        case Tool::ripple: shape = edge ? TimelineCursor::ripple : TimelineCursor::plain; break;
        case Tool::roll: {
          const bool rollable = hit->grab == Grab::tail || (hit->grab == Grab::head &&
                                                            prev(*seq, track.clips[hit->index], row->ref));
          shape = rollable ? TimelineCursor::roll : TimelineCursor::plain;
          break;
        }
        case Tool::slip: shape = TimelineCursor::slip; break;
        case Tool::slide: shape = TimelineCursor::slide; break;
        case Tool::trim: shape = edge ? TimelineCursor::trim : TimelineCursor::plain; break;
      }
      if (track.locked && shape != TimelineCursor::plain) {
        shape = TimelineCursor::refused;
        p.bladeAt.reset();
      }
    }
  }
  if (keyShape) setCursor(*keyShape);
  else setCursor(timelineCursor(shape));
  if (p.bladeAt != bladeBefore) update();
}

void TimelineView::mouseReleaseEvent(QMouseEvent* event) {
  Parts& p = *parts_;
  if (event->button() != Qt::LeftButton) return;
  if (p.playheadDrag) {
    p.playheadDrag = false;
    return;
  }
  if (p.keyDrag) {
    const KeyDrag k = std::move(*p.keyDrag);
    p.keyDrag.reset();
    if (!k.cancelled) editor_.endDrag(k.line == KeyLine::pan ? "Pan Key" : "Volume Key");
    return;
  }
  if (!p.drag) return;
  const ClipDrag drag = std::move(*p.drag);
  p.drag.reset();
  if (!drag.cancelled) {
    editor_.endDrag(opName(drag.op));
    // A click (no drag) on a clip of a larger selection selects it alone.
    if (drag.collapse && !drag.started) editor_.select(drag.clip, false);
  }
  setCursor(timelineCursor(drag.op == Op::move ? TimelineCursor::grab : TimelineCursor::plain));
  update();
}

// A double-click on a key's dot removes the key; elsewhere it does nothing,
// and the second press is not a new drag.
void TimelineView::mouseDoubleClickEvent(QMouseEvent* event) {
  Parts& p = *parts_;
  const BrevSequence* seq = editor_.activeSequence();
  if (event->button() != Qt::LeftButton || !seq || p.drag || p.keyDrag || editor_.state().tool == Tool::blade) return;
  const QPointF pos = event->position();
  const Row* row = pos.x() >= kHeaderWidth ? rowAt(p.rows, p.scrollY, pos.y()) : nullptr;
  if (!row) return;
  const Track& track = trackAt(*seq, row->ref);
  const KeyLine line = p.keyLine(track);
  if (line == KeyLine::off || track.locked) return;
  const TimeAxis axis = axisOf(p.scrollX, editor_.state().pixelsPerFrame);
  const auto on = keyHit(track, line, axis, keyBandAt(kRulerHeight + row->top - p.scrollY, row->height), pos);
  if (!on || !on->key) return;
  const std::size_t index = *on->key;
  const Uuid id = track.clips[on->clip].id;
  editor_.updateClip(id, "Delete Key", false, true, [&](Clip& clip) {
    std::vector<Keyframe>& keys = keysOf(clip.audio.mut(), line).keys;
    keys.erase(keys.begin() + static_cast<std::ptrdiff_t>(index));
  });
}

void TimelineView::leaveEvent(QEvent*) {
  if (parts_->bladeAt) {
    parts_->bladeAt.reset();
    update();
  }
}

void TimelineView::wheelEvent(QWheelEvent* event) {
  const QPoint angle = event->angleDelta();
  if (event->modifiers() & Qt::ControlModifier) {
    zoomAround(event->position().x(), std::pow(1.25, angle.y() / 120.0));
  } else if ((event->modifiers() & Qt::ShiftModifier) || angle.x() != 0) {
    const int delta = angle.x() != 0 ? angle.x() : angle.y();
    setScrollX(parts_->scrollX - delta);
  } else if (parts_->vbar->maximum() > 0) {
    setScrollY(parts_->scrollY - angle.y() / 2);
  } else {
    setScrollX(parts_->scrollX - angle.y());
  }
  event->accept();
}

void TimelineView::keyPressEvent(QKeyEvent* event) {
  Parts& p = *parts_;
  switch (event->key()) {
    case Qt::Key_Escape:
      if (p.keyDrag && !p.keyDrag->cancelled) {
        editor_.cancelDrag();
        p.keyDrag->cancelled = true;
        return;
      }
      if (p.drag && !p.drag->cancelled) {
        editor_.cancelDrag();
        p.drag->cancelled = true;
        p.drag->snapped.reset();
        update();
        return;
      }
      break;
    case Qt::Key_Plus:
    case Qt::Key_Equal:
    case Qt::Key_Minus: {
      // Around the pointer when it is over the lanes, else around the playhead.
      const QPoint pointer = mapFromGlobal(QCursor::pos());
      const double x = rect().contains(pointer) && pointer.x() >= kHeaderWidth ? pointer.x()
                                                                                 : xOf(editor_.state().playhead);
      zoomAround(x, event->key() == Qt::Key_Minus ? 1 / 1.25 : 1.25);
      return;
    }
    default: break;
  }
  QWidget::keyPressEvent(event);
}

// ---- media dropped from the bin ---------------------------------------------

void TimelineView::dragEnterEvent(QDragEnterEvent* event) {
  if (draggedMedia(*event->mimeData()).empty()) return;
  event->acceptProposedAction();
}

namespace {

struct DropTarget {
  Row row;
  std::int64_t frame = 0;
  std::int64_t length = 0;
};

// Where dragged media would land: the row under the pointer at the frame
// boundary nearest to it (snapped when snapping is on), as long as all of
// them are, end to end.
std::optional<DropTarget> dropTarget(const EditorModel& editor, const std::vector<Row>& rows, double scrollX,
                                     int scrollY, QPointF pos, const std::vector<Uuid>& items) {
  const BrevSequence* seq = editor.activeSequence();
  const Row* row = seq && pos.x() >= TimelineView::kHeaderWidth ? rowAt(rows, scrollY, pos.y()) : nullptr;
  if (!row || items.empty()) return std::nullopt;
  const EditorState& state = editor.state();
  std::int64_t frame = std::max<std::int64_t>(0, axisOf(scrollX, state.pixelsPerFrame).boundaryAt(pos.x()));
  if (state.snapping)
    if (auto s = snap(frame, snapPoints(*seq, {}, state.playhead), snapReach(state.pixelsPerFrame))) frame = *s;
  std::int64_t length = 0;
  for (const Uuid& id : items)
    if (const MediaItem* media = editor.project().mediaItem(id))
      length += media->sourceLimit(seq->rate).value_or(MediaItem::stillLength(seq->rate));
  return DropTarget{*row, frame, length};
}

}  // namespace

void TimelineView::dragMoveEvent(QDragMoveEvent* event) {
  Parts& p = *parts_;
  const auto target =
      dropTarget(editor_, p.rows, p.scrollX, p.scrollY, event->position(), draggedMedia(*event->mimeData()));
  update();
  if (!target) {
    p.dropRow.reset();
    event->ignore();
    return;
  }
  p.dropRow = target->row;
  p.dropFrame = target->frame;
  p.dropLength = target->length;
  event->acceptProposedAction();
}

void TimelineView::dragLeaveEvent(QDragLeaveEvent*) {
  parts_->dropRow.reset();
  update();
}

void TimelineView::dropEvent(QDropEvent* event) {
  Parts& p = *parts_;
  p.dropRow.reset();
  update();
  const std::vector<Uuid> items = draggedMedia(*event->mimeData());
  const auto target = dropTarget(editor_, p.rows, p.scrollX, p.scrollY, event->position(), items);
  if (!target) return;
  editor_.dropMedia(items, target->row.ref, target->frame);
  event->acceptProposedAction();
}

}  // namespace brevelan
