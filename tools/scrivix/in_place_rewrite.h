// Rewrites a file from a text segment so that the file is at every moment either wholly old or wholly
// new: the segment is written to a temporary file in the same directory, which takes the original's
// mode (and owner, where allowed), is flushed to disk, and is then renamed over the original.
#pragma once

#include <scrivix/scrivix.h>

#include <cstddef>
#include <string>

namespace scrivix_tool {

// Writes segment's text over path. expected_bytes is the size the written file must have; anything else
// (or any failure) leaves the original untouched, removes the temporary file and throws ToolError.
void RewriteInPlace(const std::string& path, ITextSegment* segment, size_t expected_bytes);

}  // namespace scrivix_tool
