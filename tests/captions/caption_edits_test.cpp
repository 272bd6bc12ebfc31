#include "captions/caption_edits.h"

#include <gtest/gtest.h>

#include "captions/srt.h"
#include "edit/editor_model.h"

namespace brevelan {
namespace {

const char* kSRT =
    "1\n00:00:01,000 --> 00:00:02,000\nFirst\n\n"
    "2\n00:00:03,000 --> 00:00:03,000\nZero length\n\n"
    "3\n00:00:05,000 --> 00:00:06,500\nThird\nline\n\n";

struct CaptionEditing : ::testing::Test {
  EditorModel editor{Project::make()};
  const SharedList<Caption>& captions() { return editor.activeSequence()->captions; }
  std::string lastStep() {
    return editor.history().canUndo() ? editor.history().undoSteps().back().name : std::string();
  }
};

TEST_F(CaptionEditing, ImportReplacesTheCaptionsAsOneEditAndExportsThemBack) {
  EXPECT_EQ(CaptionEdits::importSRT(editor, kSRT), 3u);
  ASSERT_EQ(captions().size(), 3u);
  EXPECT_EQ(captions()[1].end, captions()[1].start + 1);  // no caption is empty in time
  EXPECT_EQ(lastStep(), CaptionEdits::kImport);

  const std::string exported = CaptionEdits::exportSRT(editor);
  EXPECT_EQ(SRT::parse(exported, FrameRate{30, 1}).size(), 3u);
  EXPECT_NE(exported.find("00:00:05,000 --> 00:00:06,500\nThird\nline\n"), std::string::npos);

  // The same captions again change nothing and record nothing.
  const std::size_t depth = editor.history().undoSteps().size();
  CaptionEdits::importSRT(editor, exported);
  EXPECT_EQ(editor.history().undoSteps().size(), depth);
}

TEST_F(CaptionEditing, EditNudgeAndDeleteAreNamedStepsThatKeepTheOrder) {
  CaptionEdits::importSRT(editor, kSRT);
  const Uuid first = captions()[0].id, third = captions()[2].id;

  EXPECT_TRUE(CaptionEdits::editCaption(editor, first, {.text = "Changed"}));
  EXPECT_EQ(captions()[0].text, "Changed");
  EXPECT_EQ(lastStep(), CaptionEdits::kEdit);
  // End before start, a negative start, an unknown id: refused.
  EXPECT_FALSE(CaptionEdits::editCaption(editor, first, {.end = captions()[0].start}));
  EXPECT_FALSE(CaptionEdits::editCaption(editor, first, {.start = -1}));
  EXPECT_FALSE(CaptionEdits::editCaption(editor, Uuid::make(), {.text = "x"}));
  // Moving past another caption reorders the list.
  EXPECT_TRUE(CaptionEdits::editCaption(editor, first, {.start = 200, .end = 230}));
  EXPECT_EQ(captions()[2].id, first);

  EXPECT_EQ(CaptionEdits::nudgeCaption(editor, third, -10), -10);
  EXPECT_EQ(lastStep(), CaptionEdits::kNudge);
  EXPECT_EQ(CaptionEdits::nudgeCaption(editor, third, -1000), -140);  // stops at frame 0
  EXPECT_EQ(captions()[0].id, third);
  EXPECT_EQ(captions()[0].start, 0);
  EXPECT_EQ(CaptionEdits::nudgeCaption(editor, third, -5), 0);

  EXPECT_TRUE(CaptionEdits::deleteCaption(editor, third));
  EXPECT_EQ(lastStep(), CaptionEdits::kDelete);
  EXPECT_EQ(captions().size(), 2u);
  EXPECT_FALSE(CaptionEdits::deleteCaption(editor, third));
  EXPECT_TRUE(editor.undo());
  EXPECT_EQ(captions().size(), 3u);
}

}  // namespace
}  // namespace brevelan
