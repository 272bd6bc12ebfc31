#pragma once

#include <string>
#include <string_view>

namespace brevelan {

// Turns the bytes of a subtitle file into UTF-8 text, whatever the file was
// written in, as far as its content tells:
//   - a UTF-8 byte-order mark is dropped and the rest read as UTF-8;
//   - a UTF-16 byte-order mark (FF FE or FE FF), or a text whose every other
//     byte is zero, is read as UTF-16 of that byte order;
//   - otherwise text that is valid UTF-8 is kept as it is;
//   - anything else is read as Windows-1252, the usual encoding of older
//     Western subtitle files; its five unassigned bytes map to U+0081… as
//     web browsers do, so every byte gives some character.
// Broken UTF-8 after a byte-order mark and unpaired UTF-16 surrogates become
// U+FFFD. Never fails.
std::string decodeSubtitleText(std::string_view bytes);

// Whether the bytes are well-formed UTF-8 (no overlong forms, no surrogates).
bool isValidUTF8(std::string_view bytes);

// Number of characters (code points) in UTF-8 text.
std::size_t characterCount(std::string_view text);

}  // namespace brevelan
