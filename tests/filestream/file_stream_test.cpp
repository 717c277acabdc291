// The file stream on real files: its interfaces, every open mode, the name, reading past the end and
// positioning, the stream state that accumulates, and the error records of Open. Every case runs for
// FileStreamA and FileStreamU, which differ only in their class identity.
#include "platform/bstr.h"
#include "platform/com_ptr.h"
#include "support/error_record.h"
#include "support/memory_stream.h"
#include "support/temp_dir.h"
#include "support/test_support.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <string>

namespace scrivix {
namespace {

constexpr HRESULT kAlreadyOpen = static_cast<HRESULT>(0x80042714u);
constexpr HRESULT kCouldNotOpen = static_cast<HRESULT>(0x80042715u);

struct FileClass {
    const CLSID* clsid;
    const char16_t* source;  // the ProgID its error records carry
};

class FileStreamTest : public ::testing::TestWithParam<FileClass> {
protected:
    void TearDown() override { EXPECT_EQ(test::LiveObjects(), 0); }

    ComPtr<IFile> NewFile() {
        ComPtr<IFile> file;
        EXPECT_EQ(CoCreateInstance(*GetParam().clsid, nullptr, CLSCTX_ALL, IID_IFile, file.PutVoid()), S_OK);
        return file;
    }
    // A new file object opened on `name` in `mode`; the status of Open goes to `status`.
    ComPtr<IFile> Opened(const std::string& name, SHORT mode, HRESULT* status = nullptr) {
        ComPtr<IFile> file = NewFile();
        Bstr path(dir.Name(name));
        const HRESULT hr = file->Open(mode, path.Get());
        if (status) *status = hr;
        return file;
    }
    static std::string ReadAll(IFile* file, ULONG count = 64) {
        std::string bytes(count, '\0');
        ULONG read = 0;
        EXPECT_EQ(file->Read(bytes.data(), count, &read), S_OK);
        bytes.resize(read);
        return bytes;
    }
    static void WriteAll(IFile* file, const std::string& bytes) {
        ULONG written = 0;
        EXPECT_EQ(file->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written), S_OK);
        EXPECT_EQ(written, bytes.size());
    }
    static ULONGLONG SeekTo(IFile* file, LONGLONG offset, DWORD origin) {
        LARGE_INTEGER move{};
        move.QuadPart = offset;
        ULARGE_INTEGER position{};
        EXPECT_EQ(file->Seek(move, origin, &position), S_OK);
        return position.QuadPart;
    }

