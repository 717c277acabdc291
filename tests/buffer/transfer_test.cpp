// The edit buffer's transfers, for both widths: round trips through real files and a stream of the
// tests' own with the bytes checked, empty and odd-sized streams, ranges, and loads that fail and must
// leave the buffer exactly as it was.
#include "buffer_fixture.h"
#include "support/memory_stream.h"
#include "support/temp_dir.h"

#include <sys/stat.h>
#include <unistd.h>

namespace scrivix::test {
namespace {

template <class W>
class Transfer : public ::testing::Test {
protected:
    static constexpr ULONG kCharSize = sizeof(typename W::Char);
    static std::string Bytes(std::u16string_view text) { return StreamBytes<W>(text); }
    TempDir dir;
};
TYPED_TEST_SUITE(Transfer, BufferWidths);

// A sample and a long text go out whole through a file and through a stream that takes short writes, and
// come back the same; the mark of 16-bit streams is not counted. A range goes out alone.
TYPED_TEST(Transfer, RoundTrips) {
    for (const std::u16string& text : {TypeParam::Sample(), std::u16string(100000, u'z')}) {
        const LONG length = static_cast<LONG>(text.size());
        const ULONG size = length * this->kCharSize;
        Bstr name(this->dir.Name("text"));
        ULONG actual = 0;
        ASSERT_EQ(NewBuffer<TypeParam>(text)->WriteFile(0, length, name.Get(), file_out, &actual), S_OK);
        EXPECT_EQ(actual, size);
        EXPECT_EQ(ReadBytes(this->dir.Path("text")), this->Bytes(text));
        MemoryStream stream;
        stream.write_limit = 4096;
        ASSERT_EQ(NewBuffer<TypeParam>(text)->ToStream(0, length, &stream, &actual), S_OK);
        EXPECT_EQ(actual, size);
        EXPECT_EQ(stream.bytes, this->Bytes(text));

        RecordingSink sink;
        auto copy = NewBuffer<TypeParam>(u"old");
        Connect(copy.Get(), &sink);
        ASSERT_EQ(copy->LoadFile(name.Get(), file_in | file_out, &actual), S_OK);
        EXPECT_EQ(actual, size);
        EXPECT_EQ(Contents<TypeParam>(copy.Get()), text);
        ASSERT_EQ(copy->FromStream(&stream, &actual), S_OK);
        EXPECT_EQ(actual, size);
        EXPECT_EQ(Contents<TypeParam>(copy.Get()), text);
        EXPECT_EQ(sink.Calls(), (Modifications{{0, 3, length}, {0, length, length}}));
    }
    Bstr part(this->dir.Name("part"));
    ULONG actual = 0;
    ASSERT_EQ(NewBuffer<TypeParam>(u"abcdef")->WriteFile(1, 4, part.Get(), file_out, &actual), S_OK);
    EXPECT_EQ(actual, 3 * this->kCharSize);
    EXPECT_EQ(ReadBytes(this->dir.Path("part")), this->Bytes(u"bcd"));
}

TYPED_TEST(Transfer, ModesCombineWithInOrOut) {
    const std::string path = this->dir.Path("f");
    Bstr name(this->dir.Name("f"));
    WriteBytes(path, std::string(100, 'x'));
    auto buffer = NewBuffer<TypeParam>(u"ab");
    EXPECT_EQ(buffer->WriteFile(0, 2, name.Get(), 0, nullptr), S_OK) << "mode 0 is file_out, which empties";
    EXPECT_EQ(ReadBytes(path), this->Bytes(u"ab"));
    EXPECT_EQ(buffer->WriteFile(0, 2, name.Get(), file_app | file_binary, nullptr), S_OK);
    EXPECT_EQ(ReadBytes(path), this->Bytes(u"ab") + this->Bytes(u"ab"));
    ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
    ULONG actual = 0;
    EXPECT_EQ(buffer->LoadFile(name.Get(), 0, &actual), S_OK) << "mode 0 is file_in: reading only";
    EXPECT_EQ(actual, ReadBytes(path).size() - (this->kCharSize == 2 ? 2 : 0));
}

// FromStream reads from the start, ToStream writes at the position (under a read lock of the caller's
// too); empty ranges and streams move no characters; a failed write is returned.
TYPED_TEST(Transfer, StreamPositionsAndEmptyTransfers) {
    RecordingSink sink;
    MemoryStream stream(this->Bytes(u"abc"));
    stream.position = 3;
    auto buffer = NewBuffer<TypeParam>(u"four");
    Connect(buffer.Get(), &sink);
    EXPECT_EQ(buffer->FromStream(&stream, nullptr), S_OK) << "Actual may be null";
    EXPECT_EQ(Contents<TypeParam>(buffer.Get()), u"abc");

    MemoryStream target("<");
    target.position = 1;
    ASSERT_EQ(buffer->LockForRead(), S_OK);
    EXPECT_EQ(buffer->ToStream(0, 1, &target, nullptr), S_OK);
    EXPECT_EQ(buffer->ToStream(1, 3, &target, nullptr), S_OK);
    EXPECT_EQ(buffer->UnlockFromRead(), S_OK);
    EXPECT_EQ(target.bytes, "<" + this->Bytes(u"a") + this->Bytes(u"bc")) << "successive calls append";

    MemoryStream empty_out, empty_in;
    ULONG actual = 9;
    EXPECT_EQ(buffer->ToStream(2, 2, &empty_out, &actual), S_OK);
    EXPECT_EQ(actual, 0u);
    EXPECT_EQ(empty_out.bytes, this->Bytes(u"")) << "a 16-bit buffer still writes its mark";
    actual = 9;
    EXPECT_EQ(buffer->FromStream(&empty_in, &actual), S_OK) << "an empty stream empties the buffer";
    EXPECT_EQ(actual, 0u);
    EXPECT_EQ(Contents<TypeParam>(buffer.Get()), u"");
    EXPECT_EQ(sink.Calls(), (Modifications{{0, 4, 3}, {0, 3, 0}}));

    MemoryStream failing;
    failing.write_status = STG_E_MEDIUMFULL;
    EXPECT_EQ(NewBuffer<TypeParam>(u"abc")->ToStream(0, 3, &failing, &actual), STG_E_MEDIUMFULL);
    EXPECT_EQ(actual, 0u);
}

// Ranges outside the buffer are refused before anything is written or emptied.
TYPED_TEST(Transfer, RangesOutsideTheBuffer) {
    auto buffer = NewBuffer<TypeParam>(u"four");
    ULONG actual = 0;
    const std::string path = this->dir.Path("kept");
    Bstr name(this->dir.Name("kept"));
    WriteBytes(path, "precious");
    const std::tuple<LONG, LONG, UINT> ranges[] = {{-1, 2, 10002}, {5, 5, 10002}, {3, 2, 10003}, {0, 5, 10003}};
    for (const auto& [from, to, number] : ranges) {
        SCOPED_TRACE(testing::Message() << from << ", " << to);
        MemoryStream stream;
        actual = 9;
        EXPECT_EQ(buffer->ToStream(from, to, &stream, &actual), Failure(number));
        EXPECT_EQ(actual, 0u);
        EXPECT_EQ(stream.bytes, "") << "not even a mark";
        EXPECT_EQ(buffer->WriteFile(from, to, name.Get(), file_out, &actual), Failure(number));
        EXPECT_EQ(ReadBytes(path), "precious");
    }
}

// Loads that fail, and transfers refused for their arguments, leave the buffer exactly as it was and fire
// nothing.
TYPED_TEST(Transfer, LoadsThatFailLoseNothing) {
    RecordingSink sink;
    auto buffer = NewBuffer<TypeParam>(u"kept");
    Connect(buffer.Get(), &sink);
    MemoryStream unseekable(this->Bytes(u"new")), unreadable(this->Bytes(u"new"));
    unseekable.seek_status = STG_E_INVALIDFUNCTION;
    unreadable.read_status = STG_E_READFAULT;
    // A file object whose state has failed cannot stand at its start.
    ComPtr<IFile> failed;
    ASSERT_EQ(CoCreateInstance(CLSID_FileStreamA, nullptr, CLSCTX_ALL, IID_IFile, failed.PutVoid()), S_OK);
    WriteBytes(this->dir.Path("f"), this->Bytes(u"new"));
    EXPECT_EQ(failed->Close(), S_OK);
    EXPECT_EQ(failed->Open(file_in, Bstr(this->dir.Name("f")).Get()), Failure(10005)) << "opened, in a failed state";
    TakeErrorRecord();  // the file object's own report, not the buffer's
    ASSERT_EQ(::mkdir(this->dir.Path("folder").c_str(), 0755), 0);
    WriteBytes(this->dir.Path("locked"), this->Bytes(u"secret"));
    ASSERT_EQ(::chmod(this->dir.Path("locked").c_str(), 0), 0);
    ULONG actual = 9;
    const auto refused = [&](HRESULT result, HRESULT status, const char* what) {
        EXPECT_EQ(result, status) << what;
        EXPECT_EQ(actual, 0u) << what;
        actual = 9;
    };
    auto not_a_stream = NewBuffer<TypeParam>();
    refused(buffer->FromStream(nullptr, &actual), E_INVALIDARG, "no stream");
    refused(buffer->FromStream(not_a_stream.Get(), &actual), E_INVALIDARG, "not a stream");
    EXPECT_EQ(buffer->ToStream(0, 1, nullptr, &actual), E_INVALIDARG);
    EXPECT_EQ(buffer->ToStream(0, 1, not_a_stream.Get(), &actual), E_INVALIDARG);
    refused(buffer->FromStream(&unseekable, &actual), STG_E_INVALIDFUNCTION, "unseekable");
    refused(buffer->FromStream(&unreadable, &actual), STG_E_READFAULT, "unreadable");
    refused(buffer->FromStream(failed.Get(), &actual), E_FAIL, "a failed file object");
    for (const std::string file : {"missing", "folder", "locked"}) {
        if (file == "locked" && geteuid() == 0) continue;  // permissions do not stop root
        refused(buffer->LoadFile(Bstr(this->dir.Name(file)).Get(), file_in, &actual), Failure(10005), file.c_str());
        EXPECT_EQ(TakeErrorRecord().source, TypeParam::kFileSource) << file << ": the file object's own report";
    }
    const Bstr missing(this->dir.Name("missing"));
    EXPECT_EQ(buffer->put_FileClass(Bstr(u"Scrivix.NoSuchFile").Get()), S_OK);
    refused(buffer->LoadFile(missing.Get(), file_in, &actual), CO_E_CLASSSTRING, "an unknown file class");
    EXPECT_EQ(buffer->put_FileClass(nullptr), S_OK);
    refused(buffer->LoadFile(missing.Get(), file_in, &actual), E_INVALIDARG, "no file class");
    refused(buffer->WriteFile(0, 1, missing.Get(), file_out, &actual), E_INVALIDARG, "no file class");

    // A stream that says it is larger than a buffer can be is refused before any read; its size is not cut
    // to its low 32 bits.
    const ULONGLONG mark = this->kCharSize == 2 ? 2 : 0;
    for (ULONGLONG size : {mark + 0x80000000ull * this->kCharSize, (1ull << 32) + 10}) {
        MemoryStream huge(this->Bytes(u"small"));
        huge.reported_size = size;
        ExpectReported<TypeParam>(buffer->FromStream(&huge, nullptr), 10007);
        EXPECT_EQ(huge.reads, 0);
    }
    EXPECT_EQ(Contents<TypeParam>(buffer.Get()), u"kept");
    EXPECT_TRUE(sink.Calls().empty());
}

// The layout of each width: 8-bit streams are the characters; 16-bit ones skip the mark, whichever it
// is, and drop an odd byte.
TEST(TransferLayout, BytesOfEachWidth) {
    MemoryStream narrow(std::string("\xFF\xFE\0x", 4));
    ULONG actual = 0;
    auto buffer = NewBuffer<NarrowBuffer>();
    EXPECT_EQ(buffer->FromStream(&narrow, &actual), S_OK);
    EXPECT_EQ(actual, 4u);
    EXPECT_EQ(Contents<NarrowBuffer>(buffer.Get()), std::u16string(u"\u00FF\u00FE\0x", 4));

    const std::tuple<std::string, std::u16string, ULONG> wide[] = {
        {"", u"", 0}, {"\xFF", u"", 0}, {"\xFF\xFE", u"", 0}, {"\xFF\xFE" "A", u"", 1},
        {std::string("ab" "A\0B", 5), u"A", 3},
        {std::string("\xFE\xFF" "\x41\x01\x00\xD8", 6), {u'\u0141', char16_t{0xD800}}, 4},
    };
    for (const auto& [bytes, text, size] : wide) {
        MemoryStream stream(bytes);
        buffer = NewBuffer<WideBuffer>(u"old");
        EXPECT_EQ(buffer->FromStream(&stream, &actual), S_OK);
        EXPECT_EQ(actual, size);
        EXPECT_EQ(Contents<WideBuffer>(buffer.Get()), text);
    }
}

}  // namespace
}  // namespace scrivix::test
