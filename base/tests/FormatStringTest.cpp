#include "base/StringUtil.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace
{

using Base::StringUtil;

TEST(FormatString, PrintsPointersAsSixteenUpperCaseDigits)
{
    EXPECT_EQ("hwnd: 000000000001ABCD",
              StringUtil::FormatString("hwnd: %p", reinterpret_cast<void *>(std::uintptr_t{0x1abcd})));
    EXPECT_EQ("0000000000000000", StringUtil::FormatString("%p", nullptr));
}

TEST(FormatString, PrintsNullTextsByName)
{
    EXPECT_EQ("url: (null).", StringUtil::FormatString("url: %s.", static_cast<const char *>(nullptr)));
    EXPECT_EQ("(null)", StringUtil::FormatString("%ls", static_cast<const wchar_t *>(nullptr)));
}

TEST(FormatString, PrintsNumbersOfEverySize)
{
    EXPECT_EQ("-1 4294967295 ffffffff FF", StringUtil::FormatString("%d %u %x %X", -1, -1, -1, 255));
    EXPECT_EQ("-2 4294967294", StringUtil::FormatString("%ld %lu", -2L, -2L));
    EXPECT_EQ("-3 18446744073709551613", StringUtil::FormatString("%lld %I64u", -3LL, -3LL));
    EXPECT_EQ("-1 255 -1 65535", StringUtil::FormatString("%hhd %hhu %hd %hu", 255, 255, 65535, 65535));
    EXPECT_EQ("8 8", StringUtil::FormatString("%zu %Iu", std::size_t{8}, std::size_t{8}));
}

TEST(FormatString, HonoursFlagsWidthAndPrecision)
{
    EXPECT_EQ("[   42][42   ][00042][+42]", StringUtil::FormatString("[%5d][%-5d][%05d][%+d]", 42, 42, 42, 42));
    EXPECT_EQ("[3.14][  2.5]", StringUtil::FormatString("[%.2f][%5.1f]", 3.14159, 2.5));
    EXPECT_EQ("[  ab][ab  ][ab]", StringUtil::FormatString("[%4s][%-4s][%.2s]", "ab", "ab", "abcd"));
    EXPECT_EQ("[   7][7   ][ab]", StringUtil::FormatString("[%*d][%*d][%.*s]", 4, 7, -4, 7, 2, "abc"));
    EXPECT_EQ("0x1f 037", StringUtil::FormatString("%#x %#o", 31, 31));
}

TEST(FormatString, ReadsNoMoreOfATextThanItsPrecision)
{
    const char unterminated[] = {'a', 'b', 'c'};
    EXPECT_EQ("abc", StringUtil::FormatString("%.3s", unterminated));
}

TEST(FormatString, TurnsWideTextIntoUtf8)
{
    EXPECT_EQ("\xE8\xA7\x86\xE9\xA2\x91 x", StringUtil::FormatString("%ls %lc", L"\u89c6\u9891", L'x'));
}

TEST(FormatString, TakesTextsOfAnyLength)
{
    const std::string text(300000, 'x');
    EXPECT_EQ("<" + text + ">", StringUtil::FormatString("<%s>", text.c_str()));
    EXPECT_EQ(5000U, StringUtil::FormatString("%5000d", 1).size());
}

TEST(FormatString, CopiesUnknownConversions)
{
    // Through a pointer: the compiler must not check what is wrong on purpose.
    const char *unknown = "%y and %";
    EXPECT_EQ("%y and %", StringUtil::FormatString(unknown));
    EXPECT_EQ("100%", StringUtil::FormatString("100%%"));
    EXPECT_EQ("", StringUtil::FormatString(nullptr));
}

TEST(FormatString, NeverWritesThroughTheFormat)
{
    int untouched = 7;
    const char *format = "ab%ncd %d";
    EXPECT_EQ("abcd 5", StringUtil::FormatString(format, &untouched, 5));
    EXPECT_EQ(7, untouched);
}

TEST(FormatString, BoundsTheWidthOfABrokenFormat)
{
    const char *format = "%99999999999999d";
    EXPECT_EQ(65536U, StringUtil::FormatString(format, 1).size());
}

} // namespace
