#pragma once
// What an aircraft.cfg says, without a judgement on it: its key lines and its [fltsim.x] sections, as views of the
// text. Plain functions without state; the pool of the scan calls them.

#include <cstdint>
#include <string_view>
#include <vector>

enum class CfgKey : std::uint8_t {
    none,
    title,
    texture,
    atcId,
    parkingTypes,
    airline,
    designator,
    baseContainer
};
constexpr std::size_t cfgKeyCount = 8;

// What the expression "\s*(key)\s*=\s*(.*\S)\s*" accepts as a whole line, for the seven keys, letters of either case;
// value is its second group. Of `\s` are blank, \t, \n, \v, \f and \r; `.` is any byte but \n and \r.
CfgKey gf_matchCfgKey(std::string_view line, std::string_view& value);
// Likewise "\s*(\[fltsim\.)(\d+)\]\s*"; number is the second group.
bool gf_matchSectionHead(std::string_view line, std::string_view& number);

// As the expressions see a byte.
constexpr bool gf_isCfgSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
constexpr char gf_cfgLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; }
bool gf_sameButCase(std::string_view a, std::string_view b); // letters A to Z alone

// The text between the first and the next double quote, empty when there is no second one; without a quote the text.
std::string_view gf_unquoted(std::string_view value);
std::string_view gf_trimmed(std::string_view text); // without the white space at both ends

// The lines of a text one by one. Ends are \n, \r\n and a lone \r; the last line may lack one.
class CfgLines {
  public:
    explicit CfgLines(std::string_view text)
        : place(text.data()), end(text.data() + text.size()), newline(find(place, '\n')),
          carriageReturn(find(place, '\r')) {}
    bool next(std::string_view& line);

  private:
    const char* find(const char* from, char c) const; // end for none
    const char *place, *end;
    const char *newline, *carriageReturn; // the next of each, so that no byte is searched twice
};

struct CfgKeyLine {
    CfgKey key = CfgKey::none;
    std::string_view value; // unquoted
};

struct CfgSection {
    std::string_view head;                      // its first line
    std::uint32_t firstLine = 0, lineCount = 0; // of CfgText::keyLines
};

struct CfgText {                           // views of the text that was parsed
    std::vector<std::string_view> numbers; // of section heads, in file order, "" for one without a number
    std::vector<CfgSection> sections;
    std::vector<CfgKeyLine> keyLines;             // those inside sections that a section is read for
    std::string_view designator;                  // the first in the file that is not empty
    std::vector<std::string_view> baseContainers; // in file order
};

// Starts from an empty result, whose memory is used again.
void gf_parseCfg(std::string_view text, CfgText& result);
