// Registrations: the lines of the text files, the downloaded list with its two rotations, and what becomes of them in
// the table of titles.

#include "liveries/regcodes.h"
#include "scan_test.h"

#include <pugixml.hpp>

#include <set>

class Regcodes : public ScanTest {
  protected:
    Regcodes() {
        std::filesystem::create_directories(folders.myRegcodes);
        std::filesystem::create_directories("served");
        gf_setDownloadBase(plat::pathText(folder.path / "served") + "/");
    }
    static void serve(const std::string& xml) {
        rig::writeZip("served/AIG-regcodes.zip", {{"AIG-regcodes.xml", xml}});
    }
    static std::string livery(const std::string& title, const std::vector<std::string>& regs,
                              const std::string& special = "") {
        std::string list;
        for (const auto& reg : regs) list += (list.empty() ? " reg='" : ",") + gf_encryptReg(reg);
        return "<livery title='" + title + "'" + list + (regs.empty() ? "" : "'") + " special='" + special +
               "'/>";
    }
    static void user(const std::string& name, const std::string& text) {
        test::writeFile(folders.myRegcodes / name, text);
    }
    // The store of the titles A to E, and of the liveries' own registrations.
    static void index(const std::vector<Livery>& liveries) {
        auto all = liveries;
        for (const char* title : {"A", "B", "C", "D", "E"}) all.push_back({"BAW", "A320", title, ""});
        gf_indexLiveries(all);
        liveryStore.regcodeTitles.clear();
        gf_loadInlineRegcodes(all);
    }
    static std::string entry(const char* line, bool good = true) {
        std::vector<RegcodeEntry> entries;
        EXPECT_EQ(gf_parseRegcodeLine(line, "file.txt", entries), good) << line;
        std::string result;
        for (const auto& e : entries) {
            result += e.title + ":";
            for (const auto& regcode : e.regcodes) result += " " + regcode;
            if (e.special) result += " special";
        }
        return result;
    }
    static bool exists(const char* name) { return std::filesystem::exists(folders.input / name); }
    static std::string report() { return plain(test::readFile(folders.info / "OfflineRegcodes.txt")); }
};

TEST_F(Regcodes, ALineOfATextFile) {
    EXPECT_EQ(entry(""), "");
    EXPECT_EQ(entry("A title, with more"), "A title, with more:");
    EXPECT_EQ(entry("A;G-EUUA"), "A: G-EUUA special");
    EXPECT_EQ(entry("A;G-EUUA;"), "A: G-EUUA special");
    EXPECT_EQ(entry("A;G-EUUA,N1B"), "A: G-EUUA N1B");
    EXPECT_EQ(entry("A;G-EUUA,N1B;#"), "A: G-EUUA N1B special");
    EXPECT_EQ(entry("A;G-EUUA,N1B;x"), "A: G-EUUA N1B");
    EXPECT_EQ(entry("A; G-EUUA,N1B "), "A:  G-EUUA N1B ") << "nothing is trimmed";
    EXPECT_EQ(entry("A;123456789012"), "A: 123456789012 special");
    EXPECT_FALSE(logged("file.txt"));
    EXPECT_EQ(entry("A;N1"), "");
    EXPECT_EQ(entry("A;1234567890123"), "");
    EXPECT_TRUE(logged(
        "wrong regcode length \"N1\" in file.txt\nwrong regcode length \"1234567890123\" in file.txt\n"));
    EXPECT_FALSE(logged("regs empty"));
    EXPECT_EQ(entry("A;N1,G-EUUA,1234567890123"), "A: G-EUUA") << "not special, though one is left";
    EXPECT_EQ(entry("A;"), "");
    EXPECT_EQ(entry("A;N1,N2"), "");
    EXPECT_TRUE(logged("wrong regcode length \"N2\" in file.txt\nfile.txt ; regs empty? \n"));
    EXPECT_EQ(entry("A;G-EUUA;#;x", false), "");
    EXPECT_TRUE(logged("file.txt: wrong format \"A;G-EUUA;#;x\""));
}

