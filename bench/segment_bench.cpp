// The edit chain's cost per segment. One Replace (a character for a character, so that every range
// stays where it is from one run to the next) in the middle of a buffer with 10,000 segments over it, all
// notified: half lie in front of the edit, half behind it, a few across it. The counter per_segment is the
// time of one Replace divided by the segments notified. Beside it, the floor: the adjustment rule alone
// over 10,000 plain ranges.
//
// And what a pattern iterator's Next pays besides its searches: the buffer segment that SegmentBuffer makes
// by class name (with its read lock), and the sub-section handed out, each made and released.
#include "segment/segment_adjustment.h"
#include "segment/text_segment.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace scrivix {
namespace {

constexpr LONG kSegments = 10000;
constexpr LONG kLength = 10 * kSegments;
constexpr LONG kMiddle = kLength / 2 + 3;

// Segment i covers [10 i, 10 i + 7): the edit lands inside one of them.
LONG OriginOf(LONG i) { return 10 * i; }
LONG LimitOf(LONG i) { return 10 * i + 7; }

void PerSegment(benchmark::State& state) {
    state.counters["per_segment"] = benchmark::Counter(static_cast<double>(kSegments),
                                                       benchmark::Counter::kIsIterationInvariantRate |
                                                           benchmark::Counter::kInvert);
}

void ReplaceUnderSegments(benchmark::State& state, const char16_t* buffer_class) {
    ComPtr<ITextSegment> root;
    MakeObject<DTextSegment>(root);
    root->put_BufferClass(Bstr(buffer_class).Get());
    root->put_Text(Bstr(std::u16string(kLength, u'x')).Get());
    std::vector<ComPtr<ITextSegment>> segments(kSegments);
    for (LONG i = 0; i < kSegments; ++i) root->SubSection(OriginOf(i), LimitOf(i), segments[i].Put());
    const Bstr y(u"y");
    for (auto _ : state) root->Replace(kMiddle, kMiddle + 1, y.Get());
    PerSegment(state);
}

void AdjustmentAlone(benchmark::State& state) {
    struct Range {
        LONG origin, limit;
    };
    std::vector<Range> ranges;
    for (LONG i = 0; i < kSegments; ++i) ranges.push_back({OriginOf(i), LimitOf(i)});
    const auto length = [](LONG& out) {
        out = kLength;
        return S_OK;
    };
    for (auto _ : state) {
        for (Range& range : ranges) {
            const SegmentAdjustment adjustment = AdjustSegmentRange(range.origin, range.limit, kMiddle, 1, 1, length);
            benchmark::DoNotOptimize(adjustment);
        }
        benchmark::ClobberMemory();
    }
    PerSegment(state);
}

ComPtr<ITextSegment> SmallSource() {
    ComPtr<ITextSegment> source;
    MakeObject<DTextSegment>(source);
    source->put_Text(Bstr(u"a text of some length").Get());
    return source;
}

void SegmentBufferMadeAndReleased(benchmark::State& state) {
    const auto source = SmallSource();
    for (auto _ : state) {
        ComPtr<IUnknown> view;
        source->SegmentBuffer(view.Put());
        benchmark::DoNotOptimize(view.Get());
    }
}

void SubSectionMadeAndReleased(benchmark::State& state) {
    const auto source = SmallSource();
    for (auto _ : state) {
        ComPtr<ITextSegment> section;
        source->SubSection(2, 6, section.Put());
        benchmark::DoNotOptimize(section.Get());
    }
}

BENCHMARK(SegmentBufferMadeAndReleased);
BENCHMARK(SubSectionMadeAndReleased);
BENCHMARK_CAPTURE(ReplaceUnderSegments, EditBufferA, u"Scrivix.EditBufferA");
BENCHMARK_CAPTURE(ReplaceUnderSegments, EditBufferU, u"Scrivix.EditBufferU");
BENCHMARK(AdjustmentAlone);

}  // namespace
}  // namespace scrivix
