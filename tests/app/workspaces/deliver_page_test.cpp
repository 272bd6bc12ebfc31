// The DELIVER workspace: presets and their options, and real exports through
// the page's render queue while the document goes on changing.
#include "app/workspaces/deliver_page.h"

#include <gtest/gtest.h>

#include <QListWidget>
#include <QPushButton>
#include <QTest>

#include "edit/editor_model.h"
#include "support/temp_dir.h"
#include "support/widget_app.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;

constexpr int kMasterProRes = 4;  // "Master — ProRes 422": the sequence's own small size, quick to write

class DeliverPageTest : public ::testing::Test {
 protected:
  void SetUp() override {
    testing::widgetApp();
    dir_.holdAppFolders();
    editor_ = std::make_unique<EditorModel>(Project::make());
    // A short, small sequence: one colour clip of `frames` frames.
    editor_->editSeq("Size", false, false, [](BrevSequence& s) {
      s.name = "Short";
      s.width = 320;
      s.height = 180;
    });
    ASSERT_TRUE(editor_->addColorClip(RGBA{0.2, 0.4, 0.8, 1}));
    editor_->editSeq("Trim", false, false, [](BrevSequence& s) { s.video.mut(0).clips.mut(0).duration = 12; });
    page_ = std::make_unique<DeliverPage>(*editor_);
    page_->chooseDestination = [this](const QString& title, const QString& suggested, const QString& extension) {
      asked_.push_back((title + " | " + suggested + " | " + extension).toStdString());
      return std::optional(dir_.path() / (std::to_string(asked_.size()) + "." + extension.toStdString()));
    };
    page_->resize(1200, 700);
    page_->show();
  }

  static bool finished(const RenderJob& job) {
    return job.status != RenderJob::Status::waiting && job.status != RenderJob::Status::rendering;
  }

  // Runs the event loop until every queued job has ended.
  void waitForQueue() {
    const auto& jobs = page_->queue().jobs();
    QTRY_VERIFY_WITH_TIMEOUT(std::all_of(jobs.begin(), jobs.end(), [](const auto& j) { return finished(*j); }),
                             60000);
  }

  QPushButton* button(const QString& text) const {
    for (QPushButton* b : page_->findChildren<QPushButton*>())
      if (b->text() == text) return b;
    return nullptr;
  }

  QPushButton* rowButton(const Uuid& job, const QString& text) const {
    int row = 0;
    for (const auto& j : page_->queue().jobs()) {
      if (j->id == job) break;
      ++row;
    }
    int seen = -1;
    for (QPushButton* b : page_->findChildren<QPushButton*>())
      if (b->text() == text && ++seen == row) return b;
    return nullptr;
  }

  testing::TempDir dir_;
  std::unique_ptr<EditorModel> editor_;
  std::unique_ptr<DeliverPage> page_;
  std::vector<std::string> asked_;
};

TEST_F(DeliverPageTest, PresetsInOrderWithYouTubePreselectedAndReframeOnlyForAnotherShape) {
  auto* list = page_->findChild<QListWidget*>();
  ASSERT_EQ(list->count(), static_cast<int>(allPresets().size()));
  for (int i = 0; i < list->count(); ++i) EXPECT_EQ(list->item(i)->text().toStdString(), allPresets()[i].name);
  EXPECT_EQ(page_->preset().name, "YouTube 1080p");

  struct Case {
    const char* id;
    bool offered;  // for the 16:9 sequence
  };
  const Case cases[] = {{"yt1080", false}, {"vertical", true}, {"prores", false}, {"wav", false}};
  for (const Case& c : cases) {
    const auto at = std::find_if(allPresets().begin(), allPresets().end(), [&](const auto& p) { return p.id == c.id; });
    page_->choosePreset(static_cast<int>(at - allPresets().begin()));
    EXPECT_EQ(page_->reframeOffered(), c.offered) << c.id;
  }
  editor_->editSeq("Square", false, false, [](BrevSequence& s) { s.width = s.height = 180; });
  page_->choosePreset(0);
  EXPECT_TRUE(page_->reframeOffered());
}

