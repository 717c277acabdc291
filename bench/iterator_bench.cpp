// The pattern iterator against its floor. Over a 256 MiB English-like text, loaded from a file into a
// text segment, it visits (a) every occurrence of "the " (millions of stops) and (b) a rare word while it
// steps over bracketed comments, beside a direct loop that makes the same patterns' Find calls, pass for
// pass, over one buffer segment of the same buffer. The difference is what each Next adds: the buffer
// segment that the source makes for it by class name, the read lock, the segment it hands out, the calls
// through the interfaces.
#include "frame/class_name.h"
#include "platform/bstr.h"
#include "platform/com_ptr.h"

#include <benchmark/benchmark.h>

#include <stdlib.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace scrivix {
namespace {

constexpr size_t kTextBytes = size_t{256} << 20;
constexpr const char16_t* kRareWord = u"quixotic";
constexpr const char16_t* kComment = u"\\[[^\\]]*]";

// Words in rough proportion to their use in English prose; "the" is about one word in sixteen.
const char* const kWords[] = {
    "the", "of", "and", "to", "a", "in", "is", "that", "for", "it", "as", "was", "with", "be", "by", "on",
    "not", "he", "this", "are", "or", "his", "from", "at", "which", "but", "have", "an", "had", "they",
    "you", "were", "their", "one", "all", "we", "can", "her", "has", "there", "been", "if", "more", "when",
    "will", "would", "who", "so", "no", "she", "other", "its", "may", "these", "what", "them", "than",
    "some", "him", "time", "into", "only", "do", "could", "new", "about", "two", "then", "first", "any",
    "people", "over", "such", "our", "water", "little", "world", "between", "through", "house", "under",
    "country", "against", "thought", "without", "government", "something", "question", "together",
    "therefore", "another", "mother", "other", "weather", "themselves", "breathe", "theatre"};

// The text: words, commas and full stops, line breaks, now and then a bracketed comment, and
// the rare word about every 256 KiB, in the open and (as often) inside a comment, where it is ignored.
std::string Text() {
    std::string out;
    out.reserve(kTextBytes + 256);
    uint64_t state = 0x9E3779B97F4A7C15u;
    const auto next = [&state] {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return state;
    };
    constexpr size_t kWordCount = sizeof(kWords) / sizeof(kWords[0]);
    size_t line = 0;
    while (out.size() < kTextBytes) {
        const uint64_t r = next();
        const size_t before = out.size();
        if (r % 16 == 0) {
            out += "the";
        } else if (r % 2048 == 1) {
            out += "[see ";
            out += kWords[(r >> 20) % kWordCount];
            if ((r >> 40) % 64 == 0) out += " quixotic";
            out += "]";
        } else if (r % 65536 == 3) {
            out += "quixotic";
        } else {
            out += kWords[(r >> 8) % kWordCount];
        }
        line += out.size() - before;
        const uint64_t mark = (r >> 32) % 20;
        if (mark == 0) out += ',';
        else if (mark == 1) out += '.';
        if (line > 72) {
            out += '\n';
            line = 0;
        } else {
            out += ' ';
        }
    }
    out.resize(kTextBytes);
    return out;
}

// A text segment of the default 8-bit buffer class with the text, loaded once from a file in a
// directory of its own, which goes as soon as the text is in the buffer.
ComPtr<ITextSegment> TextSource() {
    static const ComPtr<ITextSegment> source = [] {
        std::string directory = (std::filesystem::temp_directory_path() / "scrivix-bench-XXXXXX").string();
        if (!mkdtemp(directory.data())) std::abort();
        const std::string path = directory + "/text";
        std::ofstream(path, std::ios::binary) << Text();
        ComPtr<ITextSegment> made;
        LONG actual = 0;
        const HRESULT hr = CreateFromClassName(Bstr(u"Scrivix.TextSegment").Get(), made);
        if (SUCCEEDED(hr)) made->LoadFile(Bstr(std::u16string(path.begin(), path.end())).Get(), file_in, &actual);
        std::filesystem::remove_all(directory);
        if (FAILED(hr) || actual != static_cast<LONG>(kTextBytes)) std::abort();
        return made;
    }();
    return source;
}

ComPtr<IPattern> NewPattern(const char16_t* text, LONG options) {
    ComPtr<IPattern> pattern;
    if (FAILED(CreateFromClassName(Bstr(u"Scrivix.PatternA").Get(), pattern)) ||
        FAILED(pattern->put_Text(Bstr(text).Get())) || FAILED(pattern->put_Options(options)))
        std::abort();
    return pattern;
}

struct Search {
    ComPtr<IPattern> target;
    ComPtr<IPattern> ignore;  // may be empty
};
Search TheSearch() { return {NewPattern(u"the ", poNone), nullptr}; }
Search RareSearch() { return {NewPattern(kRareWord, poNone), NewPattern(kComment, poRegExpression)}; }

void Report(benchmark::State& state, int64_t stops) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTextBytes));
    state.counters["stops"] = static_cast<double>(stops);
}

