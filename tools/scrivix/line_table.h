// The lines of a text: where each begins, which line holds a position, and each line's content without
// its line break. Lines end at line feeds; a carriage return before the line feed belongs to the break.
#pragma once

#include "text_codec.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace scrivix_tool {

// Line feeds are looked for only as far as a question needs: the lines of a few matches near the top of
// a large file cost a scan of the top only.
template <class Char>
class LineTable {
   public:
    using View = std::basic_string_view<Char>;

    explicit LineTable(View text) : text_(text) { starts_.push_back(0); }

    View text() const { return text_; }
    // Lines including the empty one after a final line feed.
    size_t count() {
        ScanThrough(text_.size());
        return starts_.size();
    }
    size_t LineOf(size_t position) {
        ScanThrough(position);
        return static_cast<size_t>(std::upper_bound(starts_.begin(), starts_.end(), position) - starts_.begin()) - 1;
    }
    // Start, Next and ContentEnd take a line that LineOf or count gave.
    size_t Start(size_t line) const { return starts_[line]; }
    // The position after the line's line feed (the next line's start), or the end of the text.
    size_t Next(size_t line) {
        ScanThrough(starts_[line]);
        return line + 1 < starts_.size() ? starts_[line + 1] : text_.size();
    }
    // The end of the line's content: before its line feed and a carriage return in front of it.
    size_t ContentEnd(size_t line) {
        size_t end = Next(line);
        if (end > Start(line) && text_[end - 1] == Char('\n')) --end;
        if (end > Start(line) && text_[end - 1] == Char('\r')) --end;
        return end;
    }

   private:
    // Records line starts until one lies beyond position (or the text ends).
    void ScanThrough(size_t position) {
        while (scanned_ <= position && scanned_ < text_.size()) {
            const size_t feed = text_.find(Char('\n'), scanned_);
            if (feed == View::npos) {
                scanned_ = text_.size();
            } else {
                starts_.push_back(feed + 1);
                scanned_ = feed + 1;
            }
        }
    }

    View text_;
    std::vector<size_t> starts_;
    size_t scanned_ = 0;  // every line feed before this position is recorded
};

// Text of either width as UTF-8 for output: 8-bit text is written as its bytes.
inline std::string ToOutput(std::string_view text) { return std::string(text); }
inline std::string ToOutput(std::u16string_view text) { return Utf16ToUtf8(text); }

}  // namespace scrivix_tool
