// The scrambling of codes in the reference data file and in the registration list: decoders for the program, encoders for
// whoever prepares the files. It keeps the tables from being read off a text editor's screen and protects nothing.
// Pure functions, any thread.

#include "app/log.h"
#include "liveries/refdata.h"

#include <fmt/format.h>

#include <array>
#include <stdexcept>

// The alphabet of codes: '-', '.', '/', the digits, ':' to '@' and the capital letters.
constexpr int firstCode = 45, lastCode = 90, alphabetSize = lastCode - firstCode + 1;

// Shared by the program and every tool that writes its files: a changed offset makes all files unreadable.
constexpr std::array<int, 4> typeOffsets{7, -11, 19, -4};
constexpr std::array<int, 3> airlineOffsets{-9, 14, 5};
constexpr std::array<int, 24> registrationOffsets{3,   -17, 8,  21, -6, 12,  -20, 1,  15, -9, 22,  -2,
                                                  -14, 6,   18, -5, 10, -21, 4,   13, -8, 20, -12, 9};

// Places in the stored code of each plain character in turn.
constexpr std::array<std::size_t, 2> typePlaces2{1, 0};
constexpr std::array<std::size_t, 3> typePlaces3{1, 2, 0};
constexpr std::array<std::size_t, 4> typePlaces4{2, 3, 1, 0};
constexpr std::array<std::size_t, 3> airlinePlaces{3, 4, 1};
constexpr std::size_t storedAirlineLength = 6;
constexpr std::array<std::size_t, 3> airlineFillers{0, 2, 5};

// Moves a character, once around at most; one from outside the alphabet may stay outside.
static char lf_moved(char c, int offset) {
    int code = static_cast<unsigned char>(c) + offset;
    if (code < firstCode) {
        code += alphabetSize;
    } else if (code > lastCode) {
        code -= alphabetSize;
    }
    return static_cast<char>(code);
}

template <std::size_t n>
static std::string lf_decodePlaces(std::string_view stored, const std::array<std::size_t, n>& places,
                                   const int* offsets) {
    std::string plain(n, ' ');
    for (std::size_t i = 0; i < n; ++i) {
        if (places[i] >= stored.size())
            throw std::out_of_range(fmt::format("code \"{}\" is too short", stored));
        plain[i] = lf_moved(stored[places[i]], offsets[i]);
    }
    return plain;
}

template <std::size_t n>
static void lf_encodePlaces(std::string_view plain, const std::array<std::size_t, n>& places,
                            const int* offsets, std::string& stored) {
    for (std::size_t i = 0; i < n; ++i) stored[places[i]] = lf_moved(plain[i], -offsets[i]);
}

std::string gf_decryptType(std::string_view stored) {
    if (stored.empty()) return {};
    if (stored.size() == 3) return lf_decodePlaces(stored, typePlaces3, typeOffsets.data());
    if (stored.size() == 4) return lf_decodePlaces(stored, typePlaces4, typeOffsets.data());
    return lf_decodePlaces(stored, typePlaces2, typeOffsets.data());
}

std::string gf_encryptType(std::string_view plain) {
    std::string stored(plain.size(), ' ');
    switch (plain.size()) {
    case 0: break;
    case 2: lf_encodePlaces(plain, typePlaces2, typeOffsets.data(), stored); break;
    case 3: lf_encodePlaces(plain, typePlaces3, typeOffsets.data(), stored); break;
    case 4: lf_encodePlaces(plain, typePlaces4, typeOffsets.data(), stored); break;
    default: throw std::invalid_argument(fmt::format("model code \"{}\" has no 2 to 4 characters", plain));
    }
    return stored;
}

std::string gf_decryptAirl(std::string_view stored) {
    if (stored.empty()) return {};
    if (stored.size() == airlinePlaces.size()) {
        gf_logLine(fmt::format("Unencrypted airline {} in decrypt airl?", stored));
        return std::string(stored);
    }
    if (stored.size() != storedAirlineLength)
        throw std::runtime_error(fmt::format("decrypt airl \"{}\" error", stored));
    return lf_decodePlaces(stored, airlinePlaces, airlineOffsets.data());
}

std::string gf_encryptAirl(std::string_view plain) {
    if (plain.empty()) return {};
    if (plain.size() != airlinePlaces.size())
        throw std::invalid_argument(fmt::format("airline code \"{}\" has no 3 characters", plain));
    std::string stored(storedAirlineLength, ' ');
    lf_encodePlaces(plain, airlinePlaces, airlineOffsets.data(), stored);
    // The fillers follow from the code, so that the same table always gives the same file.
    for (std::size_t i = 0; i < airlineFillers.size(); ++i)
        stored[airlineFillers[i]] = lf_moved('A', (plain[i] + plain[(i + 1) % plain.size()]) % 26);
    return stored;
}

static std::string lf_registration(std::string_view text, int direction) {
    std::string result(text);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '+') continue; // passed unchanged, but its place is used up
        result[i] = lf_moved(text[i], direction * registrationOffsets.at(i));
    }
    return result;
}

std::string gf_decryptReg(std::string_view stored) { return lf_registration(stored, 1); }
std::string gf_encryptReg(std::string_view plain) { return lf_registration(plain, -1); }