TEST_F(Regcodes, TheFirstOfTheLiveriesOwnRegistrationsStays) {
    index({{"BAW", "A320", "A", "G-EUUA"},
           {"BAW", "A320", "A", "G-EUUA"},
           {"AFR", "A320", "B", "G-EUUA"},
           {"AFR", "A320", "C", "N123AB"},
           {"AFR", "A320", "D", ""}});
    EXPECT_EQ(liveryStore.regcodeTitles.size(), 2u);
    EXPECT_EQ(liveryStore.regcodeTitles["G-EUUA"], "A");
    const auto clashes = folders.errors / "InlineRegcodes.txt";
    EXPECT_EQ(plain(test::readFile(clashes)), "G-EUUA \"B\" => already in use by \"A\"\n");
    EXPECT_TRUE(logged("1 in-line regcode clashes, see \"" + plain(clashes) + "\""));
    gf_loadInlineRegcodes({{"BAW", "A320", "not installed", "G-X"}});
    EXPECT_EQ(plain(test::readFile(clashes)),
              "==> [BAW A320] G-X \"not installed\" not available, system error, should not happen?\n");
}

TEST_F(Regcodes, ALaterSourceBeatsAnEarlierOne) {
    serve("<x/><AIG-regcodes>" + livery("B", {"G-EUUA", "G-EUUB", "G-EUUC"}, "Yes") + livery("", {"G-EUUD"}) +
          livery("not installed", {"G-EUUD"}, "1") + livery("C", {"G-EUUE"}, "0") + "</AIG-regcodes>");
    user("b.TXT", "\xEF\xBB\xBF"
                  "C;G-EUUB\r\nD;N1B,G-EUUC\r\n\r\nnot to use\r\n");
    user("c.txt", "E;N1B,G-EUUC,G-EUUF\nnot installed;G-EUUE;#");
    user("a.txt.bak", "A;G-EUUA");
    index({{"BAW", "A320", "A", "G-EUUA"}});
    gf_loadRegcodeFiles();
    std::set<std::string> titles;
    for (const auto& [regcode, title] : liveryStore.regcodeTitles)
        titles.insert(regcode + " " + std::string(title));
    EXPECT_EQ(titles,
              (std::set<std::string>{"G-EUUA B", "G-EUUB C", "G-EUUC E", "G-EUUE C", "G-EUUF E", "N1B E"}));
    EXPECT_EQ(liveryStore.specialTitles, (std::unordered_set<std::string_view, TextHash>{"B", "C"}));
    const std::string xml = plain(folders.input / "AIG-regcodes.xml");
    EXPECT_EQ(report(), "Processing file " + xml +
                            "\n   regcode G-EUUA for \"B\", instead of the same for \"A\"\n"
                            "3 new regcodes added, 1 regcode replaced, 1 regcode defined as special\n"
                            "Processing files in " +
                            plain(folders.myRegcodes) +
                            "\n   regcode G-EUUB for \"C\", instead of the same for \"B\"\n"
                            "   regcode G-EUUC for \"D\", instead of the same for \"B\"\n"
                            "   regcode N1B for \"E\", instead of the same for \"D\"\n"
                            "   regcode G-EUUC for \"E\", instead of the same for \"D\"\n"
                            "2 new regcodes added, 4 regcodes replaced, 1 regcode defined as special\n");
    EXPECT_TRUE(logged("3 liveries read from " + xml));
    EXPECT_TRUE(logged("3 liveries read\nProcessing regcodes file")) << "the first text file";
    EXPECT_TRUE(logged("2 special liveries"));
    EXPECT_EQ(liveryStore.regcodeTitles["G-EUUA"].data(), liveryStore.modelLiveries[0]["A320"][2].data())
        << "a view of the store's text";
}

// A scan with its indexing fetches the list twice, so that both older copies are of this start.
TEST_F(Regcodes, TheListIsFetchedAndRotatedTwiceInAScan) {
    serve("<AIG-regcodes>" + livery("A", {}) + livery("B", {"G-EUUB"}) + "</AIG-regcodes>");
    user("x.txt", "C\nD;G-EUUD\n");
    dontUseTitles = {"left over"};
    gf_readDontUseTitles();
    EXPECT_EQ(dontUseTitles, (std::vector<std::string>{"A", "C"}));
    EXPECT_TRUE(logged("1 don't use title read\n"));
    EXPECT_TRUE(logged("1 don't use title read from files in " + plain(folders.myRegcodes)));
    EXPECT_FALSE(exists("AIG-regcodes.xml"));
    EXPECT_TRUE(exists("AIG-regcodes0.xml"));
    EXPECT_FALSE(exists("AIG-regcodes00.xml"));
    write("fleet/aircraft.cfg",
          "icao_type_designator=A320\n[fltsim.0]\ntitle=A\nicao_airline=BAW\n[fltsim.1]\ntitle=B\n"
          "icao_airline=BAW\n[fltsim.2]\ntitle=C\nicao_airline=BAW\n");
    EXPECT_EQ(texts(search()), "BAW A320 B |");
    index({});
    gf_loadRegcodeFiles();
    EXPECT_FALSE(exists("AIG-regcodes.xml"));
    EXPECT_TRUE(exists("AIG-regcodes0.xml") && exists("AIG-regcodes00.xml"));
    EXPECT_EQ(liveryStore.regcodeTitles["G-EUUB"], "B");
}

