#include "app/workspaces/scope_sampler.h"

#include <algorithm>
#include <mutex>
#include <optional>
#include <span>

#include "model/serial_queue.h"

namespace brevelan {

QImage scopeBitmap(const QImage& frame, int width) {
  if (frame.isNull() || width < 1) return {};
  const QImage small = frame.width() > width ? frame.scaledToWidth(width, Qt::SmoothTransformation) : frame;
  // Four bytes a pixel keeps every row packed: QImage pads rows only to four bytes.
  return small.convertToFormat(QImage::Format_RGBA8888);
}

std::shared_ptr<const ScopeData> measureFrame(const QImage& frame) {
  const QImage bitmap = scopeBitmap(frame);
  if (bitmap.isNull()) return nullptr;
  const std::span<const std::uint8_t> bytes(bitmap.constBits(), static_cast<std::size_t>(bitmap.sizeInBytes()));
  return std::make_shared<const ScopeData>(ScopeData::measure(
      bytes, bitmap.width(), bitmap.height(), std::min(kScopeWaveColumns, bitmap.width())));
}

struct ScopeSampler::Waiting {
  std::mutex lock;
  std::optional<QImage> frame;
};

ScopeSampler::ScopeSampler(QObject* parent)
    : QObject(parent),
      waiting_(std::make_shared<Waiting>()),
      queue_(std::make_unique<SerialQueue>("vael.brevelan.scopes")) {}

// The queue goes first: once it has waited for the measurement under way,
// nothing posts to this object any more.
ScopeSampler::~ScopeSampler() { queue_.reset(); }

void ScopeSampler::sample(QImage frame) {
  {
    std::lock_guard hold(waiting_->lock);
    const bool queued = waiting_->frame.has_value();
    waiting_->frame = std::move(frame);
    if (queued) return;  // the queued task will pick up this newer frame
  }
  queue_->async([this, waiting = waiting_] {
    QImage frame;
    {
      std::lock_guard hold(waiting->lock);
      if (!waiting->frame) return;
      frame = std::move(*waiting->frame);
      waiting->frame.reset();
    }
    auto data = measureFrame(frame);
    if (!data) return;
    QMetaObject::invokeMethod(this, [this, data] { Q_EMIT measured(data); }, Qt::QueuedConnection);
  });
}

}  // namespace brevelan
