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

constexpr HRESULT kStartRefused = static_cast<HRESULT>(0x80042712u);
constexpr HRESULT kEndRefused = static_cast<HRESULT>(0x80042713u);
constexpr HRESULT kOpenFailed = static_cast<HRESULT>(0x80042715u);
constexpr HRESULT kTooLarge = static_cast<HRESULT>(0x80042717u);

template <class Width>
class Transfer : public ::testing::Test {
protected:
    using Char = typename Width::Char;
    static constexpr ULONG kCharSize = sizeof(Char);

    void TearDown() override { EXPECT_EQ(LiveObjects(), 0); }

    static ComPtr<IEditBuffer> Buffer(std::u16string_view text = {}) { return NewBuffer<Width>(text); }
    // A buffer holding `text` whose events `log` records.
    ComPtr<IEditBuffer> Watched(std::u16string_view text = {}) {
        auto buffer = Buffer(text);
        Connect(buffer.Get(), &log);
        return buffer;
    }
    RecordingSink log;
    static std::u16string Contents(IEditBuffer* buffer) { return test::Contents<Width>(buffer); }
    static std::string Bytes(std::u16string_view text) { return StreamBytes<Width>(text); }
    static LONG Length(std::u16string_view text) { return static_cast<LONG>(text.size()); }

    TempDir dir;
};

TYPED_TEST_SUITE(Transfer, BufferWidths);

// Round trips.

// A sample and a long text go out whole through a file and through a stream that takes short writes, and
// come back the same; the mark of 16-bit streams is not counted.
TYPED_TEST(Transfer, RoundTrips) {
    const ULONG char_size = this->kCharSize;
    for (const std::u16string& text : {TypeParam::Sample(), std::u16string(100000, u'z')}) {
        const ULONG size = static_cast<ULONG>(text.size()) * char_size;
        Bstr name(this->dir.Name("text"));
        ULONG actual = 0;
        ASSERT_EQ(this->Buffer(text)->WriteFile(0, this->Length(text), name.Get(), file_out, &actual), S_OK);
        EXPECT_EQ(actual, size);
        EXPECT_EQ(ReadBytes(this->dir.Path("text")), this->Bytes(text));
        MemoryStream stream;
        stream.write_limit = 4096;
        ASSERT_EQ(this->Buffer(text)->ToStream(0, this->Length(text), &stream, &actual), S_OK);
        EXPECT_EQ(actual, size);
        EXPECT_EQ(stream.bytes, this->Bytes(text));

        RecordingSink log;
        ComPtr<IEditBuffer> copy = this->Buffer(u"old");
        Connect(copy.Get(), &log);
        ASSERT_EQ(copy->LoadFile(name.Get(), file_in | file_out, &actual), S_OK);
        EXPECT_EQ(actual, size);
        EXPECT_EQ(this->Contents(copy.Get()), text);
        ASSERT_EQ(copy->FromStream(&stream, &actual), S_OK);
        EXPECT_EQ(actual, size);
        EXPECT_EQ(this->Contents(copy.Get()), text);
        EXPECT_EQ(log.Calls(), (Modifications{{0, 3, this->Length(text)}, {0, this->Length(text), this->Length(text)}}));
    }
    Bstr part(this->dir.Name("part"));
    ULONG actual = 0;
    ASSERT_EQ(this->Buffer(u"abcdef")->WriteFile(1, 4, part.Get(), file_out, &actual), S_OK);
    EXPECT_EQ(actual, 3 * char_size);
    EXPECT_EQ(ReadBytes(this->dir.Path("part")), this->Bytes(u"bcd"));
}

