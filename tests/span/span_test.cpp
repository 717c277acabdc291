// The span through ISpan: its properties, Define and its steps, FindClose with and without soNested
// (the documented examples, an opening and a closing at one offset, random bracket texts against a plain
// count), and failures of called objects reported again under the span's class.
#include "interfaces/messages.h"
#include "support/text_segments.h"


namespace scrivix::test {
namespace {

// A narrow span defined with Define.
ComPtr<ISpan> NewSpan(std::u16string_view opening, std::u16string_view closing, LONG options) {
    auto span = MakeByName<ISpan>(u"Scrivix.Span");
    EXPECT_EQ(span->put_PatternClass(Bstr(kNarrow.pattern_class).Get()), S_OK);
    EXPECT_EQ(span->Define(Bstr(opening).Get(), 0, Bstr(closing).Get(), 0, options), S_OK);
    return span;
}

struct Closed {
    bool found;
    LONG limit, length;
    bool operator==(const Closed&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Closed& c) {
    return out << (c.found ? "found" : "not found") << " limit " << c.limit << " length " << c.length;
}

// FindClose of `span` over `text` from `start`, with a closing iterator as the span iterator makes it.
Closed FindClose(ISpan* span, std::u16string_view text, LONG start) {
    auto close = MakeByName<IPatternIterator>(u"Scrivix.PatternIterator");
    auto source = NewSegment(text);
    ComPtr<IPattern> closing;
    EXPECT_EQ(span->get_Closing(closing.Put()), S_OK);
    LONG number = -1;
    EXPECT_EQ(close->AddTarget(closing.Get(), &number), S_OK);
    EXPECT_EQ(close->put_Source(source.Get()), S_OK);
    Closed result{false, -77, -77};
    VARIANT_BOOL found = 5;
    EXPECT_EQ(span->FindClose(close.Get(), start, &result.limit, &result.length, &found), S_OK);
    result.found = found == VARIANT_TRUE;
    EXPECT_TRUE(found == VARIANT_TRUE || found == VARIANT_FALSE);
    return result;
}

Bstr TextOf(IPattern* pattern) {
    Bstr text;
    EXPECT_EQ(pattern->get_Text(text.Put()), S_OK);
    return text;
}

// Properties.

TEST(Span, ANewSpanHasNoPatternsAndNoPatternClass) {
    auto span = MakeByName<ISpan>(u"Scrivix.Span");
    ComPtr<IPattern> pattern;
    EXPECT_EQ(span->get_Opening(pattern.Put()), S_OK);
    EXPECT_FALSE(pattern);
    EXPECT_EQ(span->get_Closing(pattern.Put()), S_OK);
    EXPECT_FALSE(pattern);
    LONG options = -1;
    EXPECT_EQ(span->get_Options(&options), S_OK);
    EXPECT_EQ(options, 0);
    Bstr name(u"x");
    EXPECT_EQ(span->get_PatternClass(name.Put()), S_OK);
    EXPECT_TRUE(name.IsNull());
    EXPECT_EQ(span->Define(Bstr(u"(").Get(), 0, Bstr(u")").Get(), 0, 3), E_INVALIDARG);
    EXPECT_EQ(span.As<ISupportErrorInfo>()->InterfaceSupportsErrorInfo(IID_ISpan), S_OK);
    // Options are stored as given.
    for (LONG value : {3, -1, 0x7FFFFFFF, 1 << 20}) {
        EXPECT_EQ(span->put_Options(value), S_OK);
        LONG back = 0;
        EXPECT_EQ(span->get_Options(&back), S_OK);
        EXPECT_EQ(back, value);
    }
}

TEST(Span, PatternsArePutByQueryAndEmptiedByAnythingElse) {
    auto span = MakeByName<ISpan>(u"Scrivix.Span");
    auto pattern = MakeByName<IPattern>(u"Scrivix.PatternA");
    EXPECT_EQ(span->put_Opening(pattern.Get()), S_OK);
    ComPtr<IPattern> back;
    EXPECT_EQ(span->get_Opening(back.Put()), S_OK);
    EXPECT_EQ(back, pattern);
    auto not_a_pattern = NewSegment(u"abc");
    EXPECT_EQ(span->put_Opening(not_a_pattern.Get()), S_OK);
    EXPECT_EQ(span->get_Opening(back.Put()), S_OK);
    EXPECT_FALSE(back);
    EXPECT_EQ(span->put_Closing(pattern.Get()), S_OK);
    EXPECT_EQ(span->put_Closing(nullptr), S_OK);
    EXPECT_EQ(span->get_Closing(back.Put()), S_OK);
    EXPECT_FALSE(back);
}

// Define.

TEST(Span, DefineMakesANewOpeningEachTimeAndAClosingOnlyForAClosingText) {
    auto span = NewSpan(u"(", u"", 3);
    ComPtr<IPattern> opening, closing;
    EXPECT_EQ(span->get_Opening(opening.Put()), S_OK);
    EXPECT_EQ(TextOf(opening.Get()).View(), u"(");
    EXPECT_EQ(span->get_Closing(closing.Put()), S_OK);
    EXPECT_FALSE(closing) << "an empty closing text on a new span makes no Closing";

    EXPECT_EQ(span->Define(Bstr(u"[").Get(), 0, Bstr(u"]").Get(), poIgnoreCase, 9), S_OK);
    ComPtr<IPattern> second_opening, second_closing;
    span->get_Opening(second_opening.Put());
    span->get_Closing(second_closing.Put());
    EXPECT_NE(second_opening, opening);
    ASSERT_TRUE(second_closing);
    EXPECT_EQ(TextOf(second_closing.Get()).View(), u"]");
    LONG options = 0;
    second_closing->get_Options(&options);
    EXPECT_EQ(options, poIgnoreCase);
    span->get_Options(&options);
    EXPECT_EQ(options, 9);

    EXPECT_EQ(span->Define(Bstr(u"{").Get(), 0, nullptr, 0, 3), S_OK);
    ComPtr<IPattern> kept;
    span->get_Closing(kept.Put());
    EXPECT_EQ(kept, second_closing) << "an empty closing text keeps the Closing";
    EXPECT_EQ(TextOf(kept.Get()).View(), u"");
}

TEST(Span, DefineFailuresChangeNothing) {
    auto span = NewSpan(u"(", u")", 3);
    ComPtr<IPattern> before;
    span->get_Opening(before.Put());
    EXPECT_EQ(span->put_PatternClass(Bstr(u"Scrivix.NoSuchPattern").Get()), S_OK);
    EXPECT_EQ(span->Define(Bstr(u"[").Get(), 0, Bstr(u"]").Get(), 0, 1), CO_E_CLASSSTRING);
    EXPECT_EQ(span->put_PatternClass(Bstr(u"{not a class id").Get()), S_OK);
    EXPECT_EQ(span->Define(Bstr(u"[").Get(), 0, Bstr(u"]").Get(), 0, 1), CO_E_CLASSSTRING);
    ComPtr<IPattern> after;
    span->get_Opening(after.Put());
    EXPECT_EQ(after, before);
    EXPECT_EQ(span->put_PatternClass(nullptr), S_OK);
    EXPECT_EQ(span->Define(Bstr(u"[").Get(), 0, Bstr(u"]").Get(), 0, 1), E_INVALIDARG);

    // A pattern's failure is reported again under the span, and Define ends before the span options.
    span = MakeByName<ISpan>(u"Scrivix.Span");
    span->put_PatternClass(Bstr(u"Scrivix.PatternA").Get());
    EXPECT_EQ(span->Define(Bstr(u"*a").Get(), poRegExpression, Bstr(u")").Get(), 0, 3), MessageStatus(10502));
    const auto record = TakeErrorRecord();
    EXPECT_EQ(record.description, u"Illegal Regular Expression.");
    EXPECT_EQ(record.source, u"Scrivix.Span.1");
    EXPECT_EQ(record.help_context, 85u);
    LONG options = -1;
    span->get_Options(&options);
    EXPECT_EQ(options, 0) << "Define ended before the span options";
}

// FindClose: without soNested the first closing at or after Start; with it, the closing that balances
// the opening, where an opening and a closing that begin at one offset count as the closing. Not found
// leaves Limit and Length untouched.

TEST(Span, FindClose) {
    const Closed none{false, -77, -77};
    const struct {
        std::u16string_view opening, closing;
        LONG options;
        std::u16string_view text;
        LONG start;
        Closed expected;
    } cases[] = {
        {u"\"", u"\"", 3, u"a\"bc\"d\"", 2, {true, 5, 1}},
        {u"(", u")", 3, u"((a)b)c)", 1, {true, 4, 1}},
        {u"(", u")", 3, u"(a)b", 3, none},
        {u"begin", u"end", 3, u"begin x end y end", 5, {true, 11, 3}},
        {u"(", u")", 3 | soNested, u"((a)b)c)", 1, {true, 6, 1}},
        {u"(", u")", 3 | soNested, u"(()", 1, none},
        {u"(", u")", 3 | soNested, u"(a)(b)", 1, {true, 3, 1}},
        {u"(", u")", 3 | soNested, u"(a)b)", 1, {true, 3, 1}},
        {u"(", u")", 3 | soNested, u"((((x))))", 1, {true, 9, 1}},
        {u"begin", u"end", 3 | soNested, u"begin begin end x end", 5, {true, 21, 3}},
        // The same offset: a quote ends at the next quote; "</" closes though "<" begins there too.
        {u"\"", u"\"", 3 | soNested, u"\"ab\"c\"d\"", 1, {true, 4, 1}},
        {u"\"", u"\"", 3 | soNested, u"\"abc", 1, none},
        {u"<", u"</", 3 | soNested, u"<a><b></b></a>", 1, {true, 12, 2}},
        {u"<", u"</", 3 | soNested, u"<a><b></b>", 1, none},
    };
    for (const auto& c : cases) {
        auto span = NewSpan(c.opening, c.closing, c.options);
        EXPECT_EQ(FindClose(span.Get(), c.text, c.start), c.expected)
            << std::string(c.text.begin(), c.text.end()) << " from " << c.start << ", options " << c.options;
    }
}

// A pattern that matches empty text is found again at one place; the count must end all the same.
TEST(Span, NestedFindCloseEndsWithPatternsThatMatchEmptyText) {
    auto span = MakeByName<ISpan>(u"Scrivix.Span");
    span->put_PatternClass(Bstr(u"Scrivix.PatternA").Get());
    ASSERT_EQ(span->Define(Bstr(u"x*").Get(), poRegExpression, Bstr(u"y*").Get(), poRegExpression, 3 | soNested),
              S_OK);
    const Closed result = FindClose(span.Get(), u"abxxyycc", 1);
    EXPECT_TRUE(result == (Closed{true, 1, 0}) || !result.found) << result;
}

// The plain rule: the closing at which the count of openings less closings, from Start and with one level
// open, falls to 0.
LONG CountedLimit(std::u16string_view text, size_t start) {
    int depth = 1;
    for (size_t i = start; i < text.size(); ++i) {
        if (text[i] == u'(') ++depth;
        if (text[i] == u')' && --depth == 0) return static_cast<LONG>(i + 1);
    }
    return -1;
}

TEST(Span, NestedFindCloseAgreesWithTheBracketCountOnRandomTexts) {
    auto brackets = NewSpan(u"(", u")", soNested);
    RandomEdits random(7);
    const std::u16string alphabet = u"(()))ab";
    for (int round = 0; round < 60; ++round) {
        std::u16string text;
        for (LONG size = random.Between(1, 24); size > 0; --size) text += alphabet[random.Between(0, 6)];
        for (size_t start = 0; start <= text.size(); ++start) {
            const LONG limit = CountedLimit(text, start);
            const Closed expected = limit < 0 ? Closed{false, -77, -77} : Closed{true, limit, 1};
            EXPECT_EQ(FindClose(brackets.Get(), text, static_cast<LONG>(start)), expected)
                << "text " << std::string(text.begin(), text.end()) << " start " << start;
        }
    }
}

// Failures.

TEST(Span, FindCloseFailures) {
    auto span = NewSpan(u"(", u")", 3);
    LONG limit = 0, length = 0;
    VARIANT_BOOL found = VARIANT_TRUE;
    EXPECT_EQ(span->FindClose(nullptr, 0, &limit, &length, &found), E_POINTER);
    EXPECT_EQ(found, VARIANT_FALSE);

    // A closing iterator without targets fails its search; the span reports that again as its own.
    auto close = MakeByName<IPatternIterator>(u"Scrivix.PatternIterator");
    auto source = NewSegment(u"(a)");
    close->put_Source(source.Get());
    EXPECT_EQ(span->FindClose(close.Get(), 1, &limit, &length, &found), MessageStatus(10501));
    const auto record = TakeErrorRecord();
    EXPECT_EQ(record.description, u"No patterns to search for.");
    EXPECT_EQ(record.source, u"Scrivix.Span.1");
    EXPECT_EQ(record.help_context, 84u);
}

}  // namespace
}  // namespace scrivix::test
