// UTF-8 to UTF-16 and back: what counts as valid, and how an invalid text is refused.

#include "platform/text.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;

TEST(Text, TurnsTheEdgesOfEachLengthIntoTheirUnitsAndBack) {
    const std::vector<std::pair<std::string, std::u16string>> rows = {
        {"", u""},
        {"a\0b"s, u"a\0b"s},
        {"\x7F", u"\x7F"},
        {"\xC2\x80", u"\x80"},
        {"\xDF\xBF", u"\x7FF"},
        {"\xE0\xA0\x80", u"\x800"},
        {"\xED\x9F\xBF", u"\xD7FF"},
        {"\xEE\x80\x80", u"\xE000"},
        {"\xEF\xBB\xBF", u"\xFEFF"}, // a byte order mark is a character like others
        {"\xEF\xBF\xBF", u"\xFFFF"},
        {"\xF0\x90\x80\x80", u"\xD800\xDC00"},
        {"\xF4\x8F\xBF\xBF", u"\xDBFF\xDFFF"},
        {"Z\xC3\xBCrich \xE2\x82\xAC \xF0\x9F\x9B\xAC", u"Z\u00FCrich \u20AC \xD83D\xDEEC"},
    };
    for (const auto& [narrow, wide] : rows) {
        EXPECT_EQ(plat::utf16FromUtf8(narrow), wide) << narrow;
        EXPECT_EQ(plat::utf8FromUtf16(wide), narrow);
    }
}

TEST(Text, KeepsCodePointsOfEveryPlaneOnTheirWayThereAndBack) {
    std::u16string all;
    for (char32_t c = 0; c <= 0x10FFFF; c += c < 0x10000 ? 1 : 61) {
        if (c >= 0xD800 && c <= 0xDFFF) continue;
        if (c >= 0x10000) {
            all += static_cast<char16_t>(0xD7C0 + (c >> 10));
            all += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
        } else {
            all += static_cast<char16_t>(c);
        }
    }
    EXPECT_TRUE(plat::utf16FromUtf8(plat::utf8FromUtf16(all)) == all);
}

template <class Convert> void expectInvalid(Convert convert, const char* text) {
    try {
        convert();
        ADD_FAILURE() << "accepted";
    } catch (const win32::Utf8ConversionException& e) {
        EXPECT_STREQ(e.what(), text);
        EXPECT_EQ(e.errorCode(), 1113u);
    }
}

TEST(Text, RefusesWhatIsNoUtf8) {
    for (const char* bad : {
             "\x80",
             "ok\xBF", // a tail without its lead
             "\xC0\x80",
             "\xC1\xBF",
             "\xE0\x9F\xBF", // longer than needed
             "\xF0\x8F\xBF\xBF",
             "\xF8\x88\x80\x80\x80", // the same, with four and five bytes
             "\xED\xA0\x80",
             "\xED\xBF\xBF", // surrogates
             "\xF4\x90\x80\x80",
             "\xF5\x80\x80\x80",
             "\xFE",
             "\xFF", // beyond the last code point
             "\xC3",
             "\xE2\x82",
             "\xF0\x9F\x9B", // cut at the end
             "\xC3(",
             "\xE2\x82(",
             "\xF0\x9F\x9B(",
             "\xE2(\x82", // cut by the next character
         }) {
        SCOPED_TRACE(testing::PrintToString(std::string(bad)));
        expectInvalid([&] { plat::utf16FromUtf8(bad); }, "Invalid UTF-8 sequence found in input string.");
    }
}

TEST(Text, RefusesLoneSurrogates) {
    for (const char16_t* bad : {u"\xD800", u"a\xDBFFz", u"\xDC00", u"\xDFFF\xD800", u"\xD800\xD800\xDC00"})
        expectInvalid([&] { plat::utf8FromUtf16(bad); }, "Invalid UTF-16 sequence found in input string.");
}

TEST(Text, RefusesMoreUnitsThanTheSystemCanCount) {
    constexpr std::size_t tooMany = std::size_t{std::numeric_limits<std::int32_t>::max()} + 1;
    const char one = 'a';
    const char16_t wideOne = u'a';
    EXPECT_THROW(plat::utf16FromUtf8({&one, tooMany}), std::overflow_error); // it reads none of them
    EXPECT_THROW(plat::utf8FromUtf16({&wideOne, tooMany}), std::overflow_error);
}

} // namespace
