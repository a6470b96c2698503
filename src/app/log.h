#pragma once
// The three ways to tell the user something: the log "Log.txt", the message line and the red error line.
// Everything here may be called from any thread at any time.

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

// Keeps two older generations, opens "Log.txt" in the program folder and writes the banner. Throws
// std::filesystem::filesystem_error for a failed rename, std::runtime_error when the file cannot be opened.
void gf_openLog();
void gf_closeLog(); // the time text as the last line

void gf_logRaw(std::string_view text);   // always
void gf_logLine(std::string_view text);  // nothing once a stop is under way
void gf_logAlert(std::string_view text); // always, with the prefix "===> "

void gf_showMessage(const std::string& text, bool alsoLog); // dropped, log and all, while an error is on show
void gf_showError(const std::string& text);
void gf_clearMessage();
void gf_clearError();          // the error line alone
void gf_expireMessage();       // clears a message of 25 or more seconds; the cycle calls it once a second
std::string gf_shownMessage(); // for the paint handler
std::string gf_shownError();

std::string gf_headline(int width, int extra, bool newlineBefore, bool newlineAfter, std::string_view text);
std::string
gf_timeText(std::int64_t utcSeconds); // "{:3} {:3} {:02} {:02}:{:02}:{:02} {:4}", UTC, "Okt" for October
std::string gf_shortTimeText();       // hours, minutes and seconds of now, UTC

// Renames path to path with one 0 before its last dot, after that one to the one with two, replacing old ones; what is
// not there is left out. Nothing happens when the name has no dot. Throws std::filesystem::filesystem_error.
void gf_rotateFile(const std::filesystem::path& path);
