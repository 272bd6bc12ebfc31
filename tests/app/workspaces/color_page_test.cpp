// The COLOR workspace over a real editor, builder and player on Qt's offscreen
// display: what the mouse does to the grade, how LUT files are taken or
// refused, and when the scopes measure the program picture.
#include "app/workspaces/color_page.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QTest>
#include <QTimer>

#include <fstream>
#include <numeric>

#include "app/media_commands.h"
#include "app/playback/frame_view.h"
#include "app/playback/playback_engine.h"
#include "app/workspaces/color_curves.h"
#include "app/workspaces/color_wheel.h"
#include "app/workspaces/scope_sampler.h"
#include "edit/editor_model.h"
#include "media/media_probe.h"
#include "picture/composition_builder.h"
#include "picture/lut.h"
#include "picture/scope_data.h"
#include "model/project_file.h"
#include "support/demo_folder.h"
#include "support/app_folders_suite.h"
#include "support/widget_app.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;
using testing::waitUntil;

class TimerScheduler final : public Scheduler {
 public:
  void schedule(double seconds, std::function<void()> work) override {
    QTimer::singleShot(static_cast<int>(seconds * 1000 + 0.5), QCoreApplication::instance(), std::move(work));
  }
};

// Builds on the spot; the sound is not needed here.
class InlineBuilder final : public ProgramBuilder {
 public:
  void build(BuildRequest request, Done done) override {
    BuildOptions options;
    options.useProxies = request.useProxies;
    std::shared_ptr<const ProgramBuild> result;
    if (!request.sequence.id.isNil()) result = buildComposition(request.project, request.sequence, options);
    done(result);
  }
};

double meanBrightness(const QImage& image) {
  const QImage small = image.scaled(64, 36).convertToFormat(QImage::Format_RGB32);
  double sum = 0;
  for (int y = 0; y < small.height(); ++y)
    for (int x = 0; x < small.width(); ++x) sum += qGray(small.pixel(x, y));
  return sum / (small.width() * small.height());
}

class ColorPageTest : public testing::AppFoldersSuite {
 protected:
  static void SetUpTestSuite() {
    testing::widgetApp();
    AppFoldersSuite::SetUpTestSuite();
    auto made = ProjectFile::load(testing::demoFolder() / "Sample.brevelan");
    ASSERT_TRUE(made) << made.error().message;
    sample_ = new Project(std::move(made).value());
  }
  static void TearDownTestSuite() {
    delete sample_;
    AppFoldersSuite::TearDownTestSuite();
  }

  void SetUp() override {
    ASSERT_NE(sample_, nullptr);
    program_ = std::make_shared<PlaybackEngine>();
    EditorServices services;
    services.scheduler = std::make_shared<TimerScheduler>();
    services.builder = std::make_shared<InlineBuilder>();
    services.player = program_;
    editor_ = std::make_unique<EditorModel>(*sample_, std::move(services));
    page_ = std::make_unique<ColorPage>(*editor_, *program_);
    page_->resize(1400, 860);
    page_->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(page_.get()));
    clipID_ = editor_->activeSequence()->video[0].clips[0].id;  // the colour bars, frames 0–119
    editor_->select(clipID_, false);
    editor_->setPlayhead(30);
  }

  const ColorGrade& grade() const {
    for (const Clip& clip : editor_->activeSequence()->video[0].clips)
      if (clip.id == clipID_) return *clip.grade;
    throw std::logic_error("clip gone");
  }
  std::size_t steps() const { return editor_->history().undoSteps().size(); }
  std::string lastStep() const { return editor_->history().undoSteps().back().name; }
  template <class T>
  T* child(const QString& name) const {
    auto* found = page_->findChild<T*>(name);
    EXPECT_NE(found, nullptr) << name.toStdString();
    return found;
  }

  static Project* sample_;
  std::shared_ptr<PlaybackEngine> program_;
  std::unique_ptr<EditorModel> editor_;
  std::unique_ptr<ColorPage> page_;
  Uuid clipID_;
};
Project* ColorPageTest::sample_ = nullptr;

TEST_F(ColorPageTest, ASliderDragIsOneExposureStepAndShowsTheGradedPicture) {
  auto* view = page_->findChild<FrameView*>();
  ASSERT_NE(view, nullptr);
  ASSERT_TRUE(waitUntil([&] { return !view->picture().isNull(); }));
  const double before = meanBrightness(view->picture());

  auto* slider = child<QSlider>("Exposure");
  ASSERT_NE(slider, nullptr);
  const std::size_t start = steps();
  const QPoint centre = slider->rect().center();  // exposure 0 sits mid-way
  QTest::mousePress(slider, Qt::LeftButton, {}, centre);
  for (int dx = 10; dx <= 60; dx += 10) QTest::mouseMove(slider, centre + QPoint(dx, 0));
  QTest::mouseRelease(slider, Qt::LeftButton, {}, centre + QPoint(60, 0));

  EXPECT_EQ(steps(), start + 1);
  EXPECT_EQ(lastStep(), "Exposure");
  EXPECT_GT(grade().exposure, 0.2);
  EXPECT_DOUBLE_EQ(child<QDoubleSpinBox>("Exposure Number")->value(), grade().exposure);
  // The edit rebuilds the picture: the bars come back brighter.
  EXPECT_TRUE(waitUntil([&] { return meanBrightness(view->picture()) > before + 5; }));

  editor_->undo();
  EXPECT_EQ(grade().exposure, 0);
  EXPECT_EQ(slider->value(), 0);
}

