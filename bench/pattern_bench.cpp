// Speed of the pattern searches on a generated English-like text, beside other ways of finding the same
// things in the same run: memchr, memmem, std::string_view::find, RE2 and PCRE2 (JIT). Every benchmark
// counts all occurrences in the whole buffer as a caller stepping through them would: each search starts
// where the last occurrence ended (one further after an empty one). Ours goes through a real PatternA over
// an EditBufferA and a BufferSegmentA, with a look-ahead of the whole buffer. The "fast:" benchmarks pit
// the jumping scans against the plain ones (CandidateScan) on texts made to defeat the jumps.
//
// SCRIVIX_BENCH_MIB sets the size of the texts in mebibytes (default 256). Each benchmark reports its count
// of occurrences as "matches"; bench/pattern_table.py turns the JSON output into the table of README.md.
#include "pattern/literal_search.h"
#include "pattern/pattern_template.h"
#include "platform/bstr.h"
#include "platform/com_ptr.h"

#include <benchmark/benchmark.h>
#include <re2/re2.h>
#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace scrivix::bench {
namespace {

std::size_t TextSize() {
    const char* mib = std::getenv("SCRIVIX_BENCH_MIB");
    const long value = mib ? std::atol(mib) : 0;
    return std::size_t(value > 0 ? value : 256) << 20;
}

// Words with their weight per about ten thousand words. 'H' appears only in "Holmes" (sentences do not
// capitalise words that begin with 'h'), so it is the rare byte of that search; no word holds "therex".
struct Word {
    const char* text;
    int weight;
};
constexpr Word kVocabulary[] = {
    {"the", 600}, {"of", 300}, {"and", 280}, {"to", 250}, {"a", 220}, {"in", 180}, {"that", 120}, {"it", 110},
    {"was", 110}, {"he", 100}, {"his", 90}, {"you", 80}, {"with", 70}, {"had", 70}, {"for", 70}, {"as", 60},
    {"is", 60}, {"at", 55}, {"which", 45}, {"said", 40}, {"there", 40}, {"then", 35}, {"they", 35}, {"them", 30},
    {"upon", 30}, {"very", 30}, {"man", 30}, {"these", 25}, {"other", 25}, {"some", 25}, {"could", 25},
    {"would", 25}, {"only", 20}, {"little", 20}, {"thing", 20}, {"back", 20}, {"Watson", 20}, {"rather", 15},
    {"nothing", 15}, {"something", 15}, {"being", 15}, {"door", 15}, {"room", 15}, {"house", 15}, {"case", 15},
    {"whether", 10}, {"together", 10}, {"morning", 12}, {"matter", 12}, {"friend", 12}, {"woman", 12},
    {"quite", 12}, {"should", 12}, {"evening", 8}, {"looking", 10}, {"thinking", 8}, {"quick", 10},
    {"quickly", 8}, {"quiet", 8}, {"question", 8}, {"queer", 4}, {"black", 10}, {"knock", 6}, {"clock", 6},
    {"luck", 5}, {"street", 10}, {"window", 8}, {"letter", 10}, {"paper", 8}, {"London", 8}, {"Baker", 4},
    {"Lestrade", 3}, {"next", 8}, {"six", 4}, {"extra", 3}, {"examine", 3}, {"box", 4}, {"exactly", 4},
    {"Holmes", 8}, {"Sherlock", 3}, {"1887", 2}, {"221b", 1}, {"ka52z", 1},
};

std::string MakeEnglish(std::size_t size) {
    std::mt19937_64 random(1887);
    std::vector<int> cumulative;
    int total = 0;
    for (const Word& word : kVocabulary) cumulative.push_back(total += word.weight);
    std::string text;
    text.reserve(size + 64);
    std::size_t line = 0;
    int sentence_left = 0;
    std::string word;
    while (text.size() < size) {
        const int pick = int(random() % unsigned(total));
        word = kVocabulary[std::upper_bound(cumulative.begin(), cumulative.end(), pick) - cumulative.begin()].text;
        if (sentence_left == 0) {
            sentence_left = 6 + int(random() % 13);
            if (word[0] >= 'a' && word[0] <= 'z' && word[0] != 'h') word[0] = char(word[0] - 'a' + 'A');
        }
        if (--sentence_left == 0) {
            word += '.';
        } else if (random() % 16 == 0) {
            word += ',';
        }
        if (line > 0 && line + 1 + word.size() > 80) {
            text += '\n';
            line = 0;
        } else if (line > 0) {
            text += ' ';
            ++line;
        }
        text += word;
        line += word.size();
    }
    text.resize(size);
    return text;
}

std::string Repeat(std::string_view unit, std::size_t size) {
    std::string text;
    text.reserve(size + unit.size());
    while (text.size() < size) text += unit;
    text.resize(size);
    return text;
}

// A unit of `period` characters that holds `rare` once, among the filler: where the jumps skip just far
// enough to keep trying.
std::string Every(std::size_t period, char rare, std::string_view filler) {
    std::string unit(1, rare);
    while (unit.size() < period) unit += filler;
    unit.resize(period);
    return Repeat(unit, TextSize());
}

using Text = const std::string& (*)();
const std::string& English() { static const std::string text = MakeEnglish(TextSize()); return text; }
const std::string& HolEverywhere() { static const std::string text = Repeat("Hol ", TextSize()); return text; }
const std::string& HEvery32() { static const std::string text = Every(32, 'H', "z"); return text; }
const std::string& ThexEverywhere() { static const std::string text = Repeat("thex ", TextSize()); return text; }
const std::string& XEvery32() { static const std::string text = Every(32, 'x', "there"); return text; }
const std::string& XEvery12() { static const std::string text = Every(12, 'x', "the "); return text; }
const std::string& HolmEverywhere() { static const std::string text = Repeat("hoLm ", TextSize()); return text; }
const std::string& A0Everywhere() { static const std::string text = Repeat("a0 ", TextSize()); return text; }
const std::string& AEvery32() { static const std::string text = Every(32, 'a', "b"); return text; }

// The finders: each finds the first occurrence at or after `from`, as [start, end).

class MemchrFinder {
public:
    MemchrFinder(const std::string& text, char byte) : text_(text), byte_(byte) {}
    bool operator()(std::size_t from, std::size_t& start, std::size_t& end) const {
        const void* hit = std::memchr(text_.data() + from, byte_, text_.size() - from);
        if (!hit) return false;
        start = std::size_t(static_cast<const char*>(hit) - text_.data());
        end = start + 1;
        return true;
    }

private:
    const std::string& text_;
    char byte_;
};

class MemmemFinder {
public:
    MemmemFinder(const std::string& text, std::string needle) : text_(text), needle_(std::move(needle)) {}
    bool operator()(std::size_t from, std::size_t& start, std::size_t& end) const {
        const void* hit = ::memmem(text_.data() + from, text_.size() - from, needle_.data(), needle_.size());
        if (!hit) return false;
        start = std::size_t(static_cast<const char*>(hit) - text_.data());
        end = start + needle_.size();
        return true;
    }

private:
    const std::string& text_;
    std::string needle_;
};

class ViewFinder {
public:
    ViewFinder(const std::string& text, std::string needle) : text_(text), needle_(std::move(needle)) {}
    bool operator()(std::size_t from, std::size_t& start, std::size_t& end) const {
        start = text_.find(needle_, from);
        end = start + needle_.size();
        return start != std::string_view::npos;
    }

private:
    std::string_view text_;
    std::string needle_;
};

class Re2Finder {
public:
    Re2Finder(const std::string& text, const std::string& pattern) : text_(text), re_(pattern) {
        if (!re_.ok()) throw std::runtime_error("RE2 rejects " + pattern);
    }
    bool operator()(std::size_t from, std::size_t& start, std::size_t& end) const {
        re2::StringPiece match;
        if (!re_.Match(text_, from, text_.size(), RE2::UNANCHORED, &match, 1)) return false;
        start = std::size_t(match.data() - text_.data());
        end = start + match.size();
        return true;
    }

private:
    re2::StringPiece text_;
    RE2 re_;
};

class Pcre2Finder {
public:
    Pcre2Finder(const std::string& text, const std::string& pattern, std::uint32_t options) : text_(text) {
        int error = 0;
        PCRE2_SIZE offset = 0;
        code_.reset(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(), options, &error,
                                  &offset, nullptr));
        if (!code_ || pcre2_jit_compile(code_.get(), PCRE2_JIT_COMPLETE) != 0) {
            throw std::runtime_error("PCRE2 cannot compile " + pattern);
        }
        data_.reset(pcre2_match_data_create_from_pattern(code_.get(), nullptr));
    }
    bool operator()(std::size_t from, std::size_t& start, std::size_t& end) const {
        const int rc = pcre2_jit_match(code_.get(), reinterpret_cast<PCRE2_SPTR>(text_.data()), text_.size(), from, 0,
                                       data_.get(), nullptr);
        if (rc < 0) return false;
        const PCRE2_SIZE* ovector = pcre2_get_ovector_pointer(data_.get());
        start = ovector[0];
        end = ovector[1];
        return true;
    }

private:
    struct FreeCode {
        void operator()(pcre2_code* code) const { pcre2_code_free(code); }
    };
    struct FreeData {
        void operator()(pcre2_match_data* data) const { pcre2_match_data_free(data); }
    };
    const std::string& text_;
    std::unique_ptr<pcre2_code, FreeCode> code_;
    std::unique_ptr<pcre2_match_data, FreeData> data_;
};

