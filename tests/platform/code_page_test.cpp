// Tests of the platform's text conversions: the Windows-1252 tables in both directions, the range forms
// against the single-character ones, and the UTF-8 codec with malformed input.
#include "platform/code_page.h"

#include <gtest/gtest.h>

#include <set>

namespace scrivix::platform {
namespace {

// The characters of bytes 0x80..0x9F, from the code page's published chart; the five undefined bytes
// stand for the C1 control of the same value.
constexpr char16_t kChart80To9F[32] = {
    u'€', 0x0081, u'‚', u'ƒ', u'„', u'…', u'†', u'‡', u'ˆ', u'‰', u'Š', u'‹', u'Œ', 0x008D, u'Ž', 0x008F,
    0x0090, u'‘', u'’', u'“', u'”', u'•', u'–', u'—', u'˜', u'™', u'š', u'›', u'œ', 0x009D, u'ž', u'Ÿ',
};

// Code page tables: every byte widens as charted and narrows back; every other unit, the C1 controls
// 0x80 and 0x9F, surrogates and letters with a look-alike among them, narrows to '?'.

TEST(CodePage, EveryByteWidensAsChartedAndSurvivesARoundTrip) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        const char16_t wide = WidenAnsiChar(static_cast<unsigned char>(byte));
        EXPECT_EQ(wide, byte >= 0x80 && byte < 0xA0 ? kChart80To9F[byte - 0x80] : char16_t(byte)) << byte;
        EXPECT_EQ(NarrowAnsiChar(wide), byte) << "byte " << byte;
    }
}

TEST(CodePage, EveryOtherUnitBecomesAQuestionMark) {
    std::set<char16_t> representable;
    for (unsigned byte = 0; byte < 256; ++byte) representable.insert(WidenAnsiChar(static_cast<unsigned char>(byte)));
    EXPECT_EQ(representable.size(), 256u);
    for (unsigned unit = 0; unit < 0x10000; ++unit) {
        const char16_t wide = static_cast<char16_t>(unit);
        ASSERT_TRUE(representable.count(wide) || NarrowAnsiChar(wide) == '?') << "unit " << unit;
    }
}

// Range forms.

TEST(CodePage, RangesAgreeWithSingleCharactersAcrossTheAsciiFastPath) {
    // Every length up to a few chunks, with one non-ASCII unit at every position.
    for (size_t length = 0; length < 27; ++length) {
        for (size_t special = 0; special <= length; ++special) {
            std::u16string text(length, u'a');
            for (size_t i = 0; i < length; ++i) text[i] = static_cast<char16_t>(u'a' + i % 26);
            if (special < length) text[special] = special % 2 ? u'€' : u'Ω';
            std::string narrow(length, '\0');
            ASSERT_EQ(NarrowToAnsi(text.data(), text.data() + length, narrow.data()), narrow.data() + length);
            for (size_t i = 0; i < length; ++i)
                ASSERT_EQ(static_cast<unsigned char>(narrow[i]), NarrowAnsiChar(text[i])) << length << "/" << i;
        }
    }
}

TEST(CodePage, WholeStrings) {
    EXPECT_EQ(NarrowToAnsi(u"Caf\u00e9 \u20ac5 \u03a9"), "Caf\xe9 \x80" "5 ?");
    EXPECT_EQ(WidenFromAnsi("Caf\xe9 \x80" "5"), u"Caf\u00e9 \u20ac5");
    EXPECT_EQ(NarrowToAnsi(u""), "");
    std::u16string out(3, u'x');
    const unsigned char bytes[] = {0x41, 0x9C, 0xFF};
    EXPECT_EQ(WidenFromAnsi(bytes, bytes + 3, out.data()), out.data() + 3);
    EXPECT_EQ(out, u"A\u0153\u00ff");
}

// UTF-8.

TEST(Utf8, EncodesValidTextAndReplacesUnpairedSurrogates) {
    const std::u16string text = u"A\u00e9\u20ac\U0001F600z";
    EXPECT_EQ(Utf16ToUtf8(text), "A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z");
    EXPECT_EQ(Utf8ToUtf16(Utf16ToUtf8(text)), text);
    const char16_t high_alone[] = {u'a', 0xD83D, u'b', 0}, low_first[] = {0xDE00, 0xD83D, 0};
    EXPECT_EQ(Utf16ToUtf8(high_alone), "a\xEF\xBF\xBD" "b");
    EXPECT_EQ(Utf16ToUtf8(low_first), "\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(Utf8, MalformedInputGivesOneReplacementPerMaximalPart) {
    const std::pair<const char*, std::u16string> cases[] = {
        {"\x80", u"\uFFFD"},                                // stray continuation byte
        {"\xC0\x80", u"\uFFFD\uFFFD"},                      // overlong lead byte, then a stray continuation
        {"\xE0\x80\x80", u"\uFFFD\uFFFD\uFFFD"},            // overlong three-byte form
        {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},            // encoded surrogate
        {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},  // above U+10FFFF
        {"\xE2\x82", u"\uFFFD"},                            // truncated at the end
        {"\xE2\x82z", u"\uFFFDz"},                          // truncated before ASCII
        {"\xFF" "a", u"\uFFFDa"},
    };
    for (const auto& [bytes, expected] : cases) EXPECT_EQ(Utf8ToUtf16(bytes), expected) << bytes;
}

}  // namespace
}  // namespace scrivix::platform
