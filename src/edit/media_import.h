#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "edit/editor_model.h"
#include "edit/media_probe.h"

namespace brevelan {

struct ImportFailure {
  std::filesystem::path file;
  MediaError error;
};

struct ImportReport {
  std::vector<MediaItem> added;
  std::vector<ImportFailure> failures;
  std::vector<Uuid> proxiesStarted;
};

// The alert title under which refused files are listed.
inline constexpr const char* kCouldNotImport = "Could not import";

// "Import 1 item", "Import 3 items".
std::string importEditName(std::size_t count);

// Whether an imported item gets a proxy when proxies are made automatically:
// a movie picture wider or taller than 1920 pixels.
bool wantsProxy(const MediaItem& item);

// Probes every file and adds the accepted ones to the project's media in one
// undoable edit named by importEditName; an import in which every file fails
// changes nothing. Refused files are listed, one message a line, in one
// alert, while the rest still arrive. With automatic proxies on, `startProxy`
// is called for every added item that wantsProxy (it should start the work
// in the background and return at once).
//
// Items land in `bin` when it names one of the project's bins; without a
// selected bin they land at the top level of the bin (bin "").
ImportReport importFiles(EditorModel& editor, const std::vector<std::filesystem::path>& files,
                         const MediaProber& prober, const std::function<void(const MediaItem&)>& startProxy,
                         const std::optional<std::string>& bin = std::nullopt);

}  // namespace brevelan
