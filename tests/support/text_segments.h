// What the segment, iterator and span tests share: the two widths of text as a test parameter, objects
// made by class name, text segments over a new buffer, their ranges and texts, and a source of random
// edits for the tests that hold an adjustment rule to its plain re-statement.
#pragma once

#include "frame/class_name.h"
#include "iterator/iterator_adjustment.h"
#include "platform/bstr.h"
#include "platform/com_ptr.h"
#include "support/error_record.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <random>
#include <string>

namespace scrivix {

// An edit as the listeners hear it; in the namespace of the type, for argument-dependent lookup.
inline std::ostream& operator<<(std::ostream& out, const SourceEdit& e) {
    return out << "Modified(" << e.origin << ", " << e.old_length << ", " << e.new_length << ")";
}

}  // namespace scrivix

namespace scrivix::test {

// A width of text: the buffer class and the pattern class that goes with it.
struct Width {
    const char* name;
    const char16_t* buffer_class;
    const char16_t* pattern_class;
    SHORT char_size;
};
inline const Width kNarrow{"Narrow", u"Scrivix.EditBufferA", u"Scrivix.PatternA", 1};
inline const Width kWide{"Wide", u"Scrivix.EditBufferU", u"Scrivix.PatternU", 2};
inline void PrintTo(const Width& width, std::ostream* out) { *out << width.name; }
inline std::string WidthName(const ::testing::TestParamInfo<Width>& info) { return info.param.name; }
#define SCRIVIX_FOR_BOTH_WIDTHS(Suite) \
    INSTANTIATE_TEST_SUITE_P(Widths, Suite, ::testing::Values(kNarrow, kWide), WidthName)

template <class I>
ComPtr<I> MakeByName(std::u16string_view class_name) {
    ComPtr<I> object;
    EXPECT_EQ(CreateFromClassName(Bstr(class_name).Get(), object), S_OK) << "making an object by class name";
    return object;
}

// A text segment of the width over a new buffer holding `text`: [0, length).
inline ComPtr<ITextSegment> NewSegment(std::u16string_view text, const Width& width = kNarrow) {
    auto segment = MakeByName<ITextSegment>(u"Scrivix.TextSegment");
    if (segment) {
        EXPECT_EQ(segment->put_BufferClass(Bstr(width.buffer_class).Get()), S_OK);
        EXPECT_EQ(segment->put_Text(Bstr(text).Get()), S_OK);
    }
    return segment;
}

inline ComPtr<ITextSegment> SubSectionOf(ITextSegment* segment, LONG start, LONG end) {
    ComPtr<ITextSegment> section;
    EXPECT_EQ(segment->SubSection(start, end, section.Put()), S_OK);
    return section;
}

inline std::u16string TextOf(ITextSegment* segment) {
    Bstr text;
    if (segment) {
        EXPECT_EQ(segment->get_Text(text.Put()), S_OK);
    }
    return std::u16string(text.View());
}

struct Range {
    LONG origin, limit;
    bool operator==(const Range&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Range& r) {
        return out << "[" << r.origin << ", " << r.limit << ")";
    }
};

inline Range RangeOf(ITextSegment* segment) {
    Range range{-1, -1};
    EXPECT_EQ(segment->Origin(&range.origin), S_OK);
    EXPECT_EQ(segment->Limit(&range.limit), S_OK);
    return range;
}

// Random edits of a text of `length` characters, replacing up to `most` characters by up to `most` new
// ones. With a `reach`, an edit may begin that far outside the text and run past its end, as edits of a
// buffer around a source do.
class RandomEdits {
public:
    explicit RandomEdits(unsigned seed) : random_(seed) {}
    LONG Between(LONG low, LONG high) { return std::uniform_int_distribution<LONG>(low, high)(random_); }
    SourceEdit Next(LONG length, LONG most, LONG reach = 0) {
        SourceEdit edit{Between(-reach, length + reach), 0, Between(0, most)};
        edit.old_length = Between(0, reach ? most : std::min(length - edit.origin, most));
        return edit;
    }

private:
    std::mt19937 random_;
};

}  // namespace scrivix::test
