#include "app/shell/brev_commands.h"

#include <algorithm>

namespace brevelan {

const std::vector<BrevCommand>& brevCommands() {
  // Keys follow the usual editing conventions: single letters for tools and
  // transport, Ctrl for document commands.
  static const std::vector<BrevCommand> all{
      {"newProject", "File", "New Project", QKeySequence("Ctrl+N")},
      {"open", "File", "Open…", QKeySequence("Ctrl+O")},
      {"save", "File", "Save", QKeySequence("Ctrl+S")},
      {"saveAs", "File", "Save As…", QKeySequence("Ctrl+Shift+S")},
      {"newSequence", "File", "New Sequence…", QKeySequence("Ctrl+Alt+N")},
      {"recover", "File", "Recover Autosaved Work…", QKeySequence("")},
      {"archive", "File", "Archive Project (Collect Media)…", QKeySequence("")},
      {"quit", "File", "Quit", QKeySequence("Ctrl+Q")},
      {"undo", "Edit", "Undo", QKeySequence("Ctrl+Z")},
      {"redo", "Edit", "Redo", QKeySequence("Ctrl+Shift+Z")},
      {"cut", "Edit", "Cut", QKeySequence("Ctrl+X")},
      {"copy", "Edit", "Copy", QKeySequence("Ctrl+C")},
      {"paste", "Edit", "Paste", QKeySequence("Ctrl+V")},
      {"pasteAttributes", "Edit", "Paste Attributes…", QKeySequence("Ctrl+Shift+V")},
      {"delete", "Edit", "Delete", QKeySequence("Backspace")},
      {"rippleDelete", "Edit", "Ripple Delete", QKeySequence("Shift+Backspace")},
      {"selectAll", "Edit", "Select All", QKeySequence("Ctrl+A")},
      {"deselect", "Edit", "Deselect All", QKeySequence("Ctrl+Shift+A")},
      {"importMedia", "Media", "Import Media…", QKeySequence("Ctrl+I")},
      {"relink", "Media", "Relink Missing Media…", QKeySequence("")},
      {"useProxies", "Media", "Use Proxies for Playback", QKeySequence(""), true},
      {"toolSelect", "Tools", "Select", QKeySequence("A")},
      {"toolBlade", "Tools", "Blade", QKeySequence("B")},
      {"toolRipple", "Tools", "Ripple", QKeySequence("R")},
      {"toolRoll", "Tools", "Roll", QKeySequence("N")},
      {"toolSlip", "Tools", "Slip", QKeySequence("Y")},
      {"toolSlide", "Tools", "Slide", QKeySequence("U")},
      {"toolTrim", "Tools", "Trim", QKeySequence("T")},
      {"snapping", "Tools", "Snapping", QKeySequence("S"), true},
      {"linkedSelection", "Tools", "Linked Selection", QKeySequence("Ctrl+Shift+L"), true},
      {"blade", "Timeline", "Blade All Tracks at Playhead", QKeySequence("Ctrl+K")},
      {"bladeMarkers", "Timeline", "Blade at Markers", QKeySequence("Ctrl+Shift+K")},
      {"insert", "Timeline", "Insert", QKeySequence(",")},
      {"overwrite", "Timeline", "Overwrite", QKeySequence(".")},
      {"append", "Timeline", "Append", QKeySequence("E")},
      {"lift", "Timeline", "Lift Marked Range", QKeySequence(";")},
      {"extract", "Timeline", "Extract Marked Range", QKeySequence("'")},
      {"closeGap", "Timeline", "Close Gap", QKeySequence("Ctrl+Shift+G")},
      {"nest", "Timeline", "Nest Selected Clips", QKeySequence("Ctrl+Alt+G")},
      {"freeze", "Timeline", "Freeze Frame", QKeySequence("Ctrl+Alt+F")},
      {"link", "Timeline", "Link", QKeySequence("Ctrl+L")},
      {"unlink", "Timeline", "Unlink", QKeySequence("Ctrl+Shift+U")},
      {"jCut", "Timeline", "J-Cut", QKeySequence("Ctrl+Alt+J")},
      {"lCut", "Timeline", "L-Cut", QKeySequence("Ctrl+Alt+L")},
      {"crossfade", "Timeline", "Add Crossfade", QKeySequence("Ctrl+T")},
      {"addTitle", "Timeline", "Add Title", QKeySequence("Ctrl+Alt+T")},
      {"addColor", "Timeline", "Add Color Clip", QKeySequence("")},
      {"addVideoTrack", "Timeline", "Add Video Track", QKeySequence("")},
      {"addAudioTrack", "Timeline", "Add Audio Track", QKeySequence("")},
      {"markBeats", "Timeline", "Mark Beats", QKeySequence("Ctrl+Alt+B")},
      {"transcribe", "Timeline", "Transcribe Speech to Captions", QKeySequence("Ctrl+Alt+C")},
      {"cancelTranscription", "Timeline", "Stop Transcribing", QKeySequence("")},
      {"voiceOver", "Timeline", "Record Voice-over", QKeySequence("Ctrl+Alt+R"), true},
      {"markIn", "Mark", "Mark In", QKeySequence("I")},
      {"markOut", "Mark", "Mark Out", QKeySequence("O")},
      {"clearMarks", "Mark", "Clear In and Out", QKeySequence("Alt+X")},
      {"addMarker", "Mark", "Add Marker", QKeySequence("M")},
      {"previousEdit", "Mark", "Previous Edit", QKeySequence("Up")},
      {"nextEdit", "Mark", "Next Edit", QKeySequence("Down")},
      {"playPause", "Playback", "Play/Pause", QKeySequence("Space")},
      {"playBackward", "Playback", "Play Backward (J)", QKeySequence("J")},
      {"stop", "Playback", "Stop (K)", QKeySequence("K")},
      {"playForward", "Playback", "Play Forward (L)", QKeySequence("L")},
      {"previousFrame", "Playback", "Previous Frame", QKeySequence("Left")},
      {"nextFrame", "Playback", "Next Frame", QKeySequence("Right")},
      {"back10", "Playback", "Back 10 Frames", QKeySequence("Shift+Left")},
      {"forward10", "Playback", "Forward 10 Frames", QKeySequence("Shift+Right")},
      {"gotoStart", "Playback", "Go to Start", QKeySequence("Home")},
      {"gotoEnd", "Playback", "Go to End", QKeySequence("End")},
      {"zoomIn", "View", "Zoom In Timeline", QKeySequence("=")},
      {"zoomOut", "View", "Zoom Out Timeline", QKeySequence("-")},
      {"zoomToFit", "View", "Zoom to Fit", QKeySequence("Shift+Z")},
      {"interfaceBigger", "View", "Larger Interface", QKeySequence("Ctrl+=")},
      {"interfaceSmaller", "View", "Smaller Interface", QKeySequence("Ctrl+-")},
      {"interfaceActual", "View", "Actual Interface Size", QKeySequence("Ctrl+0")},
      {"workspaceEdit", "View", "EDIT", QKeySequence("Alt+1")},
      {"workspaceColor", "View", "COLOR", QKeySequence("Alt+2")},
      {"workspaceAudio", "View", "AUDIO", QKeySequence("Alt+3")},
      {"workspaceCaptions", "View", "CAPTIONS", QKeySequence("Alt+4")},
      {"workspaceDeliver", "View", "DELIVER", QKeySequence("Alt+5")},
      {"help", "Help", "Keyboard Commands", QKeySequence("F1")},
      {"about", "Help", "About Vael Brevelan", QKeySequence("")},
  };
  return all;
}

const BrevCommand* commandByID(std::string_view id) {
  const auto& all = brevCommands();
  const auto it = std::find_if(all.begin(), all.end(), [&](const BrevCommand& c) { return c.id == id; });
  return it == all.end() ? nullptr : &*it;
}

const std::vector<std::string_view>& commandMenus() {
  static const std::vector<std::string_view> menus = [] {
    std::vector<std::string_view> names;
    for (const BrevCommand& command : brevCommands())
      if (std::find(names.begin(), names.end(), command.menu) == names.end()) names.push_back(command.menu);
    return names;
  }();
  return menus;
}

std::string_view toolDescription(Tool tool) {
  switch (tool) {
    case Tool::select: return "Select (A): click a clip to select it, drag to move it, drag an edge to trim";
    case Tool::blade: return "Blade (B): click a clip to cut it in two";
    case Tool::ripple: return "Ripple (R): drag an edge — later clips follow";
    case Tool::roll: return "Roll (N): drag a cut — moves it between two clips";
    case Tool::slip: return "Slip (Y): drag a clip — shows an earlier or later part of its source";
    case Tool::slide: return "Slide (U): drag a clip — its neighbors give and take";
    case Tool::trim: return "Trim (T): drag an edge without moving anything else";
  }
  return {};
}

}  // namespace brevelan
