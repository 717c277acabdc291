// The whole road of a request, for both widths: a text segment loads a file, FindPattern starts an
// iterator with a target and an ignore pattern, the iterator visits every occurrence outside comments
// and replaces some of them, and the segment writes the file back; a text that does not occur outside
// comments gives an iterator at the end.
#include "iterator_fixture.h"

#include "support/buffer_widths.h"
#include "support/temp_dir.h"

namespace scrivix::test {
namespace {

// Words are bounded by white space, as whole-word searches want them.
constexpr char16_t kSource[] =
    u"/* count the lines */\n"
    u"int count = 0 ;\n"
    u"count = count + lines ; /* count\n"
    u"   more */ print ( count ) ; // counted\n";
// C comments without stars inside: "/*", anything but a star (line breaks too), "*/".
constexpr char16_t kComment[] = u"/\\*[^*]*\\*/";

class FindPatternTest : public ::testing::TestWithParam<Width> {
protected:
    // The bytes of `text` in a file of the width: 8-bit characters, or a mark and little-endian units.
    std::string FileBytes(std::u16string_view text) const {
        return GetParam().char_size == 2 ? StreamBytes<WideBuffer>(text) : StreamBytes<NarrowBuffer>(text);
    }
    void SetUp() override {
        WriteBytes(dir_.Path("source.c"), FileBytes(kSource));
        segment_ = MakeByName<ITextSegment>(u"Scrivix.TextSegment");
        ASSERT_EQ(segment_->put_BufferClass(Bstr(GetParam().buffer_class).Get()), S_OK);
        LONG actual = 0;
        ASSERT_EQ(segment_->LoadFile(name_.Get(), file_in, &actual), S_OK);
    }
    ComPtr<IPatternIterator> Find(std::u16string_view text, LONG options) {
        ComPtr<IPatternIterator> iterator;
        EXPECT_EQ(segment_->FindPattern(Bstr(text).Get(), options, Bstr(kComment).Get(), poRegExpression,
                                        iterator.Put()),
                  S_OK);
        return iterator;
    }
    TempDir dir_;
    const Bstr name_{dir_.Name("source.c")};
    ComPtr<ITextSegment> segment_;
};
SCRIVIX_FOR_BOTH_WIDTHS(FindPatternTest);

TEST_P(FindPatternTest, EveryOccurrenceOutsideCommentsIsVisitedAndSomeAreReplacedInTheFile) {
    auto iterator = Find(u"count", poWholeWord);
    ASSERT_TRUE(iterator);
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
    ASSERT_EQ(segment_->WriteFile(name_.Get(), file_out | file_trunc | file_binary, &written), S_OK);
    EXPECT_EQ(ReadBytes(dir_.Path("source.c")), FileBytes(edited));
    EXPECT_EQ(written, static_cast<LONG>(edited.size()) * GetParam().char_size) << "the text's bytes, without a mark";

    // "more" occurs only inside a comment, "zero" nowhere.
    for (const char16_t* text : {u"more", u"zero"}) {
        iterator = Find(text, poNone);
        LONG matched = 0;
        EXPECT_EQ(iterator->End(&at_end), S_OK);
        EXPECT_EQ(at_end, VARIANT_TRUE);
        EXPECT_EQ(iterator->MatchedBy(&matched), S_OK);
        EXPECT_EQ(matched, -1);
    }
}

}  // namespace
}  // namespace scrivix::test
