// The buffer segment through IBufferSegment, for both widths: the unbound view, binding with origin and
// limit, the characters in place, and moving between segments. Its read lock is tested with the locks.
#include "buffer_fixture.h"

namespace scrivix::test {
namespace {

using Get = HRESULT (STDMETHODCALLTYPE IBufferSegment::*)(void**);

template <class W>
class BufferSegmentTest : public ::testing::Test {
protected:
    using Char = typename W::Char;
    // The position `get` hands out.
    Char* At(Get get) {
        void* position = &position;
        EXPECT_EQ((segment_.Get()->*get)(&position), S_OK);
        return static_cast<Char*>(position);
    }
    ComPtr<IBufferSegment> segment_ = NewSegment<W>();
};
TYPED_TEST_SUITE(BufferSegmentTest, BufferWidths);

TYPED_TEST(BufferSegmentTest, AnUnboundSegment) {
    for (Get get : {&IBufferSegment::Begin, &IBufferSegment::End, &IBufferSegment::SegBegin, &IBufferSegment::SegEnd,
                    &IBufferSegment::NextSegment, &IBufferSegment::PrevSegment}) {
        EXPECT_EQ(this->At(get), nullptr);
        EXPECT_EQ((this->segment_.Get()->*get)(nullptr), E_POINTER);
    }
    EXPECT_EQ(Out(this->segment_.Get(), &IBufferSegment::Length), 0);
    ComPtr<IUnknown> source;
    EXPECT_EQ(this->segment_->get_Source(0, 0, source.Put()), E_POINTER);
    EXPECT_FALSE(source);
    EXPECT_EQ(Out(this->segment_.Get(), &IBufferSegment::CharacterSize), SHORT{sizeof(typename TestFixture::Char)});
    for (LONG value : {LONG{4096}, LONG{-7}, LONG{0}}) {
        EXPECT_EQ(this->segment_->put_MaxSize(value), S_OK);
        EXPECT_EQ(Out(this->segment_.Get(), &IBufferSegment::get_MaxSize), value) << "stored as it is";
    }
    // Positions outside the text, on a buffer that never held a block, are handed on unchecked.
    const auto char_size = static_cast<intptr_t>(sizeof(typename TestFixture::Char));
    ASSERT_EQ(this->segment_->put_Source(3, -2, NewBuffer<TypeParam>().Get()), S_OK);
    EXPECT_EQ(reinterpret_cast<intptr_t>(this->At(&IBufferSegment::SegBegin)), 3 * char_size);
    EXPECT_EQ(reinterpret_cast<intptr_t>(this->At(&IBufferSegment::SegEnd)), -2 * char_size);
    EXPECT_EQ(this->At(&IBufferSegment::End), nullptr);
}

// Origin and Limit are positions counted from Begin; only a Limit beyond the end is cut to it. A buffer is
// one segment: moving either way gives its bounds again.
TYPED_TEST(BufferSegmentTest, OriginLimitAndMoves) {
    const struct {
        LONG origin, limit, segment_begin, segment_end;
    } rows[] = {{0, 0, 0, 0}, {2, 50, 2, 10}, {2, 7, 2, 7}, {6, 3, 6, 3}, {0, 10, 0, 10}, {12, 11, 12, 10}};
    auto buffer = NewBuffer<TypeParam>(u"0123456789");
    auto* begin = static_cast<typename TestFixture::Char*>(Out(buffer.Get(), &IEditBuffer::get_Begin));
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "Source(" << row.origin << ", " << row.limit << ")");
        ASSERT_EQ(this->segment_->put_Source(row.origin, row.limit, buffer.Get()), S_OK);
        EXPECT_EQ(this->At(&IBufferSegment::Begin), begin);
        EXPECT_EQ(this->At(&IBufferSegment::End), begin + 10);
        EXPECT_EQ(this->At(&IBufferSegment::SegBegin), begin + row.segment_begin);
        EXPECT_EQ(this->At(&IBufferSegment::SegEnd), begin + row.segment_end);
        EXPECT_EQ(Out(this->segment_.Get(), &IBufferSegment::Length), 10) << "the whole buffer, whatever the view";
    }
    EXPECT_EQ(std::u16string(begin, this->At(&IBufferSegment::End)), u"0123456789");
    ComPtr<IUnknown> source;
    ASSERT_EQ(this->segment_->get_Source(0, 0, source.Put()), S_OK);
    EXPECT_EQ(source.Get(), buffer.template As<IUnknown>().Get());

    ASSERT_EQ(this->segment_->put_Source(2, 8, buffer.Get()), S_OK);
    EXPECT_EQ(this->At(&IBufferSegment::NextSegment), begin + 2);
    EXPECT_EQ(this->At(&IBufferSegment::NextSegment), begin + 2);
    EXPECT_EQ(this->At(&IBufferSegment::SegEnd), begin + 8);
    EXPECT_EQ(this->At(&IBufferSegment::PrevSegment), begin + 2);
    EXPECT_EQ(this->At(&IBufferSegment::SegEnd), begin + 2);
}

}  // namespace
}  // namespace scrivix::test
