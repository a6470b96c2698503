// Reading of the reference data file: what each section gives, and what goes wrong.

#include "app/errors.h"
#include "comma_locale.h"
#include "liveries_test.h"

#include <pugixml.hpp>

using DbaseReading = LiveriesTest;

static std::string thrownBy(const std::function<void()>& act) {
    try {
        act();
    } catch (const std::exception& e) {
        return e.what();
    }
    return "nothing";
}

TEST_F(DbaseReading, FillsEveryStore) {
    auto tables = smallTables();
    tables.publishers = {
        {"orbx", "orbx simulations"}, {"aerosoft"}, {"orbx", "orbx simulations"}, {"", "gaya", ""}, {"", ""}};
    read(rig::dbaseXml(tables));
    EXPECT_EQ(refData.allModels.size(), 9u);
    EXPECT_EQ(refData.largeModels, (TextSet{"A320", "A321"}));
    EXPECT_EQ(refData.heavyModels, (TextSet{"B772"}));
    EXPECT_EQ(refData.buzjetModels, (TextSet{"C25B"}));
    EXPECT_EQ(refData.rotorModels, (TextSet{"A139"}));
    EXPECT_EQ(refData.highPerfModels, (TextSet{"F16"}));
    EXPECT_EQ(refData.cargoModels, (TextSet{"B772"}));
    EXPECT_EQ(refData.icaoAirlines, (TextSet{"AFR", "BAW", "FDX", "PHA"}));
    EXPECT_EQ(refData.cargoOperators, (TextSet{"FDX"}));
    EXPECT_EQ(refData.similarGroups, (std::vector<std::vector<std::string>>{{"A320", "A321"}})) << "sorted";
    EXPECT_EQ(refData.publisherGroups,
              (std::vector<std::vector<std::string>>{{"gaya"}, {"aerosoft"}, {"orbx", "orbx simulations"}}))
        << "sorted by their texts, once each, without empty names";
    EXPECT_EQ(refData.modelFixes.at("A32N"), "A320");
    EXPECT_EQ(refData.simaddonAirports20, (TextSet{"EGLL"}));
    EXPECT_EQ(refData.dbaseRegcodes.size(), 3u);
    const auto freighter = refData.dbaseRegcodes.find("N123AB");
    ASSERT_TRUE(freighter);
    EXPECT_EQ(freighter->airl + freighter->type + freighter->opr, "FDXB772AFR");
    EXPECT_TRUE(freighter->cargo);
    EXPECT_EQ(refData.dbaseRegcodes.find("G-BAFM")->airl, "") << "an absent attribute";

    tables.types.pop_back(); // reading again starts from empty stores
    tables.registrations.pop_back();
    read(rig::dbaseXml(tables));
    EXPECT_FALSE(gf_isValidModel("A5"));
    EXPECT_EQ(refData.dbaseRegcodes.size(), 2u);
}

TEST_F(DbaseReading, WingSpansAndTheirMeans) {
    std::string xml = rig::dbaseXml(smallTables());
    const auto span = [](const char* type, const char* meters) {
        std::string stored;
        for (const char c : gf_encryptType(type))
            stored += c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
        return "<wingspan type=\"" + stored + "\" meters=\"" + meters + "\"/>";
    };
    replaceSection(xml, "wingspans",
                   span("A320", "36") + span("A320", "99") + span("A321", "40") + span("XXXX", "10") +
                       span("B772", "60.5") + "<wingspan type=\"" + gf_encryptType("C172") + "\"/>");
    read(xml);
    constexpr double toHalfNm = 0.5 * 0.0005399568034557236;
    EXPECT_DOUBLE_EQ(gf_halfWingspanNm("A320"), 36 * toHalfNm) << "the first of two";
    EXPECT_DOUBLE_EQ(refData.wingspanByCategory[2], 38 * toHalfNm);
    EXPECT_DOUBLE_EQ(gf_halfWingspanNm("B772"), 60.5 * toHalfNm);
    EXPECT_DOUBLE_EQ(gf_halfWingspanNm("C172"), 0) << "no meters: 0";
    EXPECT_DOUBLE_EQ(refData.maxHalfWingspan, 99 * toHalfNm) << "raised by the second all the same";
    EXPECT_TRUE(logged("wingspan model XXXX is no valid model, skipped"));
    EXPECT_GT(gf_halfWingspanNm("F16"), 0) << "no span in its category: no aircraft is a point";
}

TEST_F(DbaseReading, MetersHaveAPointWhateverTheLocale) {
    const test::CommaLocale comma;
    if (!comma.ok()) GTEST_SKIP() << "no tool to make a locale";
    read(rig::dbaseXml(smallTables()));
    EXPECT_DOUBLE_EQ(gf_halfWingspanNm("A320"), 35.8 * 0.5 * 0.0005399568034557236);
}

TEST_F(DbaseReading, ElementsThatAreSkippedLeaveALine) {
    auto tables = smallTables();
    tables.fixes = {{"A32N", "A320"}, {"A32N", "A321"}, {"B77X", "B999"}, {"B77Y", ""}};
    tables.registrations.push_back({"G-BAFM", "AFR", "A320", "", true});
    read(rig::dbaseXml(tables));
    EXPECT_EQ(refData.modelFixes.at("A32N"), "A320");
    EXPECT_EQ(refData.modelFixes.size(), 1u);
    EXPECT_TRUE(logged("wrong part of fix: \"A32N\", already exists, skipped"));
    EXPECT_TRUE(logged("wrong fix B77X->B999, the latter is not a valid model"));
    EXPECT_TRUE(logged("wrong fix B77Y->, the latter is not a valid model"));
    EXPECT_EQ(refData.dbaseRegcodes.find("G-BAFM")->type, "C172");
    EXPECT_TRUE(logged("regcode G-BAFM already exists"));
}

