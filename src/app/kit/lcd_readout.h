#pragma once

#include <QString>
#include <QWidget>

namespace brevelan::kit {

// A value as text on a dark well in a monospace face ("-6.0 dB",
// "00:00:12:05"). Sized for `widthChars` characters so a changing value never
// makes its neighbours move.
class LcdReadout : public QWidget {
  Q_OBJECT
 public:
  explicit LcdReadout(QWidget* parent = nullptr);
  LcdReadout(const QString& text, int widthChars, QWidget* parent = nullptr);

  QString text() const { return text_; }
  void setText(const QString& text);
  void setWidthChars(int chars);
  void setAlignment(Qt::Alignment alignment);

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QString text_;
  int widthChars_ = 8;
  Qt::Alignment alignment_ = Qt::AlignCenter;
};

}  // namespace brevelan::kit
