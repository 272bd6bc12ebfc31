#pragma once

#include <QImage>
#include <QObject>

#include <memory>

#include "picture/scope_data.h"

namespace brevelan {

class SerialQueue;

// The scopes measure a small copy of the program frame: enough pixels for
// steady counts, few enough to measure in a millisecond or two.
inline constexpr int kScopeBitmapWidth = 480;
inline constexpr int kScopeWaveColumns = 240;

// The frame shrunk (never enlarged) to `width` into a packed 8-bit RGBA
// bitmap, the form ScopeData::measure reads.
QImage scopeBitmap(const QImage& frame, int width = kScopeBitmapWidth);

// Shrinks and measures in one go; null for an empty frame.
std::shared_ptr<const ScopeData> measureFrame(const QImage& frame);

// Measures frames on a thread of its own. A frame asked for while another is
// being measured replaces any still waiting, so the newest frame always wins
// and a burst of frames costs at most two measurements. `measured` arrives on
// the sampler's own (the main) thread.
class ScopeSampler : public QObject {
  Q_OBJECT
 public:
  explicit ScopeSampler(QObject* parent = nullptr);
  ~ScopeSampler() override;

  void sample(QImage frame);

 Q_SIGNALS:
  void measured(std::shared_ptr<const brevelan::ScopeData> data);

 private:
  struct Waiting;
  std::shared_ptr<Waiting> waiting_;
  std::unique_ptr<SerialQueue> queue_;
};

}  // namespace brevelan
