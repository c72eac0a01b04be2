// CZanTString as a value: construction, copying, length in UTF-16 units,
// UTF-8 conversion, ordinal comparison, concatenation, and MakeUpper, on
// which the path key of every catalogued file rests. Upper-casing must give
// the same key whatever locale the writing process runs in.
#include <gtest/gtest.h>

#include <cwctype>
#include <stdexcept>
#include <string>
#include <utility>

#include "frame/foundation_locale_guard.h"
#include "zandb4/foundation.h"

namespace {

using zandb4::testing::kTurkishLocales;
using zandb4::testing::ProcessLocaleGuard;

std::u16string Upper(const std::u16string& text) {
    CZanTString value(text);
    value.MakeUpper();
    return value.Value();
}

// ---- construction and value semantics ----

TEST(StringValue, DefaultStringIsEmptyWithATerminatedBuffer) {
    CZanTString text;

    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(text.GetLength(), 0u);
    ASSERT_NE(text.GetString(), nullptr);
    EXPECT_EQ(text.GetString()[0], u'\0');
}

TEST(StringValue, NullTextMakesAnEmptyString) {
    CZanTString fromNull(static_cast<const WCHAR*>(nullptr));
    CZanTString fromNullWithLength(nullptr, 5);
    CZanTString assigned(u"before");

    assigned = static_cast<const WCHAR*>(nullptr);

    EXPECT_TRUE(fromNull.IsEmpty());
    EXPECT_TRUE(fromNullWithLength.IsEmpty());
    EXPECT_TRUE(assigned.IsEmpty());
}

TEST(StringValue, TextWithLengthTakesThatManyUnitsIncludingNulls) {
    const WCHAR units[] = {u'a', u'\0', u'b', u'c'};

    CZanTString text(units, 3);

    EXPECT_EQ(text.GetLength(), 3u);
    EXPECT_EQ(text.GetAt(1), u'\0');
    EXPECT_EQ(text.GetAt(2), u'b');
}

TEST(StringValue, CopyCopiesTheValueIndependently) {
    CZanTString original(u"photo.jpg");

    CZanTString copy(original);
    CZanTString assigned;
    assigned = original;
    copy += u".bak";
    assigned.Empty();

    EXPECT_EQ(original.ToUtf8(), "photo.jpg");
    EXPECT_EQ(copy.ToUtf8(), "photo.jpg.bak");
    EXPECT_TRUE(assigned.IsEmpty());
}

TEST(StringValue, MoveTakesTheValue) {
    CZanTString source(u"moved text");

    CZanTString target(std::move(source));
    CZanTString assigned;
    assigned = std::move(target);

    EXPECT_EQ(assigned.ToUtf8(), "moved text");
}

TEST(StringValue, ConstructsFromAStdU16String) {
    const std::u16string value = u"abc\U00010428";

    CZanTString text(value);

    EXPECT_EQ(text.Value(), value);
    EXPECT_EQ(std::u16string(text.GetString(), text.GetLength()), value);
}

TEST(StringValue, LengthCountsSixteenBitUnits) {
    CZanTString ascii(u"abc");
    CZanTString accented(u"\u00E9t\u00E9");
    CZanTString astral(u"\U00010428\U0001F600");

    EXPECT_EQ(ascii.GetLength(), 3u);
    EXPECT_EQ(accented.GetLength(), 3u);
    EXPECT_EQ(astral.GetLength(), 4u);  // two surrogate pairs
}

TEST(StringValue, GetAtPastTheEndThrowsInvalidArgument) {
    CZanTString text(u"ab");

    EXPECT_EQ(text.GetAt(0), u'a');
    EXPECT_EQ(text.GetAt(1), u'b');
    EXPECT_THROW(text.GetAt(2), std::invalid_argument);
    EXPECT_THROW(CZanTString().GetAt(0), std::invalid_argument);
}

TEST(StringValue, EmptyClearsTheValue) {
    CZanTString text(u"something");

    text.Empty();

    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(text.GetString()[0], u'\0');
}

// ---- UTF-8 ----

TEST(StringValue, Utf8RoundTripsEveryPlane) {
    const char* utf8 = "a\xC3\xA9\xE2\x82\xAC\xF0\x90\x90\xA8";  // a, e acute, euro sign, U+10428

    CZanTString text = CZanTString::FromUtf8(utf8);

    EXPECT_EQ(text.Value(), u"a\u00E9\u20AC\U00010428");
    EXPECT_EQ(text.ToUtf8(), utf8);
}

TEST(StringValue, FromUtf8OfNullIsEmpty) {
    CZanTString text = CZanTString::FromUtf8(nullptr);

    EXPECT_TRUE(text.IsEmpty());
}

TEST(StringValue, InvalidUtf8BecomesReplacementCharacters) {
    CZanTString text = CZanTString::FromUtf8("a\x80" "b\xFF" "c");

    EXPECT_EQ(text.Value(), u"a\uFFFDb\uFFFDc");
}

TEST(StringValue, LoneSurrogateBecomesAReplacementCharacterInUtf8) {
    const WCHAR units[] = {u'x', static_cast<WCHAR>(0xD800), u'y', 0};
    CZanTString text(units);

    EXPECT_EQ(text.ToUtf8(), "x\xEF\xBF\xBDy");
}

// ---- comparison and concatenation ----

TEST(StringValue, CompareIsOrdinalAndCaseSensitive) {
    CZanTString lower(u"abc");

    EXPECT_EQ(lower.Compare(u"abc"), 0);
    EXPECT_GT(lower.Compare(u"ABC"), 0);  // 'a' (0x61) sorts after 'A' (0x41)
    EXPECT_LT(lower.Compare(u"abd"), 0);
    EXPECT_LT(lower.Compare(u"abcd"), 0);
    EXPECT_GT(lower.Compare(u"ab"), 0);
    EXPECT_GT(CZanTString(u"\u00E9").Compare(u"f"), 0);  // by unit value, not by alphabet
}

TEST(StringValue, CompareWithNullComparesWithEmpty) {
    EXPECT_EQ(CZanTString().Compare(nullptr), 0);
    EXPECT_GT(CZanTString(u"a").Compare(nullptr), 0);
}

TEST(StringValue, EqualityAndOrderOperators) {
    CZanTString a(u"Album"), b(u"Album"), c(u"album");

    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a != b);
    EXPECT_TRUE(a != c);
    EXPECT_TRUE(a < c);
    EXPECT_FALSE(c < a);
    EXPECT_FALSE(a < b);
}

