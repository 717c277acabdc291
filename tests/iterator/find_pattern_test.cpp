// The whole road of a request, for both widths: a text segment loads a file, FindPattern starts an
// iterator with a target and an ignore pattern, the iterator visits every occurrence outside comments
// and replaces some of them, and the segment writes the file back.
#include "iterator_fixture.h"

#include "support/temp_dir.h"

namespace scrivix::test {
namespace {

class FindPatternTest : public ::testing::TestWithParam<Width> {
protected:
    bool Wide() const { return std::u16string_view(GetParam().pattern_class) == kWide.pattern_class; }
    // The bytes of `text` in a file of the width: 8-bit characters, or a mark and little-endian units.
    std::string FileBytes(std::u16string_view text) const {
        std::string bytes = Wide() ? "\xFF\xFE" : "";
        for (char16_t unit : text) {
            bytes += static_cast<char>(unit & 0xFF);
            if (Wide()) bytes += static_cast<char>(unit >> 8);
        }
        return bytes;
    }
    ComPtr<ITextSegment> LoadedSegment(const Bstr& name) {
        ComPtr<ITextSegment> segment;
        EXPECT_EQ(CreateFromClassName(Bstr(u"Scrivix.TextSegment").Get(), segment), S_OK);
        EXPECT_EQ(segment->put_BufferClass(Bstr(GetParam().buffer_class).Get()), S_OK);
        LONG actual = 0;
        EXPECT_EQ(segment->LoadFile(name.Get(), file_in, &actual), S_OK);
        return segment;
    }
};
INSTANTIATE_TEST_SUITE_P(Widths, FindPatternTest, ::testing::Values(kNarrow, kWide), WidthName);

// Words are bounded by white space, as whole-word searches want them.
constexpr char16_t kSource[] =
    u"/* count the lines */\n"
    u"int count = 0 ;\n"
    u"count = count + lines ; /* count\n"
    u"   more */ print ( count ) ; // counted\n";
// C comments without stars inside: "/*", anything but a star (line breaks too), "*/".
constexpr char16_t kComment[] = u"/\\*[^*]*\\*/";

TEST_P(FindPatternTest, EveryOccurrenceOutsideCommentsIsVisitedAndSomeAreReplacedInTheFile) {
    TempDir dir;
    const Bstr name(dir.Name("source.c"));
    WriteBytes(dir.Path("source.c"), FileBytes(kSource));
    auto segment = LoadedSegment(name);

    ComPtr<IPatternIterator> iterator;
    ASSERT_EQ(segment->FindPattern(Bstr(u"count").Get(), poWholeWord, Bstr(kComment).Get(), poRegExpression,
                                   iterator.Put()),
              S_OK);
    // It stands on the first occurrence already; every other is one Next further on. The first and
    // the third are renamed, the first to a shorter text.
    std::vector<std::u16string> visited;
    std::vector<LONG> offsets;
    for (LONG matched = 0; iterator->MatchedBy(&matched), matched != -1; iterator->Next(nullptr)) {
        ComPtr<ITextSegment> current;
        ASSERT_EQ(iterator->get_Current(current.Put()), S_OK);
        visited.push_back(TextOf(current.Get()));
        LONG offset = -1;
        iterator->Offset(&offset);
        offsets.push_back(offset);
        if (visited.size() == 1 || visited.size() == 3) {
            EXPECT_EQ(iterator->Replace(Bstr(visited.size() == 1 ? u"n" : u"total").Get()), S_OK);
        }
    }
    EXPECT_EQ(visited, std::vector<std::u16string>(4, u"count"));
    EXPECT_EQ(offsets, (std::vector<LONG>{26, 34, 42, 86})) << "counted after the first became \"n\"";
    VARIANT_BOOL at_end = VARIANT_FALSE;
    EXPECT_EQ(iterator->End(&at_end), S_OK);
    EXPECT_EQ(at_end, VARIANT_TRUE);

    const std::u16string edited =
        u"/* count the lines */\n"
        u"int n = 0 ;\n"
        u"count = total + lines ; /* count\n"
        u"   more */ print ( count ) ; // counted\n";
    LONG written = 0;
    ASSERT_EQ(segment->WriteFile(name.Get(), file_out | file_trunc | file_binary, &written), S_OK);
    EXPECT_EQ(ReadBytes(dir.Path("source.c")), FileBytes(edited));
    EXPECT_EQ(static_cast<size_t>(written), edited.size() * (Wide() ? 2 : 1)) << "the text's bytes, without a mark";
}

TEST_P(FindPatternTest, ATextThatDoesNotOccurGivesAnIteratorAtTheEnd) {
    TempDir dir;
    const Bstr name(dir.Name("source.c"));
    WriteBytes(dir.Path("source.c"), FileBytes(kSource));
    auto segment = LoadedSegment(name);
    ComPtr<IPatternIterator> iterator;
    // "more" occurs only inside a comment, "total" nowhere.
    for (const char16_t* text : {u"more", u"total"}) {
        SCOPED_TRACE(std::string(text, text + std::char_traits<char16_t>::length(text)));
        ASSERT_EQ(segment->FindPattern(Bstr(text).Get(), poNone, Bstr(kComment).Get(), poRegExpression,
                                       iterator.Put()),
                  S_OK);
        VARIANT_BOOL at_end = VARIANT_FALSE;
        LONG matched = 0;
        EXPECT_EQ(iterator->End(&at_end), S_OK);
        EXPECT_EQ(at_end, VARIANT_TRUE);
        EXPECT_EQ(iterator->MatchedBy(&matched), S_OK);
        EXPECT_EQ(matched, -1);
    }
}

}  // namespace
}  // namespace scrivix::test
