// The edit buffer against its floor. A Replace of 10 characters in the middle of a 64 MiB buffer (an
// insert, then a delete, so that the size stays steady) moves the tail twice; beside it runs a plain
// memmove of the same tail there and back. Also the cost of an uncontended read lock taken and released.
#include "buffer/edit_buffer.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

namespace scrivix {
namespace {

constexpr size_t kBufferBytes = size_t{64} << 20;
constexpr LONG kEdit = 10;

template <class Char>
constexpr LONG kLength = static_cast<LONG>(kBufferBytes / sizeof(Char));
template <class Char>
constexpr size_t kTailBytes = (kLength<Char> - kLength<Char> / 2) * sizeof(Char);

template <class Buffer>
ComPtr<IEditBuffer> FullBuffer() {
    using Char = typename Buffer::Char;
    ComPtr<IEditBuffer> buffer;
    MakeObject<Buffer>(buffer);
    buffer->Text(Bstr(std::u16string(kLength<Char>, u'x')).Get());
    return buffer;
}

template <class Buffer>
void ReplaceInTheMiddle(benchmark::State& state) {
    using Char = typename Buffer::Char;
    const auto buffer = FullBuffer<Buffer>();
    const Bstr ten(u"0123456789");
    const LONG middle = kLength<Char> / 2;
    for (auto _ : state) {
        buffer->Replace(middle, 0, ten.Get());
        buffer->Replace(middle, kEdit, nullptr);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * 2 * kTailBytes<Char>));
}

template <class Char>
void MemmoveTail(benchmark::State& state) {
    std::vector<Char> text(kLength<Char> + kEdit, Char('x'));
    Char* middle = text.data() + kLength<Char> / 2;
    for (auto _ : state) {
        std::memmove(middle + kEdit, middle, kTailBytes<Char>);
        std::memmove(middle, middle + kEdit, kTailBytes<Char>);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * 2 * kTailBytes<Char>));
}

template <class Buffer>
void ReadLockPair(benchmark::State& state) {
    ComPtr<IEditBuffer> buffer;
    MakeObject<Buffer>(buffer);
    for (auto _ : state) {
        buffer->LockForRead();
        buffer->UnlockFromRead();
    }
}

BENCHMARK(ReplaceInTheMiddle<EditBufferA>)->Unit(benchmark::kMillisecond);
BENCHMARK(MemmoveTail<char>)->Unit(benchmark::kMillisecond);
BENCHMARK(ReplaceInTheMiddle<EditBufferU>)->Unit(benchmark::kMillisecond);
BENCHMARK(MemmoveTail<char16_t>)->Unit(benchmark::kMillisecond);
BENCHMARK(ReadLockPair<EditBufferA>);

}  // namespace
}  // namespace scrivix
