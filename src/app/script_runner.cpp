#include "app/script_runner.h"

#include <functional>
#include <istream>
#include <ostream>
#include <set>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "edit/editor_model.h"
#include "edit/linking.h"
#include "edit/sequence_queries.h"
#include "edit/snapping.h"
#include "edit/speed_change.h"
#include "edit/trim_tools.h"
#include "model/json_writer.h"
#include "model/project_coding.h"
#include "model/project_file.h"

namespace brevelan {
namespace {

using nlohmann::json;

// A refused command; the text is the one-line error printed for it.
struct ScriptError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The arguments of one command, checked as they are read.
class Args {
 public:
  Args(const json& line, const EditorModel& editor) : line_(line), editor_(editor) {}

  const json& raw(const char* key) const {
    auto it = line_.find(key);
    if (it == line_.end()) throw ScriptError("“" + std::string(key) + "” is missing.");
    return *it;
  }
  bool has(const char* key) const { return line_.contains(key); }

  std::int64_t integer(const char* key) const {
    const json& v = raw(key);
    if (v.is_number_integer()) return v.get<std::int64_t>();
    if (v.is_number_float() && v.get<double>() == static_cast<double>(static_cast<std::int64_t>(v.get<double>())))
      return static_cast<std::int64_t>(v.get<double>());
    throw ScriptError("“" + std::string(key) + "” must be a whole number of frames.");
  }
  double number(const char* key) const {
    const json& v = raw(key);
    if (!v.is_number()) throw ScriptError("“" + std::string(key) + "” must be a number.");
    return v.get<double>();
  }
  bool flag(const char* key, bool fallback) const {
    if (!has(key)) return fallback;
    const json& v = raw(key);
    if (!v.is_boolean()) throw ScriptError("“" + std::string(key) + "” must be true or false.");
    return v.get<bool>();
  }
  std::string text(const char* key) const {
    const json& v = raw(key);
    if (!v.is_string()) throw ScriptError("“" + std::string(key) + "” must be text.");
    return v.get<std::string>();
  }
  bool linked() const { return flag("linked", editor_.state().linkedSelection); }

  TrimEdge edge() const {
    const std::string name = text("edge");
    if (name == "head") return TrimEdge::head;
    if (name == "tail") return TrimEdge::tail;
    throw ScriptError("“edge” must be \"head\" or \"tail\", not “" + name + "”.");
  }

  // A clip of the active sequence named by its UUID text or by its name (the
  // first match in track order: V1, V2, …, then A1, A2, …).
  Uuid clip(const char* key = "clip") const {
    const json& v = raw(key);
    if (!v.is_string()) throw ScriptError("“" + std::string(key) + "” must name a clip.");
    return resolve(v.get<std::string>());
  }
  std::vector<Uuid> clips(const char* key = "clips") const {
    const json& v = raw(key);
    if (!v.is_array()) throw ScriptError("“" + std::string(key) + "” must be a list of clips.");
    std::vector<Uuid> ids;
    for (const json& item : v) {
      if (!item.is_string()) throw ScriptError("“" + std::string(key) + "” must be a list of clip names.");
      ids.push_back(resolve(item.get<std::string>()));
    }
    return ids;
  }

 private:
  Uuid resolve(const std::string& name) const {
    const BrevSequence* seq = editor_.activeSequence();
    if (!seq) throw ScriptError("The project has no active sequence.");
    auto id = Uuid::parse(name);
    for (const TrackRef& ref : allRefs(*seq))
      for (const Clip& clip : trackAt(*seq, ref).clips)
        if ((id && clip.id == *id) || clip.name == name) return clip.id;
    throw ScriptError("There is no clip " + curlyQuoted(name) + " in the active sequence.");
  }

