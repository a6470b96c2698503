#pragma once
// Text for the system's calls. What cannot be converted becomes U+FFFD and never an exception: a name that no
// system would make, or a file of a stranger, must not end what only mentions it.

#include <string>
#include <string_view>

namespace win32 {

std::wstring wideText(std::string_view utf8);
std::string utf8Text(std::wstring_view wide);

} // namespace win32
