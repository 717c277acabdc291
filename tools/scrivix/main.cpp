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

// One run of a subcommand over every file of the walk.
class Session {
   public:
    explicit Session(const Arguments& args) : args_(args), output_(args, progress_) {}

    // Returns the exit status.
    int Run() {
        try {
            driver_.emplace(args_);
        } catch (const ToolError& error) {
            std::fprintf(stderr, "scrivix: %s\n", error.what());
            return kFailed;
        }
        const auto fail = [&](const std::string& path, const std::string& reason) { output_.Error(path, reason); };
        const auto skip = [&](const std::string& path, const std::string& reason) { output_.Notice(path, reason); };
        WalkFiles(args_.paths, {[&](const std::string& path) { Visit(path); }, fail, skip});
        output_.Summary(files_, matched_files_, matches_);
        output_.Flush();
        if (output_.had_errors()) return kFailed;
        return matches_ ? kFound : kNothingFound;
    }

   private:
    void Visit(const std::string& path) {
        try {
            const std::optional<LoadedFile> file = driver_->Load(path);
            if (!file) return output_.Notice(path, "binary file skipped");
            ++files_;
            std::vector<Match> matches = driver_->FindAll(*file);
            if (args_.command == Command::Replace) matches = WithoutOverlaps(matches);
            if (!matches.empty()) ++matched_files_;
            matches_ += matches.size();
            const size_t bytes = args_.command == Command::Replace ? Replace(*file, matches) : Report(*file, matches);
            progress_.FileDone(bytes, matches.size());
        } catch (const ToolError& error) {
            output_.Error(path, error.what());
        }
    }

    // Prints the matches; returns the size of the file in characters.
    size_t Report(const LoadedFile& file, const std::vector<Match>& matches) {
        const TextView text(file.segment, file.width);
        if (!matches.empty() && args_.count) output_.Count(file.path, matches.size());
        if (!matches.empty() && !args_.count) output_.Matches(file.path, text, matches);
        return text.Visit([](auto view) { return view.size(); });
    }

    // Replaces the matches in the buffer, then prints the diff or rewrites the file; returns the size of
    // the new file in bytes.
    size_t Replace(const LoadedFile& file, const std::vector<Match>& matches) {
        if (matches.empty()) return 0;
        // The old text is kept for the diff; the view's read lock must go before the buffer changes.
        std::string old_narrow;
        std::u16string old_wide;
        {
            const TextView text(file.segment, file.width);
            if (file.width == Width::Narrow) old_narrow = text.narrow();
            else old_wide = text.wide();
        }
        const std::vector<Edit> edits = ApplyReplacements(file.segment, file.width, matches, args_.replacement);
        size_t bytes = 0;
        {
            const TextView text(file.segment, file.width);
            // A 16-bit file is written with its mark FF FE.
            bytes = file.width == Width::Narrow ? text.narrow().size() : 2 + 2 * text.wide().size();
            if (!args_.in_place)
                output_.Diff(file.path,
                             file.width == Width::Narrow ? UnifiedDiff(file.path, old_narrow, text.narrow(), edits)
                                                         : UnifiedDiff(file.path, old_wide, text.wide(), edits),
                             matches.size());
        }
        if (args_.in_place) {
            RewriteInPlace(file.path, file.segment, bytes);
            output_.Notice(file.path, std::to_string(matches.size()) + " replaced in place");
        }
        return bytes;
    }

    const Arguments& args_;
    ProgressLine progress_;
    OutputFormat output_;
    std::optional<SearchDriver> driver_;
    size_t files_ = 0, matched_files_ = 0, matches_ = 0;
};

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
        return Session(args).Run();
    } catch (const UsageError& error) {
        std::fprintf(stderr, "scrivix: %s\nTry 'scrivix --help' for more information.\n", error.what());
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "scrivix: %s\n", error.what());
        return 2;
    }
}