template <class I>
ComPtr<I> Create(const CLSID& clsid) {
    ComPtr<I> object;
    if (const HRESULT hr = CoCreateInstance(clsid, nullptr, CLSCTX_ALL, uuidof<I>(), object.PutVoid()); FAILED(hr)) {
        throw std::runtime_error("cannot create an object of the library: " + std::to_string(unsigned(hr)));
    }
    return object;
}

// Ours as a client sees it: the text in an EditBufferA, read through a BufferSegmentA by a PatternA.
class PatternFinder {
public:
    PatternFinder(const std::string& text, std::string_view pattern, LONG options)
        : buffer_(Create<IEditBuffer>(CLSID_EditBufferA)),
          segment_(Create<IBufferSegment>(CLSID_BufferSegmentA)),
          pattern_(Create<IPattern>(CLSID_PatternA)) {
        const LONG n = LONG(text.size());
        const std::u16string wide(pattern.begin(), pattern.end());
        if (FAILED(buffer_->ASCIIText(reinterpret_cast<unsigned char*>(const_cast<char*>(text.data())), n)) ||
            FAILED(segment_->put_Source(0, 0, buffer_.Get())) || FAILED(pattern_->put_Text(Bstr(wide).Get())) ||
            FAILED(pattern_->put_LookAhead(n)) || FAILED(pattern_->put_Options(options))) {
            throw std::runtime_error("cannot set up the pattern " + std::string(pattern));
        }
        n_ = n;
    }
    bool operator()(std::size_t from, std::size_t& start, std::size_t& end) const {
        LONG s = LONG(from), e = n_;
        VARIANT_BOOL found = VARIANT_FALSE;
        if (FAILED(pattern_->Find(segment_.Get(), &s, &e, &found)) || found != VARIANT_TRUE) return false;
        start = std::size_t(s);
        end = std::size_t(e);
        return true;
    }

private:
    ComPtr<IEditBuffer> buffer_;
    ComPtr<IBufferSegment> segment_;
    ComPtr<IPattern> pattern_;
    LONG n_ = 0;
};

