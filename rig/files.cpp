// Scratch folders, and the reading of files that may be packed. No state.

#include "files.h"

#include "platform/files.h"

#include <fmt/format.h>
#include <zlib.h>

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <vector>

namespace rig {

namespace fs = std::filesystem;

fs::path sourceFolder() { return VELLORAY_SOURCE_DIR; }

fs::path sharedFolder() {
    const char* set = std::getenv("VELLORAY_SHARED");
    return set ? fs::path(set) : sourceFolder().parent_path() / "shared";
}

fs::path makeScratchFolder(const std::string& name) {
    for (unsigned number = 0;; ++number) {
        const fs::path folder =
            fs::temp_directory_path() / plat::textPath(fmt::format("{}-{}", name, number));
        if (!fs::create_directory(folder)) continue; // another process has that one
        fs::permissions(folder, fs::perms::owner_all);
        return folder;
    }
}

namespace {

constexpr std::size_t blockSize = 1 << 16;
constexpr int gzipOnly = 16 + MAX_WBITS; // as zlib asks for that format

// Unpacks one member after the other; a gzip file may hold several.
class Unpacker {
  public:
    Unpacker() { inflateInit2(&stream, gzipOnly); }
    ~Unpacker() { inflateEnd(&stream); }
    Unpacker(const Unpacker&) = delete;
    Unpacker& operator=(const Unpacker&) = delete;

    // False for bytes that are none of a gzip file.
    bool unpack(std::vector<char>& packed, std::size_t count,
                const std::function<void(std::string_view)>& take) {
        stream.next_in = reinterpret_cast<Bytef*>(packed.data());
        stream.avail_in = static_cast<uInt>(count);
        while (stream.avail_in > 0) {
            if (atEnd) inflateReset(&stream);
            stream.next_out = reinterpret_cast<Bytef*>(unpacked.data());
            stream.avail_out = static_cast<uInt>(unpacked.size());
            const int result = inflate(&stream, Z_NO_FLUSH);
            if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) return false;
            atEnd = result == Z_STREAM_END;
            if (const std::size_t made = unpacked.size() - stream.avail_out; made > 0)
                take({unpacked.data(), made});
            else if (result == Z_BUF_ERROR)
                break; // it wants more than is there
        }
        return true;
    }
    bool whole() const { return atEnd; }

  private:
    z_stream stream{};
    std::vector<char> unpacked = std::vector<char>(blockSize);
    bool atEnd = false;
};

} // namespace

void readPlainOrGzip(const fs::path& path, const std::function<void(std::string_view)>& take) {
    const std::string name = plat::pathText(path);
    if (fs::is_directory(path)) throw std::runtime_error(fmt::format("\"{}\" is a folder", name));
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error(fmt::format("cannot open \"{}\"", name));
    std::vector<char> block(blockSize);
    const auto next = [&] {
        in.read(block.data(), static_cast<std::streamsize>(block.size()));
        return static_cast<std::size_t>(in.gcount());
    };
    std::size_t count = next();
    if (!std::string_view(block.data(), count).starts_with("\x1F\x8B")) {
        for (; count > 0; count = next()) take({block.data(), count});
    } else {
        Unpacker unpacker;
        for (; count > 0; count = next())
            if (!unpacker.unpack(block, count, take))
                throw std::runtime_error(fmt::format("\"{}\" is damaged", name));
        if (!unpacker.whole()) throw std::runtime_error(fmt::format("\"{}\" ends too early", name));
    }
    if (in.bad()) throw std::runtime_error(fmt::format("cannot read \"{}\"", name));
}

} // namespace rig
