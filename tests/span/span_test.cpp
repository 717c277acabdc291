// The span through ISpan: its properties, Define and its failures, FindClose with and without soNested
// (the documented examples, an opening and a closing at one offset, random bracket texts against a plain
// count), and failures of called objects reported again under the span's class.
#include "interfaces/messages.h"
#include "support/text_segments.h"

namespace scrivix::test {
namespace {

// A narrow span, defined with Define unless the pattern class is to be left unset.
ComPtr<ISpan> NewSpan(std::u16string_view opening = {}, std::u16string_view closing = {}, LONG options = 3,
                      LONG opening_options = 0, LONG closing_options = 0) {
    auto span = MakeByName<ISpan>(u"Scrivix.Span");
    EXPECT_EQ(span->put_PatternClass(Bstr(kNarrow.pattern_class).Get()), S_OK);
    if (!opening.empty()) {
        EXPECT_EQ(span->Define(Bstr(opening).Get(), opening_options, Bstr(closing).Get(), closing_options, options),
                  S_OK);
    }
    return span;
}

ComPtr<IPattern> Opening(ISpan* span) {
    ComPtr<IPattern> pattern;
    EXPECT_EQ(span->get_Opening(pattern.Put()), S_OK);
    return pattern;
}
ComPtr<IPattern> Closing(ISpan* span) {
    ComPtr<IPattern> pattern;
    EXPECT_EQ(span->get_Closing(pattern.Put()), S_OK);
    return pattern;
}
std::u16string TextOf(IPattern* pattern) {
    Bstr text;
    EXPECT_EQ(pattern->get_Text(text.Put()), S_OK);
    return std::u16string(text.View());
}

// Properties and Define.

TEST(Span, ANewSpanHasNoPatternsNoOptionsAndNoPatternClass) {
    auto span = MakeByName<ISpan>(u"Scrivix.Span");
    EXPECT_FALSE(Opening(span.Get()));
    EXPECT_FALSE(Closing(span.Get()));
    LONG options = -1;
    EXPECT_EQ(span->get_Options(&options), S_OK);
    EXPECT_EQ(options, 0);
    Bstr name(u"x");
    EXPECT_EQ(span->get_PatternClass(name.Put()), S_OK);
    EXPECT_TRUE(name.IsNull());
    EXPECT_EQ(span->Define(Bstr(u"(").Get(), 0, Bstr(u")").Get(), 0, 3), E_INVALIDARG) << "no class to make them";
    EXPECT_EQ(span.As<ISupportErrorInfo>()->InterfaceSupportsErrorInfo(IID_ISpan), S_OK);
    EXPECT_EQ(span->put_Options(-1), S_OK);
    EXPECT_EQ(span->get_Options(&options), S_OK);
    EXPECT_EQ(options, -1) << "options are stored as given";

    // Patterns are put by query; anything that is not a pattern (or nothing) empties the property.
    auto pattern = MakeByName<IPattern>(u"Scrivix.PatternA");
    EXPECT_EQ(span->put_Opening(pattern.Get()), S_OK);
    EXPECT_EQ(Opening(span.Get()), pattern);
    EXPECT_EQ(span->put_Opening(NewSegment(u"abc").Get()), S_OK);
    EXPECT_FALSE(Opening(span.Get()));
    EXPECT_EQ(span->put_Closing(pattern.Get()), S_OK);
    EXPECT_EQ(span->put_Closing(nullptr), S_OK);
    EXPECT_FALSE(Closing(span.Get()));
}

TEST(Span, DefineMakesANewOpeningEachTimeAndAClosingOnlyForAClosingText) {
    auto span = NewSpan(u"(", u"");
    const auto first_opening = Opening(span.Get());
    EXPECT_EQ(TextOf(first_opening.Get()), u"(");
    EXPECT_FALSE(Closing(span.Get())) << "an empty closing text on a new span makes no Closing";

    EXPECT_EQ(span->Define(Bstr(u"[").Get(), 0, Bstr(u"]").Get(), poIgnoreCase, 9), S_OK);
    EXPECT_NE(Opening(span.Get()), first_opening);
    const auto closing = Closing(span.Get());
    ASSERT_TRUE(closing);
    EXPECT_EQ(TextOf(closing.Get()), u"]");
    LONG options = 0;
    closing->get_Options(&options);
    EXPECT_EQ(options, poIgnoreCase);
    span->get_Options(&options);
    EXPECT_EQ(options, 9);

    EXPECT_EQ(span->Define(Bstr(u"{").Get(), 0, nullptr, 0, 3), S_OK);
    EXPECT_EQ(Closing(span.Get()), closing) << "an empty closing text keeps the Closing";
    EXPECT_EQ(TextOf(closing.Get()), u"");
}

TEST(Span, DefineFailuresChangeNothing) {
    auto span = NewSpan(u"(", u")");
    const auto before = Opening(span.Get());
    for (std::u16string unusable : {u"Scrivix.NoSuchPattern", u"{not a class id"}) {
        EXPECT_EQ(span->put_PatternClass(Bstr(unusable).Get()), S_OK);
        EXPECT_EQ(span->Define(Bstr(u"[").Get(), 0, Bstr(u"]").Get(), 0, 1), CO_E_CLASSSTRING);
    }
    EXPECT_EQ(Opening(span.Get()), before);
    EXPECT_EQ(span->put_PatternClass(nullptr), S_OK);
    EXPECT_EQ(span->Define(Bstr(u"[").Get(), 0, Bstr(u"]").Get(), 0, 1), E_INVALIDARG);

    // A pattern's failure is reported again under the span, and Define ends before the span options.
    span = NewSpan();
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

struct Closed {
    bool found;
    LONG limit, length;
    bool operator==(const Closed&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Closed& c) {
    return out << (c.found ? "found" : "not found") << " limit " << c.limit << " length " << c.length;
}
const Closed kNotFound{false, -77, -77};

// FindClose of `span` over `text` from `start`, with a closing iterator as the span iterator makes it.
Closed FindClose(ISpan* span, std::u16string_view text, LONG start) {
    auto close = MakeByName<IPatternIterator>(u"Scrivix.PatternIterator");
    LONG number = -1;
    EXPECT_EQ(close->AddTarget(Closing(span).Get(), &number), S_OK);
    EXPECT_EQ(close->put_Source(NewSegment(text).Get()), S_OK);
    Closed result = kNotFound;
    VARIANT_BOOL found = 5;
    EXPECT_EQ(span->FindClose(close.Get(), start, &result.limit, &result.length, &found), S_OK);
    EXPECT_TRUE(found == VARIANT_TRUE || found == VARIANT_FALSE);
    result.found = found == VARIANT_TRUE;
    return result;
}

TEST(Span, FindClose) {
    const struct {
        std::u16string_view opening, closing;
        LONG options;
        std::u16string_view text;
        LONG start;
        Closed expected;
    } cases[] = {
        {u"\"", u"\"", 3, u"a\"bc\"d\"", 2, {true, 5, 1}},
        {u"(", u")", 3, u"((a)b)c)", 1, {true, 4, 1}},
        {u"(", u")", 3, u"(a)b", 3, kNotFound},
        {u"begin", u"end", 3, u"begin x end y end", 5, {true, 11, 3}},
        {u"(", u")", 3 | soNested, u"((a)b)c)", 1, {true, 6, 1}},
        {u"(", u")", 3 | soNested, u"(()", 1, kNotFound},
        {u"(", u")", 3 | soNested, u"(a)(b)", 1, {true, 3, 1}},
        {u"(", u")", 3 | soNested, u"(a)b)", 1, {true, 3, 1}},
        {u"(", u")", 3 | soNested, u"((((x))))", 1, {true, 9, 1}},
        {u"begin", u"end", 3 | soNested, u"begin begin end x end", 5, {true, 21, 3}},
        // The same offset: a quote ends at the next quote; "</" closes though "<" begins there too.
        {u"\"", u"\"", 3 | soNested, u"\"ab\"c\"d\"", 1, {true, 4, 1}},
        {u"\"", u"\"", 3 | soNested, u"\"abc", 1, kNotFound},
        {u"<", u"</", 3 | soNested, u"<a><b></b></a>", 1, {true, 12, 2}},
        {u"<", u"</", 3 | soNested, u"<a><b></b>", 1, kNotFound},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(FindClose(NewSpan(c.opening, c.closing, c.options).Get(), c.text, c.start), c.expected)
            << std::string(c.text.begin(), c.text.end()) << " from " << c.start << ", options " << c.options;
    }
    // Patterns that match empty text are found again at one place; the count must end all the same.
    const Closed empty = FindClose(NewSpan(u"x*", u"y*", 3 | soNested, poRegExpression, poRegExpression).Get(),
                                   u"abxxyycc", 1);
    EXPECT_TRUE(empty == (Closed{true, 1, 0}) || !empty.found) << empty;
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
            EXPECT_EQ(FindClose(brackets.Get(), text, static_cast<LONG>(start)),
                      (limit < 0 ? kNotFound : Closed{true, limit, 1}))
                << "text " << std::string(text.begin(), text.end()) << " start " << start;
        }
    }
}

TEST(Span, FindCloseFailures) {
    auto span = NewSpan(u"(", u")");
    LONG limit = 0, length = 0;
    VARIANT_BOOL found = VARIANT_TRUE;
    EXPECT_EQ(span->FindClose(nullptr, 0, &limit, &length, &found), E_POINTER);
    EXPECT_EQ(found, VARIANT_FALSE);

    // A closing iterator without targets fails its search; the span reports that again as its own.
    auto close = MakeByName<IPatternIterator>(u"Scrivix.PatternIterator");
    close->put_Source(NewSegment(u"(a)").Get());
    EXPECT_EQ(span->FindClose(close.Get(), 1, &limit, &length, &found), MessageStatus(10501));
    const auto record = TakeErrorRecord();
    EXPECT_EQ(record.description, u"No patterns to search for.");
    EXPECT_EQ(record.source, u"Scrivix.Span.1");
    EXPECT_EQ(record.help_context, 84u);
}

}  // namespace
}  // namespace scrivix::test
