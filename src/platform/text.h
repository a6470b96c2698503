#pragma once
// UTF-8 to UTF-16 and back, strict in both directions.

#include <stdexcept>
#include <string>
#include <string_view>

namespace win32 {

class Utf8ConversionException : public std::runtime_error {
  public:
    Utf8ConversionException(const std::string& text, unsigned number)
        : std::runtime_error(text), code(number) {}
    unsigned errorCode() const { return code; } // the Windows error number; 1113 for an invalid sequence

  private:
    unsigned code;
};

} // namespace win32

namespace plat {

// Throw Utf8ConversionException for an invalid sequence, std::overflow_error beyond 2147483647 units.
std::u16string utf16FromUtf8(std::string_view text);
std::string utf8FromUtf16(std::u16string_view text);

// For text of unknown 8-bit encoding: what is valid UTF-8 stays, anything else is read as Windows-1252. Never throws.
std::string utf8FromAnyText(std::string_view text);

} // namespace plat
