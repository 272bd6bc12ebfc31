#pragma once

#include <algorithm>
#include <filesystem>
#include <string>

namespace brevelan {

// ASCII lower case: file names and extensions compare this way ("clip.MOV").
inline std::string lowercased(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c); });
  return text;
}

// The extension without its dot, in lower case ("mov" for clip.MOV).
inline std::string lowerExtension(const std::filesystem::path& file) {
  std::string extension = file.extension().string();
  if (!extension.empty()) extension.erase(0, 1);
  return lowercased(std::move(extension));
}

}  // namespace brevelan
