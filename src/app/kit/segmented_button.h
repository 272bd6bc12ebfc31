#pragma once

#include <QStringList>
#include <QWidget>

namespace brevelan::kit {

// A row of exclusive choices drawn as one pill. Click a segment, or use the
// arrow keys and Home, to choose. setCurrentIndex() is quiet; the user's
// choice emits currentIndexChanged().
class SegmentedButton : public QWidget {
  Q_OBJECT
 public:
  explicit SegmentedButton(QWidget* parent = nullptr);
  explicit SegmentedButton(const QStringList& items, QWidget* parent = nullptr);

  void setItems(const QStringList& items);
  const QStringList& items() const { return items_; }
  int currentIndex() const { return current_; }
  QString currentText() const { return current_ >= 0 ? items_[current_] : QString(); }
  void setCurrentIndex(int index);
  int segmentAt(QPoint point) const;

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override { return sizeHint(); }

 Q_SIGNALS:
  void currentIndexChanged(int index);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void choose(int index);
  QRectF segmentRect(int index) const;

  QStringList items_;
  int current_ = -1;
};

}  // namespace brevelan::kit
