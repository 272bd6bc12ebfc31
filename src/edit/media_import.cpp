#include "edit/media_import.h"

#include <algorithm>

namespace brevelan {

std::string importEditName(std::size_t count) {
  return "Import " + std::to_string(count) + (count == 1 ? " item" : " items");
}

bool wantsProxy(const MediaItem& item) {
  return item.kind == MediaKind::video && item.hasVideo && (item.width > 1920 || item.height > 1920);
}

ImportReport importFiles(EditorModel& editor, const std::vector<std::filesystem::path>& files,
                         const MediaProber& prober, const std::function<void(const MediaItem&)>& startProxy,
                         const std::optional<std::string>& bin) {
  ImportReport report;
  const auto& bins = editor.project().bins;
  const std::string target = bin && std::find(bins.begin(), bins.end(), *bin) != bins.end() ? *bin : std::string();
  for (const auto& file : files) {
    auto probed = prober.probe(file);
    if (!probed) {
      report.failures.push_back({file, probed.error()});
      continue;
    }
    MediaItem item = std::move(probed.value());
    item.bin = target;
    report.added.push_back(std::move(item));
  }

  if (!report.added.empty()) {
    editor.edit(importEditName(report.added.size()), false, false, [&](Project& project) {
      for (const MediaItem& item : report.added) project.media.push_back(item);
    });
    if (editor.state().autoProxies && startProxy) {
      for (const MediaItem& item : report.added) {
        if (!wantsProxy(item)) continue;
        startProxy(item);
        report.proxiesStarted.push_back(item.id);
      }
    }
  }

  if (!report.failures.empty()) {
    std::string message;
    for (const ImportFailure& failure : report.failures) {
      if (!message.empty()) message += "\n";
      message += failure.error.message;
    }
    editor.showAlert(kCouldNotImport, message);
  }
  return report;
}

}  // namespace brevelan