// Next after Next over the segment of the whole buffer, taking each segment handed out (or, without
// `take_found`, asking for none: what the segment made for each stop costs).
void Iterate(benchmark::State& state, const Search& search, bool take_found = true) {
    const auto source = TextSource();
    ComPtr<IPatternIterator> iterator;
    if (FAILED(CreateFromClassName(Bstr(u"Scrivix.PatternIterator").Get(), iterator)) ||
        FAILED(iterator->put_Source(source.Get())) || FAILED(iterator->AddTarget(search.target.Get(), nullptr)) ||
        (search.ignore && FAILED(iterator->AddIgnore(search.ignore.Get(), nullptr))))
        std::abort();
    int64_t stops = 0;
    for (auto _ : state) {
        stops = 0;
        iterator->Reset(0);
        for (LONG matched = 0;; ++stops) {
            ComPtr<ITextSegment> found;
            iterator->Next(take_found ? found.Put() : nullptr);
            iterator->MatchedBy(&matched);
            if (matched == -1) break;
            benchmark::DoNotOptimize(found.Get());
        }
    }
    Report(state, stops);
}

// The same passes as Next makes, written out over one buffer segment: every pattern's first occurrence
// from p within the look-ahead; the target is taken unless an ignore occurrence begins at or before it;
// else on behind the ignore occurrence, or by the look-ahead.
void FindDirectly(benchmark::State& state, const Search& search) {
    ComPtr<IUnknown> buffer_lock;
    if (FAILED(TextSource()->SegmentBuffer(buffer_lock.Put()))) std::abort();
    const auto view = buffer_lock.As<IBufferSegment>();
    LONG n = 0;
    LONG look_ahead = 0;
    view->Length(&n);
    search.target->get_LookAhead(&look_ahead);
    int64_t stops = 0;
    for (auto _ : state) {
        stops = 0;
        for (LONG p = 0; p < n;) {
            const LONG limit = p + look_ahead;
            LONG ignore_start = limit, ignore_end = limit;
            LONG start = p, end = n;
            VARIANT_BOOL found = VARIANT_FALSE;
            if (search.ignore) {
                search.ignore->Find(view.Get(), &start, &end, &found);
                if (found && start < ignore_start) ignore_start = start, ignore_end = end;
            }
            start = p, end = n;
            search.target->Find(view.Get(), &start, &end, &found);
            if (found && start < limit && start < ignore_start) {
                ++stops;
                p = end;
                continue;
            }
            p = search.ignore ? std::max(ignore_end, p + 1) : limit;
        }
    }
    Report(state, stops);
}

void IterateThe(benchmark::State& state) { Iterate(state, TheSearch()); }
void IterateTheWithoutSegments(benchmark::State& state) { Iterate(state, TheSearch(), false); }
void FindTheDirectly(benchmark::State& state) { FindDirectly(state, TheSearch()); }
void IterateRareWord(benchmark::State& state) { Iterate(state, RareSearch()); }
void FindRareWordDirectly(benchmark::State& state) { FindDirectly(state, RareSearch()); }

BENCHMARK(FindTheDirectly)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(IterateThe)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(IterateTheWithoutSegments)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(FindRareWordDirectly)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(IterateRareWord)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace
}  // namespace scrivix
