// The table of real registrations: a compact hash table that only grows. Filled by the reading of the reference data,
// afterwards read from any thread.

#include "liveries/refdata.h"

#include <algorithm>
#include <stdexcept>

constexpr std::size_t smallestTable = 64;      // slots
constexpr std::size_t ordinaryLength = 7;      // characters of a registration with its dash
constexpr std::size_t filledTo = 2, outOf = 3; // a table more than two thirds full grows

static std::size_t lf_slotCount(std::size_t entries) {
    std::size_t count = smallestTable;
    while (entries * outOf > count * filledTo) count *= 2;
    return count;
}

void RegcodeStore::reserve(std::size_t count) {
    entries.reserve(count);
    texts.reserve(count * ordinaryLength);
    if (lf_slotCount(count) > slots.size()) rebuildSlots(count);
}

void RegcodeStore::clear() { *this = RegcodeStore(); }

std::string_view RegcodeStore::textOf(std::size_t entry) const {
    const std::size_t start = entries[entry].textStart;
    const std::size_t end = entry + 1 < entries.size() ? entries[entry + 1].textStart : texts.size();
    return std::string_view(texts).substr(start, end - start);
}

// The low bits of the hash alone crowd where registrations differ in few letters.
static std::uint64_t lf_hash(std::string_view reg) {
    const std::uint64_t h = TextHash()(reg);
    return (h ^ h >> 32) * 0x9e3779b97f4a7c15ull; // 2^64 by the golden ratio: every bit reaches the high ones
}
static std::uint32_t lf_upper(std::uint64_t hash) { return static_cast<std::uint32_t>(hash >> 32); }

std::size_t RegcodeStore::slotOf(std::string_view reg, std::uint64_t hash) const {
    const std::uint32_t part = lf_upper(hash);
    std::size_t slot = part & (slots.size() - 1);
    while (slots[slot].entry != 0 && (slots[slot].hash != part || textOf(slots[slot].entry - 1) != reg))
        slot = (slot + 1) & (slots.size() - 1);
    return slot;
}

void RegcodeStore::rebuildSlots(std::size_t count) {
    std::vector<Slot>(lf_slotCount(count)).swap(slots);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const std::uint64_t hash = lf_hash(textOf(i));
        slots[slotOf(textOf(i), hash)] = {static_cast<std::uint32_t>(i + 1), lf_upper(hash)};
    }
}

RegcodeStore::Code RegcodeStore::addCode(std::string_view code) {
    if (code.empty()) return 0;
    const auto found = codeNumbers.find(code);
    if (found != codeNumbers.end()) return found->second;
    codes.emplace_back(code);
    return codeNumbers[codes.back()] = static_cast<Code>(codes.size() - 1);
}

void RegcodeStore::expect(std::string_view reg) const {
    if (!slots.empty()) __builtin_prefetch(&slots[lf_upper(lf_hash(reg)) & (slots.size() - 1)], 1);
}

bool RegcodeStore::insert(std::string_view reg, Code airl, Code type, Code opr, bool cargo) {
    if (slots.empty() || (entries.size() + 1) * outOf > slots.size() * filledTo)
        rebuildSlots(2 * entries.size() + 1);
    const std::uint64_t hash = lf_hash(reg);
    const std::size_t slot = slotOf(reg, hash);
    if (slots[slot].entry != 0) return false;
    if (texts.size() + reg.size() > UINT32_MAX) throw std::length_error("too many registrations");
    entries.push_back({static_cast<std::uint32_t>(texts.size()), airl, type, opr, cargo});
    texts += reg;
    slots[slot] = {static_cast<std::uint32_t>(entries.size()), lf_upper(hash)};
    return true;
}

std::optional<DbaseRegcode> RegcodeStore::find(std::string_view reg) const {
    if (slots.empty()) return std::nullopt;
    const std::uint32_t number = slots[slotOf(reg, lf_hash(reg))].entry;
    if (number == 0) return std::nullopt;
    const Entry& entry = entries[number - 1];
    return DbaseRegcode{codes[entry.airl], codes[entry.type], codes[entry.opr], entry.cargo};
}

std::vector<std::string> RegcodeStore::shortRegcodes(std::string_view airl, std::size_t below) const {
    std::vector<std::string> found;
    const auto number = codeNumbers.find(airl);
    if (number == codeNumbers.end()) return found;
    for (std::size_t i = 0; i < entries.size(); ++i)
        if (entries[i].airl == number->second && textOf(i).size() < below) found.emplace_back(textOf(i));
    std::sort(found.begin(), found.end());
    return found;
}
