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
template <class Getter>
std::u16string Text(IErrorInfo* record, Getter getter) {
    BSTR text = nullptr;
    EXPECT_EQ((record->*getter)(&text), S_OK);
    EXPECT_NE(text, nullptr);
    std::u16string result(text, SysStringLen(text));
    SysFreeString(text);
    return result;
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

std::u16string TakeCurrentDescription() {
    IErrorInfo* record = nullptr;
    if (GetErrorInfo(0, &record) != S_OK) return u"(none)";
    const std::u16string description = Text(record, &IErrorInfo::GetDescription);
    record->Release();
    return description;
}

// The fields.

TEST(ErrorInfo, FieldsReadBackAsSet) {
    ICreateErrorInfo* creator = nullptr;
    ASSERT_EQ(CreateErrorInfo(&creator), S_OK);
    OLECHAR source[] = u"Scrivix.EditBufferA.1", description[] = u"Invalid Extent.", help_file[] = u"Scrivix.chm";
    EXPECT_EQ(creator->SetGUID(kSomeInterface), S_OK);
    EXPECT_EQ(creator->SetSource(source), S_OK);
    EXPECT_EQ(creator->SetDescription(description), S_OK);
    EXPECT_EQ(creator->SetHelpFile(help_file), S_OK);
    EXPECT_EQ(creator->SetHelpContext(0xFFFFFFFF), S_OK);

    IErrorInfo* record = nullptr;
    ASSERT_EQ(creator->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&record)), S_OK);
    GUID guid;
    EXPECT_EQ(record->GetGUID(&guid), S_OK);
    EXPECT_EQ(guid, kSomeInterface);
    EXPECT_EQ(Text(record, &IErrorInfo::GetSource), source);
    EXPECT_EQ(Text(record, &IErrorInfo::GetDescription), description);
    EXPECT_EQ(Text(record, &IErrorInfo::GetHelpFile), help_file);
    DWORD context = 0;
    EXPECT_EQ(record->GetHelpContext(&context), S_OK);
    EXPECT_EQ(context, 0xFFFFFFFFu);

    // Each getter hands out a new string.
    BSTR first = nullptr, second = nullptr;
    record->GetSource(&first);
    record->GetSource(&second);
    EXPECT_NE(first, second);
    SysFreeString(first);
    SysFreeString(second);
    record->Release();
    creator->Release();
}

TEST(ErrorInfo, NewRecordIsEmptyAndNullTextsCountAsEmpty) {
    ICreateErrorInfo* creator = nullptr;
    ASSERT_EQ(CreateErrorInfo(&creator), S_OK);
    OLECHAR text[] = u"x";
    creator->SetSource(text);
    EXPECT_EQ(creator->SetSource(nullptr), S_OK);
    EXPECT_EQ(creator->SetDescription(nullptr), S_OK);
    IErrorInfo* record = nullptr;
    creator->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&record));
    GUID guid = kSomeInterface;
    record->GetGUID(&guid);
    EXPECT_EQ(guid, GUID_NULL);
    EXPECT_EQ(Text(record, &IErrorInfo::GetSource), u"");
    EXPECT_EQ(Text(record, &IErrorInfo::GetDescription), u"");
    EXPECT_EQ(Text(record, &IErrorInfo::GetHelpFile), u"");
    DWORD context = 7;
    record->GetHelpContext(&context);
    EXPECT_EQ(context, 0u);

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
    IUnknown* through_record = nullptr;
    IUnknown* through_creator = nullptr;
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
}

TEST(ErrorInfo, SetReplacesAndNullClears) {
    IErrorInfo* first = NewRecord(u"first");
    SetErrorInfo(0, first);
    EXPECT_EQ(first->Release(), 1u);
    IErrorInfo* second = NewRecord(u"second");
    SetErrorInfo(0, second);  // releases `first`, whose last reference was the thread's
    second->Release();
    EXPECT_EQ(TakeCurrentDescription(), u"second");

    IErrorInfo* third = NewRecord(u"third");
    SetErrorInfo(0, third);
    EXPECT_EQ(third->Release(), 1u);
    EXPECT_EQ(SetErrorInfo(0, nullptr), S_OK);
    EXPECT_EQ(TakeCurrentDescription(), u"(none)");
}

TEST(ErrorInfo, ReservedArgumentsMustBeZero) {
    IErrorInfo* record = nullptr;
    EXPECT_EQ(SetErrorInfo(1, nullptr), E_INVALIDARG);
    EXPECT_EQ(GetErrorInfo(1, &record), E_INVALIDARG);
    EXPECT_EQ(GetErrorInfo(0, nullptr), E_INVALIDARG);
}

// A record that sets another one as its last reference goes: the thread's holder must not lose it.
class RecordThatReportsOnRelease final : public IErrorInfo {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override {
        if (--references == 0) {
            IErrorInfo* replacement = NewRecord(u"set while released");
            SetErrorInfo(0, replacement);
            replacement->Release();
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
    IErrorInfo* mine = NewRecord(u"main");
    SetErrorInfo(0, mine);
    mine->Release();
    std::u16string seen_by_other;
    std::thread([&] {
        seen_by_other = TakeCurrentDescription();
        IErrorInfo* theirs = NewRecord(u"other");
        SetErrorInfo(0, theirs);
        theirs->Release();
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
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t, &mismatches] {
            const std::u16string mine = u"thread " + std::u16string(1, static_cast<char16_t>(u'0' + t));
            for (int i = 0; i < 500; ++i) {
                IErrorInfo* record = NewRecord(mine.c_str());
                SetErrorInfo(0, record);
                record->Release();
                if (TakeCurrentDescription() != mine) ++mismatches;
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(mismatches, 0);
}

}  // namespace