TEST_F(ColorPageTest, TypedNumbersAndTheOnSwitchEditTheGradeUnderTheirNames) {
  struct Case {
    const char* number;
    double typed;
    const char* step;
    double ColorGrade::*field;
    double expected;
  };
  const Case cases[] = {{"Temperature Number", 40, "Temperature", &ColorGrade::temperature, 0.4},
                        {"Tint Number", -25, "Tint", &ColorGrade::tint, -0.25},
                        {"Contrast Number", 30, "Contrast", &ColorGrade::contrast, 0.3},
                        {"Saturation Number", 150, "Saturation", &ColorGrade::saturation, 1.5},
                        {"LUT Amount Number", 50, "LUT Amount", &ColorGrade::lutAmount, 0.5}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.step);
    child<QDoubleSpinBox>(c.number)->setValue(c.typed);
    EXPECT_DOUBLE_EQ(grade().*c.field, c.expected);
    EXPECT_EQ(lastStep(), c.step);
  }
  child<QSlider>("Gain Luma")->setValue(20);
  EXPECT_DOUBLE_EQ(grade().gain.luma, 0.2);
  EXPECT_EQ(lastStep(), "Gain");

  QTest::mouseClick(child<QCheckBox>("Grade On"), Qt::LeftButton);
  EXPECT_FALSE(grade().enabled);
  EXPECT_EQ(lastStep(), "Grade Off");

  // With no picture clip selected nothing can be edited.
  editor_->clearSelection();
  EXPECT_FALSE(child<QSlider>("Exposure")->isEnabled());
  EXPECT_FALSE(page_->gradedClip());
}

TEST_F(ColorPageTest, DraggingTheLiftPuckTintsTheShadowsAndDoubleClickCentresIt) {
  auto* wheel = child<ColorWheelView>("Lift");
  ASSERT_NE(wheel, nullptr);
  const std::size_t start = steps();
  const QPoint puck = wheel->pointOfPuck({0, 0}).toPoint();
  QTest::mousePress(wheel, Qt::LeftButton, {}, puck);
  QTest::mouseMove(wheel, puck + QPoint(10, -5));
  QTest::mouseMove(wheel, puck + QPoint(25, -15));
  QTest::mouseRelease(wheel, Qt::LeftButton, {}, puck + QPoint(25, -15));

  EXPECT_EQ(steps(), start + 1);
  EXPECT_EQ(lastStep(), "Lift");
  EXPECT_GT(grade().lift.x, 0.1);   // right is red
  EXPECT_GT(grade().lift.y, 0.05);  // up is y
  EXPECT_NEAR(grade().lift.x / grade().lift.y, 25.0 / 15.0, 0.1);
  EXPECT_EQ(grade().gamma, ColorWheel{});

  QTest::mouseDClick(wheel, Qt::LeftButton, {}, wheel->pointOfPuck(wheel->puck()).toPoint());
  EXPECT_EQ(grade().lift.x, 0);
  EXPECT_EQ(grade().lift.y, 0);
}

TEST_F(ColorPageTest, CurvePointsAreAddedByClickingAndRemovedByDraggingOutOrDoubleClicking) {
  auto* curves = page_->findChild<CurveEditor*>();
  ASSERT_NE(curves, nullptr);
  const QPoint at = curves->pointOf({0.25, 0.6}).toPoint();
  QTest::mouseClick(curves, Qt::LeftButton, {}, at);
  ASSERT_EQ(grade().master.points.size(), 3u);
  EXPECT_NEAR(grade().master.points[1].x, 0.25, 0.02);
  EXPECT_NEAR(grade().master.points[1].y, 0.6, 0.02);
  EXPECT_EQ(lastStep(), "Curves");

  // Dragged upward the point follows; dragged out of the box it goes.
  QTest::mousePress(curves, Qt::LeftButton, {}, at);
  QTest::mouseMove(curves, curves->pointOf({0.25, 0.8}).toPoint());
  EXPECT_NEAR(grade().master.points[1].y, 0.8, 0.02);
  QTest::mouseMove(curves, at + QPoint(0, curves->height()));
  QTest::mouseRelease(curves, Qt::LeftButton, {}, at + QPoint(0, curves->height()));
  EXPECT_EQ(grade().master, ToneCurve{});

  // The red curve is its own; a double-click takes its point away again.
  QTest::mouseClick(child<QPushButton>("Red Curve"), Qt::LeftButton);
  const QPoint red = curves->pointOf({0.5, 0.3}).toPoint();
  QTest::mouseClick(curves, Qt::LeftButton, {}, red);
  EXPECT_EQ(grade().red.points.size(), 3u);
  EXPECT_EQ(grade().master, ToneCurve{});
  QTest::mouseDClick(curves, Qt::LeftButton, {}, red);
  EXPECT_EQ(grade().red, ToneCurve{});
}

