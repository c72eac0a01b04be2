// platform/text.h: UTF-8 and UTF-16 conversion, upper-casing of one code
// point and formatting of one number, none of which may depend on the locale
// the process has set.
#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <cwctype>
#include <string>

#include "../frame/foundation_locale_guard.h"
#include "platform/text.h"

namespace {

namespace platform = zandb4::platform;
using zandb4::testing::kDecimalCommaLocales;
using zandb4::testing::kTurkishLocales;
using zandb4::testing::ProcessLocaleGuard;

// Every unit of text but the last n is U+FFFD.
bool AllReplacementsBefore(const std::u16string& text, size_t keptAtEnd) {
    if (text.size() <= keptAtEnd) return false;
    for (size_t i = 0; i + keptAtEnd < text.size(); ++i)
        if (text[i] != u'\uFFFD') return false;
    return true;
}

// ---- UTF-8 and UTF-16 ----

TEST(PlatformText, AsciiPassesBothWaysUnchanged) {
    EXPECT_EQ(platform::FromUtf8("SELECT * FROM file_table"), u"SELECT * FROM file_table");
    EXPECT_EQ(platform::ToUtf8(u"SELECT * FROM file_table"), "SELECT * FROM file_table");
}

TEST(PlatformText, EmptyTextStaysEmpty) {
    EXPECT_EQ(platform::FromUtf8(""), u"");
    EXPECT_EQ(platform::ToUtf8(u""), "");
}

TEST(PlatformText, TwoAndThreeByteSequencesConvert) {
    EXPECT_EQ(platform::FromUtf8("\xC3\xA9\xCE\xA9"), u"\u00E9\u03A9");
    EXPECT_EQ(platform::FromUtf8("\xE2\x82\xAC\xE5\x86\x99"), u"\u20AC\u5199");
    EXPECT_EQ(platform::ToUtf8(u"\u00E9\u03A9\u20AC\u5199"), "\xC3\xA9\xCE\xA9\xE2\x82\xAC\xE5\x86\x99");
}

TEST(PlatformText, FourByteSequencesBecomeSurrogatePairs) {
    EXPECT_EQ(platform::FromUtf8("\xF0\x90\x90\xA8"), u"\U00010428");
    EXPECT_EQ(platform::FromUtf8("\xF0\x9F\x98\x80"), (std::u16string{0xD83D, 0xDE00}));
    EXPECT_EQ(platform::ToUtf8(u"\U0001F600"), "\xF0\x9F\x98\x80");
}

TEST(PlatformText, EdgesOfEachEncodingLengthRoundTrip) {
    const std::u16string edges = u"\u007F\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF";
    const std::string utf8 =
        "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF";

    EXPECT_EQ(platform::ToUtf8(edges), utf8);
    EXPECT_EQ(platform::FromUtf8(utf8), edges);
}

TEST(PlatformText, NullCharactersInsideTheTextAreKept) {
    const std::string utf8("a\0b", 3);
    const std::u16string utf16(u"a\0b", 3);

    EXPECT_EQ(platform::FromUtf8(utf8), utf16);
    EXPECT_EQ(platform::ToUtf8(utf16), utf8);
}

TEST(PlatformText, LoneSurrogatesBecomeReplacementCharacters) {
    const std::u16string loneHigh = {u'a', static_cast<char16_t>(0xD800), u'b'};
    const std::u16string loneLow = {u'a', static_cast<char16_t>(0xDC00), u'b'};
    const std::u16string highAtEnd = {u'a', static_cast<char16_t>(0xDBFF)};
    const std::u16string reversed = {static_cast<char16_t>(0xDC00), static_cast<char16_t>(0xD800)};

    EXPECT_EQ(platform::ToUtf8(loneHigh), "a\xEF\xBF\xBD" "b");
    EXPECT_EQ(platform::ToUtf8(loneLow), "a\xEF\xBF\xBD" "b");
    EXPECT_EQ(platform::ToUtf8(highAtEnd), "a\xEF\xBF\xBD");
    EXPECT_EQ(platform::ToUtf8(reversed), "\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(PlatformText, StrayBytesBecomeOneReplacementEach) {
    EXPECT_EQ(platform::FromUtf8("a\x80" "b"), u"a\uFFFDb");
    EXPECT_EQ(platform::FromUtf8("a\xFF" "b"), u"a\uFFFDb");
    EXPECT_EQ(platform::FromUtf8("\xFE"), u"\uFFFD");
}

TEST(PlatformText, TruncatedSequenceDoesNotSwallowTheNextCharacter) {
    const std::u16string cutBeforeAscii = platform::FromUtf8("\xE2\x82z");
    const std::u16string cutAtEnd = platform::FromUtf8("ok\xF0\x9F\x98");

    EXPECT_TRUE(AllReplacementsBefore(cutBeforeAscii, 1));
    EXPECT_EQ(cutBeforeAscii.back(), u'z');
    ASSERT_GE(cutAtEnd.size(), 3u);
    EXPECT_EQ(cutAtEnd.substr(0, 2), u"ok");
    for (size_t i = 2; i < cutAtEnd.size(); ++i) EXPECT_EQ(cutAtEnd[i], u'\uFFFD');
}

TEST(PlatformText, OverlongAndSurrogateEncodingsAreRejected) {
    const std::u16string overlongSlash = platform::FromUtf8("\xC0\xAFx");
    const std::u16string overlongNull = platform::FromUtf8("\xE0\x80\x80x");
    const std::u16string encodedSurrogate = platform::FromUtf8("\xED\xA0\x80x");

    EXPECT_TRUE(AllReplacementsBefore(overlongSlash, 1));
    EXPECT_TRUE(AllReplacementsBefore(overlongNull, 1));
    EXPECT_TRUE(AllReplacementsBefore(encodedSurrogate, 1));
}

TEST(PlatformText, CodePointsBeyondTheUnicodeRangeAreRejected) {
    const std::u16string beyond = platform::FromUtf8("\xF4\x90\x80\x80x");

    EXPECT_TRUE(AllReplacementsBefore(beyond, 1));
}

// ---- ToUpper ----

TEST(PlatformText, ToUpperMapsLettersOfSeveralScripts) {
    EXPECT_EQ(platform::ToUpper(U'a'), U'A');
    EXPECT_EQ(platform::ToUpper(U'z'), U'Z');
    EXPECT_EQ(platform::ToUpper(U'\u00E9'), U'\u00C9');
    EXPECT_EQ(platform::ToUpper(U'\u00FF'), U'\u0178');
    EXPECT_EQ(platform::ToUpper(U'\u03B1'), U'\u0391');
    EXPECT_EQ(platform::ToUpper(U'\u03C2'), U'\u03A3');
    EXPECT_EQ(platform::ToUpper(U'\u0436'), U'\u0416');
    EXPECT_EQ(platform::ToUpper(U'\U00010428'), U'\U00010400');
    EXPECT_EQ(platform::ToUpper(U'\U0001E922'), U'\U0001E900');
}

TEST(PlatformText, ToUpperLeavesEverythingElseAlone) {
    EXPECT_EQ(platform::ToUpper(U'A'), U'A');
    EXPECT_EQ(platform::ToUpper(U'/'), U'/');
    EXPECT_EQ(platform::ToUpper(U'5'), U'5');
    EXPECT_EQ(platform::ToUpper(U'\u00DF'), U'\u00DF');  // no one-letter capital
    EXPECT_EQ(platform::ToUpper(U'\u5199'), U'\u5199');
    EXPECT_EQ(platform::ToUpper(U'\U0001F600'), U'\U0001F600');
    EXPECT_EQ(platform::ToUpper(0), 0u);
}

TEST(PlatformText, ToUpperIgnoresATurkishProcessLocale) {
    ProcessLocaleGuard locale(kTurkishLocales);
    if (locale.Active().empty()) GTEST_SKIP() << "no Turkish locale is installed on this system";
    ASSERT_EQ(static_cast<wint_t>(std::towupper(L'i')), static_cast<wint_t>(0x130))
        << "locale " << locale.Active() << " does not map i to a dotted capital";

    EXPECT_EQ(platform::ToUpper(U'i'), U'I');
    EXPECT_EQ(platform::ToUpper(U'\u0131'), U'I');
    EXPECT_EQ(platform::ToUpper(U'\u00E9'), U'\u00C9');
}

TEST(PlatformText, ToUpperMapsBeyondAsciiUnderTheCLocale) {
    // The plain "C" locale of the C library upper-cases ASCII only; the
    // mapping here must not fall back to that.
    ProcessLocaleGuard locale({"C"});
    ASSERT_EQ(locale.Active(), "C");

    EXPECT_EQ(platform::ToUpper(U'\u00E9'), U'\u00C9');
    EXPECT_EQ(platform::ToUpper(U'\u03B1'), U'\u0391');
}

// ---- FormatInCLocale ----

TEST(PlatformText, FormatsOneConversion) {
    EXPECT_EQ(platform::FormatInCLocale("%08X", 0x3039u), "00003039");
    EXPECT_EQ(platform::FormatInCLocale("%lld", -1234567890123LL), "-1234567890123");
    EXPECT_EQ(platform::FormatInCLocale("%llu", 18446744073709551615ull), "18446744073709551615");
    EXPECT_EQ(platform::FormatInCLocale("%.3f", 1.5), "1.500");
    EXPECT_EQ(platform::FormatInCLocale("%-4d|", 7), "7   |");
}

TEST(PlatformText, LongOutputIsKeptWhole) {
    const std::string formatted = platform::FormatInCLocale("%0500d", 1);

    ASSERT_EQ(formatted.size(), 500u);
    EXPECT_EQ(formatted.back(), '1');
    EXPECT_EQ(formatted.find_first_not_of('0'), 499u);
}

TEST(PlatformText, EmptyOutputGivesAnEmptyString) {
    EXPECT_EQ(platform::FormatInCLocale("%s", ""), "");
}

TEST(PlatformText, DecimalPointIsADotUnderACommaLocaleAndTheLocaleIsRestored) {
    ProcessLocaleGuard locale(kDecimalCommaLocales);
    if (locale.Active().empty()) GTEST_SKIP() << "no locale with a decimal comma is installed on this system";
    char before[16];
    std::snprintf(before, sizeof(before), "%.1f", 2.5);
    ASSERT_STREQ(before, "2,5") << "locale " << locale.Active() << " does not use a decimal comma";

    const std::string formatted = platform::FormatInCLocale("%.2f %e", 1234.5, 0.5);

    EXPECT_EQ(formatted, "1234.50 5.000000e-01");
    // The thread's own locale is back afterwards: the process still prints
    // its comma.
    char after[16];
    std::snprintf(after, sizeof(after), "%.1f", 2.5);
    EXPECT_STREQ(after, "2,5");
}

}  // namespace
