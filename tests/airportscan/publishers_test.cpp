// Who made a scenery: by its path, by its manifest, and by which manifest.

#include "airportscan/publishers.h"
#include "liveries/refdata.h"
#include "platform/files.h"
#include "support.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace fs = std::filesystem;

namespace {

class Publishers : public testing::Test {
  protected:
    Publishers() {
        scratch.enter();
        refData = RefData{};
        refData.publisherGroups = {{"Sim Wings", "simwings", "sim-wings"}, {"orbx"}, {"TropicalSim"}};
    }
    ~Publishers() override { refData = RefData{}; }

    static void write(const fs::path& path, const std::string& text) {
        fs::create_directories(path.parent_path());
        test::writeFile(path, text);
    }
    static std::string manifest(const std::string& manufacturer, const std::string& creator = "") {
        return "{\"title\": \"T\", \"manufacturer\": \"" + manufacturer + "\",\r\n \"creator\": \"" +
               creator + "\"}";
    }
    // The publisher, and the last line that was told, with plain separators.
    std::string publisher(const fs::path& bgl, bool absolute = true) {
        std::vector<std::string> lines;
        result = gf_identifyPublisher(plat::pathText(absolute ? scratch.path / bgl : bgl), lines);
        all.clear();
        for (const auto& line : lines) all += line + "\n";
        std::replace(all.begin(), all.end(), '\\', '/');
        const std::string root = scratch.path.generic_string();
        for (auto at = all.find(root); at != all.npos; at = all.find(root)) all.replace(at, root.size(), "~");
        const auto last = all.rfind('\n', all.size() - 2) + 1;
        return result.publisher + "|" + all.substr(last, all.size() - 1 - last);
    }
    const test::ScratchFolder scratch;
    PublisherResult result;
    std::string all;
};

} // namespace

TEST_F(Publishers, ThePathComesFirst) {
    write("Community/orbx-lszh/manifest.json", manifest("simwings"));
    EXPECT_EQ(publisher("Official/OneStore/MICROSOFT-AIRPORT-orbx/x.bgl"),
              "simaddon|from filename => publisher simaddon");
    EXPECT_EQ(publisher("Official/Steam/asobo-airport-lfpg/x.bgl").substr(0, 9), "simaddon|");
    EXPECT_EQ(publisher("Community/orbx-lszh/x.bgl"), "orbx|publisher \"orbx\" found");
    EXPECT_EQ(all, "\nTry find publisher in: ~/Community/orbx-lszh/x.bgl\npublisher \"orbx\" found\n");
    EXPECT_EQ(result.manifest.manufacturer, "") << "it was not needed";
    EXPECT_EQ(publisher("Community/my-SIMWINGS-eddm/x.bgl"), "Sim Wings|publisher \"Sim Wings\" found")
        << "the second name of its group, in another case";
}

TEST_F(Publishers, ThenTheManifestOfThePackage) {
    const fs::path bgl = "Community/eddm/scenery/world/x.bgl", top = "Community/eddm/manifest.json";
    EXPECT_EQ(publisher(bgl), "unknown|===> No publisher found");
    write(top, manifest("Orbx Ltd", "simwings"));
    EXPECT_EQ(publisher(bgl), "orbx|from manifest.json: manufacturer \"Orbx Ltd\" => publisher \"orbx\"");
    EXPECT_EQ(all, "\nTry find publisher in: ~/Community/eddm/scenery/world/x.bgl\n"
                   "~/Community/eddm/manifest.json found\n"
                   "from manifest.json: manufacturer \"Orbx Ltd\" => publisher \"orbx\"\n");
    EXPECT_EQ(result.manifest.title, "T");
    write(top, manifest("nobody", "by TROPICALSIM"));
    EXPECT_EQ(publisher(bgl),
              "TropicalSim|from manifest.json creator \"by TROPICALSIM\" => publisher \"TropicalSim\"");
    write(top, "\xEF\xBB\xBF{\"manufacturer\": 12,\n\"creator\": \"orbx\"}");
    EXPECT_EQ(publisher(bgl), "orbx|from manifest.json creator \"orbx\" => publisher \"orbx\"")
        << "a number counts as none";
    write(top, manifest("nobody", "me"));
    EXPECT_EQ(publisher(bgl),
              "unknown|no valid info found in manifest about publisher, manufacturer:\"nobody\", "
              "creator:\"me\" ~/Community/eddm/scenery/world/x.bgl");
    EXPECT_EQ(result.manifest.manufacturer + result.manifest.creator, "nobodyme");
}

TEST_F(Publishers, WhichManifestItIs) {
    const fs::path bgl = "Community/eddm/scenery/world/x.bgl", top = "Community/eddm/manifest.json",
                   deep = "Community/eddm/scenery/manifest.json";
    write(deep, manifest("orbx"));
    EXPECT_EQ(publisher(bgl).substr(0, 5), "orbx|") << "none in the package's top folder";
    for (const std::string& broken : {std::string("[{\"manufacturer\": \"orbx\"}]"), std::string("\"orbx\""),
                                      std::string("{\"manufacturer\": \"orb"), std::string(),
                                      manifest("orbx") + std::string(1 << 20, ' ')}) {
        write(top, broken);
        EXPECT_EQ(publisher(bgl), "unknown|===> No publisher found") << "a broken one there ends the search";
    }
    fs::remove(top);
    write("Community/eddm/Manifest.json", "[]"); // another name, whatever the system makes of it
    EXPECT_EQ(publisher(bgl).substr(0, 5), "orbx|");
    fs::create_directories(top); // a folder
    EXPECT_EQ(publisher(bgl).substr(0, 5), "orbx|");

    // Outside Community, from the root down; one that is broken does not end it.
    write("Official/manifest.json", "[]");
    write("Official/OneStore/some-pkg/manifest.json", manifest("TropicalSim"));
    write("Official/OneStore/some-pkg/scenery/manifest.json", manifest("orbx"));
    EXPECT_EQ(publisher("Official/OneStore/some-pkg/scenery/x.bgl").substr(0, 12), "TropicalSim|");
    EXPECT_EQ(publisher("Official/OneStore/some-pkg/scenery/x.bgl", false).substr(0, 12), "TropicalSim|");

    // The word is only part of the last names of a path.
    write("here/manifest.json", manifest("orbx"));
    for (const char* name :
         {"here/Community", "here/Community.bgl", "here/Community/x.bgl", "here/MyCommunity/"})
        EXPECT_EQ(publisher(name).substr(0, 5), "orbx|") << name;
}
