// The scrambling of codes: decoders against encoders, and against values written down once.

#include "liveries_test.h"

static std::string alphabet() {
    std::string all;
    for (char c = '-'; c <= 'Z'; ++c) all += c;
    return all;
}

TEST(Scramble, EveryCharacterInEveryPlaceComesBackAndStaysInTheAlphabet) {
    const std::string all = alphabet();
    ASSERT_EQ(all.size(), 46u);
    for (std::size_t start = 0; start < all.size(); ++start) {
        const std::string turned =
            all.substr(start) + all.substr(0, start); // places see every character in turn
        for (const std::size_t length : {2u, 3u, 4u}) {
            const std::string plain = turned.substr(0, length), stored = gf_encryptType(plain);
            EXPECT_EQ(gf_decryptType(stored), plain);
            EXPECT_EQ(stored.find_first_not_of(all), std::string::npos) << plain;
            EXPECT_NE(stored, plain);
        }
        const std::string airline = turned.substr(0, 3), reg = turned.substr(0, 24);
        EXPECT_EQ(gf_decryptAirl(gf_encryptAirl(airline)), airline);
        EXPECT_EQ(gf_encryptAirl(airline).size(), 6u);
        EXPECT_EQ(gf_encryptAirl(airline).find_first_not_of(all), std::string::npos);
        EXPECT_EQ(gf_decryptReg(gf_encryptReg(reg)), reg);
    }
}

// Files out there are written with these offsets: a change makes them unreadable.
TEST(Scramble, StoredTextsDecodeAsTheyAlwaysDid) {
    EXPECT_EQ(gf_decryptType("4M:>"), "A320");
    EXPECT_EQ(gf_decryptType("Q?<"), "F16"); // 'Q' + 19 is 100, wraps to '6'
    EXPECT_EQ(gf_decryptAirl("-R-K3-"), "BAW");
    EXPECT_EQ(gf_decryptReg("D>:ZLA"), "G-BAFM");
}

TEST(Scramble, TypesOfOtherLengthsGiveTwoCharacters) {
    EXPECT_EQ(gf_decryptType(""), "");
    const std::string outside = gf_decryptType("\xFF\xFE"); // one step down, no further
    EXPECT_LT(outside.find_first_not_of(alphabet()), 2u);
    const std::string two = gf_encryptType("A5");
    EXPECT_EQ(gf_decryptType(two), "A5");
    EXPECT_EQ(gf_decryptType(two + "XYZ"), "A5") << "five stored characters";
    EXPECT_THROW(gf_decryptType("A"), std::out_of_range);
    EXPECT_THROW(gf_encryptType("A"), std::invalid_argument);
    EXPECT_THROW(gf_encryptType("A3200"), std::invalid_argument);
}

TEST(Scramble, RegistrationsKeepThePlusAndEndAt24Characters) {
    const std::string plain = "G-BA+FM";
    const std::string stored = gf_encryptReg(plain);
    EXPECT_EQ(stored[4], '+');
    EXPECT_EQ(gf_decryptReg(stored), plain) << "the plus has used its place up";
    EXPECT_THROW(gf_decryptReg(std::string(25, 'A')), std::out_of_range);
    EXPECT_EQ(gf_decryptReg(gf_encryptReg(std::string(24, 'A')) + "++"), std::string(24, 'A') + "++");
}

TEST_F(LiveriesTest, AirlinesOfThreeAndOfOtherLengths) {
    EXPECT_EQ(gf_decryptAirl(""), "");
    EXPECT_EQ(gf_decryptAirl("BAW"), "BAW");
    EXPECT_TRUE(logged("Unencrypted airline BAW in decrypt airl?"));
    EXPECT_THROW(gf_decryptAirl("BAWX"), std::runtime_error);
}
