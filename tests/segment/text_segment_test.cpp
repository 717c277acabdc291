// The text segment's operations, for segments over 8-bit and 16-bit buffers: its text and buffer, the
// extensions by count and up to a pattern, sub-sections, Replace, files, the buffer segment, FindPattern
// and the class-name properties, with the failures of each.
#include "segment_sink.h"

#include "frame/class_name.h"
#include "support/temp_dir.h"

namespace scrivix::test {
namespace {

template <class W>
class TextSegmentTest : public ::testing::Test {
protected:
    // A pattern of the width's class.
    ComPtr<IPattern> NewPattern(std::u16string_view text, LONG look_ahead = 2048) {
        ComPtr<IPattern> pattern;
        EXPECT_EQ(CreateFromClassName(Bstr(W::kPatternClass).Get(), pattern), S_OK);
        EXPECT_EQ(pattern->put_Text(Bstr(text).Get()), S_OK);
        EXPECT_EQ(pattern->put_LookAhead(look_ahead), S_OK);
        return pattern;
    }
    // [5, 20) over the 30 characters "abcdefghijklmnopqrstuvwxyz0123".
    ComPtr<ITextSegment> FiveToTwenty() {
        root_ = NewTextSegment<W>(u"abcdefghijklmnopqrstuvwxyz0123");
        return SubSectionOf(root_.Get(), 5, 20);
    }
    ComPtr<ITextSegment> root_;
};
TYPED_TEST_SUITE(TextSegmentTest, SegmentWidths, SegmentWidthNames);

// A new segment.

TEST(TextSegment, ANewSegmentHasNoBuffer) {
    auto segment = NewTextSegment();
    EXPECT_EQ(TextOf(segment.Get()), u"");
    EXPECT_EQ(RangeOf(segment.Get()), (Range{0, 0}));
    LONG n = -1;
    EXPECT_EQ(segment->Length(&n), S_OK);
    EXPECT_EQ(n, 0);

    const std::u16string_view unbound = u"TextSegment is not bound to a source (EditBuffer).";
    ExpectReported(segment->WriteFile(Bstr(u"name").Get(), 3, &n), 10006, unbound, 82);
    EXPECT_EQ(n, 0);
    ComPtr<IUnknown> view;
    ExpectReported(segment->SegmentBuffer(view.Put()), 10006, unbound, 82);
    EXPECT_EQ(segment->ExtendForwardBy(1, &n), E_POINTER);
    EXPECT_EQ(segment->ExtendBackwardBy(1, &n), E_POINTER);
    EXPECT_EQ(segment->Replace(0, 0, Bstr(u"x").Get()), E_INVALIDARG);
    EXPECT_EQ(segment->Origin(nullptr), E_POINTER);
}

TEST(TextSegment, InterfacesAndDefaults) {
    CLSID clsid{};
    ASSERT_EQ(CLSIDFromProgID(u"Scrivix.TextSegment", &clsid), S_OK);
    ComPtr<ITextSegment> segment;
    ASSERT_EQ(CoCreateInstance(clsid, nullptr, CLSCTX_ALL, IID_ITextSegment, segment.PutVoid()), S_OK);
    auto errors = segment.As<ISupportErrorInfo>();
    ASSERT_TRUE(errors);
    EXPECT_EQ(errors->InterfaceSupportsErrorInfo(IID_ITextSegment), S_OK);
    EXPECT_EQ(errors->InterfaceSupportsErrorInfo(IID_IDispatch), S_FALSE);
    EXPECT_TRUE(segment.As<IDispatch>());
    EXPECT_TRUE(segment.As<IConnectionPointContainer>());

    const std::pair<HRESULT (STDMETHODCALLTYPE ITextSegment::*)(BSTR*), std::u16string_view> defaults[] = {
        {&ITextSegment::get_BufferClass, u"Scrivix.EditBufferA"},
        {&ITextSegment::get_PatternIteratorClass, u"Scrivix.PatternIterator"},
        {&ITextSegment::get_PatternClass, u"Scrivix.PatternA"},
    };
    for (const auto& [get, value] : defaults) {
        Bstr name;
        EXPECT_EQ((segment.Get()->*get)(name.Put()), S_OK);
        EXPECT_EQ(name.View(), value);
    }
}

// Text and buffer.

TYPED_TEST(TextSegmentTest, TextPutMakesANewBufferOfTheBufferClass) {
    auto segment = NewTextSegment<TypeParam>(u"first");
    auto kept = SubSectionOf(segment.Get(), 0, 5);
    SegmentSink sink;
    const DWORD cookie = Listen(segment.Get(), &sink);
    ASSERT_EQ(segment->put_Text(Bstr(u"abc").Get()), S_OK);
    EXPECT_EQ(RangeOf(segment.Get()), (Range{0, 3}));
    EXPECT_EQ(TextOf(segment.Get()), u"abc");
    EXPECT_EQ(sink.Take(), (Events{Event::Modified(0, 0, 3), Event::Reset(0)}));
    Bstr pattern_class;
    EXPECT_EQ(segment->get_PatternClass(pattern_class.Put()), S_OK);
    EXPECT_EQ(pattern_class.View(), TypeParam::kPatternClass) << "the buffer's pattern class";
    EXPECT_EQ(TextOf(kept.Get()), u"first") << "a segment over the old buffer goes on using it";
    StopListening(segment.Get(), cookie);
}

TEST(TextSegment, ABufferClassThatMakesNoBufferFails) {
    auto segment = NewTextSegment<NarrowSegments>(u"text");
    ASSERT_EQ(segment->put_BufferClass(nullptr), S_OK);
    EXPECT_EQ(segment->put_Text(Bstr(u"abc").Get()), E_INVALIDARG);
    LONG actual = 0;
    EXPECT_EQ(segment->LoadFile(Bstr(u"name").Get(), 3, &actual), E_INVALIDARG);
    Bstr name;
    EXPECT_EQ(segment->get_BufferClass(name.Put()), S_OK);
    EXPECT_TRUE(name.IsNull());

    CLSID unused{};
    const HRESULT unknown = CLSIDFromProgID(u"Scrivix.NoSuchBuffer", &unused);
    ASSERT_TRUE(FAILED(unknown));
    ASSERT_EQ(segment->put_BufferClass(Bstr(u"Scrivix.NoSuchBuffer").Get()), S_OK);
    EXPECT_EQ(segment->put_Text(Bstr(u"abc").Get()), unknown);
    ASSERT_EQ(segment->put_BufferClass(Bstr(u"Scrivix.PatternA").Get()), S_OK);
    EXPECT_EQ(segment->put_Text(Bstr(u"abc").Get()), E_NOINTERFACE) << "a class that is no buffer";
    EXPECT_EQ(TextOf(segment.Get()), u"");
}

TYPED_TEST(TextSegmentTest, BufferClassPutDropsTheBuffer) {
    auto segment = NewTextSegment<TypeParam>(u"abcdef");
    SegmentSink sink;
    const DWORD cookie = Listen(segment.Get(), &sink);
    ASSERT_EQ(segment->put_BufferClass(Bstr(TypeParam::kBufferClass).Get()), S_OK);
    EXPECT_EQ(RangeOf(segment.Get()), (Range{0, 0}));
    EXPECT_EQ(TextOf(segment.Get()), u"");
    EXPECT_EQ(sink.Take(), (Events{Event::Reset(0)}));
    StopListening(segment.Get(), cookie);
}

// Extending by a count.

TYPED_TEST(TextSegmentTest, ExtendForwardByClipsAtTheBuffersEnd) {
    auto root = NewTextSegment<TypeParam>(u"0123456789ab");
    auto segment = SubSectionOf(root.Get(), 0, 10);
    SegmentSink sink;
    const DWORD cookie = Listen(segment.Get(), &sink);
    LONG actual = 0;
    EXPECT_EQ(segment->ExtendForwardBy(1, &actual), S_OK);
    EXPECT_EQ(actual, 1);
    EXPECT_EQ(segment->ExtendForwardBy(5, &actual), S_OK);
    EXPECT_EQ(actual, 1);
    EXPECT_EQ(RangeOf(segment.Get()), (Range{0, 12}));
    EXPECT_EQ(segment->ExtendForwardBy(-15, &actual), S_OK) << "no lower bound";
    EXPECT_EQ(actual, -15);
    EXPECT_EQ(RangeOf(segment.Get()), (Range{0, -3}));
    EXPECT_EQ(segment->ExtendForwardBy(INT32_MIN, &actual), E_INVALIDARG) << "a limit 32 bits cannot hold";
    EXPECT_EQ(segment->ExtendForwardBy(1, nullptr), E_POINTER);
    EXPECT_TRUE(sink.Take().empty()) << "extending forward by a count fires nothing";
    StopListening(segment.Get(), cookie);
}

TYPED_TEST(TextSegmentTest, ExtendBackwardByClipsAtTheBuffersStartAndEnd) {
    auto root = NewTextSegment<TypeParam>(u"0123456789");
    auto segment = SubSectionOf(root.Get(), 3, 8);
    SegmentSink sink;
    const DWORD cookie = Listen(segment.Get(), &sink);
    LONG actual = 0;
    EXPECT_EQ(segment->ExtendBackwardBy(5, &actual), S_OK);
    EXPECT_EQ(actual, 3);
    EXPECT_EQ(RangeOf(segment.Get()), (Range{0, 8}));
    EXPECT_EQ(segment->ExtendBackwardBy(-20, &actual), S_OK);
    EXPECT_EQ(actual, -10);
    EXPECT_EQ(RangeOf(segment.Get()), (Range{10, 8})) << "not compared with the limit";
    EXPECT_EQ(sink.Take(), (Events{Event::Modified(0, 0, 3), Event::Modified(0, 0, -10)}));
    StopListening(segment.Get(), cookie);
}

// Extending up to a pattern.

TYPED_TEST(TextSegmentTest, ExtendForwardToTheNextOccurrence) {
    auto root = NewTextSegment<TypeParam>(u"ab.cd.ef");
    auto segment = SubSectionOf(root.Get(), 0, 2);
    SegmentSink sink;
    const DWORD cookie = Listen(segment.Get(), &sink);
    auto dot = this->NewPattern(u".");
    LONG distance = -1;
    EXPECT_EQ(segment->ExtendForwardTo(dot.Get(), VARIANT_FALSE, &distance), S_OK);
    EXPECT_EQ(distance, 0) << "stops in front of the dot at 2";
    EXPECT_EQ(segment->ExtendForwardTo(dot.Get(), VARIANT_TRUE, &distance), S_OK);
    EXPECT_EQ(distance, 1);
    EXPECT_EQ(segment->ExtendForwardTo(dot.Get(), VARIANT_TRUE, &distance), S_OK);
    EXPECT_EQ(distance, 3);
    EXPECT_EQ(RangeOf(segment.Get()), (Range{0, 6}));
    EXPECT_EQ(segment->ExtendForwardTo(dot.Get(), VARIANT_TRUE, &distance), S_OK);
    EXPECT_EQ(distance, 0) << "no further dot";
    EXPECT_EQ(RangeOf(segment.Get()), (Range{0, 6}));
    EXPECT_EQ(sink.Take(), (Events{Event::Modified(2, 0, 0), Event::Modified(3, 0, 1), Event::Modified(6, 0, 3),
                                   Event::Modified(6, 0, 0)}));
    StopListening(segment.Get(), cookie);
}

TYPED_TEST(TextSegmentTest, ExtendBackwardToThePreviousOccurrence) {
    auto root = NewTextSegment<TypeParam>(u"ab.cd.ef");
    auto segment = SubSectionOf(root.Get(), 8, 8);
    SegmentSink sink;
    const DWORD cookie = Listen(segment.Get(), &sink);
    auto dot = this->NewPattern(u".");
    LONG distance = -1;
    EXPECT_EQ(segment->ExtendBackwardTo(dot.Get(), VARIANT_FALSE, &distance), S_OK);
    EXPECT_EQ(distance, 2) << "stops behind the dot at 5";
    EXPECT_EQ(segment->ExtendBackwardTo(dot.Get(), VARIANT_TRUE, &distance), S_OK);
    EXPECT_EQ(distance, 1);
    EXPECT_EQ(segment->ExtendBackwardTo(dot.Get(), VARIANT_TRUE, &distance), S_OK);
    EXPECT_EQ(distance, 3);
    EXPECT_EQ(RangeOf(segment.Get()), (Range{2, 8}));
    EXPECT_EQ(sink.Take(), (Events{Event::Modified(0, 0, 2), Event::Modified(0, 0, 1), Event::Modified(0, 0, 3)}));
    StopListening(segment.Get(), cookie);
}

TYPED_TEST(TextSegmentTest, ExtendingToAPatternStepsByItsLookAhead) {
    const std::u16string text = u"-X" + std::u16string(40, u'-') + u"X-";
    auto root = NewTextSegment<TypeParam>(text);
    auto forward = SubSectionOf(root.Get(), 3, 3);
    auto backward = SubSectionOf(root.Get(), 40, 40);
    auto x = this->NewPattern(u"X", 3);
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
}

TYPED_TEST(TextSegmentTest, ExtendingToAPatternFailures) {
    auto unbound = NewTextSegment();
    auto dot = this->NewPattern(u".");
    LONG distance = 0;
    ExpectReported(unbound->ExtendForwardTo(dot.Get(), VARIANT_TRUE, &distance), 10006,
                   u"TextSegment is not bound to a source (EditBuffer).", 82);
    auto segment = NewTextSegment<TypeParam>(u"a.b");
    EXPECT_EQ(segment->ExtendForwardTo(nullptr, VARIANT_TRUE, &distance), E_POINTER);
    EXPECT_EQ(segment->ExtendBackwardTo(dot.Get(), VARIANT_TRUE, nullptr), E_POINTER);
    auto empty = this->NewPattern(u"");
    auto inner = SubSectionOf(segment.Get(), 1, 1);
    EXPECT_EQ(inner->ExtendBackwardTo(empty.Get(), VARIANT_TRUE, &distance), static_cast<HRESULT>(0x8004290E))
        << "the pattern's own failure";
}

// Sub-sections and Replace, relative to Origin.

TYPED_TEST(TextSegmentTest, SubSectionIsRelativeToTheOrigin) {
    auto segment = this->FiveToTwenty();
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
}

TYPED_TEST(TextSegmentTest, ASubSectionTakesTheParentsBufferClassOnly) {
    auto segment = this->FiveToTwenty();
    ASSERT_EQ(segment->put_PatternClass(Bstr(u"Other.Pattern").Get()), S_OK);
    ASSERT_EQ(segment->put_PatternIteratorClass(Bstr(u"Other.Iterator").Get()), S_OK);
    auto section = SubSectionOf(segment.Get(), 0, 1);
    Bstr buffer_class, pattern_class, iterator_class;
    section->get_BufferClass(buffer_class.Put());
    section->get_PatternClass(pattern_class.Put());
    section->get_PatternIteratorClass(iterator_class.Put());
    EXPECT_EQ(buffer_class.View(), TypeParam::kBufferClass);
    EXPECT_EQ(pattern_class.View(), u"Scrivix.PatternA");
    EXPECT_EQ(iterator_class.View(), u"Scrivix.PatternIterator");

    ASSERT_EQ(section->put_BufferClass(Bstr(u"Mine").Get()), S_OK);
    segment->get_BufferClass(buffer_class.Put());
    EXPECT_EQ(buffer_class.View(), TypeParam::kBufferClass) << "a put changes no other segment";
}

TYPED_TEST(TextSegmentTest, ReplaceIsRelativeToTheOrigin) {
    auto segment = this->FiveToTwenty();
    SegmentSink sink;
    const DWORD cookie = Listen(segment.Get(), &sink);
    ASSERT_EQ(segment->Replace(0, 2, Bstr(u"XYZ").Get()), S_OK);
    EXPECT_EQ(RangeOf(segment.Get()), (Range{5, 21}));
    EXPECT_EQ(TextOf(this->root_.Get()), u"abcdeXYZhijklmnopqrstuvwxyz0123");
    EXPECT_EQ(sink.Take(), (Events{Event::Modified(0, 2, 3)}));

    // Out of range: From beyond the limit, a negative count, Origin + count beyond the limit.
    const Bstr x(u"x");
    EXPECT_EQ(segment->Replace(17, 17, x.Get()), E_INVALIDARG);
    EXPECT_EQ(segment->Replace(3, 2, x.Get()), E_INVALIDARG);
    EXPECT_EQ(segment->Replace(10, 27, x.Get()), E_INVALIDARG);
    EXPECT_EQ(segment->Replace(10, 26, nullptr), S_OK) << "only Origin + count is checked against the limit";
    EXPECT_EQ(segment->Replace(-6, -6, x.Get()), static_cast<HRESULT>(0x80042710)) << "the buffer's own failure";
    StopListening(segment.Get(), cookie);
}

// Files and buffer segments.

TYPED_TEST(TextSegmentTest, WriteFileAndLoadFileThroughTheBuffer) {
    TempDir dir;
    const Bstr name(dir.Name("segment.txt"));
    auto segment = this->FiveToTwenty();
    LONG actual = 0;
    ASSERT_EQ(segment->WriteFile(name.Get(), 2, &actual), S_OK);
    const LONG width = TypeParam::kCharSize;
    EXPECT_EQ(actual, 15 * width);

    auto loaded = NewTextSegment();
    ASSERT_EQ(loaded->put_BufferClass(Bstr(TypeParam::kBufferClass).Get()), S_OK);
    SegmentSink sink;
    const DWORD cookie = Listen(loaded.Get(), &sink);
    ASSERT_EQ(loaded->LoadFile(name.Get(), 3, &actual), S_OK);
    EXPECT_EQ(actual, 15 * width);
    EXPECT_EQ(RangeOf(loaded.Get()), (Range{0, 15}));
    EXPECT_EQ(TextOf(loaded.Get()), u"fghijklmnopqrst");
    EXPECT_EQ(sink.Take(), (Events{Event::Modified(0, 0, 15), Event::Reset(0)}));

    EXPECT_EQ(loaded->LoadFile(Bstr(dir.Name("missing")).Get(), 3, &actual), static_cast<HRESULT>(0x80042715));
    EXPECT_EQ(RangeOf(loaded.Get()), (Range{0, 0})) << "a new, empty buffer";
    EXPECT_EQ(loaded->LoadFile(nullptr, 3, &actual), E_INVALIDARG);
    EXPECT_EQ(loaded->WriteFile(Bstr(u"").Get(), 2, &actual), E_INVALIDARG);
    EXPECT_EQ(loaded->LoadFile(name.Get(), 3, nullptr), E_POINTER);
    StopListening(loaded.Get(), cookie);
}

TYPED_TEST(TextSegmentTest, SegmentBufferIsBoundToTheRange) {
    auto segment = this->FiveToTwenty();
    ComPtr<IUnknown> unknown;
    ASSERT_EQ(segment->SegmentBuffer(unknown.Put()), S_OK);
    auto view = unknown.As<IBufferSegment>();
    ASSERT_TRUE(view);
    void *begin = nullptr, *seg_begin = nullptr, *seg_end = nullptr;
    SHORT size = 0;
    view->Begin(&begin);
    view->SegBegin(&seg_begin);
    view->SegEnd(&seg_end);
    view->CharacterSize(&size);
    EXPECT_EQ(size, TypeParam::kCharSize);
    EXPECT_EQ(static_cast<char*>(seg_begin) - static_cast<char*>(begin), 5 * size);
    EXPECT_EQ(static_cast<char*>(seg_end) - static_cast<char*>(begin), 20 * size);

    // The buffer's SegmentClass decides; a null one cannot make anything.
    ComPtr<IUnknown> source;
    ASSERT_EQ(view->get_Source(0, 0, source.Put()), S_OK);
    ASSERT_EQ(source.As<IEditBuffer>()->put_SegmentClass(nullptr), S_OK);
    view = nullptr;
    EXPECT_EQ(segment->SegmentBuffer(unknown.Put()), E_INVALIDARG);
    EXPECT_EQ(segment->SegmentBuffer(nullptr), E_POINTER);
}

// FindPattern. The iterator class is not part of this build: its creation fails, and so does FindPattern.

TEST(TextSegment, FindPatternFailsWithTheIteratorsCreation) {
    auto segment = NewTextSegment<NarrowSegments>(u"one two");
    const Bstr two(u"two");
    ComPtr<IPatternIterator> iterator;
    EXPECT_EQ(segment->FindPattern(two.Get(), 0, nullptr, 0, iterator.Put()), E_NOTIMPL);
    EXPECT_FALSE(iterator);
    ASSERT_EQ(segment->put_PatternIteratorClass(Bstr(u"Scrivix.PatternA").Get()), S_OK);
    EXPECT_EQ(segment->FindPattern(two.Get(), 0, nullptr, 0, iterator.Put()), E_NOINTERFACE);
    ASSERT_EQ(segment->put_PatternIteratorClass(nullptr), S_OK);
    EXPECT_EQ(segment->FindPattern(two.Get(), 0, nullptr, 0, iterator.Put()), E_INVALIDARG);
    EXPECT_EQ(segment->FindPattern(two.Get(), 0, nullptr, 0, nullptr), E_POINTER);
    EXPECT_FALSE(iterator);
}

}  // namespace
}  // namespace scrivix::test