  const json& line_;
  const EditorModel& editor_;
};

// One script run: the editor, and the script's own clock that only `wait` moves.
struct Session {
  double clock = 1000.0;
  std::unique_ptr<EditorModel> editor;
};

using Handler = std::function<json(const Args&, Session&)>;

struct Op {
  const char* name;
  const char* arguments;
  Handler run;
};

// Runs a sequence operation through the funnel and returns what it reported.
template <class Result, class Operation>
Result sequenceEdit(Session& s, const char* name, Operation operation) {
  Result result{};
  s.editor->editSeq(name, false, true, [&](BrevSequence& seq) { result = operation(seq); });
  return result;
}

json setClipField(const Args& a, Session& s) {
  const Uuid id = a.clip();
  const std::string path = a.text("path");
  if (path == "id") throw ScriptError("A clip's id cannot be set.");
  const BrevSequence* seq = s.editor->activeSequence();
  const Clip current = *brevelan::clip(*seq, id);

  JsonWriter writer;
  coding::write(writer, current);
  json form = json::parse(writer.take());
  json* field = &form;
  std::size_t from = 0;
  while (true) {
    const std::size_t dot = path.find('.', from);
    const std::string part = path.substr(from, dot == std::string::npos ? std::string::npos : dot - from);
    if (!field->is_object() || !field->contains(part))
      throw ScriptError("A clip has no field " + curlyQuoted(path) + ".");
    field = &(*field)[part];
    if (dot == std::string::npos) break;
    from = dot + 1;
  }
  *field = a.raw("value");
  Clip changed;
  try {
    changed = coding::decodeClip(JsonReader(form));
  } catch (const JsonReader::DecodeFailure& failure) {
    throw ScriptError("The value does not fit " + curlyQuoted(path) + ": " + failure.error.describe() + ".");
  }
  const std::string name = a.has("name") ? a.text("name") : path;
  return s.editor->updateClip(id, name, a.flag("coalesce", false), true, [&](Clip& clip) { clip = changed; });
}

json setKey(const Args& a, Session& s) {
  const Uuid id = a.clip();
  const std::string param = a.text("param");
  if (param != "volume" && param != "pan")
    throw ScriptError("“param” must be \"volume\" or \"pan\", not " + curlyQuoted(param) + ".");
  const std::int64_t frame = a.integer("frame");
  const double value = a.number("value");
  const char* name = param == "volume" ? "Volume Key" : "Pan Key";
  return s.editor->updateClip(id, name, false, true, [&](Clip& clip) {
    AudioFX& audio = clip.audio.mut();
    (param == "volume" ? audio.volumeKeys : audio.panKeys).set(frame, value);
  });
}

json setSpeedCommand(const Args& a, Session& s) {
  const Uuid id = a.clip();
  const BrevSequence* seq = s.editor->activeSequence();
  SpeedSettings speed = brevelan::clip(*seq, id)->speed;
  if (a.has("rate")) speed.rate = a.number("rate");
  speed.reverse = a.flag("reverse", speed.reverse);
  speed.freeze = a.flag("freeze", speed.freeze);
  if (a.has("rampTo")) {
    if (a.raw("rampTo").is_null()) speed.rampTo.reset();
    else speed.rampTo = a.number("rampTo");
  }
  if (speed.rate < 0.25 || speed.rate > 4 || (speed.rampTo && (*speed.rampTo < 0.25 || *speed.rampTo > 4)))
    throw ScriptError("A speed must lie between 0.25 and 4.");
  return sequenceEdit<bool>(s, "Speed", [&](BrevSequence& seq) { return setSpeed(seq, id, speed); });
}

const std::vector<Op>& operations() {
  static const std::vector<Op> table{
      {"blade", "clip, at, [linked]", [](const Args& a, Session& s) -> json {
         const Uuid id = a.clip();
         const std::int64_t at = a.integer("at");
         const bool linked = a.linked();
         return sequenceEdit<bool>(s, "Blade", [&](BrevSequence& seq) { return blade(seq, id, at, linked); });
       }},
      {"bladeAll", "at", [](const Args& a, Session& s) -> json {
         const std::int64_t at = a.integer("at");
         return sequenceEdit<std::int64_t>(s, "Blade",
                                           [&](BrevSequence& seq) { return blade(seq, at, unlockedRefs(seq)); });
       }},
      {"rippleTrim", "clip, edge (head|tail), by, [linked]", [](const Args& a, Session& s) -> json {
         const Uuid id = a.clip();
         const TrimEdge edge = a.edge();
         const std::int64_t by = a.integer("by");
         const bool linked = a.linked();
         return sequenceEdit<std::int64_t>(s, "Ripple",
                                           [&](BrevSequence& seq) { return rippleTrim(seq, id, edge, by, linked); });
       }},
      {"roll", "clip, by, [linked]", [](const Args& a, Session& s) -> json {
         const Uuid id = a.clip();
         const std::int64_t by = a.integer("by");
         const bool linked = a.linked();
         return sequenceEdit<std::int64_t>(s, "Roll", [&](BrevSequence& seq) { return roll(seq, id, by, linked); });
       }},
      {"slip", "clip, by, [linked]", [](const Args& a, Session& s) -> json {
         const Uuid id = a.clip();
         const std::int64_t by = a.integer("by");
         const bool linked = a.linked();
         return sequenceEdit<std::int64_t>(s, "Slip", [&](BrevSequence& seq) { return slip(seq, id, by, linked); });
       }},
      {"slide", "clip, by, [linked]", [](const Args& a, Session& s) -> json {
         const Uuid id = a.clip();
         const std::int64_t by = a.integer("by");
         const bool linked = a.linked();
         return sequenceEdit<std::int64_t>(s, "Slide", [&](BrevSequence& seq) { return slide(seq, id, by, linked); });
       }},
      {"trim", "clip, edge (head|tail), by, [linked]", [](const Args& a, Session& s) -> json {
         const Uuid id = a.clip();
         const TrimEdge edge = a.edge();
         const std::int64_t by = a.integer("by");
         const bool linked = a.linked();
         return sequenceEdit<std::int64_t>(s, "Trim",
                                           [&](BrevSequence& seq) { return trim(seq, id, edge, by, linked); });
       }},
      {"setSpeed", "clip, [rate], [rampTo (null clears)], [reverse], [freeze]", setSpeedCommand},
      {"link", "clips", [](const Args& a, Session& s) -> json {
         const auto ids = a.clips();
         return s.editor->editSeq("Link", false, true, [&](BrevSequence& seq) { link(seq, ids); });
       }},
      {"unlink", "clips", [](const Args& a, Session& s) -> json {
         const auto ids = a.clips();
         return s.editor->editSeq("Unlink", false, true, [&](BrevSequence& seq) { unlink(seq, ids); });
       }},
      {"setKey", "clip, param (volume|pan), frame, value", setKey},
      {"set", "clip, path (e.g. grade.exposure), value, [name], [coalesce]", setClipField},
      {"select", "clips", [](const Args& a, Session& s) -> json {
         const auto ids = a.clips();
         s.editor->clearSelection();
         for (const Uuid& id : ids) s.editor->select(id, true);
         return static_cast<std::int64_t>(s.editor->state().selection.size());
       }},
      {"copy", "", [](const Args&, Session& s) -> json {
         s.editor->copySelection();
         return static_cast<std::int64_t>(s.editor->clipboard().size());
       }},
      {"paste", "", [](const Args&, Session& s) -> json { return s.editor->paste(); }},
      {"undo", "", [](const Args&, Session& s) -> json { return s.editor->undo(); }},
      {"redo", "", [](const Args&, Session& s) -> json { return s.editor->redo(); }},
      {"beginDrag", "", [](const Args&, Session& s) -> json {
         s.editor->beginDrag();
         return nullptr;
       }},
      {"drag", "tool (rippleTrim|roll|slip|slide|trim), clip, [edge], by, [linked]: a preview from beginDrag",
       [](const Args& a, Session& s) -> json {
         const std::string tool = a.text("tool");
         const Uuid id = a.clip();
         const std::int64_t by = a.integer("by");
         const bool linked = a.linked();
         const bool needsEdge = tool == "rippleTrim" || tool == "trim";
         const TrimEdge edge = needsEdge ? a.edge() : TrimEdge::tail;
         if (!needsEdge && tool != "roll" && tool != "slip" && tool != "slide")
           throw ScriptError("“tool” must be rippleTrim, roll, slip, slide or trim, not " + curlyQuoted(tool) + ".");
         if (!s.editor->dragging()) throw ScriptError("There is no drag; send beginDrag first.");
         std::int64_t applied = 0;
         s.editor->previewDrag([&](BrevSequence& seq) {
           if (tool == "rippleTrim") applied = rippleTrim(seq, id, edge, by, linked);
           else if (tool == "trim") applied = trim(seq, id, edge, by, linked);
           else if (tool == "roll") applied = roll(seq, id, by, linked);
           else if (tool == "slip") applied = slip(seq, id, by, linked);
           else applied = slide(seq, id, by, linked);
         });
         return applied;
       }},
      {"endDrag", "name", [](const Args& a, Session& s) -> json { return s.editor->endDrag(a.text("name")); }},
      {"cancelDrag", "", [](const Args&, Session& s) -> json {
         s.editor->cancelDrag();
         return nullptr;
       }},
      {"setPlayhead", "frame", [](const Args& a, Session& s) -> json {
         s.editor->setPlayhead(a.integer("frame"));
         return s.editor->state().playhead;
       }},
      {"step", "frames", [](const Args& a, Session& s) -> json {
         s.editor->step(a.integer("frames"));
         return s.editor->state().playhead;
       }},
      {"markIn", "", [](const Args&, Session& s) -> json {
         s.editor->markInPoint();
         return nullptr;
       }},
      {"markOut", "", [](const Args&, Session& s) -> json {
         s.editor->markOutPoint();
         return nullptr;
       }},
      {"clearMarks", "", [](const Args&, Session& s) -> json {
         s.editor->clearMarks();
         return nullptr;
       }},
      {"setLinkedSelection", "on", [](const Args& a, Session& s) -> json {
         s.editor->setLinkedSelection(a.flag("on", true));
         return nullptr;
       }},
      {"setSnapping", "on", [](const Args& a, Session& s) -> json {
         s.editor->setSnapping(a.flag("on", true));
         return nullptr;
       }},
      {"clip", "clip: the clip as stored in the project file", [](const Args& a, Session& s) -> json {
         JsonWriter writer;
         coding::write(writer, *brevelan::clip(*s.editor->activeSequence(), a.clip()));
         return json::parse(writer.take());
       }},
      {"partners", "clip: the names of its linked partners", [](const Args& a, Session& s) -> json {
         json names = json::array();
         for (const Clip& partner : partners(*s.editor->activeSequence(), a.clip())) names.push_back(partner.name);
         return names;
       }},
      {"editPoints", "", [](const Args&, Session& s) -> json { return editPoints(*s.editor->activeSequence()); }},
      {"snap", "frame, within, [exclude (clips)]: the nearest snap point or null", [](const Args& a, Session& s) -> json {
         const BrevSequence& seq = *s.editor->activeSequence();
         const std::vector<Uuid> excluded = a.has("exclude") ? a.clips("exclude") : std::vector<Uuid>{};
         auto snapped = snap(a.integer("frame"), snapPoints(seq, excluded, s.editor->state().playhead),
                             a.integer("within"));
         return snapped ? json(*snapped) : json(nullptr);
       }},
      {"wait", "seconds (advances the script's clock)", [](const Args& a, Session& s) -> json {
         const double seconds = a.number("seconds");
         if (seconds < 0) throw ScriptError("“seconds” must not be negative.");
         s.clock += seconds;
         return nullptr;
       }},
  };
  return table;
}

json runLine(const json& line, Session& session) {
  if (!line.is_object()) throw ScriptError("Each line must be a JSON object with an \"op\".");
  auto op = line.find("op");
  if (op == line.end() || !op->is_string()) throw ScriptError("The line has no \"op\".");
  for (const Op& candidate : operations())
    if (*op == candidate.name) return candidate.run(Args(line, *session.editor), session);
  throw ScriptError("There is no operation " + curlyQuoted(op->get<std::string>()) + " (see brevelan script --help).");
}

}  // namespace

std::string scriptHelp() {
  std::string text =
      "Usage: brevelan script PROJECT [--save OUT]\n\n"
      "Reads one JSON command a line from standard input, for example\n"
      "  {\"op\":\"rippleTrim\",\"clip\":\"B\",\"edge\":\"tail\",\"by\":-20}\n"
      "and prints {\"op\",\"result\",\"status\",\"undo\"} for each. A clip is named by its\n"
      "UUID or its name; \"linked\" defaults to the editor's linked selection (on).\n\nOperations:\n";
  for (const Op& op : operations()) {
    text += "  ";
    text += op.name;
    if (*op.arguments) text += std::string(20 - std::min<std::size_t>(std::string(op.name).size(), 18), ' ') + op.arguments;
    text += "\n";
  }
  return text;
}

int runScript(const std::filesystem::path& project, const std::optional<std::filesystem::path>& saveTo,
              std::istream& in, std::ostream& out, std::ostream& err) {
  auto loaded = ProjectFile::load(project);
  if (!loaded) {
    err << "brevelan: " << loaded.error().message << "\n";
    return 1;
  }
  Session session;
  EditorServices services;
  services.clock = [&session] { return session.clock; };
  session.editor = std::make_unique<EditorModel>(std::move(loaded).value(), std::move(services));

  bool anyError = false;
  std::string text;
  while (std::getline(in, text)) {
    if (text.find_first_not_of(" \t\r") == std::string::npos) continue;
    json reply;
    json line;
    try {
      line = json::parse(text);
      if (line.is_object() && line.contains("op")) reply["op"] = line["op"];
      reply["result"] = runLine(line, session);
      reply["status"] = session.editor->state().status;
      reply["undo"] = session.editor->history().undoSteps().size();
    } catch (const json::parse_error&) {
      reply = json{{"op", nullptr}, {"error", "The line is not valid JSON."}};
      anyError = true;
    } catch (const ScriptError& error) {
      reply.erase("result");
      reply["error"] = error.what();
      if (!reply.contains("op")) reply["op"] = nullptr;
      anyError = true;
    }
    out << reply.dump(-1, ' ', false, json::error_handler_t::replace) << "\n" << std::flush;
  }

  if (saveTo) {
    auto saved = ProjectFile::save(session.editor->project(), *saveTo);
    if (!saved) {
      err << "brevelan: " << saved.error().message << "\n";
      return 1;
    }
  }
  return anyError ? 1 : 0;
}

}  // namespace brevelan
