#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "model/enum_text.h"
#include "model/project.h"
#include "model/uuid.h"

namespace brevelan {

// Latest scope measurements; defined by the picture layer, only held here.
struct ScopeData;

enum class Tool { select, blade, ripple, roll, slip, slide, trim };

template <>
struct EnumTexts<Tool> {
  static constexpr std::string_view noun = "tool";
  static constexpr std::array<std::pair<Tool, std::string_view>, 7> items{{{Tool::select, "Select"},
                                                                           {Tool::blade, "Blade"},
                                                                           {Tool::ripple, "Ripple"},
                                                                           {Tool::roll, "Roll"},
                                                                           {Tool::slip, "Slip"},
                                                                           {Tool::slide, "Slide"},
                                                                           {Tool::trim, "Trim"}}};
};

enum class Workspace { edit, color, audio, captions, deliver };

template <>
struct EnumTexts<Workspace> {
  static constexpr std::string_view noun = "workspace";
  static constexpr std::array<std::pair<Workspace, std::string_view>, 5> items{{{Workspace::edit, "EDIT"},
                                                                                {Workspace::color, "COLOR"},
                                                                                {Workspace::audio, "AUDIO"},
                                                                                {Workspace::captions, "CAPTIONS"},
                                                                                {Workspace::deliver, "DELIVER"}}};
};

// Which viewer receives I / O and the transport keys.
enum class ViewerFocus { source, program };

enum class SheetKind { newSequence, recovery, pasteAttributes, relink, about };

struct AlertInfo {
  Uuid id;
  std::string title;
  std::string message;

  friend bool operator==(const AlertInfo&, const AlertInfo&) = default;
};

struct StereoLevel {
  float left = 0;
  float right = 0;

  friend bool operator==(const StereoLevel&, const StereoLevel&) = default;
};

// Flags of the groups Paste Attributes copies.
namespace PasteGroups {
inline constexpr std::uint32_t transform = 1;
inline constexpr std::uint32_t grade = 2;
inline constexpr std::uint32_t sound = 4;
inline constexpr std::uint32_t speed = 8;
inline constexpr std::uint32_t transition = 16;
inline constexpr std::uint32_t all = 31;
}  // namespace PasteGroups

// Everything the interface observes, one member per Field below.
struct EditorState {
  Project project;
  std::optional<std::filesystem::path> fileURL;
  bool dirty = false;
  std::set<Uuid> selection;
  std::int64_t playhead = 0;
  std::optional<std::int64_t> markIn;
  std::optional<std::int64_t> markOut;  // exclusive: the range runs up to, not including, it
  Tool tool = Tool::select;
  bool snapping = true;
  bool linkedSelection = true;
  Workspace workspace = Workspace::edit;
  double pixelsPerFrame = 3.0;
  std::int64_t targetVideo = 0;
  std::int64_t targetAudio = 0;
  ViewerFocus focus = ViewerFocus::program;
  bool useProxies = true;
  bool autoProxies = true;
  std::optional<SheetKind> sheet;
  std::optional<AlertInfo> alert;
  std::string status = "Ready";
  std::optional<std::string> busy;
  double busyProgress = 0;
  std::string binFilter;
  std::optional<Uuid> selectedMediaID;
  std::int64_t thumbsVersion = 0;
  bool dragPreview = false;
  std::optional<Uuid> sourceMediaID;
  std::optional<std::int64_t> sourceIn;
  std::optional<std::int64_t> sourceOut;  // exclusive, like markOut
  std::int64_t sourcePlayhead = 0;
  float playRate = 0;
  std::map<Uuid, StereoLevel> meters;
  StereoLevel masterMeter;
  std::shared_ptr<const ScopeData> scopes;
  bool voiceOverActive = false;
  std::uint32_t pasteWhat = PasteGroups::all;
};

// Names one observable member of EditorState in change notifications.
enum class Field {
  project,
  fileURL,
  dirty,
  selection,
  playhead,
  markIn,
  markOut,
  tool,
  snapping,
  linkedSelection,
  workspace,
  pixelsPerFrame,
  targetVideo,
  targetAudio,
  focus,
  useProxies,
  autoProxies,
  sheet,
  alert,
  status,
  busy,
  busyProgress,
  binFilter,
  selectedMediaID,
  thumbsVersion,
  dragPreview,
  sourceMediaID,
  sourceIn,
  sourceOut,
  sourcePlayhead,
  playRate,
  meters,
  masterMeter,
  scopes,
  voiceOverActive,
  pasteWhat,
};

}  // namespace brevelan
