// The sheets, driven through their buttons: recovery never loses a copy,
// New Sequence offers the eight rates and opens what it makes.
#include "app/shell/sheets.h"

#include <gtest/gtest.h>

#include <QComboBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>

#include "edit/editor_model.h"
#include "support/temp_dir.h"
#include "support/widget_app.h"

namespace brevelan {
namespace {

namespace fs = std::filesystem;

QPushButton* buttonNamed(QWidget& parent, const QString& text, int nth = 0) {
  for (QPushButton* button : parent.findChildren<QPushButton*>())
    if (button->text() == text && nth-- == 0) return button;
  return nullptr;
}

TEST(RecoverySheet, RestoresACopyOrMovesItToTheTrashButNeverDeletesIt) {
  testing::widgetApp();
  testing::TempDir dir;
  setenv("XDG_DATA_HOME", (dir.path() / "data").c_str(), 1);  // the Trash lives here
  const Autosave autosave(dir.path() / "Autosave");
  Project first = Project::make();
  first.name = "First";
  Project second = Project::make();
  second.name = "Second";
  ASSERT_TRUE(autosave.write(first, dir.path() / "first.brevelan"));
  ASSERT_TRUE(autosave.write(second, std::nullopt));

  EditorModel editor(Project::make());
  {
    RecoverySheet sheet(editor, autosave);
    ASSERT_TRUE(sheet.hasCopies());
    QStringList texts;
    for (const QLabel* label : sheet.findChildren<QLabel*>()) texts << label->text();
    EXPECT_TRUE(texts.join("\n").contains("Vael Brevelan did not close normally last time."));
    EXPECT_TRUE(texts.join("\n").contains("Autosaved "));
    // Which row is which follows pending()'s order (newest first).
    const auto pending = autosave.pending();
    const int secondRow = pending[0].record.project.name == "Second" ? 0 : 1;
    ASSERT_NE(buttonNamed(sheet, "Move to Trash", secondRow), nullptr);
    buttonNamed(sheet, "Move to Trash", secondRow)->click();
    QCoreApplication::processEvents();
    ASSERT_EQ(autosave.pending().size(), 1u);
    EXPECT_EQ(autosave.pending()[0].record.project.name, "First");
    // The trashed copy is in the Trash, not gone.
    EXPECT_FALSE(fs::is_empty(dir.path() / "data" / "Trash" / "files"));

    ASSERT_EQ(sheet.findChildren<QPushButton*>().size(), 3);  // one row and Later
    buttonNamed(sheet, "Restore")->click();
  }
  EXPECT_EQ(editor.project().name, "First");
  EXPECT_TRUE(editor.state().dirty);
  EXPECT_EQ(editor.state().fileURL, dir.path() / "first.brevelan");
  EXPECT_EQ(autosave.pending().size(), 1u);  // kept until the project is saved
}

TEST(NewSequenceSheet, OffersTheEightRatesAndOpensTheNewSequence) {
  testing::widgetApp();
  EditorModel editor(Project::make());
  NewSequenceSheet sheet(editor);
  const auto boxes = sheet.findChildren<QComboBox*>();
  ASSERT_EQ(boxes.size(), 2);
  QComboBox* rates = boxes[1];
  QStringList labels;
  for (int i = 0; i < rates->count(); ++i) labels << rates->itemText(i);
  EXPECT_EQ(labels, QStringList({"23.976 fps", "24 fps", "25 fps", "29.97 fps", "30 fps", "50 fps", "59.94 fps",
                                 "60 fps"}));
  rates->setCurrentIndex(3);
  boxes[0]->setCurrentIndex(3);  // 1080 × 1920
  sheet.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();

  ASSERT_EQ(editor.project().sequences.size(), 2u);
  const BrevSequence* open = editor.activeSequence();
  EXPECT_EQ(open->id, editor.project().sequences[1].id);
  EXPECT_EQ(open->rate, (FrameRate{30000, 1001}));
  EXPECT_EQ(open->width, 1080);
  EXPECT_EQ(open->height, 1920);
  EXPECT_EQ(editor.history().undoSteps().back().name, "New Sequence");
}

}  // namespace
}  // namespace brevelan
