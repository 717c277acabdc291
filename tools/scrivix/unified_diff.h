// The unified diff of a file before and after its replacements. The replaced ranges are known, so no
// general difference search is needed: each edit marks the lines it touches, the new lines come from the
// text after the edits at the same place, and hunks gather edits whose three lines of context meet.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace scrivix_tool {

// The old characters [start, end) became length new characters. Edits are in order and do not overlap.
struct Edit {
    size_t start;
    size_t end;
    size_t length;
};

// "--- a/path", "+++ b/path" and the hunks; 16-bit text is written as UTF-8.
std::string UnifiedDiff(const std::string& path, std::string_view before, std::string_view after,
                        const std::vector<Edit>& edits);
std::string UnifiedDiff(const std::string& path, std::u16string_view before, std::u16string_view after,
                        const std::vector<Edit>& edits);

}  // namespace scrivix_tool
