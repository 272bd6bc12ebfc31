// The kit's value controls as a user works them: ranges and clamping, keys and
// wheel steps, reset, typed values, and the signals a caller turns into one
// undo step per gesture.
#include <gtest/gtest.h>

#include <QSignalSpy>
#include <QTest>

#include <cmath>
#include <limits>

#include "app/kit/fader.h"
#include "app/kit/knob.h"
#include "support/widget_app.h"

namespace brevelan::kit {
namespace {

constexpr double kSilence = -std::numeric_limits<double>::infinity();

class ValueControls : public ::testing::Test {
 protected:
  void SetUp() override { testing::widgetApp(); }
};

TEST_F(ValueControls, KnobKeysStepAndHomeResets) {
  Knob knob("Gain", -12, 12, 0, " dB");
  knob.setSteps(0.5, 3);
  knob.resize(knob.sizeHint());
  struct Case {
    Qt::Key key;
    Qt::KeyboardModifiers modifiers;
    double expected;
  };
  const Case cases[] = {{Qt::Key_Up, {}, 0.5},          {Qt::Key_Right, {}, 1.0},     {Qt::Key_Down, {}, 0.5},
                        {Qt::Key_Up, Qt::ShiftModifier, 0.55}, {Qt::Key_PageUp, {}, 3.55}, {Qt::Key_PageDown, {}, 0.55},
                        {Qt::Key_PageUp, {}, 3.55},     {Qt::Key_PageUp, {}, 6.55},   {Qt::Key_PageUp, {}, 9.55},
                        {Qt::Key_PageUp, {}, 12},       {Qt::Key_PageUp, {}, 12},     {Qt::Key_Home, {}, 0}};
  for (const Case& c : cases) {
    QTest::keyClick(&knob, c.key, c.modifiers);
    EXPECT_NEAR(knob.value(), c.expected, 1e-9) << "after key " << c.key;
  }
}

TEST_F(ValueControls, SetValueClampsQuietlyAndUserChangesSignal) {
  Knob knob("Pan", -1, 1, 0, "");
  QSignalSpy changed(&knob, &ValueControl::valueChanged);
  QSignalSpy finished(&knob, &ValueControl::editingFinished);
  knob.setValue(5);
  EXPECT_EQ(knob.value(), 1);
  knob.setValue(-5);
  EXPECT_EQ(knob.value(), -1);
  EXPECT_EQ(changed.count(), 0);

  // A key at the end of the range changes nothing and says nothing.
  QTest::keyClick(&knob, Qt::Key_Down);
  EXPECT_EQ(changed.count(), 0);
  EXPECT_EQ(finished.count(), 0);
  QTest::keyClick(&knob, Qt::Key_Up);
  EXPECT_EQ(changed.count(), 1);
  EXPECT_EQ(finished.count(), 1);
}

TEST_F(ValueControls, KnobDragIsOneGestureAndShiftIsFine) {
  Knob knob("Gain", 0, 200, 100, "");
  knob.resize(60, 90);
  knob.show();
  QSignalSpy changed(&knob, &ValueControl::valueChanged);
  QSignalSpy finished(&knob, &ValueControl::editingFinished);
  const QPoint start(30, 45);
  QTest::mousePress(&knob, Qt::LeftButton, {}, start);
  for (int dy = 5; dy <= 20; dy += 5) QTest::mouseMove(&knob, start - QPoint(0, dy));
  EXPECT_EQ(finished.count(), 0) << "the drag is still going";
  QTest::mouseRelease(&knob, Qt::LeftButton, {}, start - QPoint(0, 20));
  // The whole range over kDragTravel pixels: 20 px up is +20.
  EXPECT_NEAR(knob.value(), 120, 1e-9);
  EXPECT_EQ(changed.count(), 4);
  EXPECT_EQ(finished.count(), 1);

  // QTest moves carry no modifiers; a real Shift-drag does.
  QTest::mousePress(&knob, Qt::LeftButton, Qt::ShiftModifier, start);
  QMouseEvent move(QEvent::MouseMove, QPointF(start + QPoint(0, 20)), knob.mapToGlobal(QPointF(start + QPoint(0, 20))),
                   Qt::NoButton, Qt::LeftButton, Qt::ShiftModifier);
  QApplication::sendEvent(&knob, &move);
  QTest::mouseRelease(&knob, Qt::LeftButton, Qt::ShiftModifier, start + QPoint(0, 20));
  EXPECT_NEAR(knob.value(), 118, 1e-9);
}

TEST_F(ValueControls, DoubleClickAndWheel) {
  Knob knob("Ratio", 1, 20, 4, ":1");
  knob.setSteps(0.5, 2);
  knob.resize(60, 90);
  knob.show();
  knob.setValue(10);
  QSignalSpy finished(&knob, &ValueControl::editingFinished);
  QTest::mouseDClick(&knob, Qt::LeftButton, {}, QPoint(30, 45));
  EXPECT_EQ(knob.value(), 4);
  EXPECT_EQ(finished.count(), 1);

  QWheelEvent up(QPointF(30, 45), knob.mapToGlobal(QPointF(30, 45)), {}, QPoint(0, 240), Qt::NoButton, {},
                 Qt::NoScrollPhase, false);
  QApplication::sendEvent(&knob, &up);
  EXPECT_NEAR(knob.value(), 5, 1e-9);
}

TEST_F(ValueControls, TypedValuesAreClamped) {
  Fader fader;
  fader.resize(fader.sizeHint());
  fader.show();
  struct Case {
    const char* typed;
    double expected;
  };
  const Case cases[] = {{"+40", 12}, {"-6 dB", -6}, {"-inf", kSilence}, {"-200", kSilence}, {"3.5", 3.5}};
  for (const Case& c : cases) {
    fader.setFocus();
    QTest::keyClick(&fader, Qt::Key_Return);
    auto* field = fader.findChild<QWidget*>();
    ASSERT_NE(field, nullptr);
    QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(field, QString::fromUtf8(c.typed));
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(fader.value(), c.expected) << c.typed;
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }
  EXPECT_FALSE(fader.applyText("loud"));
  EXPECT_TRUE(fader.applyText(QString::fromUtf8("\u22126")));
  EXPECT_EQ(fader.value(), -6) << "a typographic minus reads as minus";
}

TEST_F(ValueControls, TypingADigitOpensTheFieldAndEscapeCancels) {
  Knob knob("Gain", -12, 12, 0, " dB");
  knob.resize(60, 90);
  knob.show();
  QSignalSpy changed(&knob, &ValueControl::valueChanged);
  QTest::keyClicks(&knob, "5");
  auto* field = knob.findChild<QWidget*>();
  ASSERT_NE(field, nullptr);
  QTest::keyClick(field, Qt::Key_Escape);
  EXPECT_EQ(knob.value(), 0);
  EXPECT_EQ(changed.count(), 0);
}

TEST_F(ValueControls, FaderTaperAndText) {
  Fader fader;
  EXPECT_EQ(fader.maximum(), Fader::kTopDB);
  struct Case {
    double dB;
    const char* text;
  };
  const Case cases[] = {{0, "0.0 dB"}, {6, "+6.0 dB"}, {-6, "-6.0 dB"}, {-91, "\u2212inf"}, {40, "+12.0 dB"}};
  for (const Case& c : cases) {
    fader.setValue(c.dB);
    EXPECT_EQ(fader.valueText(), QString::fromUtf8(c.text)) << c.dB;
  }
  // The taper runs both ways and keeps its order.
  double previous = -1;
  for (const double dB : {kSilence, -90.0, -60.0, -33.0, -12.0, -0.5, 0.0, 3.0, 12.0}) {
    const double position = Fader::positionOfDB(dB);
    EXPECT_GT(position, previous) << dB;
    previous = position;
    if (!std::isinf(dB)) {
      EXPECT_NEAR(Fader::dbAtPosition(position), dB, 1e-9);
    }
  }
  EXPECT_EQ(Fader::positionOfDB(0), 0.75);
  EXPECT_EQ(Fader::dbAtPosition(0), kSilence);
}

TEST_F(ValueControls, FaderStepsThroughSilence) {
  Fader fader;
  fader.setValue(kSilence);
  QTest::keyClick(&fader, Qt::Key_Up);
  EXPECT_EQ(fader.value(), Fader::kFloorDB);
  QTest::keyClick(&fader, Qt::Key_Down);
  EXPECT_EQ(fader.value(), kSilence);
  QTest::keyClick(&fader, Qt::Key_Home);
  EXPECT_EQ(fader.value(), 0);
  QTest::keyClick(&fader, Qt::Key_PageUp);
  QTest::keyClick(&fader, Qt::Key_PageUp);
  QTest::keyClick(&fader, Qt::Key_PageUp);
  EXPECT_EQ(fader.value(), 12);
}

TEST_F(ValueControls, FaderDragFollowsTheCap) {
  Fader fader;
  fader.resize(fader.sizeHint().width(), 248);  // 224 px of travel
  fader.show();
  QSignalSpy finished(&fader, &ValueControl::editingFinished);
  const QPoint cap(19, 248 - 12 - static_cast<int>(0.75 * 224));
  QTest::mousePress(&fader, Qt::LeftButton, {}, cap);
  QTest::mouseMove(&fader, cap + QPoint(0, 28));  // an eighth of the travel down
  QTest::mouseRelease(&fader, Qt::LeftButton, {}, cap + QPoint(0, 28));
  EXPECT_NEAR(fader.value(), -6, 1e-9);
  EXPECT_EQ(finished.count(), 1);
}

}  // namespace
}  // namespace brevelan::kit
