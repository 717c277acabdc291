// Error records: the fields of a record, the hand-over of the current record of a thread, and that each
// thread has its own, released when the thread ends.
#include "platform/bstr.h"
#include "platform/com_ptr.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

using scrivix::Bstr;
using scrivix::ComPtr;

const GUID kSomeInterface = {0x11223344, 0x5566, 0x7788, {0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF, 0x00}};
using TextGetter = HRESULT (STDMETHODCALLTYPE IErrorInfo::*)(BSTR*);

std::u16string Text(IErrorInfo* record, TextGetter getter) {
    Bstr text;
    EXPECT_EQ((record->*getter)(text.Put()), S_OK);
    EXPECT_FALSE(text.IsNull());
    return std::u16string(text.View());
}

struct Fields {
    GUID guid;
    std::u16string source, description, help_file;
    DWORD help_context;
    bool operator==(const Fields&) const = default;
};

Fields Read(IErrorInfo* record) {
    Fields fields{kSomeInterface, {}, {}, {}, 7};  // what the getters must overwrite
    EXPECT_EQ(record->GetGUID(&fields.guid), S_OK);
    fields.source = Text(record, &IErrorInfo::GetSource);
    fields.description = Text(record, &IErrorInfo::GetDescription);
    fields.help_file = Text(record, &IErrorInfo::GetHelpFile);
    EXPECT_EQ(record->GetHelpContext(&fields.help_context), S_OK);
    return fields;
}

ComPtr<IErrorInfo> NewRecord(const char16_t* description) {
    ComPtr<ICreateErrorInfo> creator;
    EXPECT_EQ(CreateErrorInfo(creator.Put()), S_OK);
    creator->SetDescription(const_cast<LPOLESTR>(description));
    ComPtr<IErrorInfo> record;
    creator->QueryInterface(IID_IErrorInfo, record.PutVoid());
    return record;
}

// Makes a new record with `description` the thread's current one.
void SetCurrent(const char16_t* description) { EXPECT_EQ(SetErrorInfo(0, NewRecord(description).Get()), S_OK); }

std::u16string TakeCurrentDescription() {
    ComPtr<IErrorInfo> record;
    return GetErrorInfo(0, record.Put()) == S_OK ? Text(record.Get(), &IErrorInfo::GetDescription) : u"(none)";
}

// The fields.

TEST(ErrorInfo, FieldsReadBackAsSetAndNullTextsCountAsEmpty) {
    ComPtr<ICreateErrorInfo> creator;
    ASSERT_EQ(CreateErrorInfo(creator.Put()), S_OK);
    ComPtr<IErrorInfo> record;
    ASSERT_EQ(creator->QueryInterface(IID_IErrorInfo, record.PutVoid()), S_OK);
    EXPECT_EQ(Read(record.Get()), (Fields{GUID_NULL, u"", u"", u"", 0}));
    OLECHAR source[] = u"Scrivix.EditBufferA.1", description[] = u"Invalid Extent.", help_file[] = u"Scrivix.chm";
    EXPECT_EQ(creator->SetGUID(kSomeInterface), S_OK);
    EXPECT_EQ(creator->SetSource(source), S_OK);
    EXPECT_EQ(creator->SetDescription(description), S_OK);
    EXPECT_EQ(creator->SetHelpFile(help_file), S_OK);
    EXPECT_EQ(creator->SetHelpContext(0xFFFFFFFF), S_OK);
    EXPECT_EQ(Read(record.Get()), (Fields{kSomeInterface, source, description, help_file, 0xFFFFFFFF}));
    EXPECT_EQ(creator->SetSource(nullptr), S_OK);
    EXPECT_EQ(creator->SetDescription(nullptr), S_OK);
    EXPECT_EQ(Read(record.Get()), (Fields{kSomeInterface, u"", u"", help_file, 0xFFFFFFFF}));

    Bstr first, second;  // each getter hands out a new string
    record->GetHelpFile(first.Put());
    record->GetHelpFile(second.Put());
    EXPECT_NE(first.Get(), second.Get());
    for (TextGetter getter : {&IErrorInfo::GetSource, &IErrorInfo::GetDescription, &IErrorInfo::GetHelpFile})
        EXPECT_EQ((record.Get()->*getter)(nullptr), E_POINTER);
    EXPECT_EQ(record->GetGUID(nullptr), E_POINTER);
    EXPECT_EQ(record->GetHelpContext(nullptr), E_POINTER);
    EXPECT_EQ(CreateErrorInfo(nullptr), E_INVALIDARG);
}

