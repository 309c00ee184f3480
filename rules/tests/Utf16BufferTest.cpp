#include "rules/Utf16Buffer.h"

#include <gtest/gtest.h>

#include <string>

namespace pellora
{
namespace
{

template <std::size_t N>
std::u16string converted(std::string_view utf8)
{
    return Utf16Buffer<N>(utf8).c_str();
}

TEST(Utf16Buffer, ConvertsEveryLength)
{
    EXPECT_EQ(converted<16>("a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80"), u"a\u00E9\u4E2D\U0001F600");
    EXPECT_EQ(converted<16>(""), u"");
}

TEST(Utf16Buffer, IsCutWithoutHalvingAPair)
{
    EXPECT_EQ(converted<4>("abcdef"), u"abc");
    EXPECT_EQ(converted<4>("ab\xF0\x9F\x98\x80"), u"ab");
    EXPECT_EQ(converted<5>("ab\xF0\x9F\x98\x80"), u"ab\U0001F600");
    EXPECT_EQ(converted<128>(std::string(500, 'x')).size(), 127U);
}

TEST(Utf16Buffer, MarksWhatIsNoUtf8)
{
    EXPECT_EQ(converted<16>("a\x80z"), u"a\uFFFDz");
    EXPECT_EQ(converted<16>("\xE4\xB8"), u"\uFFFD\uFFFD");           // the end is missing
    EXPECT_EQ(converted<16>("\xC0\xAF"), u"\uFFFD\uFFFD");           // longer than needed
    EXPECT_EQ(converted<16>("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD"); // half a pair
    EXPECT_EQ(converted<16>("\xF4\x90\x80\x80").size(), 4U);         // beyond the last character
}

} // namespace
} // namespace pellora
