#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/caption.h"
#include "model/frame_rate.h"

namespace brevelan {

// SubRip (.srt) text: writing a caption list, reading it back, and checking
// text against the format. Times are "HH:MM:SS,mmm"; blocks are a number, a
// time line "start --> end" and one or more lines of text, separated by one
// empty line. Text is UTF-8 (see decodeSubtitleText for reading files).
namespace SRT {

// The captions sorted by start, numbered from 1, each block followed by an
// empty line. Blank lines inside a caption's text are left out, since they
// would end the block.
std::string make(const std::vector<Caption>& captions, const FrameRate& rate);

// Every block that has a readable time line, in file order, each with a new
// id. Never fails: unreadable blocks are skipped. Accepts "\r\n" and bare "\r"
// line ends, a leading byte-order mark, a full stop before the milliseconds,
// and, beyond the strict form, extra words after the end time (position
// coordinates) and times without a fraction ("00:01:39").
std::vector<Caption> parse(std::string_view text, const FrameRate& rate);

// Problem messages in block order ("block 2: overlaps the previous caption");
// empty means the text is valid SubRip. Lines quoted in a message are cut
// to 120 bytes.
std::vector<std::string> validate(std::string_view text);

// "HH:MM:SS,mmm", rounded to the nearest millisecond; negative times are 0
// and hours grow past two digits when needed.
std::string stamp(double seconds);

// The seconds of one time "H:MM:SS,mmm" (a full stop may stand for the
// comma; the part after it is a whole number of milliseconds), or nothing.
std::optional<double> seconds(std::string_view text);

}  // namespace SRT
}  // namespace brevelan
