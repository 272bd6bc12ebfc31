#pragma once

#include <QKeySequence>
#include <QString>

#include <string_view>
#include <vector>

#include "edit/editor_state.h"

namespace brevelan {

// One command of the menus and the keyboard. The window binds each id to
// what it does; the help viewer lists them all.
struct BrevCommand {
  std::string_view id;
  std::string_view menu;
  std::string_view title;
  QKeySequence key;
  bool checkable = false;
};

// Every editor command, in menu order.
const std::vector<BrevCommand>& brevCommands();
const BrevCommand* commandByID(std::string_view id);
// The menus in the order they appear in the menu bar.
const std::vector<std::string_view>& commandMenus();

// What a tool does, as its toolbar tooltip says it.
std::string_view toolDescription(Tool tool);

}  // namespace brevelan
