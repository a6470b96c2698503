// One strict decoder of UTF-8 on every system: overlong forms, lone surrogates and values beyond U+10FFFF are refused.
// And what is made of a text whose encoding nobody tells. Any thread.

#include "platform/utf8.h"
#include "platform/text.h"

#include <array>
#include <cstddef>

namespace plat {

bool takeUtf8(std::string_view& text, char32_t& result) {
    const auto byteAt = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byteAt(0);
    if (lead < 0x80) {
        result = lead;
        text.remove_prefix(1);
        return true;
    }
    // Length, the bits that the lead byte carries, and the smallest value that needs this length.
    std::size_t length = 0;
    char32_t value = 0, smallest = 0;
    if ((lead & 0xE0) == 0xC0) {
        length = 2, value = lead & 0x1F, smallest = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3, value = lead & 0x0F, smallest = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 4, value = lead & 0x07, smallest = firstBeyondBmp;
    } else {
        return false;
    }
    if (text.size() < length) return false;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(i) & 0xC0) != 0x80) return false;
        value = value << 6 | (byteAt(i) & 0x3F);
    }
    if (value < smallest || value > lastCodePoint) return false;
    if (value >= firstSurrogate && value <= lastSurrogate) return false;
    result = value;
    text.remove_prefix(length);
    return true;
}

void appendUtf8(std::string& out, char32_t value) {
    const auto tail = [&](int shift) { out += static_cast<char>(0x80 | (value >> shift & 0x3F)); };
    if (value < 0x80) {
        out += static_cast<char>(value);
    } else if (value < 0x800) {
        out += static_cast<char>(0xC0 | value >> 6);
        tail(0);
    } else if (value < firstBeyondBmp) {
        out += static_cast<char>(0xE0 | value >> 12);
        tail(6), tail(0);
    } else {
        out += static_cast<char>(0xF0 | value >> 18);
        tail(12), tail(6), tail(0);
    }
}

// What Windows-1252 has at 0x80 to 0x9F; the five unused places keep their number.
static constexpr std::array<char16_t, 32> windows1252{
    0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x8D,   0x017D, 0x8F,   0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};

std::string utf8FromAnyText(std::string_view text) {
    std::string_view rest = text;
    char32_t value = 0;
    while (!rest.empty() && takeUtf8(rest, value)) {}
    if (rest.empty()) return std::string(text);
    std::string result;
    result.reserve(text.size() + text.size() / 2);
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        const std::size_t place = byte - 0x80u;
        appendUtf8(result, byte >= 0x80 && place < windows1252.size() ? windows1252[place] : byte);
    }
    return result;
}

} // namespace plat