TEST_F(DbaseReading, TheCargoFlagFollowsTheFirstCharacter) {
    std::string xml = rig::dbaseXml(smallTables()), rows;
    const std::vector<std::string> values{"1", "true", "Yes", "T", "0", "false", "", "on"};
    for (std::size_t i = 0; i < values.size(); ++i)
        rows += "<db reg=\"" + gf_encryptReg("AA" + std::to_string(i)) + "\" cargo=\"" + values[i] + "\"/>";
    replaceSection(xml, "dbase", rows + "<db reg=\"" + gf_encryptReg("BB") + "\" cargo=\"1\" cargo=\"0\"/>");
    read(xml);
    for (std::size_t i = 0; i < values.size(); ++i)
        EXPECT_EQ(refData.dbaseRegcodes.find("AA" + std::to_string(i))->cargo, i < 4) << values[i];
    EXPECT_TRUE(refData.dbaseRegcodes.find("BB")->cargo) << "the first of two attributes";
}

TEST_F(DbaseReading, ThirdPartiesKeepTheOrderOfTheFileAndMayBeMissing) {
    std::string xml = rig::dbaseXml(smallTables());
    replace(xml, "<thirdparties20/>",
            "<thirdparties20><thirdpartie20 pub=\"z\" arpts=\"EGLL12,EDDF9,\"/><other/>"
            "<thirdpartie20 pub=\"a\"/></thirdparties20>");
    replace(xml, "<thirdparties24/>", "");
    read(xml);
    ASSERT_EQ(refData.thirdParties20.size(), 2u);
    EXPECT_EQ(refData.thirdParties20[0].publisher, "z");
    EXPECT_EQ(refData.thirdParties20[0].airports, (std::vector<std::string>{"EGLL12", "EDDF9", ""}));
    EXPECT_TRUE(refData.thirdParties20[1].airports.empty() && refData.thirdParties24.empty());
}

TEST_F(DbaseReading, AFileThatIsNoXmlOrMissingIsError60) {
    EXPECT_EQ(thrownBy([] { read("<aircrafts><aircraft types="); }),
              "60: \"data.xml\" not read because of Error parsing element attribute");
    EXPECT_EQ(thrownBy([] { gf_readDbaseFile("none.xml"); }),
              "60: \"none.xml\" not read because of File was not found");
    EXPECT_EQ(thrownBy([] { read(""); }), "60: \"data.xml\" not read because of No document element found");
}

TEST_F(DbaseReading, ARequiredSectionThatIsEmptyOrMissingIsError61) {
    const std::string sections[] = {"aircrafts",       "high_performance", "heavy",       "large",
                                    "buzjet",          "rotorcraft",       "cargo_types", "ICAO_airlines",
                                    "cargo_operators", "simaddons20"};
    for (const auto& section : sections) {
        std::string xml = rig::dbaseXml(smallTables());
        replaceSection(xml, section, "<something/>");
        EXPECT_TRUE(thrownBy([&] { read(xml); }).starts_with("61: In an xml file section " + section + " "))
            << section;
        replace(xml, "<" + section + "><something/></" + section + ">", "");
        EXPECT_TRUE(thrownBy([&] { read(xml); }).ends_with(" is empty ")) << section;
    }
    std::string xml = rig::dbaseXml(smallTables());
    replaceSection(xml, "aircrafts", "<aircraft/>");
    EXPECT_EQ(thrownBy([&] { read(xml); }), "61: In an xml file section aircrafts aircraft types is empty ");
}

TEST_F(DbaseReading, BadCodesStopTheReadingWithTheirError) {
    std::string xml = rig::dbaseXml(smallTables());
    replaceSection(xml, "ICAO_airlines", "<ICAO codes=\"BAW,AFR1\"/>");
    EXPECT_EQ(thrownBy([&] { read(xml); }), "decrypt airl \"AFR1\" error");
    xml = rig::dbaseXml(smallTables());
    replaceSection(xml, "wingspans", "<wingspan type=\"A\" meters=\"1\"/>");
    EXPECT_EQ(thrownBy([&] { read(xml); }),
              "exception code \"A\" is too short in reading wingspans from \"data.xml\"");
    xml = rig::dbaseXml(smallTables());
    replaceSection(xml, "dbase", "<db reg=\"ABCDEFGHIJKLMNOPQRSTUVWXY\"/>");
    EXPECT_THROW(read(xml), std::out_of_range);
    pugi::xml_document document;
    document.load_string(rig::dbaseXml(smallTables()).c_str());
    TextSet set;
    EXPECT_THROW(gf_readSection(document, "no[name", "a", "b", set), pugi::xpath_exception);
}

// The road from the server to the stores.
TEST_F(DbaseReading, DownloadsReadsAndDeletesTheFile) {
    rig::writeDownloadTree(smallTables(), folder.path / "download");
    EXPECT_TRUE(gf_readDbase());
    EXPECT_EQ(refData.dbaseRegcodes.size(), 3u);
    EXPECT_FALSE(std::filesystem::exists("input/temp2.xml") || std::filesystem::exists("dbase.zip"));

    rig::writeZip("download/dbase.zip", {{"temp2.xml", "<aircrafts/>"}});
    EXPECT_TRUE(thrownBy([] { gf_readDbase(); }).starts_with("61: "));
    EXPECT_EQ(test::readFile("input/temp2.xml"), "<aircrafts/>") << "stays for a look";

    std::filesystem::remove_all("download");
    EXPECT_EQ(thrownBy([] { gf_readDbase(); }), "data base could not be read from on-line?");
    EXPECT_TRUE(logged("downloading dbase.zip failed?"));
}