TEST_F(ColorPageTest, ALUTThatDoesNotParseIsRefusedWithTheParsersWords) {
  const std::pair<const char*, LUTParseError::Kind> files[] = {
      {"LUT_3D_SIZE 3\n0 0 0\n", LUTParseError::Kind::badData},
      {"# colours only\n0 0 0\n1 1 1\n", LUTParseError::Kind::notCube},
      {"LUT_3D_SIZE 1\n0 0 0\n", LUTParseError::Kind::badSize}};
  const ColorGrade before = grade();
  const std::size_t start = steps();
  const fs::path file = dir_->path() / "bad.cube";
  page_->setLUTChooser([&] { return std::optional(file); });
  for (const auto& [text, kind] : files) {
    SCOPED_TRACE(text);
    std::ofstream(file) << text;
    const auto refused = LUT::parse(text);
    ASSERT_FALSE(refused);
    ASSERT_EQ(refused.error().kind, kind);
    editor_->setAlert(std::nullopt);
    QTest::mouseClick(child<QPushButton>("Load LUT"), Qt::LeftButton);
    ASSERT_TRUE(editor_->state().alert);
    EXPECT_EQ(editor_->state().alert->title, "Could not load the LUT");
    EXPECT_EQ(editor_->state().alert->message, refused.error().description());
  }
  EXPECT_EQ(grade(), before);
  EXPECT_EQ(steps(), start);
}

TEST_F(ColorPageTest, AGoodLUTLoadsShowsItsNameAndCanBeRemoved) {
  const fs::path file = fs::path(BREVELAN_SHARED_DIR) / "testdata/lut/colour_Three_Dimensional_Table_3D2.cube";
  if (!fs::exists(file)) GTEST_SKIP() << "no shared test data at " << file;
  page_->setLUTChooser([&] { return std::optional(file); });
  QTest::mouseClick(child<QPushButton>("Load LUT"), Qt::LeftButton);
  EXPECT_FALSE(editor_->state().alert);
  ASSERT_TRUE(grade().lutPath);
  EXPECT_EQ(fs::path(*grade().lutPath), file);
  EXPECT_EQ(lastStep(), "LUT");
  const QString shown = child<QLabel>("LUT Name")->text().remove(QChar(0x200B));  // break hints
  EXPECT_TRUE(shown.contains("colour_Three_Dimensional_Table_3D2.cube")) << shown.toStdString();

  page_->setLUTChooser([] { return std::nullopt; });  // a cancelled panel changes nothing
  const std::size_t start = steps();
  QTest::mouseClick(child<QPushButton>("Load LUT"), Qt::LeftButton);
  EXPECT_EQ(steps(), start);

  QTest::mouseClick(child<QPushButton>("Remove LUT"), Qt::LeftButton);
  EXPECT_FALSE(grade().lutPath);
  EXPECT_FALSE(child<QPushButton>("Remove LUT")->isEnabled());
}

TEST_F(ColorPageTest, ScopesMeasureTheProgramFrameOnceThePlayheadStops) {
  ASSERT_TRUE(waitUntil([&] { return editor_->state().scopes != nullptr; }));
  const auto still = editor_->state().scopes;
  EXPECT_EQ(still->waveCols, kScopeWaveColumns);
  // 1920 × 1080 measured as 480 × 270.
  EXPECT_EQ(std::accumulate(still->histY.begin(), still->histY.end(), 0u), 480u * 270u);

  program_->setRate(1);
  editor_->setPlayRate(1);
  const std::int64_t shown = program_->framesShown();
  ASSERT_TRUE(waitUntil([&] { return program_->framesShown() > shown + 3; }));
  EXPECT_EQ(editor_->state().scopes, still);  // playing: the scopes hold

  program_->setRate(0);
  editor_->setPlayRate(0);
  EXPECT_TRUE(waitUntil([&] { return editor_->state().scopes != still; }, 2000));
}

TEST(ScopeBitmap, ShrinksTheFrameKeepingLeftAndRight) {
  testing::widgetApp();
  QImage frame(1920, 1080, QImage::Format_ARGB32);
  frame.fill(Qt::black);
  for (int y = 0; y < frame.height(); ++y)
    for (int x = 960; x < frame.width(); ++x) frame.setPixel(x, y, qRgb(255, 255, 255));
  const QImage bitmap = scopeBitmap(frame);
  EXPECT_EQ(bitmap.size(), QSize(480, 270));
  EXPECT_EQ(bitmap.bytesPerLine(), 480 * 4);
  const auto data = measureFrame(frame);
  ASSERT_TRUE(data);
  EXPECT_EQ(data->columnMeanLuma(0), 0);
  EXPECT_EQ(data->columnMeanLuma(kScopeWaveColumns - 1), 255);
  EXPECT_EQ(data->histY[0], 240u * 270u);
  EXPECT_EQ(measureFrame(QImage()), nullptr);
}

}  // namespace
}  // namespace brevelan
