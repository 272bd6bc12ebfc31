// The kit's displays and buttons: the meter's scale and peak hold, the
// segmented button's choices, the icon buttons' switching.
#include <gtest/gtest.h>

#include <QSignalSpy>
#include <QTest>

#include "app/kit/icon_button.h"
#include "app/kit/lcd_readout.h"
#include "app/kit/level_meter.h"
#include "app/kit/segmented_button.h"
#include "app/kit/frequency_view.h"
#include "support/widget_app.h"

namespace brevelan::kit {
namespace {

class Indicators : public ::testing::Test {
 protected:
  void SetUp() override { testing::widgetApp(); }
};

TEST_F(Indicators, MeterHoldsItsPeakThenFallsBack) {
  LevelMeter meter;
  double now = 10;
  meter.setClock([&] { return now; });
  meter.setLevels(1.0f, 0.5f);
  EXPECT_NEAR(meter.levelDB(0), 0, 1e-6);
  EXPECT_NEAR(meter.levelDB(1), -6.0206, 1e-3);

  meter.setLevels(0.1f, 0.1f);  // -20 dB
  now = 11.4;
  EXPECT_NEAR(meter.peakDB(0), 0, 1e-6) << "held for 1.5 s";
  now = 12.0;  // 0.5 s of falling at 20 dB/s
  EXPECT_NEAR(meter.peakDB(0), -10, 1e-6);
  now = 20;
  EXPECT_NEAR(meter.peakDB(0), -20, 1e-6) << "never below the level";

  // A louder level takes the mark at once and restarts the hold.
  meter.setLevels(2.0f, 0.0f);
  EXPECT_NEAR(meter.peakDB(0), 6.0206, 1e-3);
  EXPECT_EQ(meter.levelDB(1), LevelMeter::dbOfAmplitude(0));
  EXPECT_TRUE(std::isinf(meter.levelDB(1)));
}

TEST_F(Indicators, SegmentedButtonChoosesByClickAndKeys) {
  SegmentedButton buttons({"Ten", "Thirty-one", "Off"});
  buttons.resize(buttons.sizeHint());
  buttons.show();
  QSignalSpy changed(&buttons, &SegmentedButton::currentIndexChanged);
  EXPECT_EQ(buttons.currentIndex(), 0);
  QTest::mouseClick(&buttons, Qt::LeftButton, {}, QPoint(buttons.width() * 5 / 6, buttons.height() / 2));
  EXPECT_EQ(buttons.currentText(), "Off");
  QTest::keyClick(&buttons, Qt::Key_Right);  // already last
  QTest::keyClick(&buttons, Qt::Key_Left);
  EXPECT_EQ(buttons.currentIndex(), 1);
  QTest::keyClick(&buttons, Qt::Key_Home);
  EXPECT_EQ(buttons.currentIndex(), 0);
  EXPECT_EQ(changed.count(), 3);
  buttons.setCurrentIndex(2);
  EXPECT_EQ(changed.count(), 3) << "setting it is quiet";
}

TEST_F(Indicators, IconButtonToggles) {
  IconButton mute(IconButton::Glyph::mute);
  mute.resize(24, 24);
  mute.show();
  QSignalSpy toggled(&mute, &IconButton::toggled);
  QTest::mouseClick(&mute, Qt::LeftButton);
  EXPECT_TRUE(mute.isChecked());
  QTest::keyClick(&mute, Qt::Key_Space);
  EXPECT_FALSE(mute.isChecked());
  EXPECT_EQ(toggled.count(), 2);
}

TEST_F(Indicators, ReadoutAndSpectrumKeepWhatTheyAreGiven) {
  LcdReadout readout("00:00:12:05", 11);
  EXPECT_EQ(readout.text(), "00:00:12:05");
  LcdReadout wider("0", 14);
  EXPECT_GT(wider.sizeHint().width(), readout.sizeHint().width());

  FrequencyView view;
  view.setRange(20, 20000, -12, 12);
  const QRectF plot(0, 0, 300, 120);
  EXPECT_DOUBLE_EQ(view.xOfFrequency(20, plot), 0);
  EXPECT_DOUBLE_EQ(view.xOfFrequency(20000, plot), 300);
  EXPECT_NEAR(view.xOfFrequency(632.456, plot), 150, 1e-3) << "a log axis";
  EXPECT_DOUBLE_EQ(view.yOfDB(0, plot), 60);
  EXPECT_DOUBLE_EQ(view.yOfDB(40, plot), 0) << "clamped to the plot";
}

}  // namespace
}  // namespace brevelan::kit
