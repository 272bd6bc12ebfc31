#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "deliver/export_preset.h"
#include "model/expected.h"
#include "model/project.h"

namespace brevelan {

// Why an export did not finish; `description()` is what the user reads.
struct ExportError {
  enum class Kind { cannotStart, failed, cancelled, empty };
  Kind kind = Kind::failed;
  std::string message;  // for cannotStart and failed

  std::string description() const;
  friend bool operator==(const ExportError&, const ExportError&) = default;
};

// Writes one sequence to one file as a preset says: the picture from the
// composition and compositor that playback uses (original media, never
// proxies), the sound from the mixer's full mix, both written at once on
// their own workers. A cancelled or failed export leaves no file behind, and
// the temporary mix file is removed however the export ends.
struct Exporter {
  // Called from the picture worker with the fraction done; return false to cancel.
  using Progress = std::function<bool(double)>;

  static Expected<void, ExportError> exportSequence(const Project& project, const BrevSequence& seq,
                                                    const ExportPreset& preset, const std::filesystem::path& file,
                                                    bool burnCaptions, Reframe reframe, const Progress& progress);
};

}  // namespace brevelan
