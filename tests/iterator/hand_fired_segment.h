// A real text segment whose events a test can also fire by hand: the only way to send an iterator a
// Reset with a start other than 0, or a Modified that no edit of the text caused, and so to test its
// reactions to each event alone.
#pragma once

#include "segment/text_segment.h"

#include <gtest/gtest.h>

namespace scrivix::test {

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

}  // namespace scrivix::test
