// UTF-8 to UTF-16 and back by the system's own conversion, in its strict form. Any thread.

#include "platform/text.h"

#include <limits>

#include <windows.h>

namespace plat {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

static int lf_units(std::size_t size) {
    if (size > std::size_t{std::numeric_limits<int>::max()})
        throw std::overflow_error("Input string too long for a conversion.");
    return static_cast<int>(size);
}

// The error of the call that has just failed; an invalid sequence has a text of its own.
[[noreturn]] static void lf_fail(const char* invalid, const char* otherwise) {
    const DWORD error = GetLastError();
    throw win32::Utf8ConversionException(error == ERROR_NO_UNICODE_TRANSLATION ? invalid : otherwise, error);
}

std::u16string utf16FromUtf8(std::string_view text) {
    constexpr const char* invalid = "Invalid UTF-8 sequence found in input string.";
    const int size = lf_units(text.size());
    if (size == 0) return {}; // which the system takes for an error
    const int length = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), size, nullptr, 0);
    if (length == 0)
        lf_fail(invalid, "Cannot get result string length when converting from UTF-8 to UTF-16 "
                         "(MultiByteToWideChar failed).");
    std::u16string result(static_cast<std::size_t>(length), u'\0');
    if (MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), size,
                            reinterpret_cast<wchar_t*>(result.data()), length) == 0)
        lf_fail(invalid, "Cannot convert from UTF-8 to UTF-16 (MultiByteToWideChar failed).");
    return result;
}

std::string utf8FromUtf16(std::u16string_view text) {
    constexpr const char* invalid = "Invalid UTF-16 sequence found in input string.";
    const int size = lf_units(text.size());
    if (size == 0) return {};
    const auto* units = reinterpret_cast<const wchar_t*>(text.data());
    const int length =
        WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, units, size, nullptr, 0, nullptr, nullptr);
    if (length == 0)
        lf_fail(invalid, "Cannot get result string length when converting from UTF-16 to UTF-8 "
                         "(WideCharToMultiByte failed).");
    std::string result(static_cast<std::size_t>(length), '\0');
    if (WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, units, size, result.data(), length, nullptr,
                            nullptr) == 0)
        lf_fail(invalid, "Cannot convert from UTF-16 to UTF-8 (WideCharToMultiByte failed).");
    return result;
}

} // namespace plat
