// A pattern iterator made by class name over a text segment ("Scrivix.TextSegment") of either width, or
// over a sub-section of one, or over a segment whose events the test fires by hand, with helpers that add
// patterns and read each stop as the client sees it.
#pragma once

#include "segment/text_segment.h"
#include "support/text_segments.h"

#include <optional>
#include <vector>

namespace scrivix::test {

// A real text segment whose events a test can also fire by hand: the only way to send an iterator a
// Reset with a start other than 0, or a Modified that no edit of the text caused.
class HandFiredSegment : public DTextSegment {
public:
    static ComPtr<ITextSegment> Make() {
        ComPtr<ITextSegment> segment;
        EXPECT_EQ(MakeObject<HandFiredSegment>(segment), S_OK);
        return segment;
    }
    static HandFiredSegment& Of(ITextSegment* segment) { return *static_cast<HandFiredSegment*>(segment); }

    void FireModified(LONG origin, LONG old_length, LONG new_length) {
        Fire([&](_ITextSegmentEvents* sink) { return sink->Modified(origin, old_length, new_length); });
    }
    void FireReset(LONG start_at) {
        Fire([&](_ITextSegmentEvents* sink) { return sink->Reset(start_at); });
    }
};

// One stop of the iterator: Offset, Length, MatchedBy and the text of the segment Next handed out.
struct Stop {
    LONG offset, length, matched;
    std::u16string text;
    bool operator==(const Stop&) const = default;
};
inline std::ostream& operator<<(std::ostream& out, const Stop& stop) {
    out << "{" << stop.offset << ", " << stop.length << ", M " << stop.matched << ", \"";
    for (char16_t c : stop.text) out << static_cast<char>(c < 0x80 ? c : '?');
    return out << "\"}";
}
// The stop at the end of a source of `length` characters.
inline Stop EndStop(LONG length) { return {length, 0, -1, u""}; }

inline std::u16string ErrorDescription() { return TakeErrorRecord().description; }

class IteratorTest : public ::testing::TestWithParam<Width> {
protected:
    // A segment of the width's buffer class holding `text`, the source [origin, limit) of it (limit -1:
    // the end; the whole segment, or else a sub-section of it) and an iterator on the source.
    void Open(std::u16string_view text, LONG origin = 0, LONG limit = -1) {
        Bind(MakeByName<ITextSegment>(u"Scrivix.TextSegment"), text, origin, limit);
    }
    // The same over a segment of the whole text whose events the test can also fire by hand.
    void OpenHandFired(std::u16string_view text) { Bind(HandFiredSegment::Make(), text, 0, -1); }
    static ComPtr<IPatternIterator> NewIterator() { return MakeByName<IPatternIterator>(u"Scrivix.PatternIterator"); }

    // Adds a pattern made by the iterator; without a look-ahead it keeps the pattern's own.
    LONG Target(std::u16string_view text, LONG options = poNone, std::optional<LONG> look_ahead = {}) {
        return Add(&IPatternIterator::NewTarget, &IPatternIterator::get_Target, text, options, look_ahead);
    }
    LONG Ignore(std::u16string_view text, LONG options = poNone, std::optional<LONG> look_ahead = {}) {
        return Add(&IPatternIterator::NewIgnore, &IPatternIterator::get_Ignore, text, options, look_ahead);
    }

    void SetMode(LONG mode) { ASSERT_EQ(iterator_->put_Mode(static_cast<search_modes>(mode)), S_OK); }

    // The stop after one Next.
    Stop Next() {
        ComPtr<ITextSegment> found;
        EXPECT_EQ(iterator_->Next(found.Put()), S_OK);
        return Here(found.Get());
    }
    // The stop the iterator stands on, with the text of `found` (or of Current).
    Stop Here(ITextSegment* found = nullptr) {
        Stop stop{-2, -2, -2, {}};
        iterator_->Offset(&stop.offset);
        iterator_->Length(&stop.length);
        iterator_->MatchedBy(&stop.matched);
        ComPtr<ITextSegment> current;
        if (!found) iterator_->get_Current(current.Put());
        stop.text = TextOf(found ? found : current.Get());
        return stop;
    }
    // Every stop from First(0) up to and including the first stop without a match.
    std::vector<Stop> Stops() {
        std::vector<Stop> stops;
        ComPtr<ITextSegment> found;
        EXPECT_EQ(iterator_->First(0, found.Put()), S_OK);
        stops.push_back(Here(found.Get()));
        while (stops.back().matched != -1 && stops.size() < 1000) stops.push_back(Next());
        return stops;
    }

    std::u16string BufferText() {
        Bstr text;
        LONG length = 0;
        buffer_->Length(&length);
        buffer_->SubSection(0, length, text.Put());
        return std::u16string(text.View());
    }

    ComPtr<IEditBuffer> buffer_;
    ComPtr<ITextSegment> source_;
    ComPtr<IPatternIterator> iterator_;

private:
    void Bind(const ComPtr<ITextSegment>& segment, std::u16string_view text, LONG origin, LONG limit) {
        ASSERT_TRUE(segment);
        ASSERT_EQ(segment->put_BufferClass(Bstr(GetParam().buffer_class).Get()), S_OK);
        ASSERT_EQ(segment->put_Text(Bstr(text).Get()), S_OK);
        source_ = segment;
        if (origin != 0 || limit >= 0) {
            ASSERT_EQ(segment->SubSection(origin, limit < 0 ? static_cast<LONG>(text.size()) : limit, source_.Put()),
                      S_OK);
            // A sub-section starts with the default PatternClass, whatever the width of its buffer.
            ASSERT_EQ(source_->put_PatternClass(Bstr(GetParam().pattern_class).Get()), S_OK);
        }
        // The buffer, through a buffer segment that is let go at once (it holds a read lock).
        ComPtr<IUnknown> view, buffer;
        ASSERT_EQ(source_->SegmentBuffer(view.Put()), S_OK);
        ASSERT_EQ(view.As<IBufferSegment>()->get_Source(0, 0, buffer.Put()), S_OK);
        ASSERT_EQ(buffer.As(buffer_), S_OK);
        iterator_ = NewIterator();
        ASSERT_EQ(iterator_->put_Source(source_.Get()), S_OK);
    }

    using Make = HRESULT (STDMETHODCALLTYPE IPatternIterator::*)(BSTR, LONG, LONG*);
    using Get = HRESULT (STDMETHODCALLTYPE IPatternIterator::*)(LONG, IPattern**);
    LONG Add(Make make, Get get, std::u16string_view text, LONG options, std::optional<LONG> look_ahead) {
        LONG id = -1;
        EXPECT_EQ((iterator_.Get()->*make)(Bstr(text).Get(), options, &id), S_OK);
        if (look_ahead) {
            ComPtr<IPattern> pattern;
            EXPECT_EQ((iterator_.Get()->*get)(id, pattern.Put()), S_OK);
            if (pattern) pattern->put_LookAhead(*look_ahead);
        }
        return id;
    }
};

}  // namespace scrivix::test
