// The buffer segment through IBufferSegment, for both widths: the unbound view, binding with origin and
// limit, moving between segments, and binding, rebinding and unbinding without a read lock left behind.
#include "buffer_fixture.h"
#include "recording_sink.h"
#include "step_log.h"
#include "support/test_support.h"

#include <thread>

namespace scrivix::test {
namespace {

template <class W>
class BufferSegmentTest : public ::testing::Test {
protected:
    using Char = typename W::Char;

    static Char* Position(HRESULT (STDMETHODCALLTYPE IBufferSegment::*get)(void**), IBufferSegment* segment) {
        void* position = &position;
        EXPECT_EQ((segment->*get)(&position), S_OK);
        return static_cast<Char*>(position);
    }
    static Char* Begin(IEditBuffer* buffer) {
        void* position = nullptr;
        EXPECT_EQ(buffer->get_Begin(&position), S_OK);
        return static_cast<Char*>(position);
    }

    // Whether a Replace on `buffer`, run on its own thread, completes: false when it is still held off
    // after the grace, in which case `let_go` runs to free it before the thread is joined.
    static bool WriterGetsIn(IEditBuffer* buffer, const std::function<void()>& let_go) {
        StepLog log;
        std::jthread writer([&] {
            EXPECT_EQ(buffer->Replace(0, 0, Bstr(u"w").Get()), S_OK);
            log.Add("done");
        });
        if (log.WaitFor("done", kGrace)) return true;
        let_go();
        EXPECT_TRUE(log.WaitFor("done"));
        return false;
    }
};
TYPED_TEST_SUITE(BufferSegmentTest, Widths, WidthNames);

TYPED_TEST(BufferSegmentTest, AnUnboundSegment) {
    auto segment = NewSegment<TypeParam>();
    using Get = HRESULT (STDMETHODCALLTYPE IBufferSegment::*)(void**);
    for (Get get : {&IBufferSegment::Begin, &IBufferSegment::End, &IBufferSegment::SegBegin, &IBufferSegment::SegEnd,
                    &IBufferSegment::NextSegment, &IBufferSegment::PrevSegment}) {
        EXPECT_EQ(this->Position(get, segment.Get()), nullptr);
        EXPECT_EQ((segment.Get()->*get)(nullptr), E_POINTER);
    }
    LONG length = -1;
    EXPECT_EQ(segment->Length(&length), S_OK);
    EXPECT_EQ(length, 0);
    ComPtr<IUnknown> source;
    EXPECT_EQ(segment->get_Source(0, 0, source.Put()), E_POINTER);
    EXPECT_FALSE(source);
    SHORT size = 0;
    EXPECT_EQ(segment->CharacterSize(&size), S_OK);
    EXPECT_EQ(size, static_cast<SHORT>(sizeof(typename TestFixture::Char)));
}

TYPED_TEST(BufferSegmentTest, MaxSizeIsStoredAsItIs) {
    auto segment = NewSegment<TypeParam>();
    for (LONG value : {LONG{0}, LONG{4096}, LONG{-7}}) {
        LONG read = 1;
        EXPECT_EQ(segment->put_MaxSize(value), S_OK);
        EXPECT_EQ(segment->get_MaxSize(&read), S_OK);
        EXPECT_EQ(read, value);
    }
}

// Origin and Limit are positions counted from Begin; only a Limit beyond the end is cut to it.
TYPED_TEST(BufferSegmentTest, OriginAndLimit) {
    struct Row {
        LONG origin, limit, segment_begin, segment_end;
    };
    const Row rows[] = {{0, 0, 0, 0}, {2, 50, 2, 10}, {2, 7, 2, 7}, {6, 3, 6, 3}, {0, 10, 0, 10}, {12, 11, 12, 10}};
    auto buffer = NewBuffer<TypeParam>(u"0123456789");
    auto segment = NewSegment<TypeParam>();
    auto* begin = this->Begin(buffer.Get());
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << "Source(" << row.origin << ", " << row.limit << ")");
        ASSERT_EQ(segment->put_Source(row.origin, row.limit, buffer.Get()), S_OK);
        EXPECT_EQ(this->Position(&IBufferSegment::Begin, segment.Get()), begin);
        EXPECT_EQ(this->Position(&IBufferSegment::End, segment.Get()), begin + 10);
        EXPECT_EQ(this->Position(&IBufferSegment::SegBegin, segment.Get()), begin + row.segment_begin);
        EXPECT_EQ(this->Position(&IBufferSegment::SegEnd, segment.Get()), begin + row.segment_end);
        LONG length = 0;
        EXPECT_EQ(segment->Length(&length), S_OK);
        EXPECT_EQ(length, 10) << "the whole buffer, whatever the view";
    }
    ComPtr<IUnknown> source, identity;
    ASSERT_EQ(segment->get_Source(0, 0, source.Put()), S_OK);
    ASSERT_EQ(buffer->QueryInterface(IID_IUnknown, identity.PutVoid()), S_OK);
    EXPECT_EQ(source.Get(), identity.Get());
}

