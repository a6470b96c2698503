// The table of real registrations: a compact hash table that only grows. Filled by the reading of the reference data,
// afterwards read from any thread.

#include "liveries/refdata.h"

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

std::size_t RegcodeStore::slotOf(std::string_view reg) const {
    std::size_t slot = TextHash()(reg) & (slots.size() - 1);
    while (slots[slot] != 0 && textOf(slots[slot] - 1) != reg) slot = (slot + 1) & (slots.size() - 1);
    return slot;
}

void RegcodeStore::rebuildSlots(std::size_t count) {
    std::vector<std::uint32_t>(lf_slotCount(count)).swap(slots);
    for (std::size_t i = 0; i < entries.size(); ++i)
        slots[slotOf(textOf(i))] = static_cast<std::uint32_t>(i + 1);
}

std::uint32_t RegcodeStore::codeIndex(std::string_view code) {
    if (code.empty()) return 0;
    const auto found = codeNumbers.find(code);
    if (found != codeNumbers.end()) return found->second;
    codes.emplace_back(code);
    return codeNumbers[codes.back()] = static_cast<std::uint32_t>(codes.size() - 1);
}

bool RegcodeStore::insert(std::string_view reg, std::string_view airl, std::string_view type,
                          std::string_view opr, bool cargo) {
    if (slots.empty() || (entries.size() + 1) * outOf > slots.size() * filledTo)
        rebuildSlots(2 * entries.size() + 1);
    const std::size_t slot = slotOf(reg);
    if (slots[slot] != 0) return false;
    if (texts.size() + reg.size() > UINT32_MAX) throw std::length_error("too many registrations");
    entries.push_back(
        {static_cast<std::uint32_t>(texts.size()), codeIndex(airl), codeIndex(type), codeIndex(opr), cargo});
    texts += reg;
    slots[slot] = static_cast<std::uint32_t>(entries.size());
    return true;
}

std::optional<DbaseRegcode> RegcodeStore::find(std::string_view reg) const {
    if (slots.empty()) return std::nullopt;
    const std::uint32_t number = slots[slotOf(reg)];
    if (number == 0) return std::nullopt;
    const Entry& entry = entries[number - 1];
    return DbaseRegcode{codes[entry.airl], codes[entry.type], codes[entry.opr], entry.cargo};
}
