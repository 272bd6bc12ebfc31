#include "model/project_coding.h"

#include <string>

namespace brevelan::coding {
namespace {

using nlohmann::json;
using Kind = DecodeError::Kind;

// ---- encoding ---------------------------------------------------------------
// Members are written in sorted key order (byte order: upper case first).

template <class E>
void writeEnum(JsonWriter& w, const char* key, E value) {
  w.key(key).value(text(value));
}

template <class List, class Write>
void writeArray(JsonWriter& w, const char* key, const List& items, Write writeItem) {
  w.key(key).beginArray();
  for (const auto& item : items) writeItem(w, item);
  w.endArray();
}

void writeRGBA(JsonWriter& w, const RGBA& c) {
  w.beginObject();
  w.key("a").value(c.a);
  w.key("b").value(c.b);
  w.key("g").value(c.g);
  w.key("r").value(c.r);
  w.endObject();
}

void writeKeys(JsonWriter& w, const KeyTrack& track) {
  w.beginObject();
  writeArray(w, "keys", track.keys, [](JsonWriter& w, const Keyframe& k) {
    w.beginObject();
    w.key("frame").value(k.frame);
    w.key("value").value(k.value);
    w.endObject();
  });
  w.endObject();
}

void writeCurve(JsonWriter& w, const ToneCurve& curve) {
  w.beginObject();
  writeArray(w, "points", curve.points, [](JsonWriter& w, const CurvePoint& p) {
    w.beginObject();
    w.key("x").value(p.x);
    w.key("y").value(p.y);
    w.endObject();
  });
  w.endObject();
}

void writeWheel(JsonWriter& w, const ColorWheel& wheel) {
  w.beginObject();
  w.key("luma").value(wheel.luma);
  w.key("x").value(wheel.x);
  w.key("y").value(wheel.y);
  w.endObject();
}

void writeTitle(JsonWriter& w, const TitleSpec& t) {
  w.beginObject();
  w.key("barColor");
  writeRGBA(w, t.barColor);
  w.key("color");
  writeRGBA(w, t.color);
  w.key("fadeFrames").value(t.fadeFrames);
  w.key("fontName").value(t.fontName);
  w.key("shadow").value(t.shadow);
  w.key("showBar").value(t.showBar);
  w.key("size").value(t.size);
  writeEnum(w, "style", t.style);
  w.key("subtitle").value(t.subtitle);
  w.key("text").value(t.text);
  w.endObject();
}

void writeSource(JsonWriter& w, const ClipSource& source) {
  w.beginObject();
  w.key(ClipSource::caseName(source.kind())).beginObject();
  w.key("_0");
  if (auto* id = source.mediaID()) w.value(id->str());
  else if (auto* title = source.titleSpec()) writeTitle(w, *title);
  else if (auto* color = source.color()) writeRGBA(w, *color);
  else if (auto* nested = source.nestedID()) w.value(nested->str());
  w.endObject();
  w.endObject();
}

void writeTransform(JsonWriter& w, const Transform& t) {
  const KenBurns& k = t.kenBurns;
  w.beginObject();
  w.key("cropB").value(t.cropB);
  w.key("cropL").value(t.cropL);
  w.key("cropR").value(t.cropR);
  w.key("cropT").value(t.cropT);
  writeEnum(w, "fit", t.fit);
  w.key("flipH").value(t.flipH);
  w.key("kenBurns").beginObject();
  w.key("ease").value(k.ease);
  w.key("endScale").value(k.endScale);
  w.key("endX").value(k.endX);
  w.key("endY").value(k.endY);
  w.key("startScale").value(k.startScale);
  w.key("startX").value(k.startX);
  w.key("startY").value(k.startY);
  w.endObject();
  w.key("opacity").value(t.opacity);
  w.key("rotation").value(t.rotation);
  w.key("scale").value(t.scale);
  w.key("x").value(t.x);
  w.key("y").value(t.y);
  w.endObject();
}

void writeSpeed(JsonWriter& w, const SpeedSettings& s) {
  w.beginObject();
  w.key("freeze").value(s.freeze);
  if (s.rampTo) w.key("rampTo").value(*s.rampTo);
  w.key("rate").value(s.rate);
  w.key("reverse").value(s.reverse);
  w.endObject();
}

void writeAudio(JsonWriter& w, const AudioFX& a) {
  w.beginObject();
  w.key("compMakeupDB").value(a.compMakeupDB);
  w.key("compOn").value(a.compOn);
  w.key("compRatio").value(a.compRatio);
  w.key("compThresholdDB").value(a.compThresholdDB);
  writeArray(w, "eq", a.eq, [](JsonWriter& w, double band) { w.value(band); });
  w.key("eqOn").value(a.eqOn);
  w.key("fadeIn").value(a.fadeIn);
  w.key("fadeOut").value(a.fadeOut);
  w.key("gainDB").value(a.gainDB);
  w.key("gateOn").value(a.gateOn);
  w.key("gateThresholdDB").value(a.gateThresholdDB);
  w.key("muted").value(a.muted);
  w.key("pan").value(a.pan);
  w.key("panKeys");
  writeKeys(w, a.panKeys);
  w.key("volumeKeys");
  writeKeys(w, a.volumeKeys);
  w.endObject();
}

void writeGrade(JsonWriter& w, const ColorGrade& g) {
  w.beginObject();
  w.key("blue");
  writeCurve(w, g.blue);
  w.key("contrast").value(g.contrast);
  w.key("enabled").value(g.enabled);
  w.key("exposure").value(g.exposure);
  w.key("gain");
  writeWheel(w, g.gain);
  w.key("gamma");
  writeWheel(w, g.gamma);
  w.key("green");
  writeCurve(w, g.green);
  w.key("lift");
  writeWheel(w, g.lift);
  w.key("lutAmount").value(g.lutAmount);
  if (g.lutPath) w.key("lutPath").value(*g.lutPath);
  w.key("master");
  writeCurve(w, g.master);
  w.key("red");
  writeCurve(w, g.red);
  w.key("saturation").value(g.saturation);
  w.key("temperature").value(g.temperature);
  w.key("tint").value(g.tint);
  w.endObject();
}

void writeTransition(JsonWriter& w, const Transition& t) {
  w.beginObject();
  w.key("color");
  writeRGBA(w, t.color);
  writeEnum(w, "direction", t.direction);
  w.key("duration").value(t.duration);
  writeEnum(w, "kind", t.kind);
  w.endObject();
}

void writeClip(JsonWriter& w, const Clip& c) {
  w.beginObject();
  w.key("audio");
  writeAudio(w, c.audio);
  w.key("duration").value(c.duration);
  w.key("enabled").value(c.enabled);
  w.key("grade");
  writeGrade(w, c.grade);
  w.key("id").value(c.id.str());
  w.key("label").value(c.label);
  if (c.linkID) w.key("linkID").value(c.linkID->str());
  w.key("name").value(c.name);
  w.key("source");
  writeSource(w, c.source);
  w.key("sourceIn").value(c.sourceIn);
  if (c.sourceLimit) w.key("sourceLimit").value(*c.sourceLimit);
  w.key("speed");
  writeSpeed(w, c.speed);
  w.key("start").value(c.start);
  w.key("transform");
  writeTransform(w, c.transform);
  if (c.transitionIn) {
    w.key("transitionIn");
    writeTransition(w, *c.transitionIn);
  }
  w.endObject();
}

void writeTrack(JsonWriter& w, const Track& t) {
  w.beginObject();
  writeArray(w, "clips", t.clips, writeClip);
  w.key("id").value(t.id.str());
  writeEnum(w, "kind", t.kind);
  w.key("locked").value(t.locked);
  w.key("muted").value(t.muted);
  w.key("name").value(t.name);
  w.key("pan").value(t.pan);
  w.key("solo").value(t.solo);
  w.key("volumeDB").value(t.volumeDB);
  w.endObject();
}

void writeMarker(JsonWriter& w, const Marker& m) {
  w.beginObject();
  w.key("color").value(m.color);
  w.key("frame").value(m.frame);
  w.key("id").value(m.id.str());
  w.key("name").value(m.name);
  w.endObject();
}

void writeCaption(JsonWriter& w, const Caption& c) {
  w.beginObject();
  w.key("end").value(c.end);
  w.key("id").value(c.id.str());
  w.key("start").value(c.start);
  w.key("text").value(c.text);
  w.endObject();
}

void writeSequence(JsonWriter& w, const BrevSequence& s) {
  const CaptionStyle& cs = s.captionStyle;
  w.beginObject();
  writeArray(w, "audio", s.audio, writeTrack);
  w.key("captionStyle").beginObject();
  w.key("bottomMargin").value(cs.bottomMargin);
  w.key("box").value(cs.box);
  w.key("burnIn").value(cs.burnIn);
  w.key("fontName").value(cs.fontName);
  w.key("size").value(cs.size);
  w.endObject();
  writeArray(w, "captions", s.captions, writeCaption);
  w.key("height").value(s.height);
  w.key("id").value(s.id.str());
  writeArray(w, "markers", s.markers, writeMarker);
  w.key("masterDB").value(s.masterDB);
  w.key("name").value(s.name);
  w.key("rate").beginObject();
  w.key("den").value(s.rate.den);
  w.key("num").value(s.rate.num);
  w.endObject();
  w.key("sampleRate").value(s.sampleRate);
  writeArray(w, "video", s.video, writeTrack);
  w.key("width").value(s.width);
  w.endObject();
}

void writeMedia(JsonWriter& w, const MediaItem& m) {
  w.beginObject();
  w.key("bin").value(m.bin);
  w.key("duration").value(m.duration);
  w.key("hasAudio").value(m.hasAudio);
  w.key("hasVideo").value(m.hasVideo);
  w.key("height").value(m.height);
  w.key("id").value(m.id.str());
  writeEnum(w, "kind", m.kind);
  w.key("name").value(m.name);
  w.key("nominalFPS").value(m.nominalFPS);
  w.key("path").value(m.path);
  if (m.proxyPath) w.key("proxyPath").value(*m.proxyPath);
  if (m.relativePath) w.key("relativePath").value(*m.relativePath);
  if (m.reversedPath) w.key("reversedPath").value(*m.reversedPath);
  w.key("width").value(m.width);
  w.endObject();
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

void write(JsonWriter& w, const Date& date) { w.value(date.secondsSince2001); }

Date readDate(const JsonReader& reader) { return Date{reader.number()}; }

void write(JsonWriter& w, const Clip& clip) { writeClip(w, clip); }
void write(JsonWriter& w, const Track& track) { writeTrack(w, track); }
void write(JsonWriter& w, const BrevSequence& seq) { writeSequence(w, seq); }
void write(JsonWriter& w, const MediaItem& item) { writeMedia(w, item); }

Clip decodeClip(const JsonReader& reader) { return readClip(reader); }

void write(JsonWriter& w, const Project& p) {
  w.beginObject();
  w.key("activeSequenceID").value(p.activeSequenceID.str());
  writeArray(w, "bins", p.bins, [](JsonWriter& w, const std::string& bin) { w.value(bin); });
  w.key("created");
  write(w, p.created);
  w.key("format").value(p.format);
  w.key("id").value(p.id.str());
  writeArray(w, "media", p.media, writeMedia);
  w.key("name").value(p.name);
  writeArray(w, "sequences", p.sequences, writeSequence);
  w.endObject();
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
