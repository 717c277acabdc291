// The library's message table: every failure with a message is reported by its number, and the number
// gives the text, the help context and the status code.
#pragma once

#include <scrivix/scrivix.h>

namespace scrivix {

enum Message : UINT {
    kInvalidExtent = 10000,
    kInsufficientMemory = 10001,
    kInvalidStart = 10002,
    kInvalidEnd = 10003,
    kFileAlreadyOpen = 10004,
    kCouldNotOpenFile = 10005,
    kSegmentNotBound = 10006,
    kEditOutOfMemory = 10007,
    kIteratorNotBound = 10500,
    kNoPatterns = 10501,
    kIllegalExpression = 10502,
    kNoMemoryForExpression = 10503,
    kImproperClosure = 10504,
    kImproperPattern = 10505,
    kUnknownExpressionError = 10506,
    kInvalidPatternIndex = 10507,
    kNoCurrentSelection = 10508,
    kNoSpans = 10509,
    kEmptyPattern = 10510,
};

struct MessageEntry {
    UINT number;
    DWORD help_context;
    const char* text;
};

// The entry of a message number, or null when the table has none.
const MessageEntry* FindMessage(UINT number);

// The status code of a message number: severity bit, interface facility, the number as the code.
constexpr HRESULT MessageStatus(UINT number) { return static_cast<HRESULT>(0x80040000u + (number & 0xFFFFu)); }

// The help file every report names.
inline constexpr const OLECHAR* kHelpFile = u"Scrivix.chm";

}  // namespace scrivix
