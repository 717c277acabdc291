// Error records: the fields of a record, the hand-over of the current record of a thread, and that each
// thread has its own, released when the thread ends.
#include <scrivix/scrivix.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

const GUID kSomeInterface = {0x11223344, 0x5566, 0x7788, {0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF, 0x00}};

// Takes a string out of a getter and frees it.
std::u16string Text(IErrorInfo* record, HRESULT (STDMETHODCALLTYPE IErrorInfo::*getter)(BSTR*)) {
    BSTR text = nullptr;
    EXPECT_EQ((record->*getter)(&text), S_OK);
    EXPECT_NE(text, nullptr);
    std::u16string result(text, SysStringLen(text));
    SysFreeString(text);
    return result;
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

// A record filled with `description` and handed out as IErrorInfo, holding one reference.
IErrorInfo* NewRecord(const char16_t* description) {
    ICreateErrorInfo* creator = nullptr;
    EXPECT_EQ(CreateErrorInfo(&creator), S_OK);
    creator->SetDescription(const_cast<LPOLESTR>(description));
    IErrorInfo* record = nullptr;
    creator->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&record));
    creator->Release();
    return record;
}

// Makes a new record with `description` the thread's current one.
void SetCurrent(const char16_t* description) {
    IErrorInfo* record = NewRecord(description);
    EXPECT_EQ(SetErrorInfo(0, record), S_OK);
    record->Release();
}

std::u16string TakeCurrentDescription() {
    IErrorInfo* record = nullptr;
    if (GetErrorInfo(0, &record) != S_OK) return u"(none)";
    const std::u16string description = Text(record, &IErrorInfo::GetDescription);
    record->Release();
    return description;
}

// The fields.

TEST(ErrorInfo, FieldsReadBackAsSetAndNullTextsCountAsEmpty) {
    ICreateErrorInfo* creator = nullptr;
    ASSERT_EQ(CreateErrorInfo(&creator), S_OK);
    IErrorInfo* record = nullptr;
    ASSERT_EQ(creator->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&record)), S_OK);
    EXPECT_EQ(Read(record), (Fields{GUID_NULL, u"", u"", u"", 0}));
    OLECHAR source[] = u"Scrivix.EditBufferA.1", description[] = u"Invalid Extent.", help_file[] = u"Scrivix.chm";
    EXPECT_EQ(creator->SetGUID(kSomeInterface), S_OK);
    EXPECT_EQ(creator->SetSource(source), S_OK);
    EXPECT_EQ(creator->SetDescription(description), S_OK);
    EXPECT_EQ(creator->SetHelpFile(help_file), S_OK);
    EXPECT_EQ(creator->SetHelpContext(0xFFFFFFFF), S_OK);
    EXPECT_EQ(Read(record), (Fields{kSomeInterface, source, description, help_file, 0xFFFFFFFF}));
    EXPECT_EQ(creator->SetSource(nullptr), S_OK);
    EXPECT_EQ(creator->SetDescription(nullptr), S_OK);
    EXPECT_EQ(Read(record), (Fields{kSomeInterface, u"", u"", help_file, 0xFFFFFFFF}));

    BSTR first = nullptr, second = nullptr;  // each getter hands out a new string
    record->GetHelpFile(&first);
    record->GetHelpFile(&second);
    EXPECT_NE(first, second);
    SysFreeString(first);
    SysFreeString(second);
    EXPECT_EQ(record->GetGUID(nullptr), E_POINTER);
    EXPECT_EQ(record->GetSource(nullptr), E_POINTER);
    EXPECT_EQ(record->GetDescription(nullptr), E_POINTER);
    EXPECT_EQ(record->GetHelpFile(nullptr), E_POINTER);
    EXPECT_EQ(record->GetHelpContext(nullptr), E_POINTER);
    record->Release();
    creator->Release();
    EXPECT_EQ(CreateErrorInfo(nullptr), E_INVALIDARG);
}

TEST(ErrorInfo, AnswersItsInterfacesWithOneIdentity) {
    IErrorInfo* record = NewRecord(u"");
    IUnknown *through_record = nullptr, *through_creator = nullptr;
    ICreateErrorInfo* creator = nullptr;
    ASSERT_EQ(record->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&through_record)), S_OK);
    ASSERT_EQ(record->QueryInterface(IID_ICreateErrorInfo, reinterpret_cast<void**>(&creator)), S_OK);
    ASSERT_EQ(creator->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&through_creator)), S_OK);
    EXPECT_EQ(through_record, through_creator);
    void* other = &other;
    EXPECT_EQ(record->QueryInterface(IID_IDispatch, &other), E_NOINTERFACE);
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(record->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    through_record->Release();
    through_creator->Release();
    creator->Release();
    EXPECT_EQ(record->Release(), 0u);
}

// The current record of a thread.

TEST(ErrorInfo, GetHandsTheRecordOverAndClearsIt) {
    IErrorInfo* record = nullptr;
    EXPECT_EQ(GetErrorInfo(0, &record), S_FALSE);
    EXPECT_EQ(record, nullptr);
    IErrorInfo* set = NewRecord(u"first");
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
    IErrorInfo* first = NewRecord(u"first");
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

TEST(ErrorInfo, EachThreadHasItsOwnRecord) {
    SetCurrent(u"main");
    std::u16string seen_by_other;
    std::thread([&] {
        seen_by_other = TakeCurrentDescription();
        SetCurrent(u"other");
    }).join();
    EXPECT_EQ(seen_by_other, u"(none)");
    EXPECT_EQ(TakeCurrentDescription(), u"main");
}

TEST(ErrorInfo, ARecordLeftOnAThreadIsReleasedWhenItEnds) {
    RecordThatReportsOnRelease record;
    std::thread([&] {
        SetErrorInfo(0, &record);
        record.Release();
    }).join();
    EXPECT_TRUE(record.released);
    EXPECT_EQ(TakeCurrentDescription(), u"(none)");
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
