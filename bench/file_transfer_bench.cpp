// Loading and saving a 256 MiB file through an edit buffer (LoadFile, WriteFile over the library's file
// stream) beside plain read() and write() of the same file, in one run with the page cache warm. A load
// must bring the bytes into memory of its own, so the plain read reads into a new block each time.
#include "platform/bstr.h"
#include "platform/com_ptr.h"

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>

namespace scrivix {
namespace {

constexpr size_t kFileSize = size_t{256} << 20;

// The benchmark's directory with the 256 MiB file, made once and removed at exit.
class BenchFiles {
public:
    BenchFiles() {
        std::string pattern = (std::filesystem::temp_directory_path() / "scrivix-bench-XXXXXX").string();
        if (!mkdtemp(pattern.data())) std::abort();
        root_ = pattern;
        std::string block(1 << 20, '\0');
        for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<char>('a' + i % 26);
        const int fd = ::open(Source().c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        for (size_t done = 0; done < kFileSize; done += block.size())
            if (::write(fd, block.data(), block.size()) != static_cast<ssize_t>(block.size())) std::abort();
        ::close(fd);
    }
    ~BenchFiles() { std::filesystem::remove_all(root_); }

    std::string Source() const { return root_ + "/source"; }
    std::string Target() const { return root_ + "/target"; }
    static std::u16string Wide(const std::string& path) { return std::u16string(path.begin(), path.end()); }

private:
    std::string root_;
};

const BenchFiles& Files() {
    static BenchFiles files;
    return files;
}

ComPtr<IEditBuffer> NewBuffer(const CLSID& clsid) {
    ComPtr<IClassFactory> factory;
    ComPtr<IEditBuffer> buffer;
    if (FAILED(DllGetClassObject(clsid, IID_IClassFactory, factory.PutVoid())) ||
        FAILED(factory->CreateInstance(nullptr, IID_IEditBuffer, buffer.PutVoid())))
        std::abort();
    return buffer;
}

void ReadWhole(const std::string& path, char* block) {
    const int fd = ::open(path.c_str(), O_RDONLY);
    size_t done = 0;
    for (ssize_t got; done < kFileSize && (got = ::read(fd, block + done, kFileSize - done)) > 0;)
        done += static_cast<size_t>(got);
    ::close(fd);
    benchmark::DoNotOptimize(block);
}

void PlainRead(benchmark::State& state) {
    const std::string path = Files().Source();
    for (auto _ : state) ReadWhole(path, std::unique_ptr<char[]>(new char[kFileSize]).get());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kFileSize));
}

// For reference only: memory already in use avoids the page faults that any load into new memory pays.
void PlainReadIntoAUsedBlock(benchmark::State& state) {
    const std::string path = Files().Source();
    const std::unique_ptr<char[]> block(new char[kFileSize]());
    for (auto _ : state) ReadWhole(path, block.get());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kFileSize));
}

void LoadFile(benchmark::State& state, const CLSID& clsid) {
    ComPtr<IEditBuffer> buffer = NewBuffer(clsid);
    Bstr name(BenchFiles::Wide(Files().Source()));
    for (auto _ : state) {
        ULONG actual = 0;
        if (FAILED(buffer->LoadFile(name.Get(), file_in, &actual))) state.SkipWithError("LoadFile failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kFileSize));
}

void PlainWrite(benchmark::State& state) {
    const std::string path = Files().Target();
    const std::unique_ptr<char[]> block(new char[kFileSize]());
    for (auto _ : state) {
        const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        size_t done = 0;
        for (ssize_t put; done < kFileSize && (put = ::write(fd, block.get() + done, kFileSize - done)) > 0;)
            done += static_cast<size_t>(put);
        ::close(fd);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kFileSize));
}

void WriteFile(benchmark::State& state, const CLSID& clsid) {
    ComPtr<IEditBuffer> buffer = NewBuffer(clsid);
    Bstr source(BenchFiles::Wide(Files().Source())), target(BenchFiles::Wide(Files().Target()));
    ULONG actual = 0;
    buffer->LoadFile(source.Get(), file_in, &actual);
    SHORT char_size = 1;
    buffer->CharSize(&char_size);
    const LONG length = static_cast<LONG>(kFileSize / char_size - (char_size == 2 ? 1 : 0));
    for (auto _ : state) {
        if (FAILED(buffer->WriteFile(0, length, target.Get(), file_out, &actual)))
            state.SkipWithError("WriteFile failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kFileSize));
}

BENCHMARK(PlainRead)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(PlainReadIntoAUsedBlock)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(LoadFile, EditBufferA, CLSID_EditBufferA)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(LoadFile, EditBufferU, CLSID_EditBufferU)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(PlainWrite)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(WriteFile, EditBufferA, CLSID_EditBufferA)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(WriteFile, EditBufferU, CLSID_EditBufferU)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace scrivix
