// What a person does with keys and the mouse on the timeline makes the same
// document as the matching script commands.
#include <gtest/gtest.h>

#include <QTest>

#include <sstream>
#include <tuple>

#include "app/playback/playback_engine.h"
#include "app/script_runner.h"
#include "app/shell/main_window.h"
#include "app/timeline/timeline_view.h"
#include "edit/editor_model.h"
#include "model/project_file.h"
#include "support/demo_folder.h"
#include "support/temp_dir.h"
#include "support/widget_app.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;

// Clips as a person sees them: where, how long, which part of the source.
// Ids differ between two runs of the same cut, so they are left out.
using ClipShape = std::tuple<int, std::size_t, std::string, std::int64_t, std::int64_t, std::int64_t>;
std::vector<ClipShape> shapes(const BrevSequence& seq) {
  std::vector<ClipShape> all;
  for (int kind = 0; kind < 2; ++kind) {
    const auto& tracks = kind == 0 ? seq.video : seq.audio;
    for (std::size_t t = 0; t < tracks.size(); ++t)
      for (const Clip& clip : tracks[t].clips)
        all.emplace_back(kind, t, clip.name, clip.start, clip.duration, clip.sourceIn);
  }
  return all;
}

class TimelineAndScript : public ::testing::Test {
 protected:
  void SetUp() override {
    testing::widgetApp();
    setenv("XDG_DATA_HOME", (dir_.path() / "data").c_str(), 1);
    project_ = testing::demoFolder() / "Sample.brevelan";
    editor_ = std::make_unique<EditorModel>(Project::make());
    window_ = std::make_unique<MainWindow>(*editor_, program_);
    ASSERT_TRUE(editor_->open(project_));
    editor_->setSnapping(false);
    window_->resize(1600, 1000);
    window_->show();
    window_->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window_.get()));
  }

  std::vector<ClipShape> scripted(const std::string& lines) {
    std::istringstream in(lines);
    std::ostringstream out, err;
    const fs::path saved = dir_.path() / "scripted.brevelan";
    EXPECT_EQ(runScript(project_, saved, in, out, err), 0) << out.str() << err.str();
    auto loaded = ProjectFile::load(saved);
    EXPECT_TRUE(loaded);
    return shapes(*loaded->activeSequence());
  }

  testing::TempDir dir_;
  fs::path project_;
  PlaybackEngine program_;
  std::unique_ptr<EditorModel> editor_;
  std::unique_ptr<MainWindow> window_;
};

TEST_F(TimelineAndScript, BladeKeyCutsLikeBladeAll) {
  editor_->setPlayhead(60);
  QTest::keyClick(window_.get(), Qt::Key_K, Qt::ControlModifier);
  EXPECT_EQ(shapes(*editor_->activeSequence()), scripted(R"({"op":"bladeAll","at":60})" "\n"));
}

TEST_F(TimelineAndScript, RippleDragOfAHeadTrimsLikeRippleTrim) {
  TimelineView& timeline = window_->timeline();
  QTest::keyClick(window_.get(), Qt::Key_R);
  ASSERT_EQ(editor_->state().tool, Tool::ripple);
  // "phone-portrait" starts at frame 180 on V1; grab its head and pull it 30 frames later.
  const int y = timeline.laneRect(TrackRef{TrackKind::video, 0}).center().y();
  const QPoint from(static_cast<int>(timeline.xOf(180)) + 2, y);
  const QPoint to(static_cast<int>(timeline.xOf(210)) + 2, y);
  QTest::mousePress(&timeline, Qt::LeftButton, {}, from);
  QTest::mouseMove(&timeline, (from + to) / 2);
  QTest::mouseMove(&timeline, to);
  QTest::mouseRelease(&timeline, Qt::LeftButton, {}, to);
  EXPECT_EQ(editor_->history().undoSteps().size(), 1u);
  EXPECT_EQ(shapes(*editor_->activeSequence()),
            scripted(R"({"op":"rippleTrim","clip":"phone-portrait","edge":"head","by":30})" "\n"));
  editor_->undo();
  auto original = ProjectFile::load(project_);
  ASSERT_TRUE(original);
  EXPECT_EQ(shapes(*editor_->activeSequence()), shapes(*original->activeSequence()));
}

}  // namespace
}  // namespace brevelan
