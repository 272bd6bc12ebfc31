#pragma once

#include <QAbstractButton>

namespace brevelan::kit {

// A checkable round button with a drawn glyph: mute "M", solo "S", record ●,
// and power ⏻ for switching an effect on. Lit in the glyph's colour when on.
class IconButton : public QAbstractButton {
  Q_OBJECT
 public:
  enum class Glyph { mute, solo, record, power };

  explicit IconButton(Glyph glyph, QWidget* parent = nullptr);

  Glyph glyph() const { return glyph_; }
  QSize sizeHint() const override { return {24, 24}; }
  QSize minimumSizeHint() const override { return {18, 18}; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  Glyph glyph_;
};

}  // namespace brevelan::kit
