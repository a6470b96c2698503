#pragma once
// What tests need of the operating system beyond the program's own seam; an inside for each system.

#include <filesystem>
#include <string>

namespace test {

void setEnvironment(const std::string& name, const char* value); // nullptr takes it away

// What a process that this one starts, and the guard against a second instance, find as the user's home.
void useHome(const std::filesystem::path& home);

// As the system asks a process to end. Prepare it on the first thread, before another one is started.
void prepareForRequestToEnd();
void askThisProcessToEnd();

// A locale whose numbers have a comma becomes the process's own; false where there is none to be had.
bool setCommaLocale();

} // namespace test