// The literal search itself, jumping or plain.
template <CandidateScan kScan>
class LiteralFinder {
public:
    LiteralFinder(const std::string& text, std::string_view pattern, LONG options) : text_(text), search_(pattern, options) {}
    bool operator()(std::size_t from, std::size_t& start, std::size_t& end) const {
        const char* b = text_.data();
        const char* z = b + text_.size();
        LiteralSearch<char>::Occurrence found;
        if (!search_.template FindForward<kScan>(b, z, b + from, z, found)) return false;
        start = std::size_t(found.begin - b);
        end = std::size_t(found.end - b);
        return true;
    }

private:
    const std::string& text_;
    LiteralSearch<char> search_;
};

// The regular-expression driver itself, skipping candidates or trying each.
template <CandidateScan kScan>
class RegexFinder {
public:
    RegexFinder(const std::string& text, std::string_view pattern) : text_(text), program_(new DPatternTemplate<char>) {
        if (program_->Compile(pattern) != peNone) throw std::runtime_error("cannot compile " + std::string(pattern));
    }
    bool operator()(std::size_t from, std::size_t& start, std::size_t& end) const {
        const char* b = text_.data();
        const char* z = b + text_.size();
        const char *s = nullptr, *e = nullptr;
        if (!program_->template FindForward<kScan>(b, z, b + from, z, s, e)) return false;
        start = std::size_t(s - b);
        end = std::size_t(e - b);
        return true;
    }

private:
    const std::string& text_;
    std::unique_ptr<DPatternTemplate<char>> program_;
};

template <class Finder>
std::int64_t CountAll(std::size_t n, const Finder& find) {
    std::int64_t count = 0;
    std::size_t start = 0, end = 0;
    for (std::size_t from = 0; from <= n && find(from, start, end); from = end > start ? end : start + 1) ++count;
    return count;
}

