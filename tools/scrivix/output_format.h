// What the tool writes: matches as path:line:column:text (highlighted on a terminal) or as JSON lines,
// counts, diffs, and the messages about files that failed or were skipped.
#pragma once

#include "arguments.h"
#include "progress_line.h"
#include "search_driver.h"

#include <string>
#include <string_view>
#include <vector>

namespace scrivix_tool {

class OutputFormat {
   public:
    OutputFormat(const Arguments& args, ProgressLine& progress);
    ~OutputFormat();
    OutputFormat(const OutputFormat&) = delete;
    OutputFormat& operator=(const OutputFormat&) = delete;

    void Matches(const std::string& path, const TextView& text, const std::vector<Match>& matches);
    void Count(const std::string& path, size_t count);
    // A ready-made block of text (a diff), written as it is; in JSON mode as {"type":"diff"}.
    void Diff(const std::string& path, const std::string& diff, size_t replacements);
    // Messages on standard error ("scrivix: path: reason"); in JSON mode also as objects in the stream.
    // Errors make the exit status 2; notices (skipped files, files rewritten) are shown with --verbose.
    void Error(const std::string& path, const std::string& reason);
    void Notice(const std::string& path, const std::string& reason);
    // The last line of a JSON stream; nothing in text mode.
    void Summary(size_t files, size_t matched_files, size_t matches);

    bool had_errors() const { return errors_ > 0; }
    // Writes what is buffered to standard output.
    void Flush();

   private:
    template <class Char>
    void WriteMatches(const std::string& path, std::basic_string_view<Char> text, const std::vector<Match>& matches);
    void Colored(const char* color, std::string_view text);
    void BeginJson(const char* type, const std::string& path);
    void Note(const char* type, const char* field, const std::string& path, const std::string& reason);

    const Arguments& args_;
    ProgressLine& progress_;
    bool color_;
    std::string out_;
    size_t errors_ = 0;
};

}  // namespace scrivix_tool
