// The manual against the program: nothing that a user can set, click or be told by number is missing in it.

#include "app/folders.h"
#include "app/log.h"
#include "app/parameters.h"
#include "rig.h"
#include "support.h"

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <map>
#include <regex>
#include <set>
#include <string>

namespace fs = std::filesystem;

static const std::string& manual() {
    static const std::string text = test::readFile(rig::sourceFolder() / "manual" / "manual.md");
    return text;
}

// As a whole word.
static bool told(const std::string& name) {
    const auto isPart = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; };
    for (std::size_t at = manual().find(name); at != std::string::npos; at = manual().find(name, at + 1)) {
        const std::size_t end = at + name.size();
        if ((at == 0 || !isPart(manual()[at - 1])) && (end == manual().size() || !isPart(manual()[end])))
            return true;
    }
    return false;
}

TEST(Manual, TellsOfEveryParameter) {
    const test::ScratchFolder folder;
    folder.enter();
    gf_buildFolders();
    fs::create_directories(folders.appData);
    gf_openLog();
    gf_readParameters(); // writes a file with all of them
    gf_closeLog();
    pugi::xml_document document;
    ASSERT_TRUE(document.load_file(folders.parameters.c_str()));
    std::set<std::string> names{"lfolder0",   "lfolder9",         "parking_percentage",
                                "MAX_FIT_FL", "ALL_INSTALL_PATH", "CALLSIGN_2_OBJECTID"};
    for (const auto& node : document.child("parameters").children("parameter"))
        names.insert(node.attribute("name").value());
    EXPECT_GT(names.size(), 50u);
    for (const std::string& name : names) EXPECT_TRUE(told(name)) << name;
    gf_resetParametersToDefaults();
}

// Each label in the window's table, but for units; and each button.
TEST(Manual, TellsOfEveryControl) {
    const std::string source = test::readFile(rig::sourceFolder() / "src" / "window" / "labels.cpp");
    std::set<std::string> labels;
    const std::regex quoted("\\{\"([A-Za-z][A-Za-z ]{2,}:?) *\", [0-9]+, ");
    for (auto it = std::sregex_iterator(source.begin(), source.end(), quoted); it != std::sregex_iterator();
         ++it)
        labels.insert((*it)[1]);
    for (const char* button : {"Unblock", "Re-read", "Flush static"}) labels.insert(button);
    EXPECT_GT(labels.size(), 25u);
    for (const std::string& label : labels) EXPECT_NE(manual().find(label), std::string::npos) << label;
}

// Each number with which the sources raise an error for the user.
TEST(Manual, TellsOfEveryNumberedError) {
    std::set<std::string> numbers;
    const std::regex raised("UserErrorException\\(\\s*([A-Za-z0-9]+)\\s*,"),
        constant("([A-Za-z]+) = ([0-9]+)");
    for (const auto& entry : fs::recursive_directory_iterator(rig::sourceFolder() / "src")) {
        if (entry.path().extension() != ".cpp") continue;
        const std::string source = test::readFile(entry.path());
        std::map<std::string, std::string> constants;
        for (auto it = std::sregex_iterator(source.begin(), source.end(), constant);
             it != std::sregex_iterator(); ++it)
            constants[(*it)[1]] = (*it)[2];
        for (auto it = std::sregex_iterator(source.begin(), source.end(), raised);
             it != std::sregex_iterator(); ++it) {
            const std::string number = (*it)[1];
            if (std::isdigit(static_cast<unsigned char>(number[0])) != 0)
                numbers.insert(number);
            else if (constants.count(number) > 0)
                numbers.insert(constants[number]);
            else
                ADD_FAILURE() << "which number is " << number << " in " << entry.path() << "?";
        }
    }
    for (const char* known : {"41", "48", "94", "99", "150", "533"})
        EXPECT_EQ(numbers.count(known), 1u) << known;
    const std::size_t section = manual().find("Numbered errors</h2>");
    ASSERT_NE(section, std::string::npos);
    for (const std::string& number : numbers)
        EXPECT_TRUE(std::regex_search(manual().substr(section),
                                      std::regex("\\n\\| ([0-9]+, )?" + number + "(, [0-9]+)? \\|")))
            << number;
}

// Two messages of the program send the user there.
TEST(Manual, SectionFiveOneIsAboutLiveryFolders) {
    EXPECT_NE(manual().find("### 5.1 Livery folders"), std::string::npos);
}
