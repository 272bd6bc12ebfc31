// The CAPTIONS workspace over a real editor: what the user types, clicks and
// imports reaches the sequence's captions as named undo steps.
#include "app/workspaces/captions_page.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <QTimer>

#include <fstream>

#include "captions/caption_edits.h"
#include "captions/srt.h"
#include "edit/editor_model.h"
#include "model/atomic_file.h"
#include "support/temp_dir.h"
#include "support/widget_app.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;

constexpr const char* kTwoCaptions =
    "1\n00:00:01,000 --> 00:00:02,000\nHello\n\n2\n00:00:03,000 --> 00:00:04,000\nWorld\n\n";
// Block 1 runs backwards, block 2 is numbered 3 and overlaps block 1.
constexpr const char* kFaulty =
    "1\n00:00:02,000 --> 00:00:01,000\nBackwards\n\n3\n00:00:00,500 --> 00:00:00,900\nOverlap\n";

class CaptionsPageTest : public ::testing::Test {
 protected:
  void SetUp() override {
    testing::widgetApp();
    editor_ = std::make_unique<EditorModel>(Project::make());
    page_ = std::make_unique<CaptionsPage>(*editor_);
    page_->resize(1200, 700);
    page_->show();
    page_->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(page_.get()));
  }

  const std::vector<Caption> captions() const { return editor_->activeSequence()->captions.toVector(); }
  std::size_t steps() const { return editor_->history().undoSteps().size(); }
  std::string lastStep() const { return editor_->history().undoSteps().back().name; }

  fs::path writeFile(const std::string& name, const std::string& text) {
    const fs::path file = dir_.path() / name;
    std::ofstream(file, std::ios::binary) << text;
    return file;
  }

  QPushButton* button(const QString& text) const {
    for (QPushButton* b : page_->findChildren<QPushButton*>())
      if (b->text() == text) return b;
    return nullptr;
  }

  // Answers the next message box with the button labelled `answer`, noting what it said.
  void answerNextMessageBox(const QString& answer) {
    QTimer::singleShot(0, [this, answer] {
      auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      ASSERT_NE(box, nullptr);
      shownMessage_ = box->text() + "\n" + box->informativeText();
      for (QAbstractButton* b : box->buttons())
        if (b->text() == answer) b->click();
    });
  }

  testing::TempDir dir_;
  std::unique_ptr<EditorModel> editor_;
  std::unique_ptr<CaptionsPage> page_;
  QString shownMessage_;
};

TEST_F(CaptionsPageTest, TypingACaptionsTextIsOneEditCaptionStep) {
  CaptionEdits::importSRT(*editor_, kTwoCaptions);
  const std::size_t before = steps();

  // In the text field under the list.
  page_->selectCaption(captions()[1].id);
  page_->textField()->setFocus();
  page_->textField()->selectAll();
  QTest::keyClicks(page_->textField(), "Everyone");
  EXPECT_EQ(captions()[1].text, "Everyone");
  EXPECT_EQ(steps(), before + 1);
  EXPECT_EQ(lastStep(), CaptionEdits::kEdit);

  // In the list's own cell, committed with Return; a line break survives the one-line cell.
  editor_->editSeq("Two lines", false, false, [](BrevSequence& s) { s.captions.mut(0).text = "Hello\nthere"; });
  QTableWidget* list = page_->list();
  list->setFocus();
  list->setCurrentCell(0, 2);
  EXPECT_EQ(list->item(0, 2)->text(), "Hello ⏎ there");
  list->editItem(list->item(0, 2));
  auto* cell = list->viewport()->findChild<QLineEdit*>();
  ASSERT_NE(cell, nullptr);
  QTest::keyClick(cell, Qt::Key_End);
  QTest::keyClicks(cell, "!");
  QTest::keyClick(cell, Qt::Key_Return);
  QTest::qWait(0);  // the cell commits once the key has been handled
  EXPECT_EQ(captions()[0].text, "Hello\nthere!");
  EXPECT_EQ(lastStep(), CaptionEdits::kEdit);

  ASSERT_TRUE(editor_->undo());
  EXPECT_EQ(captions()[0].text, "Hello\nthere");
  QTest::qWait(0);
  EXPECT_EQ(list->item(0, 2)->text(), "Hello ⏎ there");
}

TEST_F(CaptionsPageTest, TimesTypedInTheListMoveTheCaptionOrAreRefused) {
  CaptionEdits::importSRT(*editor_, kTwoCaptions);  // 30 fps: 30..60 and 90..120
  struct Case {
    int column;
    const char* typed;
    std::int64_t start, end;  // of the first caption afterwards
  };
  const Case cases[] = {
      {0, "00:00:00:15", 15, 60},  // a full timecode
      {1, "2:00", 15, 60},         // seconds:frames, ends at 60 as before: nothing to record
      {1, "70", 15, 70},           // a bare frame number
      {0, "00:00:03:00", 15, 70},  // would end before it starts: refused
      {0, "soon", 15, 70},         // not a time: refused
  };
  QTableWidget* list = page_->list();
  for (const Case& c : cases) {
    SCOPED_TRACE(c.typed);
    const Uuid first = captions()[0].id;
    const int row = 0;
    list->item(row, c.column)->setText(c.typed);  // what committing a cell editor does
    QTest::qWait(0);
    EXPECT_EQ(captions()[0].id, first);
    EXPECT_EQ(captions()[0].start, c.start);
    EXPECT_EQ(captions()[0].end, c.end);
    // A refused time puts the cell back.
    EXPECT_EQ(list->item(row, 0)->text().toStdString(), editor_->activeSequence()->rate.timecode(c.start));
    EXPECT_EQ(list->item(row, 1)->text().toStdString(), editor_->activeSequence()->rate.timecode(c.end));
  }
}

