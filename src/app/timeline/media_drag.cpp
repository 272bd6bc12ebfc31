#include "app/timeline/media_drag.h"

namespace brevelan {

std::unique_ptr<QMimeData> mediaDragData(const std::vector<Uuid>& items) {
  QStringList lines;
  for (const Uuid& id : items) lines << QString::fromStdString(id.str());
  auto data = std::make_unique<QMimeData>();
  data->setData(kMediaMimeType, lines.join('\n').toUtf8());
  return data;
}

std::vector<Uuid> draggedMedia(const QMimeData& data) {
  std::vector<Uuid> items;
  if (!data.hasFormat(kMediaMimeType)) return items;
  for (const QString& line : QString::fromUtf8(data.data(kMediaMimeType)).split('\n', Qt::SkipEmptyParts))
    if (auto id = Uuid::parse(line.trimmed().toStdString())) items.push_back(*id);
  return items;
}

}  // namespace brevelan