TEST_F(Regcodes, AMissingOrBrokenSourceLeavesTheOthers) {
    user("x.txt", "A;G-EUUA\na;b;c;d\nB;G-EUUB");
    index({{"BAW", "A320", "C", "G-EUUC"}});
    gf_readDontUseTitles();
    EXPECT_TRUE(logged("reading AIG-regcodes.zip failed?"));
    gf_loadRegcodeFiles();
    EXPECT_TRUE(logged("reading AIG-regcodes failed?"));
    const std::string bad = "There were errors in processing the regcode files in folder \"" +
                            plain(folders.myRegcodes) + "\", see the Log.txt";
    EXPECT_EQ(report(), "Processing files in " + plain(folders.myRegcodes) + "\n" + bad +
                            "\n2 new regcodes added, 2 regcodes defined as special\n");
    EXPECT_EQ(plain(gf_shownMessage()), bad);
    EXPECT_EQ(liveryStore.regcodeTitles.size(), 3u) << "the lines behind the bad one count";
    gf_clearMessage();

    serve("<AIG-regcodes><livery title=");
    std::filesystem::remove_all(folders.myRegcodes);
    gf_readDontUseTitles();
    gf_loadRegcodeFiles();
    const std::string xml = plain(folders.input / "AIG-regcodes.xml");
    EXPECT_TRUE(logged("Failed to load " + xml));
    EXPECT_EQ(report(), "Processing file " + xml +
                            "\nThere were errors in processing the AIG-regcode file \"" + xml +
                            "\", see the Log.txt\n0 new regcodes added\n");
    EXPECT_FALSE(exists("AIG-regcodes.xml"));
    EXPECT_FALSE(exists("AIG-regcodes0.xml")) << "what could not be read is no copy to keep";
    EXPECT_EQ(liveryStore.regcodeTitles.size(), 3u);
}

TEST_F(Regcodes, OddRegistrationsOfTheListAreLeftOut) {
    const std::string tooLong(25, 'A');
    pugi::xml_document document;
    document.load_string(fmt::format("<AIG-regcodes><livery title='A' reg='{0}'/><livery title='B' reg=','/>"
                                     "<livery title='C' reg='{0},,{1}'/><livery reg='x'/>"
                                     "<livery title='D' reg='' special='true'/></AIG-regcodes>",
                                     tooLong, gf_encryptReg("G-EUUA"))
                             .c_str());
    std::vector<RegcodeEntry> entries;
    gf_readRegcodesDocument(document, entries);
    ASSERT_EQ(entries.size(), 2u) << "neither A nor B turns into a title not to use";
    EXPECT_EQ(entries[0].title + entries[1].title, "CD");
    EXPECT_EQ(entries[0].regcodes, std::vector<std::string>{"G-EUUA"});
    EXPECT_TRUE(entries[1].regcodes.empty() && entries[1].special);
    EXPECT_TRUE(logged("wrong regcode \"" + tooLong + "\" in AIG-regcodes"));
}

// A title in 8-bit text is the same title in the livery and in the user's file.
TEST_F(Regcodes, TextFilesInOtherEncodings) {
    user("a.txt", "Z\xFCrich;G-EUUA\rA;G-EUUB");
    std::string wide = "\xFF\xFE";
    for (const char c : std::string("B;G-EUUC\r\n")) wide += {c, '\0'};
    user("b.txt", wide);
    index({{"BAW", "A320", "Zürich", ""}});
    gf_loadRegcodeFiles();
    EXPECT_EQ(liveryStore.regcodeTitles["G-EUUA"], "Zürich");
    EXPECT_EQ(liveryStore.regcodeTitles["G-EUUB"], "A");
    EXPECT_EQ(liveryStore.regcodeTitles["G-EUUC"], "B");
}