TYPED_TEST(Transfer, ModesCombineWithInOrOut) {
    const std::string path = this->dir.Path("f");
    Bstr name(this->dir.Name("f"));
    WriteBytes(path, std::string(100, 'x'));
    ComPtr<IEditBuffer> buffer = this->Buffer(u"ab");
    EXPECT_EQ(buffer->WriteFile(0, 2, name.Get(), 0, nullptr), S_OK) << "mode 0 is file_out, which empties";
    EXPECT_EQ(ReadBytes(path), this->Bytes(u"ab"));
    EXPECT_EQ(buffer->WriteFile(0, 2, name.Get(), file_app | file_binary, nullptr), S_OK);
    EXPECT_EQ(ReadBytes(path), this->Bytes(u"ab") + this->Bytes(u"ab"));

    ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
    ULONG actual = 0;
    EXPECT_EQ(buffer->LoadFile(name.Get(), 0, &actual), S_OK) << "mode 0 is file_in: reading only";
    EXPECT_EQ(actual, ReadBytes(path).size() - (this->kCharSize == 2 ? 2 : 0));
}

// Streams: positions, empty streams, arguments.

TYPED_TEST(Transfer, FromStreamReadsFromTheStartToStreamWritesAtThePosition) {
    MemoryStream stream(this->Bytes(u"abc"));
    stream.position = 3;
    ComPtr<IEditBuffer> buffer = this->Buffer();
    EXPECT_EQ(buffer->FromStream(&stream, nullptr), S_OK) << "Actual may be null";
    EXPECT_EQ(this->Contents(buffer.Get()), u"abc");

    MemoryStream target("<");
    target.position = 1;
    EXPECT_EQ(buffer->ToStream(0, 1, &target, nullptr), S_OK);
    EXPECT_EQ(buffer->ToStream(1, 3, &target, nullptr), S_OK);
    EXPECT_EQ(target.bytes, "<" + this->Bytes(u"a") + this->Bytes(u"bc")) << "successive calls append";
}

TYPED_TEST(Transfer, AnEmptyRangeWritesNoCharacters) {
    MemoryStream stream;
    ULONG actual = 9;
    EXPECT_EQ(this->Buffer(u"abcd")->ToStream(2, 2, &stream, &actual), S_OK);
    EXPECT_EQ(actual, 0u);
    EXPECT_EQ(stream.bytes, this->Bytes(u"")) << "a 16-bit buffer still writes its mark";
}

TYPED_TEST(Transfer, AnEmptyStreamEmptiesTheBuffer) {
    ComPtr<IEditBuffer> buffer = this->Watched(u"four");
    MemoryStream stream;
    ULONG actual = 9;
    EXPECT_EQ(buffer->FromStream(&stream, &actual), S_OK);
    EXPECT_EQ(actual, 0u);
    EXPECT_EQ(this->Contents(buffer.Get()), u"");
    EXPECT_EQ(this->log.Calls(), (Modifications{{0, 4, 0}}));
}

TYPED_TEST(Transfer, StreamArgumentsMustAnswerIStream) {
    ComPtr<IEditBuffer> buffer = this->Buffer(u"kept");
    ComPtr<IEditBuffer> not_a_stream = this->Buffer();
    ULONG actual = 0;
    EXPECT_EQ(buffer->FromStream(nullptr, &actual), E_INVALIDARG);
    EXPECT_EQ(buffer->FromStream(not_a_stream.Get(), &actual), E_INVALIDARG);
    EXPECT_EQ(buffer->ToStream(0, 1, nullptr, &actual), E_INVALIDARG);
    EXPECT_EQ(buffer->ToStream(0, 1, not_a_stream.Get(), &actual), E_INVALIDARG);
    EXPECT_EQ(this->Contents(buffer.Get()), u"kept");
}

TYPED_TEST(Transfer, AReadLockDoesNotHoldBackAWrite) {
    ComPtr<IEditBuffer> buffer = this->Buffer(u"abc");
    ASSERT_EQ(buffer->LockForRead(), S_OK);
    MemoryStream stream;
    EXPECT_EQ(buffer->ToStream(0, 3, &stream, nullptr), S_OK);
    EXPECT_EQ(buffer->UnlockFromRead(), S_OK);
    EXPECT_EQ(stream.bytes, this->Bytes(u"abc"));
}

// Bad ranges are refused before anything is written or emptied.

