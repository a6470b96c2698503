#pragma once
// UTF-8 code point by code point, strictly; for the sources of the seam.

#include <string>
#include <string_view>

namespace plat {

constexpr char32_t firstSurrogate = 0xD800, firstLowSurrogate = 0xDC00, lastSurrogate = 0xDFFF;
constexpr char32_t firstBeyondBmp = 0x10000, lastCodePoint = 0x10FFFF;

// Takes one code point off the front of a text that is not empty; false when no valid sequence stands there.
bool takeUtf8(std::string_view& text, char32_t& result);
void appendUtf8(std::string& out, char32_t value);

} // namespace plat
