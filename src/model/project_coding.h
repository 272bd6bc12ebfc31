#pragma once

#include <nlohmann/json.hpp>

#include "model/date.h"
#include "model/expected.h"
#include "model/json_reader.h"
#include "model/json_writer.h"
#include "model/project.h"

namespace brevelan {

// The JSON form of the document: every record an object keyed by its field
// names, enumerations by their display text, UUIDs in upper case, dates as
// seconds since 2001, absent optionals left out, a clip source as
// {"media": {"_0": "UUID"}} and the like. Members are written in sorted key
// order; reading goes through nlohmann's parser.
namespace coding {

void write(JsonWriter& writer, const Project& project);
Expected<Project, DecodeError> decodeProject(const nlohmann::json& json);

// For records that embed a project (recovery copies) and other dated records.
Project readProject(const JsonReader& reader);  // throws JsonReader::DecodeFailure
void write(JsonWriter& writer, const Date& date);
// One clip on its own (the scripting interface sets clip fields through this form).
void write(JsonWriter& writer, const Clip& clip);
Clip decodeClip(const JsonReader& reader);  // throws JsonReader::DecodeFailure
// Single records, for content keys (a stem's key is made from its track's form).
void write(JsonWriter& writer, const Track& track);
void write(JsonWriter& writer, const BrevSequence& seq);
void write(JsonWriter& writer, const MediaItem& item);
Date readDate(const JsonReader& reader);

}  // namespace coding
}  // namespace brevelan
