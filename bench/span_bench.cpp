// The span iterator over source code: every balanced-bracket span ((), [] and {}, nested) in a 16 MiB
// text of C-like functions, with strings, character literals, line and block comments as ignore spans.
// Beside it runs the floor: one plain pass over the same text with a stack of open brackets that skips
// the same strings and comments, finding the same spans.
#include "platform/bstr.h"
#include "platform/com_ptr.h"

#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <vector>

namespace scrivix {
namespace {

constexpr size_t kTextSize = size_t{16} << 20;

// Functions of statements with calls, indexing and nested blocks. Strings and comments hold no brackets
// and no escaped quotes (spans know nothing of escapes, nor does a span's nested count know of ignore
// spans), so that the iterator and the floor find the same spans.
std::u16string SourceText(size_t size) {
    std::mt19937 random(2024);
    std::u16string text;
    text.reserve(size + 4096);
    const auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    const char16_t* const names[] = {u"count", u"value", u"index", u"buffer", u"length", u"item"};
    const auto name = [&] { return std::u16string(names[pick(6)]); };
    std::u16string statement;
    const auto expression = [&](auto&& self, int depth) -> std::u16string {
        switch (depth > 2 ? 0 : pick(5)) {
            case 0: return name() + u" + " + std::u16string(1, static_cast<char16_t>(u'0' + pick(10)));
            case 1: return name() + u"(" + self(self, depth + 1) + u", " + name() + u")";
            case 2: return name() + u"[" + self(self, depth + 1) + u"]";
            case 3: return u"\"text, quoted\"";
            default: return u"(" + self(self, depth + 1) + u") * '*'";
        }
    };
    while (text.size() < size) {
        text += u"/* Function " + name() + u": computes a value. */\nint " + name() + u"(int " + name() + u") {\n";
        for (int line = 0, lines = 3 + pick(8); line < lines; ++line) {
            if (pick(4) == 0) {
                text += u"    if (" + expression(expression, 1) + u") {\n        " + name() + u" = " +
                        expression(expression, 0) + u";  // nested block\n    }\n";
            } else {
                text += u"    " + name() + u" = " + expression(expression, 0) + u";\n";
            }
        }
        text += u"    return " + name() + u";\n}\n\n";
    }
    return text;
}

const std::u16string& Text() {
    static const std::u16string text = SourceText(kTextSize);
    return text;
}

struct Width {
    const char16_t* buffer_class;
    const char16_t* pattern_class;
};

template <class I>
ComPtr<I> Make(const char16_t* class_name) {
    ComPtr<I> object;
    CLSID clsid{};
    CLSIDFromProgID(Bstr(class_name).Get(), &clsid);
    CoCreateInstance(clsid, nullptr, CLSCTX_ALL, uuidof<I>(), object.PutVoid());
    return object;
}

void SpanIterator(benchmark::State& state, Width width) {
    const auto source = Make<ITextSegment>(u"Scrivix.TextSegment");
    source->put_BufferClass(Bstr(width.buffer_class).Get());
    source->put_Text(Bstr(Text()).Get());
    const auto iterator = Make<ISpanIterator>(u"Scrivix.SpanIterator");
    iterator->put_PatternClass(Bstr(width.pattern_class).Get());
    iterator->put_Source(source.Get());
    LONG id = 0;
    const auto target = [&](const char16_t* opening, const char16_t* closing) {
        iterator->NewTarget(Bstr(opening).Get(), 0, Bstr(closing).Get(), 0, 3 | soNested, &id);
    };
    const auto ignore = [&](const char16_t* opening, const char16_t* closing) {
        iterator->NewIgnore(Bstr(opening).Get(), 0, Bstr(closing).Get(), 0, 3, &id);
    };
    target(u"(", u")");
    target(u"[", u"]");
    target(u"{", u"}");
    ignore(u"\"", u"\"");
    ignore(u"'", u"'");
    ignore(u"//", u"\n");
    ignore(u"/*", u"*/");
    int64_t spans = 0;
    for (auto _ : state) {
        spans = 0;
        LONG matched = 0;
        for (iterator->First(0, nullptr);; iterator->Next(nullptr)) {
            iterator->get_MatchedBy(&matched);
            if (matched == -1) break;
            ++spans;
        }
    }
    state.counters["spans"] = static_cast<double>(spans);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * Text().size()));
}

// What one step of a pattern iterator costs: every opening bracket of the text through one pattern
// iterator, as the span iterator's opening iterator steps through them.
void PatternIteratorSteps(benchmark::State& state) {
    const auto source = Make<ITextSegment>(u"Scrivix.TextSegment");
    source->put_Text(Bstr(Text()).Get());
    const auto iterator = Make<IPatternIterator>(u"Scrivix.PatternIterator");
    iterator->put_Source(source.Get());
    LONG id = 0;
    iterator->NewTarget(Bstr(u"(").Get(), 0, &id);
    int64_t steps = 0;
    for (auto _ : state) {
        steps = 0;
        LONG matched = 0;
        for (iterator->First(0, nullptr);; iterator->Next(nullptr)) {
            iterator->MatchedBy(&matched);
            if (matched == -1) break;
            ++steps;
        }
    }
    state.counters["steps"] = static_cast<double>(steps);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * Text().size()));
}

// The floor: one pass with a stack of open brackets, stepping over the same strings and comments.
void PlainPass(benchmark::State& state) {
    const std::u16string& text = Text();
    int64_t spans = 0;
    std::vector<size_t> open;
    for (auto _ : state) {
        spans = 0;
        open.clear();
        for (size_t i = 0; i < text.size(); ++i) {
            const char16_t c = text[i];
            if (c == u'"' || c == u'\'') {
                i = text.find(c, i + 1);
            } else if (c == u'/' && i + 1 < text.size() && text[i + 1] == u'/') {
                i = text.find(u'\n', i);
            } else if (c == u'/' && i + 1 < text.size() && text[i + 1] == u'*') {
                i = text.find(u"*/", i + 2) + 1;
            } else if (c == u'(' || c == u'[' || c == u'{') {
                open.push_back(i);
            } else if ((c == u')' || c == u']' || c == u'}') && !open.empty()) {
                open.pop_back();
                ++spans;
            }
        }
        benchmark::DoNotOptimize(spans);
    }
    state.counters["spans"] = static_cast<double>(spans);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

BENCHMARK_CAPTURE(SpanIterator, Narrow, Width{u"Scrivix.EditBufferA", u"Scrivix.PatternA"})
    ->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK_CAPTURE(SpanIterator, Wide, Width{u"Scrivix.EditBufferU", u"Scrivix.PatternU"})
    ->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(PatternIteratorSteps)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(PlainPass)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace scrivix