TEST(StringValue, AppendOperatorsConcatenate) {
    CZanTString text(u"file");

    text += CZanTString(u"_");
    text += u"table";
    text += u'!';
    text += static_cast<const WCHAR*>(nullptr);
    CZanTString joined = text + CZanTString(u" end");

    EXPECT_EQ(text.ToUtf8(), "file_table!");
    EXPECT_EQ(joined.ToUtf8(), "file_table! end");
}

// ---- MakeUpper ----

TEST(StringMakeUpper, UpperCasesAsciiAndLeavesTheRest) {
    EXPECT_EQ(Upper(u"abc-xyz_09 /Photos/img.jpg"), u"ABC-XYZ_09 /PHOTOS/IMG.JPG");
}

TEST(StringMakeUpper, UpperCasesAccentedLatin) {
    EXPECT_EQ(Upper(u"\u00E0\u00E9\u00EE\u00F5\u00FC\u00E7\u00F8\u00FF\u0142\u0161"),
              u"\u00C0\u00C9\u00CE\u00D5\u00DC\u00C7\u00D8\u0178\u0141\u0160");
}

TEST(StringMakeUpper, UpperCasesGreekIncludingFinalSigma) {
    EXPECT_EQ(Upper(u"\u03B1\u03B2\u03B3 \u03C3\u03BF\u03C6\u03CC\u03C2"),
              u"\u0391\u0392\u0393 \u03A3\u039F\u03A6\u038C\u03A3");
}

