// CZanTString::Format and AppendFormat: printf rules on UTF-16 strings. The
// library builds statements, shard file names ("%08X.db", "%X.db") and ids
// with them, so conversions, width, precision and length modifiers must give
// exactly what printf gives, and numbers must never pick up the decimal comma
// of the application's locale.
#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <cstdio>
#include <string>

#include "frame/foundation_locale_guard.h"
#include "zandb4/foundation.h"

namespace {

using zandb4::testing::kDecimalCommaLocales;
using zandb4::testing::ProcessLocaleGuard;

TEST(StringFormat, FormatsTheLibrarysConversionsInOneString) {
    CZanTString text;

    text.Format(u"%s %u %d %llu %lld %X %08X %f %%", u"name", 42u, -7, 18446744073709551615ull,
                static_cast<long long>(INT64_MIN), 0xBEEFu, 0x3039u, 2.5);

    EXPECT_EQ(text.ToUtf8(), "name 42 -7 18446744073709551615 -9223372036854775808 BEEF 00003039 2.500000 %");
}

TEST(StringFormat, StatementMixOfTextAndIds) {
    CZanTString statement;

    statement.Format(u"SELECT * FROM %s WHERE file_id=%llu AND type=%u LIMIT %d", u"file_table", 123456789012ull, 3u,
                     1);

    EXPECT_EQ(statement.ToUtf8(), "SELECT * FROM file_table WHERE file_id=123456789012 AND type=3 LIMIT 1");
}

TEST(StringFormat, FormatReplacesTheFormerValue) {
    CZanTString text(u"old text that is longer");

    text.Format(u"%u", 7u);

    EXPECT_EQ(text.ToUtf8(), "7");
    EXPECT_EQ(text.GetLength(), 1u);
}

TEST(StringFormat, AppendFormatKeepsTheFormerValue) {
    CZanTString text(u"DELETE FROM tag_table");

    text.AppendFormat(u" WHERE tag_id=%llu", 99ull);
    text.AppendFormat(u" OR tag_id=%llu", 100ull);

    EXPECT_EQ(text.ToUtf8(), "DELETE FROM tag_table WHERE tag_id=99 OR tag_id=100");
}

TEST(StringFormat, AppendFormatOnAnEmptyStringActsAsFormat) {
    CZanTString text;

    text.AppendFormat(u"%X", 255u);

    EXPECT_EQ(text.ToUtf8(), "FF");
}

TEST(StringFormat, FormatWithAnEmptyFormatGivesAnEmptyString) {
    CZanTString text(u"something");

    text.Format(u"");

    EXPECT_TRUE(text.IsEmpty());
}

TEST(StringFormat, ThumbnailShardNamesAreEightUpperHexDigits) {
    CZanTString first, middle, last;

    first.Format(u"%08X.db", 0u);
    middle.Format(u"%08X.db", 12345u);
    last.Format(u"%08X.db", 0xABCDEF12u);

    EXPECT_EQ(first.ToUtf8(), "00000000.db");
    EXPECT_EQ(middle.ToUtf8(), "00003039.db");
    EXPECT_EQ(last.ToUtf8(), "ABCDEF12.db");
}

TEST(StringFormat, LargeMetadataShardNamesHaveNoPadding) {
    CZanTString zero, twentySix;

    zero.Format(u"%X.db", 0u);
    twentySix.Format(u"%X.db", 26u);

    EXPECT_EQ(zero.ToUtf8(), "0.db");
    EXPECT_EQ(twentySix.ToUtf8(), "1A.db");
}

TEST(StringFormat, WidthPadsOnTheLeftAndTheMinusFlagOnTheRight) {
    CZanTString text;

    text.Format(u"[%5d][%-5d][%5s][%-5s][%3s]", 42, 42, u"ab", u"ab", u"longer");

    EXPECT_EQ(text.ToUtf8(), "[   42][42   ][   ab][ab   ][longer]");
}

TEST(StringFormat, ZeroFlagPadsWithZerosAfterTheSign) {
    CZanTString text;

    text.Format(u"%05d %05u %08X", -42, 42u, 0x1Fu);

    EXPECT_EQ(text.ToUtf8(), "-0042 00042 0000001F");
}

TEST(StringFormat, PrecisionRoundsFloatingAndCutsStrings) {
    CZanTString text;

    text.Format(u"%.2f|%10.3f|%.0f|%.3s|%6.2s|", 3.14159, 3.14159, 2.6, u"abcdef", u"abcdef");

    EXPECT_EQ(text.ToUtf8(), "3.14|     3.142|3|abc|    ab|");
}

TEST(StringFormat, PrecisionOfIntegersIsAMinimumDigitCount) {
    CZanTString text;

    text.Format(u"%.4d %.4u %.3X", 7, 7u, 0xAu);

    EXPECT_EQ(text.ToUtf8(), "0007 0007 00A");
}

TEST(StringFormat, StarTakesWidthAndPrecisionFromTheArguments) {
    CZanTString text;

    text.Format(u"[%*d][%-*d][%.*f][%*d]", 4, 7, 4, 7, 2, 3.14159, -4, 7);

    // A negative width from the arguments means left alignment, as in printf.
    EXPECT_EQ(text.ToUtf8(), "[   7][7   ][3.14][7   ]");
}

TEST(StringFormat, NegativeNumbersKeepTheirSign) {
    CZanTString text;

    text.Format(u"%d|%5d|%-5d|%lld|%f|%.1f", -1, -42, -42, -1234567890123LL, -0.5, -2.25);

    EXPECT_EQ(text.ToUtf8(), "-1|  -42|-42  |-1234567890123|-0.500000|-2.2");
}

TEST(StringFormat, PlusAndSpaceFlagsMarkPositiveNumbers) {
    CZanTString text;

    text.Format(u"%+d|% d|%+d|%+.1f", 5, 5, -5, 1.5);

    EXPECT_EQ(text.ToUtf8(), "+5| 5|-5|+1.5");
}

TEST(StringFormat, UnsignedConversionsOfNegativeIntsWrapAtThirtyTwoBits) {
    CZanTString text;

    text.Format(u"%u %X %x", -1, -1, -2);

    EXPECT_EQ(text.ToUtf8(), "4294967295 FFFFFFFF fffffffe");
}

TEST(StringFormat, SixtyFourBitConversionsCarryTheFullRange) {
    CZanTString text;

    text.Format(u"%llu %lld %llX %lu %ld", UINT64_MAX, static_cast<long long>(INT64_MAX), 0x123456789ABCDEFull,
                static_cast<unsigned long>(UINT64_MAX), static_cast<long>(INT64_MIN));

    EXPECT_EQ(text.ToUtf8(),
              "18446744073709551615 9223372036854775807 123456789ABCDEF 18446744073709551615 -9223372036854775808");
}

TEST(StringFormat, ShortLengthModifiersCutTheValue) {
    CZanTString text;

    text.Format(u"%hu %hd %hhu %hhd", 70000, 40000, 300, 200);

    EXPECT_EQ(text.ToUtf8(), "4464 -25536 44 -56");
}

TEST(StringFormat, SizeLengthModifierTakesASizeT) {
    CZanTString text;

    text.Format(u"%zu|%d", static_cast<size_t>(1) << 40, 9);

    EXPECT_EQ(text.ToUtf8(), "1099511627776|9");
}

TEST(StringFormat, LowerHexOctalAndTheAlternateForm) {
    CZanTString text;

    text.Format(u"%x %#x %#X %o %#o %i", 255, 255, 255, 255, 255, 12);

    EXPECT_EQ(text.ToUtf8(), "ff 0xff 0XFF 377 0377 12");
}

TEST(StringFormat, ExponentAndGeneralForms) {
    CZanTString text;

    text.Format(u"%e|%E|%g|%G|%g", 12345.678, 0.00025, 0.0001, 1e-10, 100000.0);

    EXPECT_EQ(text.ToUtf8(), "1.234568e+04|2.500000E-04|0.0001|1E-10|100000");
}

TEST(StringFormat, LongDoubleTakesTheCapitalLModifier) {
    CZanTString text;

    text.Format(u"%.3Lf|%d", 1.25L, 4);

    EXPECT_EQ(text.ToUtf8(), "1.250|4");
}

TEST(StringFormat, DecimalPointStaysADotUnderACommaLocale) {
    ProcessLocaleGuard locale(kDecimalCommaLocales);
    if (locale.Active().empty()) GTEST_SKIP() << "no locale with a decimal comma is installed on this system";
    // The process really prints a comma now, so the check below means something.
    char control[32];
    std::snprintf(control, sizeof(control), "%.1f", 2.5);
    ASSERT_STREQ(control, "2,5") << "locale " << locale.Active() << " does not use a decimal comma";
    CZanTString text;

    text.Format(u"%f|%.2f|%e|%g|%.1Lf", 2.5, -1234.5678, 1500.0, 0.125, 3.5L);

    EXPECT_EQ(text.ToUtf8(), "2.500000|-1234.57|1.500000e+03|0.125|3.5");
}

TEST(StringFormat, StringArgumentKeepsItsUtf16Units) {
    const std::u16string name = u"Zo\u00EB \u03A9 \U00010428.jpg";
    CZanTString text;

    text.Format(u"<%s>", name.c_str());

    EXPECT_EQ(text.Value(), u"<" + name + u">");
    EXPECT_EQ(text.GetLength(), name.size() + 2);
}

TEST(StringFormat, TextOutsideConversionsIsCopiedUnitForUnit) {
    CZanTString text;

    text.Format(u"Gr\u00F6\u00DFe \U0001F600 %u", 3u);

    EXPECT_EQ(text.Value(), u"Gr\u00F6\u00DFe \U0001F600 3");
}

TEST(StringFormat, CharacterConversionTakesAUtf16Unit) {
    CZanTString text;

    text.Format(u"%c%c%3c", u'A', u'\u00E9', u'z');

    EXPECT_EQ(text.Value(), u"A\u00E9  z");
}

TEST(StringFormat, DoublePercentIsALiteralPercentAndTakesNoArgument) {
    CZanTString text;

    text.Format(u"100%% %%d %d", 5);

    EXPECT_EQ(text.ToUtf8(), "100% %d 5");
}

TEST(StringFormat, OutputLongerThanAnyFixedBufferIsKept) {
    const std::u16string longText(10000, u'x');
    CZanTString text;

    text.Format(u"%s|%0300d", longText.c_str(), 1);

    ASSERT_EQ(text.GetLength(), 10000u + 1u + 300u);
    EXPECT_EQ(text.Value().substr(0, 10000), longText);
    EXPECT_EQ(text.GetAt(10000), u'|');
    EXPECT_EQ(text.Value().substr(10001), std::u16string(299, u'0') + u"1");
}

TEST(StringFormat, ArgumentsAreConsumedInOrderAcrossMixedKinds) {
    CZanTString text;

    text.Format(u"%d %f %s %lld %c %u %e", 1, 2.0, u"three", 4LL, u'5', 6u, 7.0);

    EXPECT_EQ(text.ToUtf8(), "1 2.000000 three 4 5 6 7.000000e+00");
}

}  // namespace
