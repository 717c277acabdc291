// Error records as operations leave them: every field, the message table, unknown numbers, both forms of
// re-reporting, and records that belong to their thread.
#include "frame/error.h"
#include "interfaces/messages.h"
#include "platform/bstr.h"
#include "platform/com_ptr.h"
#include "support/error_record.h"

#include <gtest/gtest.h>

#include <thread>

namespace scrivix {
namespace {

using test::ErrorRecord;

// Takes the thread's error record; fails the test when there is none.
ErrorRecord TakeRecord() {
    ComPtr<IErrorInfo> info;
    EXPECT_EQ(GetErrorInfo(0, info.Put()), S_OK);
    if (info) SetErrorInfo(0, info.Get());
    return test::TakeErrorRecord();
}

// Each message fills every field of the record from the table; taking the record clears it.
TEST(ReportError, TheWholeMessageTable) {
    const struct {
        UINT number;
        HRESULT status;
        DWORD help_context;
        const char16_t* text;
    } rows[] = {
        {10000, static_cast<HRESULT>(0x80042710u), 76, u"Invalid Extent."},
        {10001, static_cast<HRESULT>(0x80042711u), 77, u"Insuficent memory for operation."},
        {10002, static_cast<HRESULT>(0x80042712u), 78, u"Invalid Start parameter."},
        {10003, static_cast<HRESULT>(0x80042713u), 79, u"Invalid End parameter."},
        {10004, static_cast<HRESULT>(0x80042714u), 80, u"File is already open."},
        {10005, static_cast<HRESULT>(0x80042715u), 81, u"Could not open specified file."},
        {10006, static_cast<HRESULT>(0x80042716u), 82, u"TextSegment is not bound to a source (EditBuffer)."},
        {10007, static_cast<HRESULT>(0x80042717u), 0xFFFFFFFF, u"Insuficient memory for operation."},
        {10500, static_cast<HRESULT>(0x80042904u), 83, u"Iterator is not bound to a Source."},
        {10501, static_cast<HRESULT>(0x80042905u), 84, u"No patterns to search for."},
        {10502, static_cast<HRESULT>(0x80042906u), 85, u"Illegal Regular Expression."},
        {10503, static_cast<HRESULT>(0x80042907u), 86, u"No memory to create Regular Expression template."},
        {10504, static_cast<HRESULT>(0x80042908u), 87, u"Improper closure of Regular Expression."},
        {10505, static_cast<HRESULT>(0x80042909u), 88, u"Improper pattern in Regular Expression."},
        {10506, static_cast<HRESULT>(0x8004290Au), 89, u"Unknown error creating Regular Expression template."},
        {10507, static_cast<HRESULT>(0x8004290Bu), 90, u"Invalid Pattern index."},
        {10508, static_cast<HRESULT>(0x8004290Cu), 91, u"No current selection."},
        {10509, static_cast<HRESULT>(0x8004290Du), 92, u"No Spans to search for."},
        {10510, static_cast<HRESULT>(0x8004290Eu), 94, u"Attempt to search using an empty Pattern."},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.number);
        EXPECT_EQ(ReportMessage(CLSID_EditBufferA, IID_IEditBuffer, row.number), row.status);
        const ErrorRecord record = TakeRecord();
        EXPECT_EQ(record.guid, IID_IEditBuffer);
        EXPECT_EQ(record.source, u"Scrivix.EditBufferA.1");
        EXPECT_EQ(record.description, row.text);
        EXPECT_EQ(record.help_file, u"Scrivix.chm");
        EXPECT_EQ(record.help_context, row.help_context);
        ComPtr<IErrorInfo> none;
        EXPECT_EQ(GetErrorInfo(0, none.Put()), S_FALSE) << "taking the record clears it";
    }
}

TEST(ReportError, UnknownNumbersAndClassesWithoutProgId) {
    EXPECT_EQ(ReportError(IID_IPattern, 4711, 0, kHelpFile, IID_IPattern, 0), static_cast<HRESULT>(0x80041267u));
    const ErrorRecord record = TakeRecord();
    EXPECT_EQ(record.description, u"Unknown Error");
    EXPECT_EQ(record.source, u"") << "a class id without a ProgID leaves the source empty";
    EXPECT_EQ(record.help_file, u"") << "help context 0: no help file";
    EXPECT_EQ(record.help_context, 0u);
}

// A caught record is reported again under the catching class: by number with the table's status and the
// caught interface id, or by text under DISP_E_EXCEPTION and the catching interface.
TEST(ReportError, ReReporting) {
    HRESULT caught = ReportMessage(CLSID_PatternA, IID_IPattern, kIllegalExpression);
    EXPECT_EQ(ReReportByNumber(CLSID_PatternIterator, caught), caught);
    ErrorRecord record = TakeRecord();
    EXPECT_EQ(record.source, u"Scrivix.PatternIterator.1");
    EXPECT_EQ(record.guid, IID_IPattern);
    EXPECT_EQ(record.description, u"Illegal Regular Expression.");
    EXPECT_EQ(record.help_context, 85u);
    SetErrorInfo(0, nullptr);
    EXPECT_EQ(ReReportByNumber(CLSID_Span, E_INVALIDARG), static_cast<HRESULT>(0x80040057u));
    EXPECT_EQ(TakeRecord().description, u"Unknown Error");

    caught = ReportMessage(CLSID_PatternA, IID_IPattern, kImproperClosure);
    EXPECT_EQ(ReReportByText(CLSID_PatternIterator, IID_IPatternIterator, caught), DISP_E_EXCEPTION);
    record = TakeRecord();
    EXPECT_EQ(record.guid, IID_IPatternIterator);
    EXPECT_EQ(record.description, u"Improper closure of Regular Expression.");
    EXPECT_EQ(record.help_context, 87u);
    EXPECT_EQ(record.help_file, u"Scrivix.chm");
}

TEST(ReportError, RecordsBelongToTheirThread) {
    ReportMessage(CLSID_EditBufferU, IID_IEditBuffer, kInvalidStart);
    std::thread other([] {
        ComPtr<IErrorInfo> info;
        EXPECT_EQ(GetErrorInfo(0, info.Put()), S_FALSE);
        ReportMessage(CLSID_EditBufferU, IID_IEditBuffer, kInvalidEnd);
        EXPECT_EQ(TakeRecord().description, u"Invalid End parameter.");
    });
    other.join();
    EXPECT_EQ(TakeRecord().description, u"Invalid Start parameter.");
}

}  // namespace
}  // namespace scrivix
