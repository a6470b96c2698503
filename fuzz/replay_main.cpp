// Replays a corpus through a fuzz target where libFuzzer is not linked: every file of the folders and every file
// named on the command line.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

static int replay(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    return 1;
}

int main(int argc, char** argv) {
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        if (std::filesystem::is_directory(argv[i]))
            for (const auto& entry : std::filesystem::directory_iterator(argv[i]))
                count += replay(entry.path());
        else
            count += replay(argv[i]);
    }
    std::printf("%d inputs replayed\n", count);
    return count > 0 ? 0 : 1;
}
