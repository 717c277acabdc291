// The lines of a text: where each begins, which line holds a position, and each line's content without
// its line break. Lines end at line feeds; a carriage return before the line feed belongs to the break.
#pragma once

#include "text_codec.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace scrivix_tool {

template <class Char>
class LineTable {
   public:
    using View = std::basic_string_view<Char>;

    explicit LineTable(View text) : text_(text) {
        starts_.push_back(0);
        for (size_t at = text.find(Char('\n')); at != View::npos; at = text.find(Char('\n'), at + 1))
            starts_.push_back(at + 1);
    }

    View text() const { return text_; }
    // Lines including the empty one after a final line feed.
    size_t count() const { return starts_.size(); }
    size_t LineOf(size_t position) const {
        return static_cast<size_t>(std::upper_bound(starts_.begin(), starts_.end(), position) - starts_.begin()) - 1;
    }
    size_t Start(size_t line) const { return starts_[line]; }
    // The position after the line's line feed (the next line's start), or the end of the text.
    size_t Next(size_t line) const { return line + 1 < starts_.size() ? starts_[line + 1] : text_.size(); }
    // The end of the line's content: before its line feed and a carriage return in front of it.
    size_t ContentEnd(size_t line) const {
        size_t end = Next(line);
        if (end > Start(line) && text_[end - 1] == Char('\n')) --end;
        if (end > Start(line) && text_[end - 1] == Char('\r')) --end;
        return end;
    }

   private:
    View text_;
    std::vector<size_t> starts_;
};

// Text of either width as UTF-8 for output: 8-bit text is written as its bytes.
inline std::string ToOutput(std::string_view text) { return std::string(text); }
inline std::string ToOutput(std::u16string_view text) { return Utf16ToUtf8(text); }

}  // namespace scrivix_tool