template <class Factory>
void Add(const std::string& name, Text text, Factory make) {
    benchmark::RegisterBenchmark(name.c_str(), [text, make](benchmark::State& state) {
        const std::string& subject = text();
        const auto find = make(subject);
        std::int64_t count = 0;
        for (auto _ : state) {
            count = CountAll(subject.size(), find);
            benchmark::DoNotOptimize(count);
        }
        state.counters["matches"] = double(count);
        state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(subject.size()));
    })->Unit(benchmark::kMillisecond);
}

// A literal beside memchr (for `rare`, its rarest byte in the text), memmem, std::string_view::find, RE2
// and PCRE2.
void AddLiteral(const std::string& literal, char rare) {
    const std::string name = "literal:" + literal;
    Add(name + "/ours", English, [=](const std::string& t) { return PatternFinder(t, literal, poNone); });
    Add(name + "/memchr", English, [=](const std::string& t) { return MemchrFinder(t, rare); });
    Add(name + "/memmem", English, [=](const std::string& t) { return MemmemFinder(t, literal); });
    Add(name + "/string_view", English, [=](const std::string& t) { return ViewFinder(t, literal); });
    Add(name + "/re2", English, [=](const std::string& t) { return Re2Finder(t, literal); });
    Add(name + "/pcre2", English, [=](const std::string& t) { return Pcre2Finder(t, literal, 0); });
}

// Our line anchors are multi-line anchors in RE2 and PCRE2 terms.
void AddExpression(const std::string& expression) {
    const std::string name = "regex:" + expression;
    Add(name + "/ours", English, [=](const std::string& t) { return PatternFinder(t, expression, poRegExpression); });
    Add(name + "/re2", English, [=](const std::string& t) { return Re2Finder(t, "(?m)" + expression); });
    Add(name + "/pcre2", English, [=](const std::string& t) { return Pcre2Finder(t, expression, PCRE2_MULTILINE); });
}

void AddLiteralFastPath(const std::string& literal, LONG options, const std::string& input, Text text) {
    const std::string name = "fast:" + literal + (options & poIgnoreCase ? "(i)" : "") + "@" + input;
    Add(name + "/ours", text, [=](const std::string& t) { return LiteralFinder<CandidateScan::jump>(t, literal, options); });
    Add(name + "/plain", text, [=](const std::string& t) { return LiteralFinder<CandidateScan::plain>(t, literal, options); });
}

void AddExpressionFastPath(const std::string& expression, const std::string& input, Text text) {
    const std::string name = "fast:" + expression + "@" + input;
    Add(name + "/ours", text, [=](const std::string& t) { return RegexFinder<CandidateScan::jump>(t, expression); });
    Add(name + "/plain", text, [=](const std::string& t) { return RegexFinder<CandidateScan::plain>(t, expression); });
}

[[maybe_unused]] const bool registered = [] {
    AddLiteral("Holmes", 'H');
    AddLiteral("therex", 'x');

    Add("ignore-case:holmes/ours", English, [](const std::string& t) { return PatternFinder(t, "holmes", poIgnoreCase); });
    Add("ignore-case:holmes/re2", English, [](const std::string& t) { return Re2Finder(t, "(?i)holmes"); });
    Add("ignore-case:holmes/pcre2", English, [](const std::string& t) { return Pcre2Finder(t, "holmes", PCRE2_CASELESS); });

    for (const char* expression : {"Holmes$", "^Sherlock", "qu.*ck", "a[0-9]+z", "[A-Z][a-z]+ing", "th[a-z]*e"}) {
        AddExpression(expression);
    }

    AddLiteralFastPath("Holmes", poNone, "everywhere", HolEverywhere);
    AddLiteralFastPath("Holmes", poNone, "every32", HEvery32);
    AddLiteralFastPath("therex", poNone, "everywhere", ThexEverywhere);
    AddLiteralFastPath("therex", poNone, "every32", XEvery32);
    AddLiteralFastPath("therex", poNone, "every12", XEvery12);
    AddLiteralFastPath("holmes", poIgnoreCase, "everywhere", HolmEverywhere);
    AddExpressionFastPath("a[0-9]+z", "everywhere", A0Everywhere);
    AddExpressionFastPath("a[0-9]+z", "every32", AEvery32);
    return true;
}();

}  // namespace
}  // namespace scrivix::bench
