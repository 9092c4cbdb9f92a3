// Four-character codes (first character in the most significant byte) as
// text: "MJCM"; bytes outside printable ASCII show as '?'.
#pragma once

#include <cstdint>
#include <string>

namespace veltrax::host {

inline std::string fourCharText(int32_t code) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    const auto c = static_cast<unsigned char>((static_cast<uint32_t>(code) >> shift) & 0xFFu);
    text += (c >= 0x20 && c < 0x7F) ? static_cast<char>(c) : '?';
  }
  return text;
}

}  // namespace veltrax::host
