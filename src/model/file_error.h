#pragma once

#include <string>
#include <string_view>

namespace brevelan {

// A failed file operation. `message` is a whole sentence for the user; `kind`
// lets callers and tests tell the cases apart.
struct FileError {
  enum class Kind {
    notFound,          // no file at that path
    noPermission,      // reading or writing was not allowed
    isFolder,          // a folder where a file was expected (or in the way of one)
    readFailed,        // any other failure to read
    notJSON,           // the bytes are not JSON (or are cut short)
    decodeFailed,      // JSON, but a key is missing, has the wrong type or an unknown value
    wrongFormat,       // a document of another program or version family
    writeFailed,       // any other failure to write
  };
  Kind kind = Kind::readFailed;
  std::string message;
};

// “name” in the curly quotes used by every user-facing message.
inline std::string curlyQuoted(std::string_view text) { return "“" + std::string(text) + "”"; }

}  // namespace brevelan
