// The two iterator engines and the per-file driver.
#include "search_driver.h"

#include "language_presets.h"
#include "text_codec.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace scrivix_tool {
namespace {

// The first bytes of a file in which a NUL makes it binary.
constexpr size_t kBinaryProbe = 8192;

const char16_t* PatternClass(Width width) { return width == Width::Narrow ? u"Scrivix.PatternA" : u"Scrivix.PatternU"; }
const char16_t* BufferClass(Width width) { return width == Width::Narrow ? u"Scrivix.EditBufferA" : u"Scrivix.EditBufferU"; }

// A pattern text as the patterns of a width take it: 8-bit patterns keep the bytes of the argument.
Bstr PatternString(const PatternText& pattern, Width width) {
    return Bstr(width == Width::Narrow ? BytesAsUnits(pattern.text) : Utf8ToUtf16(pattern.text));
}

std::string Describe(const SpanText& span) {
    if (span.closing.text.empty()) return "pattern '" + span.opening.text + "'";
    return "span '" + span.opening.text + "' '" + span.closing.text + "'";
}

}  // namespace

// One iterator over the current file, seen through the few operations the driver needs.
class Engine {
   public:
    struct Found {
        LONG anchor;   // where the occurrence (or the span's opening) starts: results come in its order
        Match part;    // what is reported
        bool empty;    // the whole occurrence or span is empty text
    };
    virtual ~Engine() = default;
    virtual void Bind(ITextSegment* source) = 0;
    virtual void First(LONG start) = 0;
    virtual void Next() = 0;
    virtual std::optional<Found> Current() = 0;
};

namespace {

// Plain target and ignore patterns: a pattern iterator.
class PatternEngine final : public Engine {
   public:
    PatternEngine(const SpanText& target, const std::vector<SpanText>& ignores, Width width)
        : iterator_(Create<IPatternIterator>(u"Scrivix.PatternIterator", IID_IPatternIterator)) {
        Check(iterator_->put_PatternClass(Bstr(PatternClass(width)).get()), "pattern iterator");
        LONG id = 0;
        for (const SpanText& ignore : ignores)
            Check(iterator_->NewIgnore(PatternString(ignore.opening, width).get(), ignore.opening.options, &id),
                  Describe(ignore));
        Check(iterator_->NewTarget(PatternString(target.opening, width).get(), target.opening.options, &id),
              Describe(target));
    }

    void Bind(ITextSegment* source) override { Check(iterator_->put_Source(source), "binding the iterator"); }
    void First(LONG start) override { Check(iterator_->First(start, nullptr), "searching"); }
    void Next() override { Check(iterator_->Next(nullptr), "searching"); }

    std::optional<Found> Current() override {
        LONG matched = -1, offset = 0, length = 0;
        Check(iterator_->MatchedBy(&matched), "searching");
        if (matched < 0) return std::nullopt;
        Check(iterator_->Offset(&offset), "searching");
        Check(iterator_->Length(&length), "searching");
        return Found{offset, {offset, offset + length}, length == 0};
    }

   private:
    Ref<IPatternIterator> iterator_;
};

// Spans anywhere among the targets or ignores: a span iterator. Patterns are spans without closing.
class SpanEngine final : public Engine {
   public:
    SpanEngine(const SpanText& target, const std::vector<SpanText>& ignores, bool nested, SpanPart part, Width width)
        : iterator_(Create<ISpanIterator>(u"Scrivix.SpanIterator", IID_ISpanIterator)), part_(part) {
        Check(iterator_->put_PatternClass(Bstr(PatternClass(width)).get()), "span iterator");
        constexpr LONG kWhole = soIncludeOpening | soIncludeClosing;
        LONG id = 0;
        // Ignores first: at one position the opening added first wins, and an ignore must hide a target.
        for (const SpanText& ignore : ignores)
            Check(iterator_->NewIgnore(PatternString(ignore.opening, width).get(), ignore.opening.options,
                                       PatternString(ignore.closing, width).get(), ignore.closing.options, kWhole,
                                       &id),
                  Describe(ignore));
        Check(iterator_->NewTarget(PatternString(target.opening, width).get(), target.opening.options,
                                   PatternString(target.closing, width).get(), target.closing.options,
                                   kWhole | (nested ? soNested : 0), &id),
              Describe(target));
    }

    void Bind(ITextSegment* source) override { Check(iterator_->put_Source(source), "binding the iterator"); }
    void First(LONG start) override { Check(iterator_->First(start, nullptr), "searching"); }
    void Next() override { Check(iterator_->Next(nullptr), "searching"); }

    std::optional<Found> Current() override {
        LONG matched = -1;
        Check(iterator_->get_MatchedBy(&matched), "searching");
        if (matched < 0) return std::nullopt;
        if (part_ == SpanPart::Whole) {
            LONG offset = 0, length = 0;
            Check(iterator_->get_Offset(&offset), "searching");
            Check(iterator_->get_Length(&length), "searching");
            return Found{offset, {offset, offset + length}, length == 0};
        }
        const Match opening = Part(soOpeningOnly), closing = Part(soClosingOnly);
        const Match part = part_ == SpanPart::Opening   ? opening
                           : part_ == SpanPart::Closing ? closing
                                                        : Match{opening.end, closing.start};
        return Found{opening.start, part, opening.start == closing.end};
    }

