// Helpers of the span tests: segments over a buffer of either width, spans and iterators made by class
// name, and the thread's error record.
#pragma once

#include "platform/bstr.h"
#include "interfaces/messages.h"
#include "platform/com_ptr.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <string>

namespace scrivix::test {

template <class I>
ComPtr<I> MakeByName(std::u16string_view class_name) {
    ComPtr<I> object;
    CLSID clsid{};
    EXPECT_EQ(CLSIDFromProgID(Bstr(class_name).Get(), &clsid), S_OK) << "class name resolves";
    EXPECT_EQ(CoCreateInstance(clsid, nullptr, CLSCTX_ALL, uuidof<I>(), object.PutVoid()), S_OK);
    return object;
}

// The 8-bit and the 16-bit buffer, as the parameter of the iterator tests.
struct TextWidth {
    const char16_t* buffer_class;
    const char16_t* pattern_class;
};
inline const TextWidth kNarrow{u"Scrivix.EditBufferA", u"Scrivix.PatternA"};
inline const TextWidth kWide{u"Scrivix.EditBufferU", u"Scrivix.PatternU"};

inline ComPtr<ITextSegment> NewSegment(std::u16string_view text, const TextWidth& width = kNarrow) {
    auto segment = MakeByName<ITextSegment>(u"Scrivix.TextSegment");
    EXPECT_EQ(segment->put_BufferClass(Bstr(width.buffer_class).Get()), S_OK);
    EXPECT_EQ(segment->put_Text(Bstr(text).Get()), S_OK);
    return segment;
}

inline std::u16string TextOf(ITextSegment* segment) {
    if (!segment) return u"<none>";
    Bstr text;
    EXPECT_EQ(segment->get_Text(text.Put()), S_OK);
    return std::u16string(text.View());
}

// A span of the given pattern class, defined with Define.
inline ComPtr<ISpan> NewSpan(std::u16string_view opening, std::u16string_view closing, LONG options,
                             const TextWidth& width = kNarrow) {
    auto span = MakeByName<ISpan>(u"Scrivix.Span");
    EXPECT_EQ(span->put_PatternClass(Bstr(width.pattern_class).Get()), S_OK);
    EXPECT_EQ(span->Define(Bstr(opening).Get(), 0, Bstr(closing).Get(), 0, options), S_OK);
    return span;
}

struct ErrorRecord {
    std::u16string description;
    std::u16string source;
    DWORD help_context = 0;
    GUID iid{};
};

// Takes the calling thread's error record.
inline ErrorRecord TakeErrorRecord() {
    ErrorRecord record;
    ComPtr<IErrorInfo> info;
    if (GetErrorInfo(0, info.Put()) != S_OK || !info) return record;
    Bstr text;
    info->GetDescription(text.Put());
    record.description = text.View();
    info->GetSource(text.Put());
    record.source = text.View();
    info->GetHelpContext(&record.help_context);
    info->GetGUID(&record.iid);
    return record;
}

}  // namespace scrivix::test
