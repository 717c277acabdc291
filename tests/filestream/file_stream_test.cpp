// The file stream on real files, for FileStreamA and FileStreamU (which differ only in their class
// identity): its interfaces, every open mode, Open's failures and their records, the name, reading, writing
// and positioning, the stream state that accumulates, CopyTo and Stat.
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
#include <tuple>

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
    // A new file object opened on `name` in `mode`; Open must succeed unless its status is asked for.
    ComPtr<IFile> Opened(const std::string& name, SHORT mode, HRESULT* status = nullptr) {
        ComPtr<IFile> file = NewFile();
        const HRESULT hr = file->Open(mode, Bstr(dir.Name(name)).Get());
        if (status) *status = hr;
        else EXPECT_EQ(hr, S_OK) << name;
        return file;
    }
    bool Exists(const std::string& name) const { return ::access(dir.Path(name).c_str(), F_OK) == 0; }
    static std::string ReadAll(IFile* file, ULONG count = 64) {
        std::string bytes(count, '\0');
        ULONG read = 0;
        EXPECT_EQ(file->Read(bytes.data(), count, &read), S_OK);
        return bytes.substr(0, read);
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
    static Bstr NameOf(IFile* file) {
        Bstr name(u"stale");
        EXPECT_EQ(file->get_Name(name.Put()), S_OK);
        return name;
    }

    test::TempDir dir;
};

INSTANTIATE_TEST_SUITE_P(BothClasses, FileStreamTest,
                         ::testing::Values(FileClass{&CLSID_FileStreamA, u"Scrivix.FileStreamA.1"},
                                           FileClass{&CLSID_FileStreamU, u"Scrivix.FileStreamU.1"}),
                         [](const auto& info) { return info.index == 0 ? "A" : "U"; });

TEST_P(FileStreamTest, InterfacesAndWhatIsNotImplemented) {
    ComPtr<IFile> file = NewFile();
    EXPECT_EQ(static_cast<IStream*>(file.Get()), file.As<IStream>().Get()) << "IStream and IFile are one table";
    const auto errors = file.As<ISupportErrorInfo>();
    ASSERT_TRUE(errors);
    EXPECT_EQ(errors->InterfaceSupportsErrorInfo(IID_IFile), S_OK);
    EXPECT_EQ(errors->InterfaceSupportsErrorInfo(IID_IStream), S_FALSE);
    ComPtr<IUnknown> none;
    EXPECT_EQ(file->QueryInterface(IID_ISequentialStream, none.PutVoid()), E_NOINTERFACE);
    EXPECT_EQ(file->QueryInterface(IID_IDispatch, none.PutVoid()), E_NOINTERFACE);

    const ULARGE_INTEGER zero{};
    IStream* clone = reinterpret_cast<IStream*>(1);
    for (const HRESULT hr : {file->SetSize(zero), file->Revert(), file->LockRegion(zero, zero, 0),
                             file->UnlockRegion(zero, zero, 0), file->Clone(&clone)}) {
        EXPECT_EQ(hr, E_NOTIMPL);
    }
    EXPECT_EQ(clone, nullptr);
}

// Each accepted mode opens an existing file holding "abc" once to read and once to write "XY"; every other
// mode fails and makes no file.
TEST_P(FileStreamTest, OpenModes) {
    const struct {
        SHORT mode;
        const char* read = nullptr;  // what a read from the start of the open gives; null: the mode is refused
        const char* written = nullptr;  // the file after writing "XY"
        bool creates = false;           // opens a file that does not exist
    } rows[] = {
        {file_in, "abc", "abc"}, {file_in | file_binary, "abc", "abc"},
        {file_out, "", "XY", true}, {file_out | file_binary, "", "XY", true},
        {file_out | file_trunc, "", "XY", true}, {file_out | file_trunc | file_binary, "", "XY", true},
        {file_out | file_app, "", "abcXY", true}, {file_out | file_app | file_binary, "", "abcXY", true},
        {file_in | file_out, "abc", "XYc"}, {file_in | file_out | file_binary, "abc", "XYc"},
        {file_in | file_out | file_trunc, "", "XY", true},
        {file_in | file_out | file_trunc | file_binary, "", "XY", true},
        {file_in | file_out | file_app, "abc", "abcXY", true},
        {file_in | file_out | file_app | file_binary, "abc", "abcXY", true},
        // file_ate: positioned at the end after opening.
        {file_in | file_ate, "", "abc"}, {file_in | file_out | file_ate, "", "abcXY"},
        {file_in | file_out | file_trunc | file_ate, "", "XY", true},
        // Refused.
        {0}, {file_ate}, {file_app}, {file_trunc}, {file_binary}, {file_in | file_trunc}, {file_in | file_app},
        {file_out | file_app | file_trunc}, {64}, {file_in | 64}, {-1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.mode);
        const std::string path = dir.Path("f");
        HRESULT hr = E_FAIL;
        if (row.read) {
            test::WriteBytes(path, "abc");
            EXPECT_EQ(ReadAll(Opened("f", row.mode).Get()), row.read);
            test::WriteBytes(path, "abc");
            WriteAll(Opened("f", row.mode).Get(), "XY");
            EXPECT_EQ(test::ReadBytes(path), row.written) << "released objects close their files";
            ::unlink(path.c_str());
        }
        Opened("f", row.mode, &hr);
        EXPECT_EQ(hr, row.creates ? S_OK : kCouldNotOpen);
        EXPECT_EQ(Exists("f"), row.creates);
        ::unlink(path.c_str());
    }
}

