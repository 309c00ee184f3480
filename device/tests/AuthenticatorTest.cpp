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
    ASSERT_TRUE(authenticator.challenge({"Basic realm=\"x\""}));
    EXPECT_EQ(authenticator.authorization("DESCRIBE", "rtsp://cam/"), "Basic QWxhZGRpbjpvcGVuIHNlc2FtZQ==");
}

TEST(Authenticator, AnswersDigestWithTheOldHash)
{
    Authenticator authenticator({"Mufasa", "Circle Of Life"});
    ASSERT_TRUE(authenticator.challenge({"Basic realm=\"x\"", "Digest realm=\"testrealm@host.com\", "
                                                              "nonce=\"dcd98b7102dd2f0e8b11d0f600bfb0c093\", "
                                                              "opaque=\"5ccc069c403ebaf9f0171e9517f40e41\""}));
    // Computed by hand: MD5(MD5(user:realm:password):nonce:MD5(GET:/dir/index.html)).
    EXPECT_EQ(authenticator.authorization("GET", "/dir/index.html"),
              "Digest username=\"Mufasa\", realm=\"testrealm@host.com\", "
              "nonce=\"dcd98b7102dd2f0e8b11d0f600bfb0c093\", uri=\"/dir/index.html\", "
              "opaque=\"5ccc069c403ebaf9f0171e9517f40e41\", response=\"670fd8c2df070c60b045671b8b24ff02\"");
}

TEST(Authenticator, PrefersTheStrongerHashAndCountsItsAnswers)
{
    Authenticator authenticator({"me", "word"});
    ASSERT_TRUE(authenticator.challenge({"Digest realm=\"r\", nonce=\"n\", algorithm=MD5, qop=\"auth,auth-int\"",
                                         "Digest realm=\"r\", nonce=\"n\", algorithm=SHA-256, qop=\"auth,auth-int\""}));
    const std::string first = authenticator.authorization("PLAY", "rtsp://cam/");
    const std::string second = authenticator.authorization("PLAY", "rtsp://cam/");
    EXPECT_NE(first.find("algorithm=SHA-256"), std::string::npos);
    EXPECT_NE(first.find("qop=auth, nc=00000001"), std::string::npos);
    EXPECT_NE(second.find("qop=auth, nc=00000002"), std::string::npos);
    EXPECT_EQ(first.size() - first.rfind("response=\""), 64U + 11U);
}

TEST(Authenticator, GivesUpAfterARefusalAndNotBecauseOfAnOldNonce)
{
    Authenticator authenticator({"me", "word"});
    ASSERT_TRUE(authenticator.challenge({"Digest realm=\"r\", nonce=\"1\""}));
    (void)authenticator.authorization("PLAY", "rtsp://cam/");
    EXPECT_TRUE(authenticator.challenge({"Digest realm=\"r\", nonce=\"2\", stale=TRUE"}));
    (void)authenticator.authorization("PLAY", "rtsp://cam/");
    EXPECT_FALSE(authenticator.challenge({"Digest realm=\"r\", nonce=\"3\""}));
}

TEST(Authenticator, HasNothingToSayWithoutCredentialsOrInAnUnknownTongue)
{
    Authenticator nobody({});
    EXPECT_FALSE(nobody.challenge({"Basic realm=\"x\""}));
    Authenticator somebody({"me", "word"});
    EXPECT_FALSE(somebody.challenge({"Negotiate"}));
    EXPECT_FALSE(somebody.challenge({"Digest realm=\"r\", nonce=\"n\", algorithm=SHA-512"}));
    EXPECT_FALSE(somebody.challenge({}));
}

TEST(Authenticator, SurvivesAQuestionThatIsTorn)
{
    for (const char *pText : {"Digest", "Digest ", "Digest nonce", "Digest nonce=", "Digest nonce=\"", "Digest =,=,\"",
                              "Digest nonce=\"a\\", "Basic"}) {
        Authenticator authenticator({"me", "word"});
        (void)authenticator.challenge({pText});
        EXPECT_EQ(authenticator.authorization("PLAY", "u").find("word"), std::string::npos) << pText;
    }
}

} // namespace
} // namespace selvik