TEST(ErrorInfo, AnswersItsInterfacesWithOneIdentity) {
    IErrorInfo* record = NewRecord(u"").Detach();
    ComPtr<IUnknown> through_record, through_creator;
    ComPtr<ICreateErrorInfo> creator;
    ASSERT_EQ(record->QueryInterface(IID_IUnknown, through_record.PutVoid()), S_OK);
    ASSERT_EQ(record->QueryInterface(IID_ICreateErrorInfo, creator.PutVoid()), S_OK);
    ASSERT_EQ(creator->QueryInterface(IID_IUnknown, through_creator.PutVoid()), S_OK);
    EXPECT_EQ(through_record.Get(), through_creator.Get());
    void* other = &other;
    EXPECT_EQ(record->QueryInterface(IID_IDispatch, &other), E_NOINTERFACE);
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(record->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    through_record.Reset();
    through_creator.Reset();
    creator.Reset();
    EXPECT_EQ(record->Release(), 0u);
}

// The current record of a thread.

TEST(ErrorInfo, GetHandsTheRecordOverAndClearsIt) {
    IErrorInfo* record = nullptr;
    EXPECT_EQ(GetErrorInfo(0, &record), S_FALSE);
    EXPECT_EQ(record, nullptr);
    IErrorInfo* set = NewRecord(u"first").Detach();
    EXPECT_EQ(SetErrorInfo(0, set), S_OK);
    EXPECT_EQ(set->AddRef(), 3u);  // the caller's, the thread's and this one
    set->Release();
    EXPECT_EQ(GetErrorInfo(0, &record), S_OK);
    EXPECT_EQ(record, set);
    EXPECT_EQ(GetErrorInfo(0, &record), S_FALSE);
    EXPECT_EQ(record, nullptr);
    set->Release();
    EXPECT_EQ(set->Release(), 0u);
    // Reserved arguments must be zero.
    EXPECT_EQ(SetErrorInfo(1, nullptr), E_INVALIDARG);
    EXPECT_EQ(GetErrorInfo(1, &record), E_INVALIDARG);
    EXPECT_EQ(GetErrorInfo(0, nullptr), E_INVALIDARG);
}

TEST(ErrorInfo, SetReplacesAndNullClears) {
    IErrorInfo* first = NewRecord(u"first").Detach();
    SetErrorInfo(0, first);
    EXPECT_EQ(first->Release(), 1u);
    SetCurrent(u"second");  // releases `first`, whose last reference was the thread's
    EXPECT_EQ(TakeCurrentDescription(), u"second");
    SetCurrent(u"third");
    EXPECT_EQ(SetErrorInfo(0, nullptr), S_OK);
    EXPECT_EQ(TakeCurrentDescription(), u"(none)");
}

// A record that sets another one as its last reference goes: the thread's holder must not lose it.
class RecordThatReportsOnRelease final : public IErrorInfo {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override {
        if (--references == 0) {
            SetCurrent(u"set while released");
            released = true;
        }
        return references;
    }
    HRESULT STDMETHODCALLTYPE GetGUID(GUID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetSource(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDescription(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD*) override { return E_NOTIMPL; }
    std::atomic<ULONG> references{1};
    std::atomic<bool> released{false};
};

TEST(ErrorInfo, ReleasingTheOldRecordMaySetANewOne) {
    RecordThatReportsOnRelease record;
    SetErrorInfo(0, &record);
    record.Release();
    SetErrorInfo(0, nullptr);
    EXPECT_TRUE(record.released);
    EXPECT_EQ(TakeCurrentDescription(), u"set while released");
}

// Threads.

TEST(ErrorInfo, EachThreadHasItsOwnRecordReleasedWhenItEnds) {
    SetCurrent(u"main");
    RecordThatReportsOnRelease record;
    std::u16string seen_by_other;
    std::thread([&] {
        seen_by_other = TakeCurrentDescription();
        SetErrorInfo(0, &record);
        record.Release();
    }).join();
    EXPECT_EQ(seen_by_other, u"(none)");
    EXPECT_TRUE(record.released);
    EXPECT_EQ(TakeCurrentDescription(), u"main");
}

TEST(ErrorInfo, ConcurrentThreadsKeepTheirOwnRecords) {
    std::vector<std::thread> threads;
    std::atomic<int> mismatches{0};
    for (char16_t t = u'0'; t < u'4'; ++t) {
        threads.emplace_back([t, &mismatches] {
            const std::u16string mine = u"thread " + std::u16string(1, t);
            for (int i = 0; i < 500; ++i) {
                SetCurrent(mine.c_str());
                if (TakeCurrentDescription() != mine) ++mismatches;
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(mismatches, 0);
}

}  // namespace