TYPED_TEST(Transfer, RangesOutsideTheBufferAreRefused) {
    struct Row {
        LONG from, to;
        HRESULT status;
    };
    const Row rows[] = {{-1, 2, kStartRefused}, {5, 5, kStartRefused}, {3, 2, kEndRefused}, {0, 5, kEndRefused}};
    ComPtr<IEditBuffer> buffer = this->Buffer(u"four");
    const std::string path = this->dir.Path("kept");
    Bstr name(this->dir.Name("kept"));
    WriteBytes(path, "precious");
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.from << ", " << row.to);
        MemoryStream stream;
        ULONG actual = 9;
        EXPECT_EQ(buffer->ToStream(row.from, row.to, &stream, &actual), row.status);
        EXPECT_EQ(actual, 0u);
        EXPECT_EQ(stream.bytes, "") << "not even a mark";
        EXPECT_EQ(buffer->WriteFile(row.from, row.to, name.Get(), file_out, &actual), row.status);
        EXPECT_EQ(ReadBytes(path), "precious");
    }
}

TYPED_TEST(Transfer, AFailedWriteIsReturned) {
    MemoryStream stream;
    stream.write_status = STG_E_MEDIUMFULL;
    ULONG actual = 9;
    EXPECT_EQ(this->Buffer(u"abc")->ToStream(0, 3, &stream, &actual), STG_E_MEDIUMFULL);
    EXPECT_EQ(actual, 0u);
}

// Loads that fail leave the buffer exactly as it was and fire nothing.

TYPED_TEST(Transfer, StreamsThatFailLoseNothing) {
    ComPtr<IEditBuffer> buffer = this->Watched(u"kept");
    ULONG actual = 9;

    MemoryStream unseekable(this->Bytes(u"new"));
    unseekable.seek_status = STG_E_INVALIDFUNCTION;
    EXPECT_EQ(buffer->FromStream(&unseekable, &actual), STG_E_INVALIDFUNCTION);

    MemoryStream unreadable(this->Bytes(u"new"));
    unreadable.read_status = STG_E_READFAULT;
    EXPECT_EQ(buffer->FromStream(&unreadable, &actual), STG_E_READFAULT);

    // A file object whose state has failed cannot stand at its start.
    ComPtr<IFile> failed;
    ASSERT_EQ(CoCreateInstance(CLSID_FileStreamA, nullptr, CLSCTX_ALL, IID_IFile, failed.PutVoid()), S_OK);
    WriteBytes(this->dir.Path("f"), this->Bytes(u"new"));
    Bstr name(this->dir.Name("f"));
    EXPECT_EQ(failed->Close(), S_OK);
    EXPECT_EQ(failed->Open(file_in, name.Get()), kOpenFailed) << "opened, in a failed state";
    EXPECT_EQ(buffer->FromStream(failed.Get(), &actual), E_FAIL);

    EXPECT_EQ(actual, 0u);
    EXPECT_EQ(this->Contents(buffer.Get()), u"kept");
    EXPECT_TRUE(this->log.Calls().empty());
}

TYPED_TEST(Transfer, StreamsLargerThanABufferAreRefused) {
    ComPtr<IEditBuffer> buffer = this->Watched(u"kept");
    const ULONGLONG mark = this->kCharSize == 2 ? 2 : 0;
    for (ULONGLONG size : {mark + 0x80000000ull * this->kCharSize, (1ull << 32) + 10}) {
        MemoryStream huge(this->Bytes(u"small"));
        huge.reported_size = size;
        EXPECT_EQ(buffer->FromStream(&huge, nullptr), kTooLarge) << size << " is not cut to its low 32 bits";
        EXPECT_EQ(huge.reads, 0);
        const ErrorRecord record = TakeErrorRecord();
        EXPECT_EQ(record.description, u"Insuficient memory for operation.");
        EXPECT_EQ(record.help_context, 0xFFFFFFFFu);
    }
    EXPECT_EQ(this->Contents(buffer.Get()), u"kept");
    EXPECT_TRUE(this->log.Calls().empty());
}

