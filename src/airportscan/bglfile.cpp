// The bytes of a BGL file: a look at its head, and the whole. Any thread, never in a Tick.

#include "airportscan/bgl.h"

#include "airportscan/bglformat.h"
#include "app/app.h"

#include <algorithm>
#include <array>
#include <bit>

static_assert(std::endian::native == std::endian::little, "words are taken as they lie in the file");

static char* lf_bytesOf(std::uint32_t* words) { return reinterpret_cast<char*>(words); }

BglFile::BglFile(const std::filesystem::path& path) {
    in.rdbuf()->pubsetbuf(nullptr, 0); // what is read is read in one piece, and seldom more than the head
    in.open(path, std::ios::binary);
    // Of a folder or a device the end is nowhere, or far beyond what a file can have.
    const std::streamoff end = in ? std::streamoff(in.seekg(0, std::ios::end).tellg()) : 0;
    constexpr std::streamoff largest = std::streamoff(1) << 30; // bytes; the memory for it is taken at once
    if (end > 0 && end <= largest) size = static_cast<std::uint64_t>(end);
    in.seekg(0);
}

bool BglFile::hasAirportSection() {
    constexpr std::uint64_t shortest = 15; // bytes
    std::array<std::uint32_t, bgl::headerWords> head;
    if (!in || size < shortest || !in.read(lf_bytesOf(head.data()), sizeof head)) return false;
    const std::uint64_t sections = head[bgl::sectionCountAt];
    if (sections == 0 || (bgl::headerWords + sections * bgl::sectionWords) * 4 >= size) return false;
    std::vector<std::uint32_t> table(sections * bgl::sectionWords);
    if (!in.read(lf_bytesOf(table.data()), static_cast<std::streamsize>(table.size() * 4))) return false;
    for (std::size_t i = 0; i < table.size(); i += bgl::sectionWords)
        if (table[i] == bgl::airportSection) return true;
    return false;
}

std::optional<std::span<const std::uint32_t>> BglFile::read(WordBuffer& buffer) {
    constexpr std::size_t piece = 1 << 20;  // words; a stop waits for no more
    constexpr std::size_t usual = 16 << 20; // words; one beyond it is not kept
    const std::size_t words = size / 4;
    if (buffer.size < words || buffer.size > usual) {
        buffer = {}; // never two at a time
        buffer = {std::make_unique_for_overwrite<std::uint32_t[]>(words), words};
    }
    in.clear();
    in.seekg(0);
    for (std::size_t done = 0; done < words; done += piece) {
        const std::size_t count = std::min(piece, words - done);
        if (gf_stopping() ||
            !in.read(lf_bytesOf(buffer.words.get() + done), static_cast<std::streamsize>(count * 4)))
            return std::nullopt;
    }
    return std::span(buffer.words.get(), words);
}