TEST_P(FileStreamTest, OpenFailuresReport) {
    HRESULT hr = S_OK;
    Opened("new", file_in | file_out, &hr);
    EXPECT_EQ(hr, kCouldNotOpen) << "the default mode needs the file";
    const test::ErrorRecord record = test::TakeErrorRecord();
    EXPECT_EQ(std::tie(record.source, record.description, record.guid, record.help_context),
              std::tuple(GetParam().source, u"Could not open specified file.", IID_IFile, 81u));
    EXPECT_EQ(NewFile()->Open(file_in, nullptr), kCouldNotOpen) << "nothing to open";
    ASSERT_EQ(::mkdir(dir.Path("folder").c_str(), 0755), 0);
    for (SHORT mode : {SHORT{file_in}, SHORT{file_in | file_out}, SHORT{file_out}}) {
        Opened("folder", mode, &hr);
        EXPECT_EQ(hr, kCouldNotOpen) << "a directory, mode " << mode;
    }

    // A second Open reports, and the first file stays open.
    ComPtr<IFile> file = Opened("first", file_out);
    EXPECT_EQ(file->Open(file_out, Bstr(dir.Name("second")).Get()), kAlreadyOpen);
    EXPECT_EQ(test::TakeErrorRecord().description, u"File is already open.");
    WriteAll(file.Get(), "kept");
    file = nullptr;
    EXPECT_EQ(test::ReadBytes(dir.Path("first")), "kept");
    EXPECT_FALSE(Exists("second"));
}

TEST_P(FileStreamTest, UnreadableFilesDoNotOpen) {
    if (geteuid() == 0) GTEST_SKIP() << "permissions do not stop root";
    test::WriteBytes(dir.Path("locked"), "secret");
    ASSERT_EQ(::chmod(dir.Path("locked").c_str(), 0), 0);
    HRESULT hr = S_OK;
    Opened("locked", file_in, &hr);
    EXPECT_EQ(hr, kCouldNotOpen);
}

TEST_P(FileStreamTest, TheStoredNameAndTheNameOfOpen) {
    ComPtr<IFile> file = NewFile();
    EXPECT_TRUE(NameOf(file.Get()).IsNull()) << "no name is a null string";
    test::WriteBytes(dir.Path("one"), "1");
    test::WriteBytes(dir.Path("two"), "2");
    Bstr one(dir.Name("one")), two(dir.Name("two")), empty(u"");
    EXPECT_EQ(file->put_Name(one.Get()), S_OK);
    EXPECT_EQ(file->Open(file_in, empty.Get()), S_OK) << "an empty name keeps the stored one";
    EXPECT_EQ(ReadAll(file.Get()), "1");

    file = NewFile();
    EXPECT_EQ(file->put_Name(one.Get()), S_OK);
    EXPECT_EQ(file->Open(file_in, two.Get()), S_OK);
    EXPECT_EQ(ReadAll(file.Get()), "2");
    EXPECT_EQ(NameOf(file.Get()).View(), two.View());
    EXPECT_EQ(file->put_Name(one.Get()), S_OK) << "renaming does not touch the open file";
    EXPECT_EQ(NameOf(file.Get()).View(), one.View());

    // Names go to the system as UTF-8.
    ComPtr<IFile> accented = NewFile();
    ASSERT_EQ(accented->Open(file_out, Bstr(dir.Name("") + u"\u00E9t\u00E9 \u03A9.txt").Get()), S_OK);
    accented = nullptr;
    EXPECT_TRUE(Exists("\xC3\xA9t\xC3\xA9 \xCE\xA9.txt"));
}

