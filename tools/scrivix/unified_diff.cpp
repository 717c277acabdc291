// Hunks from known edits.
#include "unified_diff.h"

#include "line_table.h"

#include <algorithm>

namespace scrivix_tool {
namespace {

constexpr size_t kContext = 3;

// A run of old lines [first, last] that edits changed, and where its new text lies.
struct Change {
    size_t first;
    size_t last;
    size_t new_start;  // position in the new text of the first line's start
    size_t new_end;    // position in the new text of the end of the last line (after its line feed)
};

// Counts lines as a diff does: a last line without line feed is a line too.
template <class Char>
size_t CountLines(std::basic_string_view<Char> text) {
    const size_t feeds = static_cast<size_t>(std::count(text.begin(), text.end(), Char('\n')));
    return feeds + (!text.empty() && text.back() != Char('\n') ? 1 : 0);
}

template <class Char>
void AppendLines(std::string& out, char mark, std::basic_string_view<Char> text) {
    size_t at = 0;
    while (at < text.size()) {
        size_t end = text.find(Char('\n'), at);
        const bool terminated = end != std::basic_string_view<Char>::npos;
        end = terminated ? end + 1 : text.size();
        out += mark;
        out += ToOutput(text.substr(at, end - at));
        if (!terminated) out += "\n\\ No newline at end of file\n";
        at = end;
    }
}

std::string Range(size_t start, size_t count) {
    // A range of no lines names the line before it; a range of one line is its number alone.
    if (count == 1) return std::to_string(start + 1);
    return std::to_string(count ? start + 1 : start) + "," + std::to_string(count);
}

template <class Char>
std::string Diff(const std::string& path, std::basic_string_view<Char> before, std::basic_string_view<Char> after,
                 const std::vector<Edit>& edits) {
    LineTable<Char> old_lines(before);
    // Edits on the same or neighbouring lines make one change, so that its removed lines come before its
    // added ones. delta: how far the new text is shifted so far.
    std::vector<Change> changes;
    long long delta = 0;
    for (const Edit& edit : edits) {
        const size_t first = old_lines.LineOf(edit.start);
        const size_t last = old_lines.LineOf(edit.end > edit.start ? edit.end - 1 : edit.start);
        if (changes.empty() || first > changes.back().last + 1)
            changes.push_back({first, last, static_cast<size_t>(static_cast<long long>(old_lines.Start(first)) + delta), 0});
        Change& change = changes.back();
        change.last = std::max(change.last, last);
        delta += static_cast<long long>(edit.length) - static_cast<long long>(edit.end - edit.start);
        change.new_end = static_cast<size_t>(static_cast<long long>(old_lines.Next(change.last)) + delta);
    }

    const auto old_text = [&](size_t first, size_t last) {
        return before.substr(old_lines.Start(first), old_lines.Next(last) - old_lines.Start(first));
    };
    const size_t line_count = old_lines.count();
    std::string out = "--- a/" + path + "\n+++ b/" + path + "\n";
    long long line_shift = 0;  // new line number minus old line number before the current hunk
    for (size_t at = 0; at < changes.size();) {
        // Gather the changes whose contexts meet into one hunk.
        size_t end = at + 1;
        while (end < changes.size() && changes[end].first <= changes[end - 1].last + 2 * kContext + 1) ++end;
        const size_t hunk_first = changes[at].first > kContext ? changes[at].first - kContext : 0;
        const size_t hunk_last = std::min(line_count - 1, changes[end - 1].last + kContext);

        std::string body;
        size_t old_count = 0, new_count = 0;
        size_t line = hunk_first;
        const auto context = [&](size_t upto) {  // old lines [line, upto) unchanged
            if (line >= upto) return;
            const auto text = old_text(line, upto - 1);
            AppendLines(body, ' ', text);
            old_count += CountLines(text);
            new_count += CountLines(text);
            line = upto;
        };
        long long hunk_shift = line_shift;
        for (size_t c = at; c < end; ++c) {
            const Change& change = changes[c];
            context(change.first);
            const auto removed = old_text(change.first, change.last);
            const auto added = after.substr(change.new_start, change.new_end - change.new_start);
            AppendLines(body, '-', removed);
            AppendLines(body, '+', added);
            old_count += CountLines(removed);
            new_count += CountLines(added);
            line_shift += static_cast<long long>(CountLines(added)) - static_cast<long long>(CountLines(removed));
            line = change.last + 1;
        }
        context(hunk_last + 1);
        const size_t new_first = static_cast<size_t>(static_cast<long long>(hunk_first) + hunk_shift);
        out += "@@ -" + Range(hunk_first, old_count) + " +" + Range(new_first, new_count) + " @@\n" + body;
        at = end;
    }
    return out;
}

}  // namespace

std::string UnifiedDiff(const std::string& path, std::string_view before, std::string_view after,
                        const std::vector<Edit>& edits) {
    return Diff(path, before, after, edits);
}

std::string UnifiedDiff(const std::string& path, std::u16string_view before, std::u16string_view after,
                        const std::vector<Edit>& edits) {
    return Diff(path, before, after, edits);
}

}  // namespace scrivix_tool