    test::TempDir dir;
};

INSTANTIATE_TEST_SUITE_P(BothClasses, FileStreamTest,
                         ::testing::Values(FileClass{&CLSID_FileStreamA, u"Scrivix.FileStreamA.1"},
                                           FileClass{&CLSID_FileStreamU, u"Scrivix.FileStreamU.1"}),
                         [](const auto& info) { return info.index == 0 ? "A" : "U"; });

// Interfaces.

TEST_P(FileStreamTest, InterfacesAndWhatIsNotImplemented) {
    ComPtr<IFile> file = NewFile();
    ComPtr<IStream> stream;
    ASSERT_EQ(file.As(stream), S_OK);
    EXPECT_EQ(static_cast<IStream*>(file.Get()), stream.Get()) << "IStream and IFile are one table";
    ComPtr<ISupportErrorInfo> errors;
    ASSERT_EQ(file.As(errors), S_OK);
    EXPECT_EQ(errors->InterfaceSupportsErrorInfo(IID_IFile), S_OK);
    EXPECT_EQ(errors->InterfaceSupportsErrorInfo(IID_IStream), S_FALSE);
    ComPtr<IUnknown> none;
    EXPECT_EQ(file->QueryInterface(IID_ISequentialStream, none.PutVoid()), E_NOINTERFACE);
    EXPECT_EQ(file->QueryInterface(IID_IDispatch, none.PutVoid()), E_NOINTERFACE);

    const ULARGE_INTEGER zero{};
    EXPECT_EQ(file->SetSize(zero), E_NOTIMPL);
    EXPECT_EQ(file->Revert(), E_NOTIMPL);
    EXPECT_EQ(file->LockRegion(zero, zero, 0), E_NOTIMPL);
    EXPECT_EQ(file->UnlockRegion(zero, zero, 0), E_NOTIMPL);
    IStream* clone = reinterpret_cast<IStream*>(1);
    EXPECT_EQ(file->Clone(&clone), E_NOTIMPL);
    EXPECT_EQ(clone, nullptr);
}

// Open modes. Each row opens an existing file holding "abc" once to read and once to write "XY".

struct ModeRow {
    SHORT mode;
    const char* read;     // what a read from the start of the open gives
    const char* written;  // the file after writing "XY"
    bool creates;         // opens a file that does not exist
};

TEST_P(FileStreamTest, EveryAcceptedMode) {
    const ModeRow rows[] = {
        {file_in, "abc", "abc", false},
        {file_out, "", "XY", true},
        {file_out | file_trunc, "", "XY", true},
        {file_out | file_app, "", "abcXY", true},
        {file_in | file_binary, "abc", "abc", false},
        {file_out | file_binary, "", "XY", true},
        {file_out | file_trunc | file_binary, "", "XY", true},
        {file_out | file_app | file_binary, "", "abcXY", true},
        {file_in | file_out, "abc", "XYc", false},
        {file_in | file_out | file_trunc, "", "XY", true},
        {file_in | file_out | file_app, "abc", "abcXY", true},
        {file_in | file_out | file_binary, "abc", "XYc", false},
        {file_in | file_out | file_trunc | file_binary, "", "XY", true},
        {file_in | file_out | file_app | file_binary, "abc", "abcXY", true},
        // file_ate: positioned at the end after opening.
        {file_in | file_ate, "", "abc", false},
        {file_in | file_out | file_ate, "", "abcXY", false},
        {file_in | file_out | file_trunc | file_ate, "", "XY", true},
    };
    for (const ModeRow& row : rows) {
        SCOPED_TRACE(row.mode);
        const std::string path = dir.Path("f");
        test::WriteBytes(path, "abc");
        HRESULT hr = E_FAIL;
        EXPECT_EQ(ReadAll(Opened("f", row.mode, &hr).Get()), row.read);
        EXPECT_EQ(hr, S_OK);

        test::WriteBytes(path, "abc");
        WriteAll(Opened("f", row.mode, &hr).Get(), "XY");
        EXPECT_EQ(hr, S_OK);
        EXPECT_EQ(test::ReadBytes(path), row.written) << "released objects close their files";

        ::unlink(path.c_str());
        Opened("f", row.mode, &hr);
        EXPECT_EQ(hr, row.creates ? S_OK : kCouldNotOpen);
        EXPECT_EQ(::access(path.c_str(), F_OK) == 0, row.creates);
    }
}

TEST_P(FileStreamTest, ModesOutsideTheTableFail) {
    const SHORT modes[] = {0,  file_ate, file_app, file_trunc, file_binary, file_in | file_trunc, file_in | file_app,
                           file_out | file_app | file_trunc, 64, file_in | 64, -1};
    for (SHORT mode : modes) {
        SCOPED_TRACE(mode);
        HRESULT hr = S_OK;
        Opened("never", mode, &hr);
        EXPECT_EQ(hr, kCouldNotOpen);
        EXPECT_NE(::access(dir.Path("never").c_str(), F_OK), 0) << "no file made";
    }
}

// Open and its failures.

TEST_P(FileStreamTest, MissingFileWithTheDefaultModeReportsAndOut2CreatesIt) {
    HRESULT hr = S_OK;
    Opened("new", file_in | file_out, &hr);
    EXPECT_EQ(hr, kCouldNotOpen);
    const test::ErrorRecord record = test::TakeErrorRecord();
    EXPECT_EQ(record.source, GetParam().source);
    EXPECT_EQ(record.description, u"Could not open specified file.");
    EXPECT_EQ(record.guid, IID_IFile);
    EXPECT_EQ(record.help_context, 81u);

    Opened("new", file_out, &hr);
    EXPECT_EQ(hr, S_OK);
}

TEST_P(FileStreamTest, ASecondOpenReportsAndTheFirstFileStaysOpen) {
    ComPtr<IFile> file = Opened("first", file_out);
    Bstr other(dir.Name("second"));
    EXPECT_EQ(file->Open(file_out, other.Get()), kAlreadyOpen);
    EXPECT_EQ(test::TakeErrorRecord().description, u"File is already open.");
    WriteAll(file.Get(), "kept");
    file = nullptr;
    EXPECT_EQ(test::ReadBytes(dir.Path("first")), "kept");
    EXPECT_NE(::access(dir.Path("second").c_str(), F_OK), 0);
}

TEST_P(FileStreamTest, DirectoriesAndUnreadableFilesDoNotOpen) {
    ASSERT_EQ(::mkdir(dir.Path("folder").c_str(), 0755), 0);
    for (SHORT mode : {SHORT{file_in}, SHORT{file_in | file_out}, SHORT{file_out}}) {
        HRESULT hr = S_OK;
        Opened("folder", mode, &hr);
        EXPECT_EQ(hr, kCouldNotOpen) << mode;
    }
    if (geteuid() == 0) GTEST_SKIP() << "permissions do not stop root";
    test::WriteBytes(dir.Path("locked"), "secret");
    ASSERT_EQ(::chmod(dir.Path("locked").c_str(), 0), 0);
    HRESULT hr = S_OK;
    Opened("locked", file_in, &hr);
    EXPECT_EQ(hr, kCouldNotOpen);
}

// The name.

TEST_P(FileStreamTest, TheStoredNameAndTheNameOfOpen) {
    ComPtr<IFile> file = NewFile();
    Bstr name(u"stale");
    EXPECT_EQ(file->get_Name(name.Put()), S_OK);
    EXPECT_TRUE(name.IsNull()) << "no name is a null string";
    EXPECT_EQ(file->Open(file_in, nullptr), kCouldNotOpen) << "nothing to open";

    test::WriteBytes(dir.Path("one"), "1");
    test::WriteBytes(dir.Path("two"), "2");
    file = NewFile();
    Bstr one(dir.Name("one")), two(dir.Name("two")), empty(u"");
    EXPECT_EQ(file->put_Name(one.Get()), S_OK);
    EXPECT_EQ(file->Open(file_in, empty.Get()), S_OK) << "an empty name keeps the stored one";
    EXPECT_EQ(ReadAll(file.Get()), "1");

    file = NewFile();
    EXPECT_EQ(file->put_Name(one.Get()), S_OK);
    EXPECT_EQ(file->Open(file_in, two.Get()), S_OK);
    EXPECT_EQ(ReadAll(file.Get()), "2");
    EXPECT_EQ(file->get_Name(name.Put()), S_OK);
    EXPECT_EQ(name.View(), two.View());
    EXPECT_EQ(file->put_Name(one.Get()), S_OK) << "renaming does not touch the open file";
    EXPECT_EQ(file->get_Name(name.Put()), S_OK);
    EXPECT_EQ(name.View(), one.View());
}

TEST_P(FileStreamTest, NamesGoToTheSystemAsUtf8) {
    Bstr name(dir.Name("") + u"\u00E9t\u00E9 \u03A9.txt");
    ComPtr<IFile> file = NewFile();
    ASSERT_EQ(file->Open(file_out, name.Get()), S_OK);
    file = nullptr;
    EXPECT_EQ(::access(dir.Path("\xC3\xA9t\xC3\xA9 \xCE\xA9.txt").c_str(), F_OK), 0);
}

// Reading, writing and positioning.

TEST_P(FileStreamTest, ReadingPastTheEnd) {
    test::WriteBytes(dir.Path("f"), "hello");
    ComPtr<IFile> file = Opened("f", file_in);
    EXPECT_EQ(ReadAll(file.Get(), 3), "hel");
    EXPECT_EQ(ReadAll(file.Get(), 10), "lo");
    EXPECT_EQ(ReadAll(file.Get(), 1), "");
    EXPECT_EQ(SeekTo(file.Get(), 0, seek_beg), 0xFFFFFFFFu) << "the short read failed the stream";
    EXPECT_EQ(ReadAll(file.Get(), 1), "") << "and nothing clears that";
}

TEST_P(FileStreamTest, SeekMovesByTheLow32BitsOfTheOffset) {
    test::WriteBytes(dir.Path("f"), "0123456789");
    ComPtr<IFile> file = Opened("f", file_in);
    EXPECT_EQ(SeekTo(file.Get(), 2, seek_beg), 2u);
    EXPECT_EQ(SeekTo(file.Get(), 3, seek_cur), 8u) << "get and put are one position: it moves twice";
    EXPECT_EQ(SeekTo(file.Get(), -2, seek_cur), 4u);
    EXPECT_EQ(SeekTo(file.Get(), -1, seek_end), 9u);
    EXPECT_EQ(SeekTo(file.Get(), 4, 3), 9u) << "an unknown origin moves nothing";
    EXPECT_EQ(SeekTo(file.Get(), 0x100000004LL, seek_beg), 4u);
    EXPECT_EQ(ReadAll(file.Get(), 2), "45");
    EXPECT_EQ(SeekTo(file.Get(), -1, seek_beg), 0xFFFFFFFFu) << "before the start fails";
    EXPECT_EQ(SeekTo(file.Get(), 0, seek_beg), 0xFFFFFFFFu) << "for good";
}

TEST_P(FileStreamTest, BytesGoOutAsTheyAre) {
    const std::string bytes("\xFF\xFE\0A\r\n\x80", 7);
    ComPtr<IFile> file = Opened("f", file_out);
    WriteAll(file.Get(), bytes);
    EXPECT_EQ(file->Commit(0), S_OK);
    EXPECT_EQ(test::ReadBytes(dir.Path("f")), bytes) << "committed";
    file = nullptr;
    EXPECT_EQ(ReadAll(Opened("f", file_in).Get()), bytes);
}

TEST_P(FileStreamTest, AFailedWriteReportsTheCountAskedAndMarksTheStream) {
    test::WriteBytes(dir.Path("f"), "abc");
    ComPtr<IFile> file = Opened("f", file_in);
    WriteAll(file.Get(), "XY");
    EXPECT_EQ(SeekTo(file.Get(), 0, seek_cur), 0xFFFFFFFFu) << "a bad stream does not move";
    EXPECT_EQ(ReadAll(file.Get()), "") << "nor read";
    EXPECT_EQ(test::ReadBytes(dir.Path("f")), "abc");
}

// Close and the state left by earlier failures.

// A Close with no file open leaves the stream failed: the next Open reports, though the file opens. A
// short read also fails the stream, and a reopen after Close then succeeds but reads nothing. Only a
// stream closed in a good state reopens cleanly, on the stored name.
TEST_P(FileStreamTest, CloseAndTheStateLeftByEarlierFailures) {
    test::WriteBytes(dir.Path("f"), "abc");
    Bstr name(dir.Name("f")), empty(u"");
    ComPtr<IFile> file = NewFile();
    EXPECT_EQ(file->Close(), S_OK);
    EXPECT_EQ(file->Open(file_in, name.Get()), kCouldNotOpen);
    EXPECT_EQ(file->Open(file_in, name.Get()), kAlreadyOpen) << "the file did open";

    file = Opened("f", file_in);
    EXPECT_EQ(ReadAll(file.Get(), 5), "abc");
    EXPECT_EQ(file->Close(), S_OK);
    EXPECT_EQ(file->Open(file_in, name.Get()), S_OK);
    EXPECT_EQ(ReadAll(file.Get()), "");

    file = Opened("g", file_out);
    WriteAll(file.Get(), "one");
    EXPECT_EQ(file->Close(), S_OK);
    EXPECT_EQ(file->Open(file_in, empty.Get()), S_OK);
    EXPECT_EQ(ReadAll(file.Get(), 3), "one");
}

// CopyTo and Stat.

TEST_P(FileStreamTest, CopyToHandsTheRestOfTheFileToTheTarget) {
    test::WriteBytes(dir.Path("f"), "0123456789");
    ComPtr<IFile> file = Opened("f", file_in);
    ULARGE_INTEGER count{}, read{}, written{};
    count.QuadPart = 100;
    EXPECT_EQ(file->CopyTo(nullptr, count, &read, &written), E_INVALIDARG);

    SeekTo(file.Get(), 3, seek_beg);
    test::MemoryStream target;
    count.QuadPart = 4;
    EXPECT_EQ(file->CopyTo(&target, count, &read, &written), S_OK);
    EXPECT_EQ(target.bytes, "3456");
    EXPECT_EQ(read.QuadPart, 4u);
    EXPECT_EQ(written.QuadPart, 4u);
    count.QuadPart = 100;
    EXPECT_EQ(file->CopyTo(&target, count, &read, &written), S_OK);
    EXPECT_EQ(target.bytes, "3456789");
    EXPECT_EQ(read.QuadPart, 3u);

    test::MemoryStream failing;
    failing.write_status = STG_E_MEDIUMFULL;
    SeekTo(file.Get(), 0, seek_beg);
    EXPECT_EQ(file->CopyTo(&failing, count, &read, &written), S_OK) << "the counts tell how far it got";
    EXPECT_EQ(written.QuadPart, 0u);
}

TEST_P(FileStreamTest, StatGivesTheNameButNoSize) {
    ComPtr<IFile> file = Opened("f", file_out);
    WriteAll(file.Get(), "four");
    STATSTG stat;
    std::memset(&stat, 0xAB, sizeof stat);
    ASSERT_EQ(file->Stat(&stat, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(std::u16string(stat.pwcsName), dir.Name("f")) << "the flag is not looked at";
    CoTaskMemFree(stat.pwcsName);
    EXPECT_EQ(stat.type, 0u);
    EXPECT_EQ(stat.cbSize.u.HighPart, 0u);
    EXPECT_EQ(stat.cbSize.u.LowPart, 0xABABABABu) << "no size";
    EXPECT_EQ(stat.clsid, GUID_NULL);
    EXPECT_EQ(stat.grfStateBits, 0x201u);

    ASSERT_EQ(NewFile()->Stat(&stat, 0), S_OK);
    EXPECT_EQ(std::u16string(stat.pwcsName), u"");
    CoTaskMemFree(stat.pwcsName);
}

}  // namespace
}  // namespace scrivix
