#include "device/src/Authenticator.h"

#include <gtest/gtest.h>

namespace selvik
{
namespace
{

TEST(Authenticator, SaysNothingUnasked)
{
    Authenticator authenticator({"Mufasa", "Circle Of Life"});
    EXPECT_EQ(authenticator.authorization("DESCRIBE", "rtsp://cam/"), "");
}

TEST(Authenticator, AnswersBasic)
{
    Authenticator authenticator({"Aladdin", "open sesame"});
    ASSERT_TRUE(authenticator.challenge({"Basic realm=\"x\""}, false));
    EXPECT_EQ(authenticator.authorization("DESCRIBE", "rtsp://cam/"), "Basic QWxhZGRpbjpvcGVuIHNlc2FtZQ==");
}

TEST(Authenticator, AnswersDigestWithTheOldHash)
{
    Authenticator authenticator({"Mufasa", "Circle Of Life"});
    ASSERT_TRUE(authenticator.challenge({"Basic realm=\"x\"", "Digest realm=\"testrealm@host.com\", "
                                                              "nonce=\"dcd98b7102dd2f0e8b11d0f600bfb0c093\", "
                                                              "opaque=\"5ccc069c403ebaf9f0171e9517f40e41\""},
                                        false));
    // Computed by hand: MD5(MD5(user:realm:password):nonce:MD5(GET:/dir/index.html)).
    EXPECT_EQ(authenticator.authorization("GET", "/dir/index.html"),
              "Digest username=\"Mufasa\", realm=\"testrealm@host.com\", "
              "nonce=\"dcd98b7102dd2f0e8b11d0f600bfb0c093\", uri=\"/dir/index.html\", "
              "opaque=\"5ccc069c403ebaf9f0171e9517f40e41\", response=\"670fd8c2df070c60b045671b8b24ff02\"");
}

struct DigestCase {
    const char *pName;
    const char *pParameters; /**< of the question, besides realm and nonce */
    const char *pAnswer;     /**< in what is sent */
    const char *pResponse;
};

void PrintTo(const DigestCase &digest, std::ostream *pStream)
{
    *pStream << digest.pName;
}

class Digest : public testing::TestWithParam<DigestCase>
{
};

TEST_P(Digest, IsThatOfTheStandard)
{
    Authenticator authenticator({"Mufasa", "Circle of Life"},
                                [] { return "f2/wE4q74E6zIJEtWaHKaf5wv/H5QzzpXusqGemxURZJ"; });
    const std::string question = "Digest realm=\"http-auth@example.org\", "
                                 "nonce=\"7ypf/xlj9XXwfDPEoM4URrv/xwf94BcCAzFZH4GiTo0v\", ";
    ASSERT_TRUE(authenticator.challenge({question + GetParam().pParameters}, false));
    const std::string answer = authenticator.authorization("GET", "/dir/index.html");
    EXPECT_NE(answer.find(GetParam().pAnswer), std::string::npos) << answer;
    EXPECT_NE(answer.find(std::string("response=\"") + GetParam().pResponse + "\""), std::string::npos) << answer;
}

// Of the examples of RFC 7616, 3.9.1, those with qop=auth and no session; the others, with the same words, were
// computed by the formulas of its section 3.4 with Python's hashlib.
const DigestCase kDigests[] = {
    {"Md5", "algorithm=MD5, qop=\"auth, auth-int\"", "algorithm=MD5,", "8ca523f5e9506fed4657c9700eebdbec"},
    {"NoAlgorithm", "qop=\"auth\"", "qop=auth, nc=00000001, cnonce=\"f2/wE4", "8ca523f5e9506fed4657c9700eebdbec"},
    {"Quoted", "algorithm=\"MD5\", qop=auth", "algorithm=MD5,", "8ca523f5e9506fed4657c9700eebdbec"},
    {"Sha256", "algorithm=SHA-256, qop=\"auth\"", "algorithm=SHA-256,",
     "753927fa0e85d155564e2e272a28d1802ca10daf4496794697cf8db5856cb6c1"},
    {"Md5Session", "algorithm=MD5-sess, qop=\"auth\"", "algorithm=MD5-sess,", "e783283f46242139c486a698fec7211d"},
    {"Md5SessionAlone", "algorithm=MD5-sess", "cnonce=\"f2/wE4", "37a7f42db2090a3fcac4e26e747d4fc8"},
    {"Sha256Session", "algorithm=SHA-256-sess, qop=\"auth\"", "algorithm=SHA-256-sess,",
     "2fd51b3a77ad75bad6afad6003e818d767133c46d9e2749e7f5232ae1ea3efd7"},
    {"Body", "qop=\"auth-int\"", "qop=auth-int,", "8804a53d3640a40a4f73cea12c5ba451"},
    {"BodyWithSha256", "algorithm=SHA-256, qop=\"auth-int\"", "qop=auth-int,",
     "8bdf6f15638e260831e905028de5450562816d093c9bfc5c13d3a46adcdde940"},
    {"BodyOrNot", "qop=\"auth-int,auth\"", "qop=auth,", "8ca523f5e9506fed4657c9700eebdbec"},
};

INSTANTIATE_TEST_SUITE_P(Kinds, Digest, testing::ValuesIn(kDigests),
                         [](const testing::TestParamInfo<DigestCase> &testCase) { return testCase.param.pName; });

TEST(Authenticator, AnswersTheExampleOfTheEarlierStandard)
{
    // RFC 2617, 3.5.
    Authenticator authenticator({"Mufasa", "Circle Of Life"}, [] { return "0a4f113b"; });
    ASSERT_TRUE(authenticator.challenge({"Digest realm=\"testrealm@host.com\", qop=\"auth,auth-int\", "
                                         "nonce=\"dcd98b7102dd2f0e8b11d0f600bfb0c093\", "
                                         "opaque=\"5ccc069c403ebaf9f0171e9517f40e41\""},
                                        false));
    EXPECT_NE(authenticator.authorization("GET", "/dir/index.html").find("6629fae49393a05397450978507c4ef1"),
              std::string::npos);
}

class SeveralQuestions : public testing::TestWithParam<std::vector<std::string>>
{
};

TEST_P(SeveralQuestions, AreAnsweredByTheStrongest)
{
    Authenticator authenticator({"me", "word"});
    ASSERT_TRUE(authenticator.challenge(GetParam(), false));
    const std::string answer = authenticator.authorization("PLAY", "rtsp://cam/");
    EXPECT_EQ(answer.substr(0, 7), "Digest ");
    EXPECT_NE(answer.find("realm=\"a, Basic realm=b\""), std::string::npos) << answer;
    EXPECT_NE(answer.find("nonce=\"n\""), std::string::npos) << answer;
}

const std::string kStrong = "Digest realm=\"a, Basic realm=b\", nonce=\"n\", algorithm=SHA-256";

INSTANTIATE_TEST_SUITE_P(
    Lines, SeveralQuestions,
    testing::Values(std::vector<std::string>{kStrong}, std::vector<std::string>{"Basic realm=\"x\"", kStrong},
                    std::vector<std::string>{kStrong, "Basic realm=\"x\""},
                    std::vector<std::string>{"Basic realm=\"x\", " + kStrong},
                    std::vector<std::string>{kStrong + ", Basic realm=\"x\""},
                    std::vector<std::string>{"Negotiate, Negotiate abc==, Basic realm=x," + kStrong},
                    std::vector<std::string>{"Digest realm=\"r\", nonce=\"o\", algorithm=MD5, " + kStrong},
                    std::vector<std::string>{kStrong + ", Digest realm=\"r\", nonce=\"o\""},
                    std::vector<std::string>{"  ,, basic realm = \"x\" ,\tDIGEST realm = \"a, Basic realm=b\" ,"
                                             "nonce =n"}));

TEST(Authenticator, CountsTheUsesOfANonce)
{
    Authenticator authenticator({"me", "word"});
    const std::string question = "Digest realm=\"r\", nonce=\"n\", qop=\"auth\"";
    ASSERT_TRUE(authenticator.challenge({question}, false));
    EXPECT_NE(authenticator.authorization("PLAY", "rtsp://cam/").find("nc=00000001"), std::string::npos);
    EXPECT_NE(authenticator.authorization("PLAY", "rtsp://cam/").find("nc=00000002"), std::string::npos);
    ASSERT_TRUE(authenticator.challenge({question}, false));
    EXPECT_NE(authenticator.authorization("PLAY", "rtsp://cam/").find("nc=00000001"), std::string::npos);
}

TEST(Authenticator, GivesUpAfterARefusalAndNotBecauseOfAnOldNonce)
{
    Authenticator authenticator({"me", "word"});
    ASSERT_TRUE(authenticator.challenge({"Digest realm=\"r\", nonce=\"1\""}, false));
    // The nonce of an earlier request has expired, whether or not the device says so.
    EXPECT_TRUE(authenticator.challenge({"Digest realm=\"r\", nonce=\"2\""}, false));
    EXPECT_TRUE(authenticator.challenge({"Digest realm=\"r\", nonce=\"3\", stale=TRUE"}, true));
    EXPECT_FALSE(authenticator.challenge({"Digest realm=\"r\", nonce=\"4\""}, true));
    Authenticator basic({"me", "word"});
    ASSERT_TRUE(basic.challenge({"Basic realm=\"r\""}, false));
    EXPECT_FALSE(basic.challenge({"Basic realm=\"r\""}, false));
}

TEST(Authenticator, HasNothingToSayWithoutCredentialsOrInAnUnknownTongue)
{
    Authenticator nobody({});
    EXPECT_FALSE(nobody.challenge({"Basic realm=\"x\""}, false));
    Authenticator somebody({"me", "word"});
    EXPECT_FALSE(somebody.challenge({"Negotiate"}, false));
    EXPECT_FALSE(somebody.challenge({"Digest realm=\"r\", nonce=\"n\", algorithm=SHA-512"}, false));
    EXPECT_FALSE(somebody.challenge({}, false));
}

TEST(Authenticator, SurvivesAQuestionThatIsTorn)
{
    for (const char *pText : {"Digest", "Digest ", "Digest nonce", "Digest nonce=", "Digest nonce=\"", "Digest =,=,\"",
                              "Digest nonce=\"a\\", "Basic", "\"", "=", ",", "Digest \"\"\"\"", "Digest = nonce=\"x"}) {
        Authenticator authenticator({"me", "word"});
        (void)authenticator.challenge({pText}, false);
        EXPECT_EQ(authenticator.authorization("PLAY", "u").find("word"), std::string::npos) << pText;
    }
}

TEST(Challenge, TakesOnlySoManyOfALine)
{
    std::string line;
    for (int i = 0; i < 2000; ++i) {
        line += "Digest a" + std::to_string(i) + "=1, ";
    }
    EXPECT_EQ(Challenge::parse(line).size(), 16U);
    line = "Digest ";
    for (int i = 0; i < 2000; ++i) {
        line += "a" + std::to_string(i) + "=1, ";
    }
    ASSERT_EQ(Challenge::parse(line).size(), 1U);
    EXPECT_EQ(Challenge::parse(line).front().parameters.size(), 32U);
}

} // namespace
} // namespace selvik
