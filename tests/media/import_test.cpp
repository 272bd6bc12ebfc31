#include <gtest/gtest.h>

#include "edit/editor_model.h"
#include "edit/media_import.h"
#include "media/media_probe.h"
#include "media_fixture.h"

namespace brevelan {
namespace {

using testing::testMedia;

struct Import : ::testing::Test {
  Import() {
    Project project = Project::make();
    project.bins = {"Media", "Music"};
    editor = std::make_unique<EditorModel>(std::move(project));
  }
  ImportReport run(const std::vector<std::filesystem::path>& files, std::optional<std::string> bin = std::nullopt) {
    return importFiles(*editor, files, MediaProbe(), [&](const MediaItem& item) { proxied.push_back(item.name); }, bin);
  }
  std::unique_ptr<EditorModel> editor;
  std::vector<std::string> proxied;
};

TEST_F(Import, AddsWhatProbesInOneStepAndReportsTheRest) {
  auto& media = testMedia();
  const auto before = editor->project();
  const auto notes = media.dir / "notes.txt";
  const ImportReport report = run({media.mono, notes, media.uhd, media.hd});

  ASSERT_EQ(editor->project().media.size(), 3u);
  EXPECT_EQ(editor->project().media[0].name, "mono");
  EXPECT_EQ(editor->project().media[0].bin, "");
  ASSERT_EQ(editor->history().undoSteps().size(), 1u);
  EXPECT_EQ(editor->history().undoSteps().back().name, "Import 3 items");

  ASSERT_EQ(report.failures.size(), 1u);
  EXPECT_EQ(report.failures[0].error.message, MediaError::unsupported("notes.txt").message);
  ASSERT_TRUE(editor->state().alert);
  EXPECT_EQ(editor->state().alert->message, MediaError::unsupported("notes.txt").message);

  // Automatic proxies: the 3840 × 2160 movie gets one, the 1920 × 1080 one does not.
  EXPECT_EQ(proxied, std::vector<std::string>{"uhd"});

  editor->undo();
  EXPECT_EQ(editor->project(), before);
}

TEST_F(Import, NamesOneItemUsesTheSelectedBinAndMayMakeNoProxies) {
  editor->setAutoProxies(false);
  run({testMedia().uhd}, "Music");
  EXPECT_EQ(editor->history().undoSteps().back().name, "Import 1 item");
  EXPECT_EQ(editor->project().media[0].bin, "Music");
  EXPECT_TRUE(proxied.empty());
  run({testMedia().still}, "No such bin");
  EXPECT_EQ(editor->project().media[1].bin, "");
}

TEST_F(Import, EveryFileFailingChangesNothing) {
  const auto before = editor->project();
  const ImportReport report = run({testMedia().dir / "a.txt", testMedia().dir / "missing.mov"});
  EXPECT_EQ(report.failures.size(), 2u);
  EXPECT_EQ(editor->project(), before);
  EXPECT_FALSE(editor->history().canUndo());
  EXPECT_NE(editor->state().alert->message.find("\n"), std::string::npos);
}

}  // namespace
}  // namespace brevelan
