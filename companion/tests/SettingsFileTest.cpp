// What all sections have in common; what is in one of them is tried where it is read.
#include "companion/SettingsFile.h"

#include <gtest/gtest.h>

namespace
{

using companion::Complaints;
using companion::parseSettings;

constexpr char kText[] = "[player]\nhardware_decoding = on\n[device]\nverify_certificates = on\n";

TEST(SettingsFile, SetsTheSwitchesOfItsSectionAlone)
{
    bool bHardware = false;
    bool bOther = false;
    EXPECT_TRUE(parseSettings(kText, "player", {{"other", &bOther}, {"hardware_decoding", &bHardware}}).empty());
    EXPECT_TRUE(bHardware);
    EXPECT_FALSE(bOther);
    EXPECT_TRUE(parseSettings(kText, "nobody", {}).empty());
}

TEST(SettingsFile, LeavesASwitchAsItIsWhereNothingIsSaid)
{
    bool bOn = true;
    EXPECT_TRUE(parseSettings("[player]\n", "player", {{"hardware_decoding", &bOn}}).empty());
    EXPECT_TRUE(bOn);
    EXPECT_TRUE(parseSettings("[player]\nhardware_decoding = no\n", "player", {{"hardware_decoding", &bOn}}).empty());
    EXPECT_FALSE(bOn);
}

TEST(SettingsFile, SaysWhatIsWrongInItsSection)
{
    bool bOn = false;
    const Complaints value =
        parseSettings("[player]\nhardware_decoding = perhaps\n", "player", {{"hardware_decoding", &bOn}});
    ASSERT_EQ(value.size(), 1u);
    EXPECT_EQ(value.front(), "Pellora.ini, line 2: hardware_decoding is yes or no, not \"perhaps\"; it is left out.");
    const Complaints key = parseSettings("[player]\nhardware = on\n", "player", {{"hardware_decoding", &bOn}});
    ASSERT_EQ(key.size(), 1u);
    EXPECT_EQ(key.front(), "Pellora.ini, line 2: section [player] knows no key \"hardware\"; it is left out.");
    EXPECT_FALSE(bOn);
}

TEST(SettingsFile, IsNotMissed)
{
    bool bOn = false;
    EXPECT_TRUE(companion::readSettingsFile(testing::TempDir() + "no-such-folder/Pellora.ini", "player",
                                            {{"hardware_decoding", &bOn}})
                    .empty());
    companion::readSettings("Test", "player", {{"hardware_decoding", &bOn}});
    EXPECT_FALSE(bOn);
}

} // namespace
