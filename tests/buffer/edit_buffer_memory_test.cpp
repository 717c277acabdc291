// Edits that cannot get memory: each reports "Insuficient memory for operation." (10007), leaves the text
// as it was, fires nothing and leaves the write exclusion. The allocation fails for real: a child process
// caps its own address space just above what it uses, then asks the buffer to grow beyond the cap. (The
// other road to 10007, a buffer past 2^31 - 1 characters, needs 2 GiB and shares the failure path.)
#include "buffer_fixture.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

// The sanitizer runtimes end the process on a failed allocation unless told to return null as the C
// library does; the child needs the failure to reach the buffer.
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }
extern "C" const char* __tsan_default_options() { return "allocator_may_return_null=1"; }

namespace scrivix::test {
namespace {

// Limits the process's address space to what it uses now plus `headroom` bytes.
bool CapAddressSpace(size_t headroom) {
    std::ifstream statm("/proc/self/statm");
    size_t pages = 0;
    rlimit limit{};
    if (!(statm >> pages) || getrlimit(RLIMIT_AS, &limit) != 0) return false;
    limit.rlim_cur = pages * static_cast<size_t>(sysconf(_SC_PAGESIZE)) + headroom;
    return setrlimit(RLIMIT_AS, &limit) == 0;
}

// Runs in the child, where a failed EXPECT would not reach the parent: returns what went wrong.
template <class W>
std::string EditsWithoutMemory() {
    std::ostringstream wrong;
    const auto check = [&](bool ok, const char* what) { wrong << (ok ? "" : what); };
    constexpr size_t kHeld = 8 << 20;  // characters in the buffer, with no room to spare
    RecordingSink sink;
    auto buffer = NewBuffer<W>();
    std::string bytes(2 * kHeld, 'b');
    check(buffer->ASCIIText(reinterpret_cast<unsigned char*>(bytes.data()), kHeld) == S_OK, "fill\n");
    const Bstr units(std::u16string(2 * kHeld, u'u'));
    Connect(buffer.Get(), &sink);
    check(CapAddressSpace(1 << 20), "cap the address space\n");

    const std::pair<const char*, std::function<HRESULT()>> edits[] = {
        {"Replace", [&] { return buffer->Replace(kHeld / 2, 0, Bstr(u"grow").Get()); }},
        {"Text", [&] { return buffer->Text(units.Get()); }},
        {"ASCIIText", [&] { return buffer->ASCIIText(reinterpret_cast<unsigned char*>(bytes.data()), 2 * kHeld); }},
    };
    for (const auto& [name, edit] : edits) {
        const HRESULT result = edit();
        const ErrorRecord record = TakeErrorRecord();
        if (result != Failure(10007)) wrong << name << " returned " << std::hex << result << "\n";
        check(record.description == u"Insuficient memory for operation." && record.help_context == 0xFFFFFFFF &&
                  record.help_file == u"Scrivix.chm" && record.source == W::kSource && record.guid == IID_IEditBuffer,
              "the error record\n");
        // Read in place: a copy would need memory.
        void *begin = nullptr, *end = nullptr;
        buffer->get_Begin(&begin);
        buffer->get_End(&end);
        using Char = typename W::Char;
        check(LengthOf(buffer.Get()) == static_cast<LONG>(kHeld) &&
                  std::all_of(static_cast<Char*>(begin), static_cast<Char*>(end), [](Char c) { return c == 'b'; }),
              "the text is unchanged\n");
    }
    check(sink.Calls().empty(), "no event\n");
    // The exclusion was left: readers and a writer that needs no memory get in.
    check(buffer->LockForRead() == S_OK && buffer->UnlockFromRead() == S_OK, "read lock\n");
    check(buffer->Replace(0, 4, Bstr(u"edit").Get()) == S_OK, "a later edit\n");
    check(sink.Calls() == Modifications{{0, 4, 4}}, "its event\n");
    buffer = nullptr;
    return wrong.str();
}

template <class W>
class EditBufferMemoryTest : public ::testing::Test {};
TYPED_TEST_SUITE(EditBufferMemoryTest, BufferWidths);

TYPED_TEST(EditBufferMemoryTest, AnEditWithoutMemoryChangesNothing) {
    // The child is started afresh, so that it holds no memory that a failed allocation could reuse.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            const std::string wrong = EditsWithoutMemory<TypeParam>();
            std::fputs(wrong.c_str(), stderr);
            std::_Exit(wrong.empty() ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace scrivix::test