// Seek moves by the low 32 bits of the offset. Reading past the end, or seeking before the start, fails
// the stream for good.
TEST_P(FileStreamTest, ReadingAndSeeking) {
    test::WriteBytes(dir.Path("f"), "0123456789");
    ComPtr<IFile> file = Opened("f", file_in);
    EXPECT_EQ(SeekTo(file.Get(), 2, seek_beg), 2u);
    EXPECT_EQ(SeekTo(file.Get(), 3, seek_cur), 8u) << "get and put are one position: it moves twice";
    EXPECT_EQ(SeekTo(file.Get(), -2, seek_cur), 4u);
    EXPECT_EQ(SeekTo(file.Get(), -1, seek_end), 9u);
    EXPECT_EQ(SeekTo(file.Get(), 4, 3), 9u) << "an unknown origin moves nothing";
    EXPECT_EQ(SeekTo(file.Get(), 0x100000004LL, seek_beg), 4u);
    EXPECT_EQ(ReadAll(file.Get(), 10), "456789");
    EXPECT_EQ(ReadAll(file.Get(), 1), "");
    EXPECT_EQ(SeekTo(file.Get(), 0, seek_beg), 0xFFFFFFFFu) << "the short read failed the stream";
    EXPECT_EQ(ReadAll(file.Get(), 1), "") << "and nothing clears that";

    file = Opened("f", file_in);
    EXPECT_EQ(SeekTo(file.Get(), -1, seek_beg), 0xFFFFFFFFu) << "before the start fails";
    EXPECT_EQ(SeekTo(file.Get(), 0, seek_beg), 0xFFFFFFFFu) << "for good";
}

TEST_P(FileStreamTest, BytesGoOutAsTheyAreAndAFailedWriteMarksTheStream) {
    const std::string bytes("\xFF\xFE\0A\r\n\x80", 7);
    ComPtr<IFile> file = Opened("f", file_out);
    WriteAll(file.Get(), bytes);
    EXPECT_EQ(file->Commit(0), S_OK);
    EXPECT_EQ(test::ReadBytes(dir.Path("f")), bytes) << "committed";
    file = nullptr;
    EXPECT_EQ(ReadAll(Opened("f", file_in).Get()), bytes);

    // Writing to a file opened for reading reports the count asked.
    file = Opened("f", file_in);
    WriteAll(file.Get(), "XY");
    EXPECT_EQ(SeekTo(file.Get(), 0, seek_cur), 0xFFFFFFFFu) << "a bad stream does not move";
    EXPECT_EQ(ReadAll(file.Get()), "") << "nor read";
    EXPECT_EQ(test::ReadBytes(dir.Path("f")), bytes);
}

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

TEST_P(FileStreamTest, CopyToHandsTheRestOfTheFileToTheTarget) {
    test::WriteBytes(dir.Path("f"), "0123456789");
    ComPtr<IFile> file = Opened("f", file_in);
    ULARGE_INTEGER read{}, written{};
    const auto copy = [&](IStream* target, ULONGLONG count) {
        return file->CopyTo(target, ULARGE_INTEGER{.QuadPart = count}, &read, &written);
    };
    EXPECT_EQ(copy(nullptr, 100), E_INVALIDARG);
    SeekTo(file.Get(), 3, seek_beg);
    test::MemoryStream target, failing;
    EXPECT_EQ(copy(&target, 4), S_OK);
    EXPECT_EQ(std::tuple(target.bytes, read.QuadPart, written.QuadPart), std::tuple("3456", 4u, 4u));
    EXPECT_EQ(copy(&target, 100), S_OK);
    EXPECT_EQ(std::tuple(target.bytes, read.QuadPart), std::tuple("3456789", 3u));

    failing.write_status = STG_E_MEDIUMFULL;
    SeekTo(file.Get(), 0, seek_beg);
    EXPECT_EQ(copy(&failing, 100), S_OK) << "the counts tell how far it got";
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
    EXPECT_EQ(std::tuple(stat.type, stat.cbSize.u.HighPart, stat.cbSize.u.LowPart, stat.grfStateBits),
              std::tuple(0u, 0u, 0xABABABABu, 0x201u)) << "no size";
    EXPECT_EQ(stat.clsid, GUID_NULL);

    ASSERT_EQ(NewFile()->Stat(&stat, 0), S_OK);
    EXPECT_EQ(std::u16string(stat.pwcsName), u"");
    CoTaskMemFree(stat.pwcsName);
}

}  // namespace
}  // namespace scrivix
