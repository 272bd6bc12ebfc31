#include "app/script_runner.h"

#include <algorithm>
#include <functional>
#include <istream>
#include <ostream>
#include <set>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "edit/editor_model.h"
#include "edit/placement_edits.h"
#include "edit/sequence_queries.h"
#include "edit/snapping.h"
#include "edit/trim_tools.h"
#include "model/json_writer.h"
#include "model/project_coding.h"
#include "model/project_file.h"
#include "sound/clip_beats.h"

namespace brevelan {
namespace {

using nlohmann::json;

// A refused command; the text is the one-line error printed for it. A
// refusal the editor raised as an alert also carries the alert's title.
struct ScriptError : std::runtime_error {
  explicit ScriptError(const std::string& message, std::string alertTitle = {})
      : std::runtime_error(message), alert(std::move(alertTitle)) {}
  std::string alert;
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
  // A frame that may be left out or null.
  std::optional<std::int64_t> optionalFrame(const char* key) const {
    if (!has(key) || raw(key).is_null()) return std::nullopt;
    return integer(key);
  }

  // A media item of the project named by its UUID text or its name.
  Uuid media(const char* key = "media") const {
    const std::string name = text(key);
    const auto id = Uuid::parse(name);
    for (const MediaItem& item : editor_.project().media)
      if ((id && item.id == *id) || item.name == name) return item.id;
    throw ScriptError("There is no media item " + curlyQuoted(name) + " in the project.");
  }
  // A sequence of the project named by its UUID text or its name.
  Uuid sequence(const char* key = "sequence") const {
    const std::string name = text(key);
    const auto id = Uuid::parse(name);
    for (const BrevSequence& seq : editor_.project().sequences)
      if ((id && seq.id == *id) || seq.name == name) return seq.id;
    throw ScriptError("There is no sequence " + curlyQuoted(name) + " in the project.");
  }
  template <class E>
  E choice(const char* key, E fallback) const {
    if (!has(key)) return fallback;
    const std::string name = text(key);
    if (const auto value = fromText<E>(name)) return *value;
    throw ScriptError(curlyQuoted(name) + " is not a " + std::string(EnumTexts<E>::noun) + ".");
  }

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

// Runs an editor command and returns whether the project changed. An alert
// the command raises is its refusal: it becomes the error, and is dismissed.
json command(Session& s, const std::function<bool()>& run) {
  const std::optional<AlertInfo> before = s.editor->state().alert;
  const bool changed = run();
  const std::optional<AlertInfo> after = s.editor->state().alert;
  if (after && after != before) {
    s.editor->setAlert(std::nullopt);
    throw ScriptError(after->message, after->title);
  }
  return changed;
}

// The selection becomes exactly these clips (no partners added).
void selectExactly(Session& s, const std::vector<Uuid>& ids) { s.editor->setSelection({ids.begin(), ids.end()}); }

// The selection becomes these clips, with partners when linked selection is on.
void selectLinked(Session& s, const std::vector<Uuid>& ids) {
  s.editor->clearSelection();
  for (const Uuid& id : ids) s.editor->select(id, true);
}

json deleteClips(const Args& a, Session& s, bool ripple) {
  if (!a.has("clips")) return ripple ? s.editor->extractMarkedRange() : s.editor->liftMarkedRange();
  const auto ids = a.clips();
  selectExactly(s, ids);
  return s.editor->deleteSelection(ripple);
}

json pasteAttributesCommand(const Args& a, Session& s) {
  if (a.has("from")) {
    selectExactly(s, {a.clip("from")});
    s.editor->copySelection();
  }
  if (a.has("what")) {
    const std::int64_t what = a.integer("what");
    if (what < 0 || what > PasteGroups::all) throw ScriptError("“what” must be a sum of 1, 2, 4, 8 and 16.");
    s.editor->setPasteWhat(static_cast<std::uint32_t>(what));
  }
  if (a.has("to")) selectExactly(s, a.clips("to"));
  return command(s, [&] { return s.editor->pasteAttributes(); });
}

json addTransitionCommand(const Args& a, Session& s) {
  const Uuid id = a.clip();
  Transition transition;
  transition.kind = a.choice("kind", TransitionKind::crossfade);
  transition.direction = a.choice("direction", Direction::left);
  if (a.has("duration")) transition.duration = a.integer("duration");
  if (transition.duration < 1) throw ScriptError("“duration” must be at least 1 frame.");
  return s.editor->addTransition(id, transition);
}

json addColorClipCommand(const Args& a, Session& s) {
  RGBA color = RGBA::black();
  if (a.has("color")) {
    const json& v = a.raw("color");
    if (!v.is_array() || v.size() < 3 || v.size() > 4 ||
        !std::all_of(v.begin(), v.end(), [](const json& c) { return c.is_number(); }))
      throw ScriptError("“color” must be a list of three or four numbers from 0 to 1.");
    color = {v[0].get<double>(), v[1].get<double>(), v[2].get<double>(), v.size() == 4 ? v[3].get<double>() : 1.0};
  }
  return s.editor->addColorClip(color);
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
  return param == "volume" ? s.editor->addVolumeKey(id, frame, value) : s.editor->addPanKey(id, frame, value);
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
  selectExactly(s, {id});
  return s.editor->setSpeed(speed.rate, speed.reverse, speed.freeze, speed.rampTo);
}

// The five trim tools with their edit names.
struct TrimTool {
  const char* op;
  const char* editName;
  bool needsEdge;
};
constexpr TrimTool kTrimTools[] = {{"rippleTrim", "Ripple", true},
                                   {"roll", "Roll", false},
                                   {"slip", "Slip", false},
                                   {"slide", "Slide", false},
                                   {"trim", "Trim", true}};

const TrimTool& trimTool(const std::string& name) {
  for (const TrimTool& tool : kTrimTools)
    if (name == tool.op) return tool;
  throw ScriptError("“tool” must be rippleTrim, roll, slip, slide or trim, not " + curlyQuoted(name) + ".");
}

struct TrimRequest {
  Uuid clip;
  TrimEdge edge = TrimEdge::tail;
  std::int64_t by = 0;
  bool linked = true;
};

TrimRequest trimRequest(const Args& a, const TrimTool& tool) {
  TrimRequest request;
  request.clip = a.clip();
  if (tool.needsEdge) request.edge = a.edge();
  request.by = a.integer("by");
  request.linked = a.linked();
  return request;
}

std::int64_t applyTrim(const TrimTool& tool, BrevSequence& seq, const TrimRequest& r) {
  const std::string_view op = tool.op;
  if (op == "rippleTrim") return rippleTrim(seq, r.clip, r.edge, r.by, r.linked);
  if (op == "trim") return trim(seq, r.clip, r.edge, r.by, r.linked);
  if (op == "roll") return roll(seq, r.clip, r.by, r.linked);
  if (op == "slip") return slip(seq, r.clip, r.by, r.linked);
  return slide(seq, r.clip, r.by, r.linked);
}

std::vector<Op> makeOperations() {
  std::vector<Op> table{
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
      {"setSpeed", "clip, [rate], [rampTo (null clears)], [reverse], [freeze]", setSpeedCommand},
      {"link", "clips", [](const Args& a, Session& s) -> json {
         selectExactly(s, a.clips());
         return s.editor->linkSelection();
       }},
      {"unlink", "clips", [](const Args& a, Session& s) -> json {
         selectExactly(s, a.clips());
         return s.editor->unlinkSelection();
       }},
      {"setSourceMarks", "media, [in], [out]: loads the Source viewer", [](const Args& a, Session& s) -> json {
         const Uuid media = a.media();
         const auto in = a.optionalFrame("in");
         const auto out = a.optionalFrame("out");
         s.editor->setSourceMediaID(media);
         s.editor->setSourceIn(in);
         s.editor->setSourceOut(out);
         return nullptr;
       }},
      {"setTargets", "[video], [audio]: target track indexes (0 is V1, A1)", [](const Args& a, Session& s) -> json {
         if (a.has("video")) s.editor->setTargetVideo(a.integer("video"));
         if (a.has("audio")) s.editor->setTargetAudio(a.integer("audio"));
         return nullptr;
       }},
      {"insertEdit", "", [](const Args&, Session& s) -> json { return command(s, [&] { return s.editor->insertEdit(); }); }},
      {"overwriteEdit", "",
       [](const Args&, Session& s) -> json { return command(s, [&] { return s.editor->overwriteEdit(); }); }},
      {"appendEdit", "", [](const Args&, Session& s) -> json { return command(s, [&] { return s.editor->appendEdit(); }); }},
      {"lift", "[clips]: the clips, or without them the marked range",
       [](const Args& a, Session& s) -> json { return deleteClips(a, s, false); }},
      {"rippleDelete", "[clips]: the clips, or without them the marked range",
       [](const Args& a, Session& s) -> json { return deleteClips(a, s, true); }},
      {"extract", "the marked range", [](const Args&, Session& s) -> json { return s.editor->extractMarkedRange(); }},
      {"closeGap", "[at]: moves the playhead there first", [](const Args& a, Session& s) -> json {
         if (a.has("at")) s.editor->setPlayhead(a.integer("at"));
         return s.editor->closeGapAtPlayhead();
       }},
      {"move", "clips, by, [trackOffset], [linked]", [](const Args& a, Session& s) -> json {
         const auto ids = a.clips();
         const std::int64_t by = a.integer("by");
         const std::int64_t offset = a.has("trackOffset") ? a.integer("trackOffset") : 0;
         const bool linked = a.linked();
         return sequenceEdit<bool>(s, "Move", [&](BrevSequence& seq) { return move(seq, ids, by, offset, linked); });
       }},
      {"splitEdit", "clip, [jCut], [frames]", [](const Args& a, Session& s) -> json {
         const Uuid id = a.clip();
         const bool jCut = a.flag("jCut", true);
         const std::int64_t frames = a.has("frames") ? a.integer("frames") : kSplitEditFrames;
         selectExactly(s, {id});
         return command(s, [&] { return s.editor->splitEdit(jCut, frames); });
       }},
      {"nest", "clips: the new sequence's name, or false", [](const Args& a, Session& s) -> json {
         selectLinked(s, a.clips());
         if (!s.editor->nestSelection()) return false;
         return s.editor->project().sequences.back().name;
       }},
      {"nestIn", "sequence, [at]", [](const Args& a, Session& s) -> json {
         const Uuid id = a.sequence();
         if (a.has("at")) s.editor->setPlayhead(a.integer("at"));
         return command(s, [&] { return s.editor->nestIn(id); });
       }},
      {"pasteAttributes", "[from], [to (clips)], [what (1 place, 2 grade, 4 sound, 8 speed, 16 transition)]",
       pasteAttributesCommand},
      {"addTransition", "clip, [kind], [duration], [direction]", addTransitionCommand},
      {"addMarker", "[frame], [name]", [](const Args& a, Session& s) -> json {
         const std::int64_t frame = a.has("frame") ? a.integer("frame") : s.editor->state().playhead;
         return s.editor->addMarker(frame, a.has("name") ? a.text("name") : std::string());
       }},
      {"markBeats", "[clip]: a marker on every beat of the sound clip (or the selected one)",
       [](const Args& a, Session& s) -> json {
         return command(s, [&] { return s.editor->markBeats(a.has("clip") ? std::optional(a.clip()) : std::nullopt); });
       }},
      {"addTrack", "kind (video|audio)", [](const Args& a, Session& s) -> json {
         const auto kind = fromText<TrackKind>(a.text("kind"));
         if (!kind) throw ScriptError("“kind” must be \"video\" or \"audio\".");
         return s.editor->addTrack(*kind);
       }},
      {"addColorClip", "[color ([r, g, b, a])]", addColorClipCommand},
      {"addTitle", "[style]", [](const Args& a, Session& s) -> json {
         return s.editor->addTitle(a.choice("style", TitleStyle::lowerThird));
       }},
      {"bladeAtPlayhead", "", [](const Args&, Session& s) -> json { return s.editor->bladeAtPlayhead(); }},
      {"bladeAtMarkers", "", [](const Args&, Session& s) -> json { return s.editor->bladeAtMarkers(); }},
      {"delete", "[ripple]: the selection, or the marked range", [](const Args& a, Session& s) -> json {
         return s.editor->deleteSelection(a.flag("ripple", false));
       }},
      {"freezeFrame", "", [](const Args&, Session& s) -> json { return s.editor->freezeFrame(); }},
      {"gotoEdit", "[forward]", [](const Args& a, Session& s) -> json {
         s.editor->gotoEdit(a.flag("forward", true));
         return s.editor->state().playhead;
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
         const TrimTool& tool = trimTool(a.text("tool"));
         const TrimRequest request = trimRequest(a, tool);
         if (!s.editor->dragging()) throw ScriptError("There is no drag; send beginDrag first.");
         std::int64_t applied = 0;
         s.editor->previewDrag([&](BrevSequence& seq) { applied = applyTrim(tool, seq, request); });
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
      {"markIn", "[frame]: else at the playhead", [](const Args& a, Session& s) -> json {
         if (a.has("frame")) s.editor->setMarkIn(a.integer("frame"));
         else s.editor->markInPoint();
         return s.editor->state().markIn ? json(*s.editor->state().markIn) : json(nullptr);
       }},
      {"markOut", "[frame]: else at the playhead", [](const Args& a, Session& s) -> json {
         if (a.has("frame")) s.editor->setMarkOut(a.integer("frame"));
         else s.editor->markOutPoint();
         return s.editor->state().markOut ? json(*s.editor->state().markOut) : json(nullptr);
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
  // The trim tools, listed after the blades, share one reading of their
  // arguments with drag previews.
  auto at = std::find_if(table.begin(), table.end(), [](const Op& op) { return std::string_view(op.name) == "bladeAll"; }) + 1;
  for (const TrimTool& tool : kTrimTools)
    at = 1 + table.insert(at, {tool.op, tool.needsEdge ? "clip, edge (head|tail), by, [linked]" : "clip, by, [linked]",
                     [&tool](const Args& a, Session& s) -> json {
                       const TrimRequest request = trimRequest(a, tool);
                       return sequenceEdit<std::int64_t>(
                           s, tool.editName, [&](BrevSequence& seq) { return applyTrim(tool, seq, request); });
                     }});
  return table;
}

const std::vector<Op>& operations() {
  static const std::vector<Op> table = makeOperations();
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
  services.findBeats = [](const Project& project, const BrevSequence& seq, const Uuid& clip) {
    return clipBeats(Mixer(project), seq, clip);
  };
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
      if (!error.alert.empty()) reply["alert"] = error.alert;
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
