// UTF-8 to UTF-16 and back, refusing what Windows refuses. Any thread.

#include "platform/text.h"
#include "platform/utf8.h"

#include <cstddef>
#include <cstdint>
#include <limits>

namespace plat {

namespace {

constexpr unsigned errorNoUnicodeTranslation = 1113; // the Windows error number of an invalid sequence
constexpr std::size_t longestText =
    std::numeric_limits<std::int32_t>::max(); // units, as the system counts them

void refuseOverlong(std::size_t units) {
    if (units > longestText) throw std::overflow_error("Input string too long for a conversion.");
}

} // namespace

std::u16string utf16FromUtf8(std::string_view text) {
    refuseOverlong(text.size());
    std::u16string result;
    result.reserve(text.size());
    while (!text.empty()) {
        char32_t value = 0;
        if (!takeUtf8(text, value))
            throw win32::Utf8ConversionException("Invalid UTF-8 sequence found in input string.",
                                                 errorNoUnicodeTranslation);
        if (value >= firstBeyondBmp) {
            result += static_cast<char16_t>(firstSurrogate + ((value - firstBeyondBmp) >> 10));
            result += static_cast<char16_t>(firstLowSurrogate + ((value - firstBeyondBmp) & 0x3FF));
        } else {
            result += static_cast<char16_t>(value);
        }
    }
    return result;
}

std::string utf8FromUtf16(std::u16string_view text) {
    refuseOverlong(text.size());
    const auto invalid = [] {
        return win32::Utf8ConversionException("Invalid UTF-16 sequence found in input string.",
                                              errorNoUnicodeTranslation);
    };
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t value = text[i];
        if (value >= firstLowSurrogate && value <= lastSurrogate) throw invalid();
        if (value >= firstSurrogate && value < firstLowSurrogate) {
            const char32_t low = i + 1 < text.size() ? text[i + 1] : 0;
            if (low < firstLowSurrogate || low > lastSurrogate) throw invalid();
            value = firstBeyondBmp + ((value - firstSurrogate) << 10) + (low - firstLowSurrogate);
            ++i;
        }
        appendUtf8(result, value);
    }
    return result;
}

} // namespace plat
