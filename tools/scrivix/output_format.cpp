// The text and JSON forms of the output, buffered and written to standard output in large pieces.
#include "output_format.h"

#include "line_table.h"
#include "text_codec.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace scrivix_tool {
namespace {

// grep's colours: file names magenta, line and column numbers green, separators cyan, matches bold red.
constexpr const char* kPathColor = "\x1b[35m";
constexpr const char* kNumberColor = "\x1b[32m";
constexpr const char* kSeparatorColor = "\x1b[36m";
constexpr const char* kMatchColor = "\x1b[1;31m";
constexpr const char* kReset = "\x1b[0m";

constexpr size_t kFlushThreshold = 1 << 16;

bool UseColor(ColorMode mode) {
    if (mode != ColorMode::Auto) return mode == ColorMode::Always;
    const char* term = std::getenv("TERM");
    return isatty(STDOUT_FILENO) == 1 && !std::getenv("NO_COLOR") && !(term && std::strcmp(term, "dumb") == 0);
}

}  // namespace

OutputFormat::OutputFormat(const Arguments& args, ProgressLine& progress)
    : args_(args), progress_(progress), color_(UseColor(args.color) && !args.json) {}

OutputFormat::~OutputFormat() { Flush(); }

void OutputFormat::Flush() {
    if (out_.empty()) return;
    progress_.Erase();
    std::fwrite(out_.data(), 1, out_.size(), stdout);
    std::fflush(stdout);
    out_.clear();
}

void OutputFormat::Colored(const char* color, std::string_view text) {
    if (color_) out_ += color;
    out_ += text;
    if (color_) out_ += kReset;
}

void OutputFormat::BeginJson(const char* type, const std::string& path) {
    out_ += "{\"type\":\"";
    out_ += type;
    out_ += "\",\"path\":\"";
    AppendJsonString(out_, path);
    out_ += '"';
}

void OutputFormat::Matches(const std::string& path, const TextView& text, const std::vector<Match>& matches) {
    text.Visit([&](auto view) { WriteMatches(path, view, matches); });
    if (out_.size() > kFlushThreshold) Flush();
}

template <class Char>
void OutputFormat::WriteMatches(const std::string& path, std::basic_string_view<Char> text,
                                const std::vector<Match>& matches) {
    LineTable<Char> lines(text);
    const auto slice = [&](size_t from, size_t to) { return ToOutput(text.substr(from, to - from)); };
    for (const Match& match : matches) {
        const size_t start = static_cast<size_t>(match.start), end = static_cast<size_t>(match.end);
        const size_t first = lines.LineOf(start);
        const size_t last = lines.LineOf(end > start ? end - 1 : start);
        const std::string column = std::to_string(slice(lines.Start(first), start).size() + 1);
        if (args_.json) {
            BeginJson("match", path);
            out_ += ",\"line\":" + std::to_string(first + 1) + ",\"column\":" + column;
            out_ += ",\"start\":" + std::to_string(start) + ",\"end\":" + std::to_string(end);
            out_ += ",\"text\":\"";
            AppendJsonString(out_, slice(start, end));
            out_ += "\",\"lines\":\"";
            AppendJsonString(out_, slice(lines.Start(first), lines.ContentEnd(last)));
            out_ += "\"}\n";
            continue;
        }
        for (size_t line = first; line <= last; ++line) {
            // The first line carries the column; lines the match runs on to are marked as grep marks context.
            const char* separator = line == first ? ":" : "-";
            Colored(kPathColor, path);
            Colored(kSeparatorColor, separator);
            Colored(kNumberColor, std::to_string(line + 1));
            Colored(kSeparatorColor, separator);
            if (line == first) {
                Colored(kNumberColor, column);
                Colored(kSeparatorColor, separator);
            }
            const size_t from = lines.Start(line), to = std::max(from, lines.ContentEnd(line));
            const size_t mark_from = std::clamp(start, from, to), mark_to = std::clamp(end, from, to);
            out_ += slice(from, mark_from);
            Colored(kMatchColor, slice(mark_from, mark_to));
            out_ += slice(mark_to, to);
            out_ += '\n';
        }
    }
}

void OutputFormat::Count(const std::string& path, size_t count) {
    if (args_.json) {
        BeginJson("count", path);
        out_ += ",\"count\":" + std::to_string(count) + "}\n";
    } else {
        Colored(kPathColor, path);
        Colored(kSeparatorColor, ":");
        out_ += std::to_string(count) + "\n";
    }
    if (out_.size() > kFlushThreshold) Flush();
}

void OutputFormat::Diff(const std::string& path, const std::string& diff, size_t replacements) {
    if (args_.json) {
        BeginJson("diff", path);
        out_ += ",\"replacements\":" + std::to_string(replacements) + ",\"diff\":\"";
        AppendJsonString(out_, diff);
        out_ += "\"}\n";
    } else {
        out_ += diff;
    }
    if (out_.size() > kFlushThreshold) Flush();
}

void OutputFormat::Note(const char* type, const char* field, const std::string& path, const std::string& reason) {
    Flush();
    progress_.Erase();
    std::fprintf(stderr, "scrivix: %s: %s\n", path.c_str(), reason.c_str());
    if (!args_.json) return;
    BeginJson(type, path);
    out_ += ",\"";
    out_ += field;
    out_ += "\":\"";
    AppendJsonString(out_, reason);
    out_ += "\"}\n";
}

void OutputFormat::Error(const std::string& path, const std::string& reason) {
    ++errors_;
    Note("error", "message", path, reason);
}

void OutputFormat::Notice(const std::string& path, const std::string& reason) {
    if (args_.verbose) Note("notice", "message", path, reason);
}

void OutputFormat::Summary(size_t files, size_t matched_files, size_t matches) {
    if (!args_.json) return;
    out_ += "{\"type\":\"summary\",\"files\":" + std::to_string(files) +
            ",\"matched_files\":" + std::to_string(matched_files) + ",\"matches\":" + std::to_string(matches) +
            ",\"errors\":" + std::to_string(errors_) + "}\n";
    Flush();
}

}  // namespace scrivix_tool
