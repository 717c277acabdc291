// The text segment's operations, for segments over 8-bit and 16-bit buffers: its text and buffer, the
// extensions by count and up to a pattern, sub-sections, Replace, files, the buffer segment, FindPattern
// and the class-name properties, with the failures of each.
#include "segment_sink.h"

#include "support/temp_dir.h"

namespace scrivix::test {
namespace {

const std::u16string_view kUnbound = u"TextSegment is not bound to a source (EditBuffer).";
using ClassGet = HRESULT (STDMETHODCALLTYPE ITextSegment::*)(BSTR*);

std::u16string ClassOf(ITextSegment* segment, ClassGet get) {
    Bstr name;
    EXPECT_EQ((segment->*get)(name.Put()), S_OK);
    return std::u16string(name.View());
}

class TextSegmentTest : public ::testing::TestWithParam<Width> {
protected:
    // `segment`, with `sink_` listening to it.
    ComPtr<ITextSegment> Listened(ComPtr<ITextSegment> segment) {
        Listen(segment.Get(), &sink_);
        return segment;
    }
    ComPtr<IPattern> NewPattern(std::u16string_view text, LONG look_ahead = 2048) {
        auto pattern = MakeByName<IPattern>(GetParam().pattern_class);
        EXPECT_EQ(pattern->put_Text(Bstr(text).Get()), S_OK);
        EXPECT_EQ(pattern->put_LookAhead(look_ahead), S_OK);
        return pattern;
    }
    // [5, 20) over the 30 characters "abcdefghijklmnopqrstuvwxyz0123".
    ComPtr<ITextSegment> FiveToTwenty() {
        root_ = NewSegment(u"abcdefghijklmnopqrstuvwxyz0123", GetParam());
        return SubSectionOf(root_.Get(), 5, 20);
    }
    SegmentSink sink_, other_sink_;  // they outlive every segment of the test
    ComPtr<ITextSegment> root_;
};
SCRIVIX_FOR_BOTH_WIDTHS(TextSegmentTest);

TEST(TextSegment, ANewSegmentHasNoBufferAndTheDefaults) {
    auto segment = MakeByName<ITextSegment>(u"Scrivix.TextSegment");
    EXPECT_EQ(TextOf(segment.Get()), u"");
    EXPECT_EQ(RangeOf(segment.Get()), (Range{0, 0}));
    LONG n = -1;
    EXPECT_EQ(segment->Length(&n), S_OK);
    EXPECT_EQ(n, 0);
    ExpectReported(segment->WriteFile(Bstr(u"name").Get(), 3, &n), 10006, kUnbound, 82);
    EXPECT_EQ(n, 0);
    ComPtr<IUnknown> view;
    ExpectReported(segment->SegmentBuffer(view.Put()), 10006, kUnbound, 82);
    EXPECT_EQ(segment->ExtendForwardBy(1, &n), E_POINTER);
    EXPECT_EQ(segment->ExtendBackwardBy(1, &n), E_POINTER);
    EXPECT_EQ(segment->Replace(0, 0, Bstr(u"x").Get()), E_INVALIDARG);
    EXPECT_EQ(segment->Origin(nullptr), E_POINTER);
    auto errors = segment.As<ISupportErrorInfo>();
    ASSERT_TRUE(errors);
    EXPECT_EQ(errors->InterfaceSupportsErrorInfo(IID_ITextSegment), S_OK);
    EXPECT_EQ(errors->InterfaceSupportsErrorInfo(IID_IDispatch), S_FALSE);
    EXPECT_TRUE(segment.As<IDispatch>());
    EXPECT_EQ(ClassOf(segment.Get(), &ITextSegment::get_BufferClass), u"Scrivix.EditBufferA");
    EXPECT_EQ(ClassOf(segment.Get(), &ITextSegment::get_PatternIteratorClass), u"Scrivix.PatternIterator");
    EXPECT_EQ(ClassOf(segment.Get(), &ITextSegment::get_PatternClass), u"Scrivix.PatternA");
}

// A put of the text makes a new buffer of the buffer class; a put of the class drops the buffer, and a
// class that makes no buffer fails the puts that need one.
TEST_P(TextSegmentTest, TextPutMakesANewBufferOfTheBufferClass) {
    auto segment = Listened(NewSegment(u"first", GetParam()));
    auto kept = SubSectionOf(segment.Get(), 0, 5);
    ASSERT_EQ(segment->put_Text(Bstr(u"abc").Get()), S_OK);
    EXPECT_EQ(RangeOf(segment.Get()), (Range{0, 3}));
    EXPECT_EQ(TextOf(segment.Get()), u"abc");
    EXPECT_EQ(sink_.Take(), (Events{Event::Modified(0, 0, 3), Event::Reset(0)}));
    EXPECT_EQ(ClassOf(segment.Get(), &ITextSegment::get_PatternClass), GetParam().pattern_class) << "the buffer's";
    EXPECT_EQ(TextOf(kept.Get()), u"first") << "a segment over the old buffer goes on using it";

    ASSERT_EQ(segment->put_BufferClass(Bstr(GetParam().buffer_class).Get()), S_OK);
    EXPECT_EQ(RangeOf(segment.Get()), (Range{0, 0}));
    EXPECT_EQ(TextOf(segment.Get()), u"");
    EXPECT_EQ(sink_.Take(), (Events{Event::Reset(0)}));

    CLSID unused{};
    const HRESULT unknown = CLSIDFromProgID(u"Scrivix.NoSuchBuffer", &unused);
    ASSERT_TRUE(FAILED(unknown));
    const std::pair<const char16_t*, HRESULT> classes[] = {
        {nullptr, E_INVALIDARG}, {u"Scrivix.NoSuchBuffer", unknown}, {u"Scrivix.PatternA", E_NOINTERFACE}};
    for (auto [name, status] : classes) {
        ASSERT_EQ(segment->put_BufferClass(name ? Bstr(name).Get() : nullptr), S_OK);
        LONG actual = 0;
        EXPECT_EQ(segment->put_Text(Bstr(u"abc").Get()), status);
        EXPECT_EQ(segment->LoadFile(Bstr(u"name").Get(), 3, &actual), status);
        EXPECT_EQ(TextOf(segment.Get()), u"");
        EXPECT_EQ(ClassOf(segment.Get(), &ITextSegment::get_BufferClass), name ? name : u"");
    }
}

// Extending by a count: forward clips at the buffer's end only and fires nothing; backward clips at both
// ends, is not compared with the limit, and fires.
TEST_P(TextSegmentTest, ExtendByACount) {
    auto root = NewSegment(u"0123456789ab", GetParam());
    auto forward = Listened(SubSectionOf(root.Get(), 0, 10));
    auto backward = SubSectionOf(root.Get(), 3, 8);
    Listen(backward.Get(), &other_sink_);
    const struct {
        ITextSegment* segment;
        LONG count, actual;
        Range after;
    } steps[] = {{forward.Get(), 1, 1, {0, 11}}, {forward.Get(), 5, 1, {0, 12}},
                 {forward.Get(), -15, -15, {0, -3}},  // no lower bound
                 {backward.Get(), 5, 3, {0, 8}}, {backward.Get(), -20, -12, {12, 8}}};
    for (const auto& step : steps) {
        LONG actual = 0;
        EXPECT_EQ(step.segment == forward.Get() ? step.segment->ExtendForwardBy(step.count, &actual)
                                                : step.segment->ExtendBackwardBy(step.count, &actual),
                  S_OK);
        EXPECT_EQ(actual, step.actual) << "by " << step.count;
        EXPECT_EQ(RangeOf(step.segment), step.after) << "by " << step.count;
    }
    LONG actual = 0;
    EXPECT_EQ(forward->ExtendForwardBy(INT32_MIN, &actual), E_INVALIDARG) << "a limit 32 bits cannot hold";
    EXPECT_EQ(forward->ExtendForwardBy(1, nullptr), E_POINTER);
    EXPECT_TRUE(sink_.Take().empty());
    EXPECT_EQ(other_sink_.Take(), (Events{Event::Modified(0, 0, 3), Event::Modified(0, 0, -12)}));
}

// Extending up to a pattern: the distance moved each time, and an event for every step.
TEST_P(TextSegmentTest, ExtendToAPattern) {
    auto root = NewSegment(u"ab.cd.ef", GetParam());
    auto dot = NewPattern(u".");
    auto forward = Listened(SubSectionOf(root.Get(), 0, 2));
    auto backward = SubSectionOf(root.Get(), 8, 8);
    Listen(backward.Get(), &other_sink_);
    const struct {
        ITextSegment* segment;
        VARIANT_BOOL include;
        LONG distance;
        Range after;
        Event heard;
    } steps[] = {
        {forward.Get(), VARIANT_FALSE, 0, {0, 2}, Event::Modified(2, 0, 0)},  // in front of the dot at 2
        {forward.Get(), VARIANT_TRUE, 1, {0, 3}, Event::Modified(3, 0, 1)},
        {forward.Get(), VARIANT_TRUE, 3, {0, 6}, Event::Modified(6, 0, 3)},
        {forward.Get(), VARIANT_TRUE, 0, {0, 6}, Event::Modified(6, 0, 0)},  // no further dot
        {backward.Get(), VARIANT_FALSE, 2, {6, 8}, Event::Modified(0, 0, 2)},  // behind the dot at 5
        {backward.Get(), VARIANT_TRUE, 1, {5, 8}, Event::Modified(0, 0, 1)},
        {backward.Get(), VARIANT_TRUE, 3, {2, 8}, Event::Modified(0, 0, 3)},
    };
    for (const auto& step : steps) {
        LONG distance = -1;
        const bool ahead = step.segment == forward.Get();
        EXPECT_EQ(ahead ? step.segment->ExtendForwardTo(dot.Get(), step.include, &distance)
                        : step.segment->ExtendBackwardTo(dot.Get(), step.include, &distance),
                  S_OK);
        EXPECT_EQ(distance, step.distance);
        EXPECT_EQ(RangeOf(step.segment), step.after);
        EXPECT_EQ((ahead ? sink_ : other_sink_).Take(), Events{step.heard});
    }
}

TEST_P(TextSegmentTest, ExtendingToAPatternStepsByItsLookAhead) {
    auto root = NewSegment(u"-X" + std::u16string(40, u'-') + u"X-", GetParam());
    auto forward = SubSectionOf(root.Get(), 3, 3);
    auto backward = SubSectionOf(root.Get(), 40, 40);
    auto x = NewPattern(u"X", 3);
    LONG distance = 0;
    EXPECT_EQ(forward->ExtendForwardTo(x.Get(), VARIANT_TRUE, &distance), S_OK);
    EXPECT_EQ(RangeOf(forward.Get()), (Range{3, 43}));
    EXPECT_EQ(backward->ExtendBackwardTo(x.Get(), VARIANT_TRUE, &distance), S_OK);
    EXPECT_EQ(RangeOf(backward.Get()), (Range{1, 40}));

    // A pattern that looks nowhere finds nothing, and the search ends.
    x->put_LookAhead(0);
    auto blind = SubSectionOf(root.Get(), 3, 3);
    EXPECT_EQ(blind->ExtendForwardTo(x.Get(), VARIANT_TRUE, &distance), S_OK);
    EXPECT_EQ(blind->ExtendBackwardTo(x.Get(), VARIANT_TRUE, &distance), S_OK);
    EXPECT_EQ(distance, 0);
    EXPECT_EQ(RangeOf(blind.Get()), (Range{3, 3}));

    // Failures: no buffer, no pattern, no result, and the pattern's own.
    auto dot = NewPattern(u".");
    auto unbound = MakeByName<ITextSegment>(u"Scrivix.TextSegment");
    ExpectReported(unbound->ExtendForwardTo(dot.Get(), VARIANT_TRUE, &distance), 10006, kUnbound, 82);
    EXPECT_EQ(blind->ExtendForwardTo(nullptr, VARIANT_TRUE, &distance), E_POINTER);
    EXPECT_EQ(blind->ExtendBackwardTo(dot.Get(), VARIANT_TRUE, nullptr), E_POINTER);
    EXPECT_EQ(blind->ExtendBackwardTo(NewPattern(u"").Get(), VARIANT_TRUE, &distance),
              static_cast<HRESULT>(0x8004290E)) << "the pattern's own failure";
}

// Sub-sections and Replace count from the origin; a sub-section takes only the buffer class.
TEST_P(TextSegmentTest, SubSectionAndReplace) {
    auto segment = Listened(FiveToTwenty());
    auto section = SubSectionOf(segment.Get(), 2, 4);
    EXPECT_EQ(RangeOf(section.Get()), (Range{7, 9}));
    EXPECT_EQ(TextOf(section.Get()), u"hi");
    EXPECT_EQ(RangeOf(SubSectionOf(segment.Get(), -5, 0).Get()), (Range{0, 5}));
    EXPECT_EQ(RangeOf(SubSectionOf(segment.Get(), 3, 1).Get()), (Range{8, 6})) << "Start > End is not refused";
    ComPtr<ITextSegment> refused;
    ExpectReported(segment->SubSection(16, 16, refused.Put()), 10002, u"Invalid Start parameter.", 78);
    ExpectReported(segment->SubSection(-6, 0, refused.Put()), 10002, u"Invalid Start parameter.", 78);
    ExpectReported(segment->SubSection(0, 16, refused.Put()), 10003, u"Invalid End parameter.", 79);
    EXPECT_FALSE(refused);
    EXPECT_EQ(segment->SubSection(0, 1, nullptr), E_POINTER);

    ASSERT_EQ(segment->put_PatternClass(Bstr(u"Other.Pattern").Get()), S_OK);
    ASSERT_EQ(segment->put_PatternIteratorClass(Bstr(u"Other.Iterator").Get()), S_OK);
    section = SubSectionOf(segment.Get(), 0, 1);
    EXPECT_EQ(ClassOf(section.Get(), &ITextSegment::get_BufferClass), GetParam().buffer_class);
    EXPECT_EQ(ClassOf(section.Get(), &ITextSegment::get_PatternClass), u"Scrivix.PatternA");
    EXPECT_EQ(ClassOf(section.Get(), &ITextSegment::get_PatternIteratorClass), u"Scrivix.PatternIterator");
    ASSERT_EQ(section->put_BufferClass(Bstr(u"Mine").Get()), S_OK);
    EXPECT_EQ(ClassOf(segment.Get(), &ITextSegment::get_BufferClass), GetParam().buffer_class) << "only its own";

    ASSERT_EQ(segment->Replace(0, 2, Bstr(u"XYZ").Get()), S_OK);
    EXPECT_EQ(RangeOf(segment.Get()), (Range{5, 21}));
    EXPECT_EQ(TextOf(root_.Get()), u"abcdeXYZhijklmnopqrstuvwxyz0123");
    EXPECT_EQ(sink_.Take(), (Events{Event::Modified(0, 2, 3)}));
    // Out of range: From beyond the limit, a negative count, Origin + count beyond the limit.
    const Bstr x(u"x");
    EXPECT_EQ(segment->Replace(17, 17, x.Get()), E_INVALIDARG);
    EXPECT_EQ(segment->Replace(3, 2, x.Get()), E_INVALIDARG);
    EXPECT_EQ(segment->Replace(10, 27, x.Get()), E_INVALIDARG);
    EXPECT_EQ(segment->Replace(10, 26, nullptr), S_OK) << "only Origin + count is checked against the limit";
    EXPECT_EQ(segment->Replace(-6, -6, x.Get()), static_cast<HRESULT>(0x80042710)) << "the buffer's own failure";
}

TEST_P(TextSegmentTest, WriteFileAndLoadFileThroughTheBuffer) {
    TempDir dir;
    const Bstr name(dir.Name("segment.txt"));
    LONG actual = 0;
    ASSERT_EQ(FiveToTwenty()->WriteFile(name.Get(), 2, &actual), S_OK);
    EXPECT_EQ(actual, 15 * GetParam().char_size);

    auto loaded = MakeByName<ITextSegment>(u"Scrivix.TextSegment");
    ASSERT_EQ(loaded->put_BufferClass(Bstr(GetParam().buffer_class).Get()), S_OK);
    Listened(loaded);
    ASSERT_EQ(loaded->LoadFile(name.Get(), 3, &actual), S_OK);
    EXPECT_EQ(actual, 15 * GetParam().char_size);
    EXPECT_EQ(RangeOf(loaded.Get()), (Range{0, 15}));
    EXPECT_EQ(TextOf(loaded.Get()), u"fghijklmnopqrst");
    EXPECT_EQ(sink_.Take(), (Events{Event::Modified(0, 0, 15), Event::Reset(0)}));

    EXPECT_EQ(loaded->LoadFile(Bstr(dir.Name("missing")).Get(), 3, &actual), static_cast<HRESULT>(0x80042715));
    EXPECT_EQ(RangeOf(loaded.Get()), (Range{0, 0})) << "a new, empty buffer";
    EXPECT_EQ(loaded->LoadFile(nullptr, 3, &actual), E_INVALIDARG);
    EXPECT_EQ(loaded->WriteFile(Bstr(u"").Get(), 2, &actual), E_INVALIDARG);
    EXPECT_EQ(loaded->LoadFile(name.Get(), 3, nullptr), E_POINTER);
}

// The buffer segment is bound to the range; the buffer's SegmentClass decides, and a null one makes none.
TEST_P(TextSegmentTest, SegmentBufferIsBoundToTheRange) {
    auto segment = FiveToTwenty();
    ComPtr<IUnknown> unknown;
    ASSERT_EQ(segment->SegmentBuffer(unknown.Put()), S_OK);
    auto view = unknown.As<IBufferSegment>();
    ASSERT_TRUE(view);
    const auto at = [&](HRESULT (STDMETHODCALLTYPE IBufferSegment::*get)(void**)) {
        void* position = nullptr;
        EXPECT_EQ((view.Get()->*get)(&position), S_OK);
        return static_cast<char*>(position);
    };
    SHORT size = 0;
    EXPECT_EQ(view->CharacterSize(&size), S_OK);
    EXPECT_EQ(size, GetParam().char_size);
    EXPECT_EQ(at(&IBufferSegment::SegBegin) - at(&IBufferSegment::Begin), 5 * size);
    EXPECT_EQ(at(&IBufferSegment::SegEnd) - at(&IBufferSegment::Begin), 20 * size);

    ComPtr<IUnknown> source;
    ASSERT_EQ(view->get_Source(0, 0, source.Put()), S_OK);
    ASSERT_EQ(source.As<IEditBuffer>()->put_SegmentClass(nullptr), S_OK);
    view = nullptr;
    EXPECT_EQ(segment->SegmentBuffer(unknown.Put()), E_INVALIDARG);
    EXPECT_EQ(segment->SegmentBuffer(nullptr), E_POINTER);
}

// FindPattern: a failure to make the iterator ends it and hands out nothing.
TEST(TextSegment, FindPatternFailsWithTheIteratorsCreation) {
    auto segment = NewSegment(u"one two");
    const Bstr two(u"two");
    ComPtr<IPatternIterator> iterator;
    const std::pair<const char16_t*, HRESULT> classes[] = {
        {u"{00000000-0000-0000-0000-0000000000AB}", REGDB_E_CLASSNOTREG},
        {u"Scrivix.PatternA", E_NOINTERFACE},
        {nullptr, E_INVALIDARG},
    };
    for (auto [name, status] : classes) {
        ASSERT_EQ(segment->put_PatternIteratorClass(name ? Bstr(name).Get() : nullptr), S_OK);
        EXPECT_EQ(segment->FindPattern(two.Get(), 0, nullptr, 0, iterator.Put()), status);
        EXPECT_FALSE(iterator);
    }
    EXPECT_EQ(segment->FindPattern(two.Get(), 0, nullptr, 0, nullptr), E_POINTER);
}

}  // namespace
}  // namespace scrivix::test
