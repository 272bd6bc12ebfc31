// The archive and relink sheets over a real editor and real files.
#include "app/workspaces/safekeeping_sheets.h"

#include <gtest/gtest.h>

#include <QListWidget>
#include <QPushButton>
#include <QTest>

#include <fstream>

#include "edit/editor_model.h"
#include "model/project_file.h"
#include "support/temp_dir.h"
#include "support/widget_app.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;

class SafekeepingTest : public ::testing::Test {
 protected:
  void SetUp() override { testing::widgetApp(); }

  fs::path writeFile(const fs::path& relative, const std::string& bytes) {
    const fs::path file = dir_.path() / relative;
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
    return file;
  }

  static MediaItem item(const std::string& name, MediaKind kind, const fs::path& path) {
    MediaItem media;
    media.id = Uuid::make();
    media.name = name;
    media.kind = kind;
    media.path = path.string();
    return media;
  }

  static QPushButton* button(QWidget* in, const QString& text) {
    for (QPushButton* b : in->findChildren<QPushButton*>())
      if (b->text() == text) return b;
    return nullptr;
  }

  testing::TempDir dir_;
};

TEST_F(SafekeepingTest, ArchiveSheetCopiesTheProjectAndItsMediaIntoAFolder) {
  Project project = Project::make();
  project.name = "Trip";
  project.media.push_back(item("clip.mov", MediaKind::video, writeFile("shoot/clip.mov", "movie bytes")));
  project.media.push_back(item("still.png", MediaKind::image, writeFile("stills/still.png", "picture bytes")));
  EditorModel editor(project);
  const fs::path parent = dir_.path() / "backup";
  fs::create_directories(parent);

  ArchiveSheet sheet(editor);
  std::vector<QString> prompts;
  sheet.chooseFolder = [&](const QString& prompt) {
    prompts.push_back(prompt);
    return std::optional(parent);
  };
  sheet.show();
  QTest::mouseClick(button(&sheet, "Choose Folder…"), Qt::LeftButton);
  ASSERT_EQ(prompts, std::vector<QString>{ArchiveSheet::kPrompt});
  QTRY_VERIFY_WITH_TIMEOUT(!sheet.running(), 20000);
  ASSERT_TRUE(sheet.archived()) << sheet.summary().toStdString();

  const fs::path folder = parent / "Trip (Archive)";
  EXPECT_EQ(*sheet.archived(), folder / "Trip.brevelan");
  EXPECT_TRUE(sheet.summary().contains("2 media files")) << sheet.summary().toStdString();
  auto archived = ProjectFile::load(*sheet.archived());
  ASSERT_TRUE(archived) << archived.error().message;
  EXPECT_EQ(archived->sequences, editor.project().sequences);
  for (const MediaItem& media : archived->media) {
    EXPECT_EQ(fs::path(media.path).parent_path(), folder / "Media");
    EXPECT_TRUE(fs::exists(media.path)) << media.path;
  }
  EXPECT_EQ(editor.project(), project);  // the open project is untouched

  // Closing is possible again once copying has ended.
  QTest::mouseClick(button(&sheet, "Done"), Qt::LeftButton);
  EXPECT_EQ(sheet.result(), QDialog::Accepted);
}

TEST_F(SafekeepingTest, ArchiveSheetReportsWhyItFailed) {
  Project project = Project::make();
  project.media.push_back(item("gone.mov", MediaKind::video, dir_.path() / "gone.mov"));
  EditorModel editor(project);
  ArchiveSheet sheet(editor);
  sheet.chooseFolder = [&](const QString&) { return std::optional(dir_.path()); };
  ASSERT_TRUE(sheet.start());
  QTRY_VERIFY_WITH_TIMEOUT(!sheet.running(), 20000);
  EXPECT_FALSE(sheet.archived());
  EXPECT_TRUE(sheet.summary().startsWith("The archive could not be made.")) << sheet.summary().toStdString();
}

TEST_F(SafekeepingTest, RelinkSheetListsTheMissingAndRelinksWhatTheFolderHolds) {
  Project project = Project::make();
  project.media.push_back(item("Still.PNG", MediaKind::image, dir_.path() / "old" / "Still.PNG"));
  project.media.push_back(item("here.png", MediaKind::image, writeFile("here.png", "present")));
  EditorModel editor(project);
  const fs::path moved = writeFile("new/deeper/still.png", "moved");

  RelinkSheet sheet(editor);
  ASSERT_EQ(sheet.missingList()->count(), 1);
  EXPECT_TRUE(sheet.missingList()->item(0)->text().startsWith("Still.PNG"));
  std::vector<QString> prompts;
  sheet.chooseFolder = [&](const QString& prompt) {
    prompts.push_back(prompt);
    return std::optional(dir_.path() / "new");
  };
  QTest::mouseClick(button(&sheet, "Choose Folder…"), Qt::LeftButton);
  ASSERT_EQ(prompts.size(), 1u);
  EXPECT_EQ(prompts[0], "Choose the folder that now holds the 1 missing file (subfolders are searched too)");
  EXPECT_EQ(editor.project().media[0].path, moved.string());
  EXPECT_EQ(editor.history().undoSteps().back().name, "Relink 1 file");
  EXPECT_EQ(sheet.missingList()->count(), 0);
  EXPECT_TRUE(sheet.summary().startsWith("Relinked 1 file")) << sheet.summary().toStdString();
}

}  // namespace
}  // namespace brevelan