   private:
    Match Part(SHORT what) {
        Ref<ITextSegment> segment;
        Check(iterator_->get_Current(what, segment.put()), "searching");
        LONG origin = 0, limit = 0;
        Check(segment->Origin(&origin), "searching");
        Check(segment->Limit(&limit), "searching");
        return {origin, limit};
    }

    Ref<ISpanIterator> iterator_;
    SpanPart part_;
};

// Why a file the library could not load cannot be read: the system's reason when it has one.
std::string ReadFailure(const std::string& path, HRESULT hr) {
    std::string library = TakeErrorDescription();
    const int descriptor = open(path.c_str(), O_RDONLY);
    if (descriptor < 0) return std::strerror(errno);
    close(descriptor);
    if (library.empty()) {
        char status[64];
        std::snprintf(status, sizeof status, "the library could not load it (status 0x%08X)", static_cast<unsigned>(hr));
        library = status;
    }
    return library;
}

}  // namespace

TextView::TextView(ITextSegment* segment, Width width) : width_(width) {
    Ref<IUnknown> buffer;
    Check(segment->SegmentBuffer(buffer.put()), "reading the buffer");
    lock_ = Query<IBufferSegment>(buffer.get(), IID_IBufferSegment);
    void* begin = nullptr;
    void* end = nullptr;
    Check(lock_->Begin(&begin), "reading the buffer");
    Check(lock_->End(&end), "reading the buffer");
    begin_ = begin;
    const size_t unit = width == Width::Narrow ? 1 : 2;
    length_ = begin ? static_cast<size_t>(static_cast<const char*>(end) - static_cast<const char*>(begin)) / unit : 0;
}

SearchDriver::SearchDriver(const Arguments& args) : args_(args) { EngineFor(Width::Narrow); }

SearchDriver::~SearchDriver() = default;

Engine& SearchDriver::EngineFor(Width width) {
    std::unique_ptr<Engine>& engine = engines_[static_cast<int>(width)];
    if (engine) return *engine;
    std::vector<SpanText> ignores;
    for (const std::string& language : args_.languages) {
        const LanguagePreset* preset = FindPreset(language);
        ignores.insert(ignores.end(), preset->ignores.begin(), preset->ignores.end());
    }
    ignores.insert(ignores.end(), args_.ignores.begin(), args_.ignores.end());
    bool spans = !args_.target.closing.text.empty();
    for (const SpanText& ignore : ignores) spans = spans || !ignore.closing.text.empty();
    if (spans)
        engine = std::make_unique<SpanEngine>(args_.target, ignores, args_.nested, args_.part, width);
    else
        engine = std::make_unique<PatternEngine>(args_.target, ignores, width);
    return *engine;
}

std::optional<LoadedFile> SearchDriver::Load(const std::string& path) {
    const auto load = [&](Width width) {
        Ref<ITextSegment>& segment = segments_[static_cast<int>(width)];
        if (!segment) {
            segment = Create<ITextSegment>(u"Scrivix.TextSegment", IID_ITextSegment);
            Check(segment->put_BufferClass(Bstr(BufferClass(width)).get()), "text segment");
        }
        LONG actual = 0;
        const HRESULT hr = segment->LoadFile(Bstr(Utf8ToUtf16(path)).get(), file_in, &actual);
        if (FAILED(hr)) throw ToolError(ReadFailure(path, hr));
        return segment.get();
    };
    ITextSegment* narrow = load(Width::Narrow);
    {
        const TextView view(narrow, Width::Narrow);
        const std::string_view text = view.narrow();
        if (!text.starts_with("\xFF\xFE")) {
            if (std::memchr(text.data(), 0, std::min(text.size(), kBinaryProbe))) return std::nullopt;
            return LoadedFile{path, Width::Narrow, narrow};
        }
    }
    return LoadedFile{path, Width::Wide, load(Width::Wide)};
}

std::vector<Match> SearchDriver::FindAll(const LoadedFile& file) {
    Engine& engine = EngineFor(file.width);
    engine.Bind(file.segment);
    engine.First(0);
    std::vector<Match> matches;
    // Results come in the order of their anchors. One that does not move past the last (an empty
    // occurrence found again where it was, or a search that ended without a new result) restarts the
    // search one character further; a restart always gets past it, so the walk ends.
    LONG last_anchor = -1;
    bool restarted = false;
    while (const std::optional<Engine::Found> found = engine.Current()) {
        if (found->anchor <= last_anchor) {
            if (restarted) break;
            engine.First(last_anchor + 1);
            restarted = true;
            continue;
        }
        restarted = false;
        last_anchor = found->anchor;
        if (!found->empty) matches.push_back(found->part);
        engine.Next();
    }
    return matches;
}

}  // namespace scrivix_tool