TEST_F(CaptionsPageTest, ButtonsNudgeDeleteAndAddWithTheirEditNames) {
  CaptionEdits::importSRT(*editor_, kTwoCaptions);
  page_->selectCaption(captions()[0].id);
  QTest::mouseClick(button("1 Frame ▶"), Qt::LeftButton);
  QTest::mouseClick(button("1 Frame ▶"), Qt::LeftButton);
  QTest::mouseClick(button("◀ 1 Frame"), Qt::LeftButton);
  EXPECT_EQ(captions()[0].start, 31);
  EXPECT_EQ(lastStep(), CaptionEdits::kNudge);

  QTest::mouseClick(button("Delete"), Qt::LeftButton);
  ASSERT_EQ(captions().size(), 1u);
  EXPECT_EQ(captions()[0].text, "World");
  EXPECT_EQ(lastStep(), CaptionEdits::kDelete);
  EXPECT_FALSE(page_->selectedCaption());

  // Two seconds at the playhead, cut short by the caption that follows, ready for typing.
  editor_->setPlayhead(45);
  QTest::mouseClick(button("Add at Playhead"), Qt::LeftButton);
  ASSERT_EQ(captions().size(), 2u);
  EXPECT_EQ(captions()[0].start, 45);
  EXPECT_EQ(captions()[0].end, 90);
  EXPECT_EQ(lastStep(), "Add Caption");
  EXPECT_EQ(page_->selectedCaption(), captions()[0].id);
  QTest::keyClicks(page_->textField(), "Typed");
  EXPECT_EQ(captions()[0].text, "Typed");
}

TEST_F(CaptionsPageTest, ProblemsAreShownBeforeImportingAndTheUserDecides) {
  const fs::path file = writeFile("faulty.srt", kFaulty);
  page_->chooseImportFile = [&] { return std::optional(file); };

  const std::size_t before = steps();
  answerNextMessageBox("Cancel");
  page_->importSRT();
  EXPECT_TRUE(shownMessage_.contains("3 problems")) << shownMessage_.toStdString();
  EXPECT_TRUE(shownMessage_.contains("block 2: number is \"3\"")) << shownMessage_.toStdString();
  EXPECT_TRUE(captions().empty());
  EXPECT_EQ(steps(), before);

  shownMessage_.clear();
  answerNextMessageBox("Import Anyway");
  QTest::mouseClick(button("Import SRT…"), Qt::LeftButton);
  EXPECT_FALSE(shownMessage_.isEmpty());
  ASSERT_EQ(captions().size(), 2u);
  EXPECT_EQ(lastStep(), CaptionEdits::kImport);
  EXPECT_EQ(page_->list()->rowCount(), 2);

  // A valid file imports without a question.
  const fs::path good = writeFile("good.srt", kTwoCaptions);
  page_->chooseImportFile = [&] { return std::optional(good); };
  page_->importSRT();
  EXPECT_EQ(captions()[1].text, "World");
}

TEST_F(CaptionsPageTest, AFileThatCannotBeReadRaisesItsErrorAsAnAlert) {
  const fs::path missing = dir_.path() / "nowhere.srt";
  page_->chooseImportFile = [&] { return std::optional(missing); };
  const std::size_t before = steps();
  page_->importSRT();
  ASSERT_TRUE(editor_->state().alert);
  EXPECT_EQ(editor_->state().alert->message, readWholeFile(missing).error().message);
  EXPECT_EQ(steps(), before);
}

TEST_F(CaptionsPageTest, ExportWritesTheCaptionsAsSubRip) {
  CaptionEdits::importSRT(*editor_, kTwoCaptions);
  const fs::path file = dir_.path() / "out.srt";
  page_->chooseExportFile = [&] { return std::optional(file); };
  QTest::mouseClick(button("Export Captions as SRT…"), Qt::LeftButton);
  EXPECT_EQ(*readWholeFile(file), kTwoCaptions);
}

TEST_F(CaptionsPageTest, StyleControlsChangeTheSequencesCaptionStyle) {
  auto* size = page_->findChild<QDoubleSpinBox*>("captionSize");
  ASSERT_NE(size, nullptr);
  const std::size_t before = steps();
  size->setValue(50);
  size->setValue(56);
  EXPECT_EQ(editor_->activeSequence()->captionStyle.size, 56);
  EXPECT_EQ(steps(), before + 1);
  EXPECT_EQ(lastStep(), "Caption Size");
  ASSERT_TRUE(editor_->undo());
  EXPECT_EQ(size->value(), CaptionStyle{}.size);
}

TEST(FramesOfTimecode, ReadsWhatTheListShows) {
  const FrameRate ntsc{30000, 1001};
  struct Case {
    const char* text;
    std::optional<std::int64_t> frames;
  };
  const Case cases[] = {
      {"00:00:00:00", 0}, {"01:00:00:00", 108000}, {"00:01:02:03", 1863}, {" 2:10 ", 70},
      {"45", 45},         {"", std::nullopt},      {"1::2", std::nullopt}, {"-1", std::nullopt},
      {"1:2:3:4:5", std::nullopt}, {"12a", std::nullopt},
  };
  for (const Case& c : cases) EXPECT_EQ(framesOfTimecode(c.text, ntsc), c.frames) << c.text;
  EXPECT_EQ(ntsc.timecode(*framesOfTimecode("00:01:02:03", ntsc)), "00:01:02:03");
}

}  // namespace
}  // namespace brevelan