// Positions outside the text, on a buffer that never held a block, are handed on unchecked.
TYPED_TEST(BufferSegmentTest, PositionsOnABufferWithoutABlock) {
    auto buffer = NewBuffer<TypeParam>();
    auto segment = NewSegment<TypeParam>();
    ASSERT_EQ(segment->put_Source(3, -2, buffer.Get()), S_OK);
    const auto* segment_begin = this->Position(&IBufferSegment::SegBegin, segment.Get());
    const auto* segment_end = this->Position(&IBufferSegment::SegEnd, segment.Get());
    EXPECT_EQ(reinterpret_cast<uintptr_t>(segment_begin), 3 * sizeof(typename TestFixture::Char));
    EXPECT_EQ(reinterpret_cast<intptr_t>(segment_end), -2 * static_cast<intptr_t>(sizeof(typename TestFixture::Char)));
    EXPECT_EQ(this->Position(&IBufferSegment::End, segment.Get()), nullptr);
}

TYPED_TEST(BufferSegmentTest, TheCharactersInPlace) {
    auto buffer = NewBuffer<TypeParam>(u"abcd");
    auto segment = NewSegment<TypeParam>();
    ASSERT_EQ(segment->put_Source(1, 3, buffer.Get()), S_OK);
    const auto* begin = this->Position(&IBufferSegment::Begin, segment.Get());
    const auto* end = this->Position(&IBufferSegment::End, segment.Get());
    EXPECT_EQ(reinterpret_cast<const char*>(end) - reinterpret_cast<const char*>(begin),
              4 * static_cast<long>(sizeof(typename TestFixture::Char)));
    EXPECT_EQ(std::basic_string<typename TestFixture::Char>(begin, end), Chars<TypeParam>(u"abcd"));
    EXPECT_EQ(std::basic_string<typename TestFixture::Char>(this->Position(&IBufferSegment::SegBegin, segment.Get()),
                                                            this->Position(&IBufferSegment::SegEnd, segment.Get())),
              Chars<TypeParam>(u"bc"));
}

TYPED_TEST(BufferSegmentTest, OneSegmentOnly) {
    auto buffer = NewBuffer<TypeParam>(u"0123456789");
    auto segment = NewSegment<TypeParam>();
    ASSERT_EQ(segment->put_Source(2, 8, buffer.Get()), S_OK);
    auto* segment_begin = this->Position(&IBufferSegment::SegBegin, segment.Get());
    EXPECT_EQ(this->Position(&IBufferSegment::NextSegment, segment.Get()), segment_begin);
    EXPECT_EQ(this->Position(&IBufferSegment::NextSegment, segment.Get()), segment_begin);
    EXPECT_EQ(this->Position(&IBufferSegment::SegEnd, segment.Get()), this->Begin(buffer.Get()) + 8);
    EXPECT_EQ(this->Position(&IBufferSegment::PrevSegment, segment.Get()), segment_begin);
    EXPECT_EQ(this->Position(&IBufferSegment::SegEnd, segment.Get()), segment_begin);
}

// Binding.

TYPED_TEST(BufferSegmentTest, RebindingMovesTheOneLock) {
    auto x = NewBuffer<TypeParam>(u"x");
    auto y = NewBuffer<TypeParam>(u"y");
    auto segment = NewSegment<TypeParam>();
    ASSERT_EQ(segment->put_Source(0, 0, x.Get()), S_OK);
    ASSERT_EQ(segment->put_Source(0, 0, y.Get()), S_OK);
    EXPECT_TRUE(this->WriterGetsIn(x.Get(), [&] { x->UnlockFromRead(); })) << "the old buffer kept a lock";
    EXPECT_FALSE(this->WriterGetsIn(y.Get(), [&] { segment = nullptr; })) << "the new buffer has no lock";
}

TYPED_TEST(BufferSegmentTest, BindingTwiceToOneBufferHoldsOneLock) {
    auto buffer = NewBuffer<TypeParam>(u"x");
    auto segment = NewSegment<TypeParam>();
    ASSERT_EQ(segment->put_Source(0, 0, buffer.Get()), S_OK);
    ASSERT_EQ(segment->put_Source(0, 0, buffer.Get()), S_OK);
    EXPECT_FALSE(this->WriterGetsIn(buffer.Get(), [&] { segment->put_Source(0, 0, nullptr); }));
    EXPECT_TRUE(this->WriterGetsIn(buffer.Get(), [&] { buffer->UnlockFromRead(); })) << "a second lock was left";
}

// A source that is no edit buffer, or none, leaves the segment unbound and the old buffer free.
TYPED_TEST(BufferSegmentTest, UnbindingByAnythingElse) {
    RecordingSink not_a_buffer;
    IUnknown* others[] = {nullptr, &not_a_buffer};
    for (IUnknown* other : others) {
        auto buffer = NewBuffer<TypeParam>(u"x");
        auto segment = NewSegment<TypeParam>();
        ASSERT_EQ(segment->put_Source(0, 0, buffer.Get()), S_OK);
        EXPECT_EQ(segment->put_Source(0, 0, other), S_OK);
        ComPtr<IUnknown> source;
        EXPECT_EQ(segment->get_Source(0, 0, source.Put()), E_POINTER);
        EXPECT_EQ(this->Position(&IBufferSegment::Begin, segment.Get()), nullptr);
        EXPECT_TRUE(this->WriterGetsIn(buffer.Get(), [&] { buffer->UnlockFromRead(); }));
    }
    EXPECT_EQ(not_a_buffer.References(), 0u);
}

}  // namespace
}  // namespace scrivix::test
