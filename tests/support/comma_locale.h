#pragma once
// A locale that writes numbers with a comma, as a toolkit may set one for the whole process.

#include "system.h"

#include <clocale>
#include <cstdio>

namespace test {

// In force for its lifetime; ok() is false where there is none to be had.
class CommaLocale {
  public:
    CommaLocale() {
        char text[8] = {};
        made = setCommaLocale() && std::snprintf(text, sizeof text, "%.1f", 1.5) == 3 && text[1] == ',';
    }
    ~CommaLocale() { std::setlocale(LC_ALL, "C"); }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;
    bool ok() const { return made; }

  private:
    bool made = false;
};

} // namespace test
