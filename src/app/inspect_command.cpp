#include "app/inspect_command.h"

#include <ostream>

#include "media/export_check.h"
#include "model/json_writer.h"

namespace brevelan {

int runInspectCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.size() != 1) {
    err << "brevelan: usage: brevelan inspect FILE (see brevelan --help)\n";
    return 2;
  }
  auto check = ExportCheck::inspect(args[0]);
  if (!check) {
    err << "brevelan: " << check.error() << "\n";
    return 1;
  }
  JsonWriter json;
  json.beginObject();
  json.key("audioDuration").value(check->audioDuration);
  json.key("codec").value(check->codec);
  json.key("duration").value(check->duration);
  json.key("fps").value(check->fps);
  json.key("hasAudio").value(check->hasAudio);
  json.key("hasVideo").value(check->hasVideo);
  json.key("height").value(check->height);
  json.key("videoDuration").value(check->videoDuration);
  json.key("width").value(check->width);
  json.endObject();
  out << json.take() << "\n";
  return 0;
}

}  // namespace brevelan
