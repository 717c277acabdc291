// scrivix: finds occurrences and spans in files and rewrites them, as a client of the Scrivix library.
// main parses the command line and runs one subcommand over every file the walk finds; a failure in one
// file is reported and the run goes on with the next. Exit status: 0 found, 1 nothing found, 2 error.
#include "arguments.h"
#include "com_ref.h"
#include "file_walker.h"
#include "in_place_rewrite.h"
#include "output_format.h"
#include "progress_line.h"
#include "search_driver.h"
#include "text_codec.h"
#include "unified_diff.h"

#include <cstdio>
#include <exception>
#include <string>

namespace scrivix_tool {
namespace {

constexpr int kFound = 0, kNothingFound = 1, kFailed = 2;

// Keeps, of overlapping matches (nested spans), the first: it starts first and so encloses the others.
std::vector<Match> WithoutOverlaps(const std::vector<Match>& matches) {
    std::vector<Match> kept;
    for (const Match& match : matches)
        if (kept.empty() || match.start >= kept.back().end) kept.push_back(match);
    return kept;
}

// Replaces the matches in the segment, last first so that earlier positions stay valid, and returns the
// edits in order of position.
std::vector<Edit> ApplyReplacements(ITextSegment* segment, Width width, const std::vector<Match>& matches,
                                    const std::string& replacement) {
    const Bstr text(width == Width::Narrow ? BytesAsAnsi(replacement) : Utf8ToUtf16(replacement));
    std::vector<Edit> edits;
    for (auto match = matches.rbegin(); match != matches.rend(); ++match)
        Check(segment->Replace(match->start, match->end, text.get()), "replacing");
    for (const Match& match : matches)
        edits.push_back({static_cast<size_t>(match.start), static_cast<size_t>(match.end), text.view().size()});
    return edits;
}

// The whole run of one subcommand; returns the exit status.
int Run(const Arguments& args) {
    ProgressLine progress;
    OutputFormat output(args, progress);
    std::optional<SearchDriver> driver;
    try {
        driver.emplace(args);
    } catch (const ToolError& error) {
        std::fprintf(stderr, "scrivix: %s\n", error.what());
        return kFailed;
    }

    size_t files = 0, matched_files = 0, total = 0;
    const auto search = [&](const std::string& path) {
        try {
            const std::optional<LoadedFile> file = driver->Load(path);
            if (!file) return output.Skipped(path, "binary file skipped");
            ++files;
            std::vector<Match> matches = driver->FindAll(*file);
            size_t bytes = 0;
            if (args.command == Command::Replace) matches = WithoutOverlaps(matches);
            if (!matches.empty()) {
                ++matched_files;
                total += matches.size();
            }
            if (args.command != Command::Replace) {
                const TextView text(file->segment, file->width);
                bytes = text.Visit([](auto view) { return view.size(); });
                if (matches.empty()) {
                } else if (args.count) {
                    output.Count(path, matches.size());
                } else {
                    output.Matches(path, text, matches);
                }
            } else if (!matches.empty()) {
                // The old text is kept for the diff; the view's read lock must go before the buffer changes.
                std::string old_narrow;
                std::u16string old_wide;
                {
                    const TextView text(file->segment, file->width);
                    if (file->width == Width::Narrow) old_narrow = text.narrow();
                    else old_wide = text.wide();
                }
                const std::vector<Edit> edits = ApplyReplacements(file->segment, file->width, matches, args.replacement);
                {
                    const TextView text(file->segment, file->width);
                    bytes = file->width == Width::Narrow ? text.narrow().size() : 2 + 2 * text.wide().size();
                    const std::string diff = file->width == Width::Narrow
                                                 ? UnifiedDiff(path, old_narrow, text.narrow(), edits)
                                                 : UnifiedDiff(path, old_wide, text.wide(), edits);
                    if (!args.in_place) output.Diff(path, diff, matches.size());
                }
                if (args.in_place) {
                    RewriteInPlace(path, file->segment, bytes);
                    if (args.verbose) output.Skipped(path, std::to_string(matches.size()) + " replacements written");
                }
            }
            progress.FileDone(bytes, matches.size());
        } catch (const ToolError& error) {
            output.Error(path, error.what());
        }
    };
    WalkFiles(args.paths, {search, [&](const std::string& path, const std::string& reason) { output.Error(path, reason); },
                           [&](const std::string& path, const std::string& reason) { output.Skipped(path, reason); }});
    output.Summary(files, matched_files, total);
    output.Flush();
    if (output.had_errors()) return kFailed;
    return total ? kFound : kNothingFound;
}

}  // namespace
}  // namespace scrivix_tool

int main(int argc, char** argv) {
    using namespace scrivix_tool;
    try {
        const Arguments args = ParseArguments(argc, argv);
        if (args.help) {
            std::fputs(HelpText(args.help_topic).c_str(), stdout);
            return 0;
        }
        return Run(args);
    } catch (const UsageError& error) {
        std::fprintf(stderr, "scrivix: %s\nTry 'scrivix --help' for more information.\n", error.what());
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "scrivix: %s\n", error.what());
        return 2;
    }
}
