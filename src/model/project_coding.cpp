#include "model/project_coding.h"

#include <string>

namespace brevelan::coding {
namespace {

using nlohmann::json;
using Kind = DecodeError::Kind;

// ---- encoding ---------------------------------------------------------------

// Builds one JSON object by moving members in. (Braced initialiser lists would
// deep-copy every nested object once per level, which dominates saving.)
class Members {
 public:
  Members& add(const char* key, json value) {
    object_.emplace(key, std::move(value));
    return *this;
  }
  template <class T>
  Members& addOptional(const char* key, const std::optional<T>& value) {
    if (value) object_.emplace(key, *value);
    return *this;
  }
  json done() { return json(std::move(object_)); }

 private:
  json::object_t object_;
};

template <class E>
json enumText(E value) {
  return std::string(text(value));
}

template <class List, class Encode>
json array(const List& items, Encode encodeItem) {
  json::array_t out;
  out.reserve(items.size());
  for (const auto& item : items) out.push_back(encodeItem(item));
  return json(std::move(out));
}

json encodeRGBA(const RGBA& c) { return Members().add("r", c.r).add("g", c.g).add("b", c.b).add("a", c.a).done(); }

json encodeKeys(const KeyTrack& track) {
  return Members()
      .add("keys", array(track.keys,
                         [](const Keyframe& k) { return Members().add("frame", k.frame).add("value", k.value).done(); }))
      .done();
}

json encodeCurve(const ToneCurve& curve) {
  return Members()
      .add("points",
           array(curve.points, [](const CurvePoint& p) { return Members().add("x", p.x).add("y", p.y).done(); }))
      .done();
}

json encodeWheel(const ColorWheel& w) { return Members().add("x", w.x).add("y", w.y).add("luma", w.luma).done(); }

json encodeTitle(const TitleSpec& t) {
  return Members()
      .add("style", enumText(t.style))
      .add("text", t.text)
      .add("subtitle", t.subtitle)
      .add("fontName", t.fontName)
      .add("size", t.size)
      .add("color", encodeRGBA(t.color))
      .add("barColor", encodeRGBA(t.barColor))
      .add("showBar", t.showBar)
      .add("shadow", t.shadow)
      .add("fadeFrames", t.fadeFrames)
      .done();
}

json encodeSource(const ClipSource& source) {
  json payload;
  if (auto* id = source.mediaID()) payload = id->str();
  else if (auto* title = source.titleSpec()) payload = encodeTitle(*title);
  else if (auto* color = source.color()) payload = encodeRGBA(*color);
  else if (auto* nested = source.nestedID()) payload = nested->str();
  return Members()
      .add(ClipSource::caseName(source.kind()).data(), Members().add("_0", std::move(payload)).done())
      .done();
}

json encodeTransform(const Transform& t) {
  const KenBurns& k = t.kenBurns;
  return Members()
      .add("x", t.x)
      .add("y", t.y)
      .add("scale", t.scale)
      .add("rotation", t.rotation)
      .add("opacity", t.opacity)
      .add("cropL", t.cropL)
      .add("cropR", t.cropR)
      .add("cropT", t.cropT)
      .add("cropB", t.cropB)
      .add("fit", enumText(t.fit))
      .add("flipH", t.flipH)
      .add("kenBurns", Members()
                           .add("startScale", k.startScale)
                           .add("endScale", k.endScale)
                           .add("startX", k.startX)
                           .add("startY", k.startY)
                           .add("endX", k.endX)
                           .add("endY", k.endY)
                           .add("ease", k.ease)
                           .done())
      .done();
}

json encodeSpeed(const SpeedSettings& s) {
  return Members()
      .add("rate", s.rate)
      .add("reverse", s.reverse)
      .add("freeze", s.freeze)
      .addOptional("rampTo", s.rampTo)
      .done();
}

json encodeAudio(const AudioFX& a) {
  return Members()
      .add("gainDB", a.gainDB)
      .add("pan", a.pan)
      .add("volumeKeys", encodeKeys(a.volumeKeys))
      .add("panKeys", encodeKeys(a.panKeys))
      .add("fadeIn", a.fadeIn)
      .add("fadeOut", a.fadeOut)
      .add("eqOn", a.eqOn)
      .add("eq", a.eq)
      .add("gateOn", a.gateOn)
      .add("gateThresholdDB", a.gateThresholdDB)
      .add("compOn", a.compOn)
      .add("compThresholdDB", a.compThresholdDB)
      .add("compRatio", a.compRatio)
      .add("compMakeupDB", a.compMakeupDB)
      .add("muted", a.muted)
      .done();
}

json encodeGrade(const ColorGrade& g) {
  return Members()
      .add("exposure", g.exposure)
      .add("contrast", g.contrast)
      .add("saturation", g.saturation)
      .add("temperature", g.temperature)
      .add("tint", g.tint)
      .add("lift", encodeWheel(g.lift))
      .add("gamma", encodeWheel(g.gamma))
      .add("gain", encodeWheel(g.gain))
      .add("master", encodeCurve(g.master))
      .add("red", encodeCurve(g.red))
      .add("green", encodeCurve(g.green))
      .add("blue", encodeCurve(g.blue))
      .addOptional("lutPath", g.lutPath)
      .add("lutAmount", g.lutAmount)
      .add("enabled", g.enabled)
      .done();
}

json encodeTransition(const Transition& t) {
  return Members()
      .add("kind", enumText(t.kind))
      .add("duration", t.duration)
      .add("color", encodeRGBA(t.color))
      .add("direction", enumText(t.direction))
      .done();
}

json encodeClip(const Clip& c) {
  Members out;
  out.add("id", c.id.str())
      .add("source", encodeSource(c.source))
      .add("name", c.name)
      .add("start", c.start)
      .add("duration", c.duration)
      .add("sourceIn", c.sourceIn)
      .addOptional("sourceLimit", c.sourceLimit)
      .add("enabled", c.enabled)
      .add("speed", encodeSpeed(c.speed))
      .add("transform", encodeTransform(c.transform))
      .add("grade", encodeGrade(c.grade))
      .add("audio", encodeAudio(c.audio))
      .add("label", c.label);
  if (c.linkID) out.add("linkID", c.linkID->str());
  if (c.transitionIn) out.add("transitionIn", encodeTransition(*c.transitionIn));
  return out.done();
}

json encodeTrack(const Track& t) {
  return Members()
      .add("id", t.id.str())
      .add("kind", enumText(t.kind))
      .add("name", t.name)
      .add("clips", array(t.clips, encodeClip))
      .add("muted", t.muted)
      .add("solo", t.solo)
      .add("locked", t.locked)
      .add("volumeDB", t.volumeDB)
      .add("pan", t.pan)
      .done();
}

json encodeMarker(const Marker& m) {
  return Members().add("id", m.id.str()).add("frame", m.frame).add("name", m.name).add("color", m.color).done();
}

json encodeCaption(const Caption& c) {
  return Members().add("id", c.id.str()).add("start", c.start).add("end", c.end).add("text", c.text).done();
}

json encodeSequence(const BrevSequence& s) {
  const CaptionStyle& cs = s.captionStyle;
  return Members()
      .add("id", s.id.str())
      .add("name", s.name)
      .add("width", s.width)
      .add("height", s.height)
      .add("rate", Members().add("num", s.rate.num).add("den", s.rate.den).done())
      .add("sampleRate", s.sampleRate)
      .add("video", array(s.video, encodeTrack))
      .add("audio", array(s.audio, encodeTrack))
      .add("markers", array(s.markers, encodeMarker))
      .add("captions", array(s.captions, encodeCaption))
      .add("captionStyle", Members()
                               .add("fontName", cs.fontName)
                               .add("size", cs.size)
                               .add("burnIn", cs.burnIn)
                               .add("box", cs.box)
                               .add("bottomMargin", cs.bottomMargin)
                               .done())
      .add("masterDB", s.masterDB)
      .done();
}

json encodeMedia(const MediaItem& m) {
  return Members()
      .add("id", m.id.str())
      .add("name", m.name)
      .add("kind", enumText(m.kind))
      .add("path", m.path)
      .addOptional("relativePath", m.relativePath)
      .add("duration", m.duration)
      .add("width", m.width)
      .add("height", m.height)
      .add("nominalFPS", m.nominalFPS)
      .add("hasVideo", m.hasVideo)
      .add("hasAudio", m.hasAudio)
      .addOptional("proxyPath", m.proxyPath)
      .addOptional("reversedPath", m.reversedPath)
      .add("bin", m.bin)
      .done();
}

// ---- decoding ---------------------------------------------------------------

RGBA readRGBA(const JsonReader& r) {
  return {r["r"].number(), r["g"].number(), r["b"].number(), r["a"].number()};
}

KeyTrack readKeys(const JsonReader& r) {
  return {r["keys"].list([](const JsonReader& k) { return Keyframe{k["frame"].integer(), k["value"].number()}; })};
}

ToneCurve readCurve(const JsonReader& r) {
  return {r["points"].list([](const JsonReader& p) { return CurvePoint{p["x"].number(), p["y"].number()}; })};
}

ColorWheel readWheel(const JsonReader& r) { return {r["x"].number(), r["y"].number(), r["luma"].number()}; }

TitleSpec readTitle(const JsonReader& r) {
  TitleSpec t;
  t.style = r["style"].enumeration<TitleStyle>();
  t.text = r["text"].string();
  t.subtitle = r["subtitle"].string();
  t.fontName = r["fontName"].string();
  t.size = r["size"].number();
  t.color = readRGBA(r["color"]);
  t.barColor = readRGBA(r["barColor"]);
  t.showBar = r["showBar"].boolean();
  t.shadow = r["shadow"].boolean();
  t.fadeFrames = r["fadeFrames"].integer();
  return t;
}

ClipSource readSource(const JsonReader& r) {
  const auto& members = r.object();
  if (members.size() != 1)
    r.fail(Kind::badValue, "a clip source must name exactly one of media, title, color or nested, not " +
                               std::to_string(members.size()));
  const std::string& name = members.begin()->first;
  const JsonReader payload = r[name]["_0"];
  if (name == "media") return ClipSource::media(payload.uuid());
  if (name == "title") return ClipSource::title(readTitle(payload));
  if (name == "color") return ClipSource::color(readRGBA(payload));
  if (name == "nested") return ClipSource::nested(payload.uuid());
  r.fail(Kind::badValue, "“" + name + "” is not a known clip source");
}

Transform readTransform(const JsonReader& r) {
  Transform t;
  t.x = r["x"].number();
  t.y = r["y"].number();
  t.scale = r["scale"].number();
  t.rotation = r["rotation"].number();
  t.opacity = r["opacity"].number();
  t.cropL = r["cropL"].number();
  t.cropR = r["cropR"].number();
  t.cropT = r["cropT"].number();
  t.cropB = r["cropB"].number();
  t.fit = r["fit"].enumeration<FitMode>();
  const JsonReader k = r["kenBurns"];
  t.kenBurns = {k["startScale"].number(), k["endScale"].number(), k["startX"].number(), k["startY"].number(),
                k["endX"].number(),       k["endY"].number(),     k["ease"].boolean()};
  t.flipH = r["flipH"].boolean();
  return t;
}

SpeedSettings readSpeed(const JsonReader& r) {
  SpeedSettings s;
  s.rate = r["rate"].number();
  s.reverse = r["reverse"].boolean();
  s.freeze = r["freeze"].boolean();
  if (auto ramp = r.optional("rampTo")) s.rampTo = ramp->number();
  return s;
}

AudioFX readAudio(const JsonReader& r) {
  AudioFX a;
  a.gainDB = r["gainDB"].number();
  a.pan = r["pan"].number();
  a.volumeKeys = readKeys(r["volumeKeys"]);
  a.panKeys = readKeys(r["panKeys"]);
  a.fadeIn = r["fadeIn"].integer();
  a.fadeOut = r["fadeOut"].integer();
  a.eqOn = r["eqOn"].boolean();
  a.eq = r["eq"].list([](const JsonReader& v) { return v.number(); });
  a.gateOn = r["gateOn"].boolean();
  a.gateThresholdDB = r["gateThresholdDB"].number();
  a.compOn = r["compOn"].boolean();
  a.compThresholdDB = r["compThresholdDB"].number();
  a.compRatio = r["compRatio"].number();
  a.compMakeupDB = r["compMakeupDB"].number();
  a.muted = r["muted"].boolean();
  return a;
}

ColorGrade readGrade(const JsonReader& r) {
  ColorGrade g;
  g.exposure = r["exposure"].number();
  g.contrast = r["contrast"].number();
  g.saturation = r["saturation"].number();
  g.temperature = r["temperature"].number();
  g.tint = r["tint"].number();
  g.lift = readWheel(r["lift"]);
  g.gamma = readWheel(r["gamma"]);
  g.gain = readWheel(r["gain"]);
  g.master = readCurve(r["master"]);
  g.red = readCurve(r["red"]);
  g.green = readCurve(r["green"]);
  g.blue = readCurve(r["blue"]);
  if (auto lut = r.optional("lutPath")) g.lutPath = lut->string();
  g.lutAmount = r["lutAmount"].number();
  g.enabled = r["enabled"].boolean();
  return g;
}

Transition readTransition(const JsonReader& r) {
  return {r["kind"].enumeration<TransitionKind>(), r["duration"].integer(), readRGBA(r["color"]),
          r["direction"].enumeration<Direction>()};
}

Clip readClip(const JsonReader& r) {
  Clip c;
  c.id = r["id"].uuid();
  c.source = readSource(r["source"]);
  c.name = r["name"].string();
  c.start = r["start"].integer();
  c.duration = r["duration"].integer();
  c.sourceIn = r["sourceIn"].integer();
  if (auto limit = r.optional("sourceLimit")) c.sourceLimit = limit->integer();
  if (auto link = r.optional("linkID")) c.linkID = link->uuid();
  c.enabled = r["enabled"].boolean();
  c.speed = readSpeed(r["speed"]);
  c.transform = readTransform(r["transform"]);
  c.grade = readGrade(r["grade"]);
  c.audio = readAudio(r["audio"]);
  if (auto transition = r.optional("transitionIn")) c.transitionIn = readTransition(*transition);
  c.label = r["label"].integer();
  return c;
}

Track readTrack(const JsonReader& r) {
  Track t;
  t.id = r["id"].uuid();
  t.kind = r["kind"].enumeration<TrackKind>();
  t.name = r["name"].string();
  t.clips = SharedList<Clip>(r["clips"].list(readClip));
  t.muted = r["muted"].boolean();
  t.solo = r["solo"].boolean();
  t.locked = r["locked"].boolean();
  t.volumeDB = r["volumeDB"].number();
  t.pan = r["pan"].number();
  return t;
}

BrevSequence readSequence(const JsonReader& r) {
  BrevSequence s;
  s.id = r["id"].uuid();
  s.name = r["name"].string();
  s.width = r["width"].integer();
  s.height = r["height"].integer();
  const JsonReader rate = r["rate"];
  s.rate = FrameRate{rate["num"].integer(), rate["den"].integer()};
  if (s.rate.num <= 0 || s.rate.den <= 0)
    rate.fail(Kind::badValue, "the frame rate " + std::to_string(s.rate.num) + "/" + std::to_string(s.rate.den) +
                                  " is not a positive rate");
  s.sampleRate = r["sampleRate"].integer();
  s.video = SharedList<Track>(r["video"].list(readTrack));
  s.audio = SharedList<Track>(r["audio"].list(readTrack));
  s.markers = SharedList<Marker>(r["markers"].list([](const JsonReader& m) {
    return Marker{m["id"].uuid(), m["frame"].integer(), m["name"].string(), m["color"].integer()};
  }));
  s.captions = SharedList<Caption>(r["captions"].list([](const JsonReader& c) {
    return Caption{c["id"].uuid(), c["start"].integer(), c["end"].integer(), c["text"].string()};
  }));
  const JsonReader cs = r["captionStyle"];
  s.captionStyle = {cs["fontName"].string(), cs["size"].number(), cs["burnIn"].boolean(), cs["box"].boolean(),
                    cs["bottomMargin"].number()};
  s.masterDB = r["masterDB"].number();
  return s;
}

MediaItem readMedia(const JsonReader& r) {
  MediaItem m;
  m.id = r["id"].uuid();
  m.name = r["name"].string();
  m.kind = r["kind"].enumeration<MediaKind>();
  m.path = r["path"].string();
  if (auto rel = r.optional("relativePath")) m.relativePath = rel->string();
  m.duration = r["duration"].number();
  m.width = r["width"].integer();
  m.height = r["height"].integer();
  m.nominalFPS = r["nominalFPS"].number();
  m.hasVideo = r["hasVideo"].boolean();
  m.hasAudio = r["hasAudio"].boolean();
  if (auto proxy = r.optional("proxyPath")) m.proxyPath = proxy->string();
  if (auto reversed = r.optional("reversedPath")) m.reversedPath = reversed->string();
  m.bin = r["bin"].string();
  return m;
}

}  // namespace

json encode(const Date& date) { return date.secondsSince2001; }

Date readDate(const JsonReader& reader) { return Date{reader.number()}; }

json encode(const Project& p) {
  return Members()
      .add("format", p.format)
      .add("id", p.id.str())
      .add("name", p.name)
      .add("media", array(p.media, encodeMedia))
      .add("sequences", array(p.sequences, encodeSequence))
      .add("activeSequenceID", p.activeSequenceID.str())
      .add("bins", p.bins)
      .add("created", encode(p.created))
      .done();
}

Project readProject(const JsonReader& r) {
  Project p;
  p.format = r["format"].string();
  p.id = r["id"].uuid();
  p.name = r["name"].string();
  p.media = SharedList<MediaItem>(r["media"].list(readMedia));
  p.sequences = SharedList<BrevSequence>(r["sequences"].list(readSequence));
  p.activeSequenceID = r["activeSequenceID"].uuid();
  p.bins = r["bins"].list([](const JsonReader& b) { return b.string(); });
  p.created = readDate(r["created"]);
  return p;
}

Expected<Project, DecodeError> decodeProject(const json& value) {
  try {
    return readProject(JsonReader(value));
  } catch (const JsonReader::DecodeFailure& failure) {
    return Unexpected{failure.error};
  }
}

}  // namespace brevelan::coding
