#include "device/src/Settings.h"

#include "companion/OwnModule.h"
#include "tests/support/TemporaryFile.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace selvik
{
namespace
{

Settings parse(const std::string &text)
{
    return Settings::parse({reinterpret_cast<const std::uint8_t *>(text.data()), text.size()});
}

TEST(Settings, AreOffWithoutAFileOrASection)
{
    EXPECT_FALSE(parse("").bVerifyCertificates);
    EXPECT_FALSE(parse("[player]\nverify_certificates = yes\nanything = at all\nor not\n").bVerifyCertificates);
    EXPECT_TRUE(parse("[player]\nverify_certificates = yes\nanything = at all\nor not\n").complaints.empty());
    const Settings missing = Settings::read(testing::TempDir() + "no-such-folder/Pellora.ini");
    EXPECT_FALSE(missing.bVerifyCertificates);
    EXPECT_TRUE(missing.complaints.empty());
}

TEST(Settings, TakeYesAndNoInEveryUsualForm)
{
    for (const char *pYes : {"yes", "YES", "true", "on", "1", " Yes \r"}) {
        const Settings settings = parse(std::string("[device]\nverify_certificates=") + pYes + "\n");
        EXPECT_TRUE(settings.bVerifyCertificates) << pYes;
        EXPECT_TRUE(settings.complaints.empty());
    }
    for (const char *pNo : {"no", "False", "off", "0"}) {
        const Settings settings = parse(std::string("[device]\nverify_certificates=") + pNo);
        EXPECT_FALSE(settings.bVerifyCertificates) << pNo;
        EXPECT_TRUE(settings.complaints.empty());
    }
}

TEST(Settings, AreReadAsEditorsWriteThem)
{
    const Settings settings = parse("\xEF\xBB\xBF; for our cameras\r\n\r\n  [ Device ]  \r\n# sign themselves\r\n"
                                    "\tVerify_Certificates = on\r\n[other]\r\nverify_certificates = off\r\n");
    EXPECT_TRUE(settings.bVerifyCertificates);
    EXPECT_TRUE(settings.complaints.empty());
}

struct WrongCase {
    const char *pText;
    const char *pComplaint; /**< what the one line has in it */
};

class WrongSettings : public testing::TestWithParam<WrongCase>
{
};

TEST_P(WrongSettings, AreOneClearLineEachAndTheDefaultHolds)
{
    const Settings settings = parse(GetParam().pText);
    EXPECT_FALSE(settings.bVerifyCertificates);
    ASSERT_EQ(settings.complaints.size(), 1U);
    EXPECT_NE(settings.complaints.front().find(GetParam().pComplaint), std::string::npos)
        << settings.complaints.front();
    EXPECT_EQ(settings.complaints.front().find_first_of("\r\n"), std::string::npos);
    EXPECT_EQ(settings.complaints.front().substr(0, 11), "Pellora.ini");
}

INSTANTIATE_TEST_SUITE_P(
    Lines, WrongSettings,
    testing::Values(WrongCase{"[device]\nverify_certificates = maybe\n",
                              "line 2: verify_certificates is yes or no, not "
                              "\"maybe\""},
                    WrongCase{"[device]\nverify_certificates =\n", "not \"\""},
                    WrongCase{"[device]\n\nverify_certificate = yes\n", "line 3: section [device] knows no key "
                                                                        "\"verify_certificate\""},
                    WrongCase{"[device]\nverify_certificates yes\n", "is no \"key = value\""},
                    WrongCase{"verify_certificates = yes\n", "line 1: \"verify_certificates = yes\" stands before"},
                    WrongCase{"[device\nverify_certificates = yes\n", "line 1: \"[device\" is no section"},
                    WrongCase{"[device]\nv\x01\x02 = yes\n", "\"v??\""}));

TEST(Settings, ComplainOnlySoOftenAndBearAnything)
{
    std::string text = "[device]\n";
    for (int i = 0; i < 1000; ++i) {
        text += "key" + std::to_string(i) + "=1\n";
    }
    EXPECT_EQ(parse(text).complaints.size(), 8U);
    EXPECT_EQ(parse(std::string(100000, '\n')).complaints.size(), 1U);
    EXPECT_EQ(parse(std::string("[\0d\0", 4)).complaints.size(), 1U);
    const Settings settings = parse("[device]\n" + std::string(60000, 'k') + " = 1\n");
    ASSERT_EQ(settings.complaints.size(), 1U);
    EXPECT_LT(settings.complaints.front().size(), 200U);
}

TEST(Settings, AreReadFromAFileOfAnyName)
{
    const testsupport::TemporaryFile file("Pellora-\xC3\xA4\xE4\xB8\xAD.ini");
    file.append(std::string("[device]\r\nverify_certificates = yes\r\n"));
    EXPECT_TRUE(Settings::read(file.path()).bVerifyCertificates);
}

#ifdef _WIN32
TEST(Settings, AreLookedForBesideTheLibrary)
{
    // Here the library's objects are in the test program itself.
    EXPECT_TRUE(std::filesystem::exists(std::filesystem::u8path(companion::libraryFolder() + "/device_tests.exe")))
        << companion::libraryFolder();
}
#endif

} // namespace
} // namespace selvik