TEST(StringMakeUpper, UpperCasesCyrillic) {
    EXPECT_EQ(Upper(u"\u0444\u043E\u0442\u043E \u0451"), u"\u0424\u041E\u0422\u041E \u0401");
}

TEST(StringMakeUpper, UpperCasesALetterOutsideTheBasicPlane) {
    // DESERET SMALL LETTER LONG I (U+10428) and its capital U+10400, each a
    // surrogate pair; the length in units stays the same.
    const std::u16string result = Upper(u"a\U00010428b");

    EXPECT_EQ(result, u"A\U00010400B");
    EXPECT_EQ(result.size(), 4u);
}

TEST(StringMakeUpper, LeavesNonLettersOutsideTheBasicPlaneAlone) {
    EXPECT_EQ(Upper(u"\U0001F600x"), u"\U0001F600X");
}

TEST(StringMakeUpper, UsesTheSimpleOneToOneMapping) {
    // Sharp s has no one-letter capital in the simple mapping, and the
    // ligature fi neither: both stay, so the key keeps its length. Dotless i
    // maps to plain I.
    const std::u16string result = Upper(u"stra\u00DFe \uFB01 \u0131");

    EXPECT_EQ(result, u"STRA\u00DFE \uFB01 I");
}

TEST(StringMakeUpper, CapitalsStayAsTheyAre) {
    EXPECT_EQ(Upper(u"ABC \u00C9 \u03A3 \U00010400"), u"ABC \u00C9 \u03A3 \U00010400");
}

TEST(StringMakeUpper, LoneSurrogatesPassThroughUnchanged) {
    const std::u16string units = {u'a', static_cast<char16_t>(0xDC00), u'b', static_cast<char16_t>(0xD801)};

    EXPECT_EQ(Upper(units), (std::u16string{u'A', static_cast<char16_t>(0xDC00), u'B', static_cast<char16_t>(0xD801)}));
}

TEST(StringMakeUpper, EmptyStringStaysEmpty) {
    EXPECT_EQ(Upper(u""), u"");
}

TEST(StringMakeUpper, DottedIStaysPlainUnderATurkishLocale) {
    ProcessLocaleGuard locale(kTurkishLocales);
    if (locale.Active().empty()) GTEST_SKIP() << "no Turkish locale is installed on this system";
    // In this locale the C library itself maps i to the dotted capital
    // U+0130, which would make a different path key.
    ASSERT_EQ(static_cast<wint_t>(std::towupper(L'i')), static_cast<wint_t>(0x130))
        << "locale " << locale.Active() << " does not map i to a dotted capital";

    EXPECT_EQ(Upper(u"image_file.jpg"), u"IMAGE_FILE.JPG");
    EXPECT_EQ(Upper(u"\u0131i\u00E9\u03B1\U00010428"), u"II\u00C9\u0391\U00010400");
}

TEST(StringMakeUpper, SameKeyWithAndWithoutTheProcessLocale) {
    const std::u16string path = u"/home/ay\u015Fe/foto\u011Fraflar/\u00E7i\u00E7ek_i\u0131.jpg";
    const std::u16string inDefault = Upper(path);
    ProcessLocaleGuard locale(kTurkishLocales);
    if (locale.Active().empty()) GTEST_SKIP() << "no Turkish locale is installed on this system";

    const std::u16string inTurkish = Upper(path);

    EXPECT_EQ(inTurkish, inDefault);
    EXPECT_EQ(inTurkish, u"/HOME/AY\u015EE/FOTO\u011ERAFLAR/\u00C7I\u00C7EK_II.JPG");
}

}  // namespace
