// The command line of scrivix: subcommands, their flags and operands, and the help texts.
#pragma once

#include <scrivix/scrivix.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace scrivix_tool {

// A command line that cannot be run; main prints it with a pointer to --help and exits with 2.
class UsageError : public std::runtime_error {
   public:
    using std::runtime_error::runtime_error;
};

enum class Command { Find, Spans, Replace };
enum class ColorMode { Auto, Always, Never };
// The part of a span that is reported or replaced.
enum class SpanPart { Whole, Opening, Closing, Body };

// A pattern text with its pattern_options bits.
struct PatternText {
    std::string text;
    LONG options = poNone;
};

// An opening and a closing pattern; an empty closing text makes a span of the opening occurrence alone.
struct SpanText {
    PatternText opening;
    PatternText closing;
};

struct Arguments {
    Command command = Command::Find;
    bool help = false;
    std::optional<Command> help_topic;  // the command whose help was asked for, if any

    // What is searched for: the target spans (find and replace have one span without closing).
    SpanText target;
    bool nested = false;
    SpanPart part = SpanPart::Whole;
    std::string replacement;
    bool in_place = false;

    // What is stepped over.
    std::vector<SpanText> ignores;
    std::vector<std::string> languages;

    std::vector<std::string> paths;
    ColorMode color = ColorMode::Auto;
    bool count = false;
    bool json = false;
    bool verbose = false;
};

// Parses argv[1..]; throws UsageError. A help request comes back with help set and nothing checked.
Arguments ParseArguments(int argc, const char* const* argv);

// The help of the tool (no command) or of one subcommand.
std::string HelpText(std::optional<Command> command);

}  // namespace scrivix_tool