TYPED_TEST(Transfer, FilesThatDoNotOpenLoseNothing) {
    ComPtr<IEditBuffer> buffer = this->Watched(u"kept");
    ULONG actual = 9;
    Bstr missing(this->dir.Name("missing"));
    EXPECT_EQ(buffer->LoadFile(missing.Get(), file_in, &actual), kOpenFailed);
    EXPECT_EQ(TakeErrorRecord().source, TypeParam::kFileSource) << "the file object's own report";

    ASSERT_EQ(::mkdir(this->dir.Path("folder").c_str(), 0755), 0);
    Bstr folder(this->dir.Name("folder"));
    EXPECT_EQ(buffer->LoadFile(folder.Get(), file_in, &actual), kOpenFailed);

    Bstr unknown(u"Scrivix.NoSuchFile");
    EXPECT_EQ(buffer->put_FileClass(unknown.Get()), S_OK);
    EXPECT_EQ(buffer->LoadFile(missing.Get(), file_in, &actual), CO_E_CLASSSTRING);
    EXPECT_EQ(buffer->put_FileClass(nullptr), S_OK);
    EXPECT_EQ(buffer->LoadFile(missing.Get(), file_in, &actual), E_INVALIDARG);
    EXPECT_EQ(buffer->WriteFile(0, 1, missing.Get(), file_out, &actual), E_INVALIDARG);

    EXPECT_EQ(actual, 0u);
    EXPECT_EQ(this->Contents(buffer.Get()), u"kept");
    EXPECT_TRUE(this->log.Calls().empty());
}

TYPED_TEST(Transfer, UnreadableFilesDoNotLoad) {
    if (geteuid() == 0) GTEST_SKIP() << "permissions do not stop root";
    WriteBytes(this->dir.Path("locked"), this->Bytes(u"secret"));
    ASSERT_EQ(::chmod(this->dir.Path("locked").c_str(), 0), 0);
    ComPtr<IEditBuffer> buffer = this->Buffer(u"kept");
    Bstr name(this->dir.Name("locked"));
    EXPECT_EQ(buffer->LoadFile(name.Get(), file_in, nullptr), kOpenFailed);
    EXPECT_EQ(this->Contents(buffer.Get()), u"kept");
}

// The layout of each width.

TEST(TransferLayout, EightBitStreamsAreTheCharacters) {
    MemoryStream stream(std::string("\xFF\xFE\0x", 4));
    ComPtr<IEditBuffer> buffer = NewBuffer<NarrowBuffer>();
    ULONG actual = 0;
    EXPECT_EQ(buffer->FromStream(&stream, &actual), S_OK);
    EXPECT_EQ(actual, 4u);
    EXPECT_EQ(Contents<NarrowBuffer>(buffer.Get()), std::u16string(u"\u00FF\u00FE\0x", 4));
}

TEST(TransferLayout, SixteenBitStreamsSkipTheMarkAndDropAnOddByte) {
    struct Row {
        std::string bytes;
        std::u16string text;
        ULONG actual;
    };
    const Row rows[] = {
        {"", u"", 0},
        {"\xFF", u"", 0},
        {"\xFF\xFE", u"", 0},
        {"\xFF\xFE" "A", u"", 1},
        {std::string("ab" "A\0B", 5), u"A", 3},
        {std::string("\xFE\xFF" "\x41\x01\x00\xD8", 6), {u'\u0141', char16_t{0xD800}}, 4},
    };
    for (const Row& row : rows) {
        MemoryStream stream(row.bytes);
        ComPtr<IEditBuffer> buffer = NewBuffer<WideBuffer>(u"old");
        ULONG actual = 9;
        EXPECT_EQ(buffer->FromStream(&stream, &actual), S_OK);
        EXPECT_EQ(actual, row.actual);
        EXPECT_EQ(Contents<WideBuffer>(buffer.Get()), row.text);
    }
}

}  // namespace
}  // namespace scrivix::test
