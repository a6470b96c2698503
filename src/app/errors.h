#pragma once
// The error that the user must act on.

#include <stdexcept>
#include <string>

namespace orvo {

// what() is "number: text"; number 99 gives the text alone.
class UserErrorException : public std::runtime_error {
  public:
    UserErrorException(int errorNumber, const std::string& text)
        : std::runtime_error(errorNumber == 99 ? text : std::to_string(errorNumber) + ": " + text),
          code(errorNumber) {}
    int number() const { return code; }

  private:
    int code;
};

} // namespace orvo