TEST_F(DeliverPageTest, AJobExportsItsSnapshotWhileEditingGoesOn) {
  EXPECT_TRUE(page_->emptyQueueShown());
  EXPECT_EQ(page_->emptyQueueText().toStdString(), RenderQueue::kNothingQueued);

  page_->choosePreset(kMasterProRes);
  QTest::mouseClick(button("Add to Render Queue"), Qt::LeftButton);
  ASSERT_EQ(asked_, std::vector<std::string>{"Choose where to save, then queue it | Short | mov"});
  ASSERT_EQ(page_->queue().jobs().size(), 1u);
  const auto job = page_->queue().jobs().front();
  EXPECT_FALSE(page_->emptyQueueShown());

  // The user keeps editing; the job keeps what it was given.
  editor_->editSeq("Rename", false, true, [](BrevSequence& s) { s.name = "Renamed"; });
  EXPECT_EQ(job->sequence.name, "Short");

  waitForQueue();
  EXPECT_EQ(job->status, RenderJob::Status::done) << job->failure;
  EXPECT_TRUE(page_->rowText(job->id).contains("Done in")) << page_->rowText(job->id).toStdString();
  EXPECT_GT(fs::file_size(job->url), 0u);
  EXPECT_EQ(editor_->activeSequence()->name, "Renamed");

  std::vector<QUrl> opened;
  page_->openUrl = [&](const QUrl& url) { opened.push_back(url); };
  QPushButton* reveal = rowButton(job->id, "Show in Folder");
  ASSERT_NE(reveal, nullptr);
  QTest::mouseClick(reveal, Qt::LeftButton);
  ASSERT_EQ(opened.size(), 1u);
  EXPECT_EQ(opened[0].toLocalFile().toStdString(), dir_.path().string());

  page_->clearFinished();
  EXPECT_TRUE(page_->queue().jobs().empty());
  EXPECT_TRUE(page_->emptyQueueShown());
}

TEST_F(DeliverPageTest, CancellingOneOfTwoJobsLeavesTheOtherToFinish) {
  page_->choosePreset(kMasterProRes);
  const auto first = page_->addToQueue();
  const auto second = page_->addToQueue();
  ASSERT_TRUE(first && second);
  EXPECT_EQ(first->status, RenderJob::Status::rendering);
  EXPECT_EQ(second->status, RenderJob::Status::waiting);

  QPushButton* cancel = rowButton(second->id, "Cancel");
  ASSERT_NE(cancel, nullptr);
  QTest::mouseClick(cancel, Qt::LeftButton);
  EXPECT_TRUE(page_->rowText(second->id).endsWith("Cancelled"));

  waitForQueue();
  EXPECT_EQ(first->status, RenderJob::Status::done) << first->failure;
  EXPECT_EQ(second->status, RenderJob::Status::cancelled);
  EXPECT_TRUE(fs::exists(first->url));
  EXPECT_FALSE(fs::exists(second->url));
}

TEST_F(DeliverPageTest, TheJobCarriesTheChosenReframeAndBurnIn) {
  page_->choosePreset(2);  // vertical, on a 16:9 sequence
  page_->setReframe(Reframe::fitBlur);
  page_->setBurnCaptions(true);
  page_->chooseDestination = [](const QString&, const QString&, const QString&) { return std::optional<fs::path>(); };
  EXPECT_EQ(page_->addToQueue(), nullptr);  // the save panel was cancelled
  EXPECT_TRUE(page_->queue().jobs().empty());

  page_->chooseDestination = [this](const QString&, const QString&, const QString& extension) {
    return std::optional(dir_.path() / ("v." + extension.toStdString()));
  };
  const auto job = page_->addToQueue();
  ASSERT_TRUE(job);
  EXPECT_EQ(job->reframe, Reframe::fitBlur);
  EXPECT_TRUE(job->burnCaptions);
  EXPECT_EQ(job->url.extension(), ".mp4");
  page_->cancelJob(job->id);
  waitForQueue();
  EXPECT_EQ(job->status, RenderJob::Status::cancelled);
}

}  // namespace
}  // namespace brevelan
