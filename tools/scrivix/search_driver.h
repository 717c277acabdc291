// The search over the library: loads each file into a text segment, reads its characters in place through
// a buffer segment, and walks a pattern iterator (plain patterns) or a span iterator (when spans are
// involved) over it. The iterators and their patterns are made once per character width and reused for
// every file; only the file's buffer is new each time.
#pragma once

#include "arguments.h"
#include "com_ref.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace scrivix_tool {

enum class Width { Narrow, Wide };

// A found occurrence or span part, in character positions of the file's buffer.
struct Match {
    LONG start;
    LONG end;
};

// The characters of a loaded buffer, valid while the view lives (it holds a read lock on the buffer).
class TextView {
   public:
    TextView(ITextSegment* segment, Width width);
    Width width() const { return width_; }
    std::string_view narrow() const { return {static_cast<const char*>(begin_), length_}; }
    std::u16string_view wide() const { return {static_cast<const char16_t*>(begin_), length_}; }
    // Calls f with the text as a string_view of its own character type.
    template <class F>
    decltype(auto) Visit(F&& f) const {
        return width_ == Width::Narrow ? f(narrow()) : f(wide());
    }

   private:
    Ref<IBufferSegment> lock_;
    Width width_;
    const void* begin_ = nullptr;
    size_t length_ = 0;
};

// A file held in a text segment of the driver's.
struct LoadedFile {
    std::string path;
    Width width;
    ITextSegment* segment;  // owned by the driver, valid until the next Load
};

class Engine;

class SearchDriver {
   public:
    // Builds the narrow iterator at once, so that a malformed expression is reported before any file.
    explicit SearchDriver(const Arguments& args);
    ~SearchDriver();
    SearchDriver(const SearchDriver&) = delete;
    SearchDriver& operator=(const SearchDriver&) = delete;

    // Loads a file; std::nullopt for a binary file. Throws ToolError naming the reason it cannot be read.
    std::optional<LoadedFile> Load(const std::string& path);
    // Every match in the loaded file, in order of position (spans in order of their openings).
    std::vector<Match> FindAll(const LoadedFile& file);

   private:
    Engine& EngineFor(Width width);

    const Arguments& args_;
    Ref<ITextSegment> segments_[2];
    std::unique_ptr<Engine> engines_[2];
};

}  // namespace scrivix_tool
