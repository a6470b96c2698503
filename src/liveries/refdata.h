#pragma once
// The reference data base: aviation knowledge read once per process from the download "dbase.zip", and only read
// afterwards, from any thread.

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace pugi {
class xml_document;
}

enum class AcCategory : std::int32_t {
    light = 0,
    buzjets = 1,
    large = 2,
    heavy = 3,
    highPerf = 4,
    rotorcraft = 5
};
constexpr std::size_t categoryCount = 6;
const char* gf_categoryName(AcCategory category); // "Light", "Buzjets", ...

struct TextHash { // FNV-1a 64
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const {
        std::uint64_t h = 0xcbf29ce484222325ull;
        for (const char c : text) h = (h ^ static_cast<unsigned char>(c)) * 0x100000001b3ull;
        return static_cast<std::size_t>(h);
    }
};
template <class T> using TextMap = std::unordered_map<std::string, T, TextHash, std::equal_to<>>;
using TextSet = std::set<std::string, std::less<>>;

struct DbaseRegcode {
    std::string airl; // ICAO airline code, may be empty
    std::string type; // ICAO model code, may be empty
    std::string opr;  // ICAO airline code of the operator, may be empty
    bool cargo = false;
};

// The registrations: half a million records in a fifth of the memory that a map of texts would take. Registrations lie
// end to end in one text, and codes are kept once each. Not for more than 4 GiB of text.
class RegcodeStore {
  public:
    using Code = std::uint32_t; // place of an airline or model code in the store; 0 for none

    void reserve(std::size_t count); // room for so many registrations of ordinary length
    Code addCode(std::string_view code);
    void expect(std::string_view reg) const; // its place is fetched into the cache while others are inserted
    // False, with nothing changed, when the registration is already there. The codes come from addCode.
    bool insert(std::string_view reg, Code airl, Code type, Code opr, bool cargo);
    bool insert(std::string_view reg, std::string_view airl, std::string_view type, std::string_view opr,
                bool cargo) {
        return insert(reg, addCode(airl), addCode(type), addCode(opr), cargo);
    }
    std::optional<DbaseRegcode> find(std::string_view reg) const; // exactly this form
    // Sorted: the registrations with this airline that are shorter than that many characters. Walks all of them.
    std::vector<std::string> shortRegcodes(std::string_view airl, std::size_t below) const;
    std::size_t size() const { return entries.size(); }
    void clear();

  private:
    struct Entry {
        std::uint32_t textStart = 0; // in `texts`; it ends where the next one starts
        Code airl = 0, type = 0, opr = 0;
        bool cargo = false;
    };
    struct Slot {
        std::uint32_t entry = 0; // number plus 1; 0 for free
        std::uint32_t hash = 0;  // a part of it, so that a search seldom looks at another's text
    };
    std::string_view textOf(std::size_t entry) const;
    std::size_t slotOf(std::string_view reg, std::uint64_t hash) const; // where it is, or would be
    void rebuildSlots(std::size_t count);
    std::vector<Entry> entries;
    std::vector<Slot> slots; // open addressing, a power of two
    std::string texts;
    std::vector<std::string> codes{""};
    TextMap<Code> codeNumbers;
};

struct PublisherAirports {
    std::string publisher;
    std::vector<std::string> airports;
};

struct RefData { // owner: liveries; filled by gf_readDbase on the worker, read-only afterwards
    TextSet allModels, highPerfModels, heavyModels, largeModels, buzjetModels, rotorModels, cargoModels;
    std::vector<std::vector<std::string>> similarGroups;
    TextSet icaoAirlines, cargoOperators;
    std::vector<std::vector<std::string>> publisherGroups;      // the first name is the canonical one
    std::map<std::string, double, std::less<>> wingspanByModel; // half spans, nautical miles
    std::array<double, categoryCount> wingspanByCategory{};     // means of half spans, nautical miles
    double maxHalfWingspan = 0;                                 // nautical miles
    TextMap<std::string> modelFixes;
    TextSet simaddonAirports20;
    std::vector<PublisherAirports> thirdParties20, thirdParties24;
    RegcodeStore dbaseRegcodes;
};
extern RefData refData;

// Downloads, reads and deletes the file. Throws orvo::UserErrorException 60 and 61 and std::runtime_error; false
// after a caught XPath failure.
bool gf_readDbase();
// The reading alone, of an unpacked file that stays; starts from empty stores. Throws as gf_readDbase does, and
// pugi::xpath_exception.
bool gf_readDbaseFile(const std::string& pathUtf8);
// Of a parsed document; the name is for messages. For gf_readDbaseFile and the fuzz target.
void gf_readDbaseDocument(const pugi::xml_document& document, const std::string& pathUtf8);
// The comma lists of one attribute over all such elements of a section. Throws UserErrorException 61 when the set
// stays empty, pugi::xpath_exception for a section name that is none.
void gf_readSection(const pugi::xml_document& document, const char* section, const char* element,
                    const char* attribute, TextSet& result);
bool gf_isValidModel(std::string_view model);
bool gf_isValidAirline(std::string_view airline);
AcCategory gf_modelCategory(std::string_view model);
double gf_halfWingspanNm(std::string_view model);
std::string gf_publisherOf(std::string_view text);
struct RegcodeForms { // to be tried in order; no heap for codes of ordinary length
    std::array<std::string, 3> forms;
    std::size_t count = 0;
    const std::string* begin() const { return forms.data(); }
    const std::string* end() const { return forms.data() + count; }
};
RegcodeForms gf_regcodeVariants(std::string_view registration);
std::optional<DbaseRegcode> gf_lookupRegcode(std::string_view registration);
std::string gf_regcodeOperator(std::string_view registration);
std::string gf_regcodeAirline(std::string_view registration);
// First three characters, all A to Z, followed by a digit, and a valid airline; "" when it can't be derived. A
// callsign that equals the registration without its dash gives none.
std::string gf_airlineOfCallsign(std::string_view callsign, std::string_view registration);

// The scrambling of codes in the file; the encoders serve whoever writes it and undo exactly what the decoders do,
// for texts of the characters "-" to "Z" (and "+" in a registration).
std::string gf_decryptType(std::string_view stored); // throws std::out_of_range for a single character
std::string gf_decryptAirl(std::string_view stored); // throws std::runtime_error for a wrong length
std::string gf_decryptReg(std::string_view stored);  // throws std::out_of_range
std::string gf_encryptType(std::string_view plain);
std::string gf_encryptAirl(std::string_view plain);
std::string gf_encryptReg(std::string_view plain);

extern const TextMap<std::string> baseContainerModels; // folder of a base_container to model
