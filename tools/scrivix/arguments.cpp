// Command-line parsing from one table of flags: each flag names the subcommands that accept it, how many
// values it takes and what it does to the arguments. Short flags may be bundled (-wi); a long flag with
// one value may be written --flag=value; "--" ends the flags.
#include "arguments.h"

#include "language_presets.h"

#include <algorithm>
#include <functional>
#include <span>
#include <string_view>

namespace scrivix_tool {
namespace {

constexpr unsigned kFind = 1, kSpans = 2, kReplace = 4, kAll = kFind | kSpans | kReplace;

unsigned Bit(Command command) {
    switch (command) {
        case Command::Find: return kFind;
        case Command::Spans: return kSpans;
        case Command::Replace: return kReplace;
    }
    return 0;
}

struct Flag {
    std::string_view long_name;
    char short_name;
    unsigned commands;
    int values;
    std::function<void(Arguments&, std::span<const std::string>)> apply;
};

// The target's pattern options go to its opening and its closing alike.
auto TargetOption(LONG option) {
    return [option](Arguments& args, std::span<const std::string>) {
        args.target.opening.options |= option;
        args.target.closing.options |= option;
    };
}

auto IgnorePattern(LONG options) {
    return [options](Arguments& args, std::span<const std::string> values) {
        args.ignores.push_back({{values[0], options}, {}});
    };
}

auto IgnoreSpan(LONG options) {
    return [options](Arguments& args, std::span<const std::string> values) {
        if (values[1].empty()) throw UsageError("--ignore-span needs a closing pattern");
        args.ignores.push_back({{values[0], options}, {values[1], options}});
    };
}

SpanPart ParsePart(const std::string& value) {
    if (value == "whole") return SpanPart::Whole;
    if (value == "opening") return SpanPart::Opening;
    if (value == "closing") return SpanPart::Closing;
    if (value == "body") return SpanPart::Body;
    throw UsageError("--what takes opening, closing, body or whole, not '" + value + "'");
}

ColorMode ParseColor(const std::string& value) {
    if (value == "auto") return ColorMode::Auto;
    if (value == "always") return ColorMode::Always;
    if (value == "never") return ColorMode::Never;
    throw UsageError("--color takes auto, always or never, not '" + value + "'");
}

const std::vector<Flag>& Flags() {
    static const std::vector<Flag> flags = {
        {"word", 'w', kAll, 0, TargetOption(poWholeWord)},
        {"ignore-case", 'i', kAll, 0, TargetOption(poIgnoreCase)},
        {"skip-spaces", 's', kAll, 0, TargetOption(poSkipSpaces)},
        {"regex", 'e', kAll, 0, TargetOption(poRegExpression)},
        {"ignore", 0, kAll, 1, IgnorePattern(poNone)},
        {"ignore-regex", 0, kAll, 1, IgnorePattern(poRegExpression)},
        {"ignore-word", 0, kAll, 1, IgnorePattern(poWholeWord)},
        {"ignore-span", 0, kAll, 2, IgnoreSpan(poNone)},
        {"ignore-span-regex", 0, kAll, 2, IgnoreSpan(poRegExpression)},
        {"lang", 0, kAll, 1,
         [](Arguments& args, std::span<const std::string> values) {
             if (!FindPreset(values[0])) throw UsageError("unknown language '" + values[0] + "' (" + PresetNames() + ")");
             args.languages.push_back(values[0]);
         }},
        {"nested", 0, kSpans | kReplace, 0, [](Arguments& args, auto) { args.nested = true; }},
        {"what", 0, kSpans | kReplace, 1,
         [](Arguments& args, std::span<const std::string> values) { args.part = ParsePart(values[0]); }},
        {"span", 0, kReplace, 2,
         [](Arguments& args, std::span<const std::string> values) {
             args.target.opening.text = values[0];
             args.target.closing.text = values[1];
         }},
        {"in-place", 0, kReplace, 0, [](Arguments& args, auto) { args.in_place = true; }},
        {"count", 'c', kFind | kSpans, 0, [](Arguments& args, auto) { args.count = true; }},
        {"json", 0, kAll, 0, [](Arguments& args, auto) { args.json = true; }},
        {"color", 0, kAll, 1,
         [](Arguments& args, std::span<const std::string> values) { args.color = ParseColor(values[0]); }},
        {"verbose", 'v', kAll, 0, [](Arguments& args, auto) { args.verbose = true; }},
        {"help", 'h', kAll, 0, [](Arguments& args, auto) { args.help = true; }},
    };
    return flags;
}

const Flag& Lookup(std::string_view name, char short_name, Command command) {
    for (const Flag& flag : Flags()) {
        const bool named = short_name ? flag.short_name == short_name : flag.long_name == name;
        if (!named) continue;
        if (!(flag.commands & Bit(command))) break;
        return flag;
    }
    const std::string shown = short_name ? std::string("-") + short_name : "--" + std::string(name);
    throw UsageError("unknown option " + shown);
}

std::optional<Command> ParseCommand(std::string_view word) {
    if (word == "find") return Command::Find;
    if (word == "spans") return Command::Spans;
    if (word == "replace") return Command::Replace;
    return std::nullopt;
}

// Hands the operands out to the subcommand's positions; the rest are paths.
void PlaceOperands(Arguments& args, std::vector<std::string> operands, bool span_given) {
    std::vector<std::string*> slots;
    switch (args.command) {
        case Command::Find: slots = {&args.target.opening.text}; break;
        case Command::Spans: slots = {&args.target.opening.text, &args.target.closing.text}; break;
        case Command::Replace:
            if (span_given) slots = {&args.replacement};
            else slots = {&args.target.opening.text, &args.replacement};
            break;
    }
    if (operands.size() < slots.size()) throw UsageError("missing operands");
    for (size_t i = 0; i < slots.size(); ++i) *slots[i] = std::move(operands[i]);
    args.paths.assign(std::make_move_iterator(operands.begin() + static_cast<long>(slots.size())),
                      std::make_move_iterator(operands.end()));
    if (args.target.opening.text.empty()) throw UsageError("the pattern is empty");
    if (args.command == Command::Spans && args.target.closing.text.empty())
        throw UsageError("the closing pattern is empty");
}

}  // namespace

Arguments ParseArguments(int argc, const char* const* argv) {
    Arguments args;
    if (argc < 2) throw UsageError("no command given");
    const std::string_view first = argv[1];
    if (first == "-h" || first == "--help" || first == "help") {
        args.help = true;
        return args;
    }
    const std::optional<Command> command = ParseCommand(first);
    if (!command) throw UsageError("unknown command '" + std::string(first) + "'");
    args.command = *command;

    std::vector<std::string> operands;
    bool span_given = false;
    bool flags_ended = false;
    for (int at = 2; at < argc; ++at) {
        const std::string_view word = argv[at];
        if (flags_ended || word.size() < 2 || word[0] != '-') {
            operands.emplace_back(word);
            continue;
        }
        if (word == "--") {
            flags_ended = true;
            continue;
        }
        // Collects a flag's values: an inline "=value" first, then the following words.
        const auto run = [&](const Flag& flag, std::optional<std::string> inline_value) {
            std::vector<std::string> values;
            if (inline_value) values.push_back(std::move(*inline_value));
            while (static_cast<int>(values.size()) < flag.values) {
                if (++at >= argc) throw UsageError("--" + std::string(flag.long_name) + " needs a value");
                values.emplace_back(argv[at]);
            }
            if (static_cast<int>(values.size()) > flag.values)
                throw UsageError("--" + std::string(flag.long_name) + " takes no value");
            flag.apply(args, values);
            if (flag.long_name == "span") span_given = true;
        };
        if (word.starts_with("--")) {
            const std::string_view body = word.substr(2);
            const size_t equals = body.find('=');
            std::optional<std::string> inline_value;
            if (equals != std::string_view::npos) inline_value = std::string(body.substr(equals + 1));
            run(Lookup(body.substr(0, equals), 0, args.command), std::move(inline_value));
        } else {
            for (const char letter : word.substr(1)) {
                const Flag& flag = Lookup({}, letter, args.command);
                if (flag.values) throw UsageError(std::string("-") + letter + " takes a value; use its long form");
                run(flag, std::nullopt);
            }
        }
    }
    if (args.help) {
        args.help_topic = args.command;
        return args;
    }
    PlaceOperands(args, std::move(operands), span_given);
    if (args.in_place && args.json) throw UsageError("--json and --in-place do not go together");
    return args;
}

std::string HelpText(std::optional<Command> command) {
    static const std::string common =
        "\n"
        "Pattern options (for the pattern, or the opening and closing of a span):\n"
        "  -w, --word           whole words only (bounded by white space or the ends of the file)\n"
        "  -i, --ignore-case    compare letters A-Z without case\n"
        "  -s, --skip-spaces    white space in the pattern also matches a run of other white space\n"
        "  -e, --regex          the pattern is a regular expression:\n"
        "                       . [a-z] [^...] * + ? ^ $ (line start and end), ~ # (with the line break),\n"
        "                       \\t \\n \\s \\xHH \\^C; no groups or alternatives\n"
        "\n"
        "Stepping over text (repeatable; matches inside are not reported):\n"
        "  --ignore PAT, --ignore-regex PAT, --ignore-word PAT\n"
        "                       occurrences of an ignore pattern\n"
        "  --ignore-span OPEN CLOSE, --ignore-span-regex OPEN CLOSE\n"
        "                       everything from OPEN to the next CLOSE\n"
        "  --lang NAME          the comments and strings of a language: " +
        PresetNames() +
        "\n"
        "\n"
        "Output:\n"
        "  --color=WHEN         highlight matches: auto (on a terminal), always, never\n"
        "  --json               one JSON object per line on standard output\n"
        "  -v, --verbose        also say which files were skipped (binary) and why\n"
        "  -h, --help           this help\n"
        "\n"
        "Without PATH the current directory is searched; directories are searched recursively.\n"
        "Files that start with the mark FF FE are read as UTF-16; files with a NUL byte in their first\n"
        "8 KiB are binary and skipped. Exit status: 0 something found, 1 nothing found, 2 an error.\n";
    if (!command) {
        return "usage: scrivix COMMAND [OPTIONS] ...\n"
               "\n"
               "Finds and rewrites text with the Scrivix library.\n"
               "\n"
               "Commands:\n"
               "  find PATTERN [PATH...]                 every occurrence of a pattern\n"
               "  spans OPEN CLOSE [PATH...]             spans from OPEN to CLOSE (balanced with --nested)\n"
               "  replace PATTERN REPLACEMENT [PATH...]  replace occurrences (a diff, or --in-place)\n"
               "\n"
               "Run 'scrivix COMMAND --help' for the options of a command. Examples:\n"
               "  scrivix find --lang c log_message src/\n"
               "  scrivix spans --nested '{' '}' --what body main.c\n"
               "  scrivix replace -w old_name new_name src/ --in-place\n";
    }
    switch (*command) {
        case Command::Find:
            return "usage: scrivix find [OPTIONS] PATTERN [PATH...]\n"
                   "\n"
                   "Prints every occurrence as path:line:column:text.\n"
                   "  -c, --count          print path:count for each file with occurrences\n" +
                   common;
        case Command::Spans:
            return "usage: scrivix spans [OPTIONS] OPEN CLOSE [PATH...]\n"
                   "\n"
                   "Prints every span that runs from an occurrence of OPEN to the next CLOSE, as\n"
                   "path:line:column:text (the lines it covers; following lines as path-line-text).\n"
                   "Spans inside a span are reported too.\n"
                   "  --nested             count nested OPEN and CLOSE to find the balancing CLOSE\n"
                   "  --what PART          report opening, closing, body or whole (the default)\n"
                   "  -c, --count          print path:count for each file with spans\n" +
                   common;
        case Command::Replace:
            return "usage: scrivix replace [OPTIONS] PATTERN REPLACEMENT [PATH...]\n"
                   "       scrivix replace [OPTIONS] --span OPEN CLOSE REPLACEMENT [PATH...]\n"
                   "\n"
                   "Replaces every occurrence (or span) and prints the changes as a unified diff; the\n"
                   "files are not touched unless --in-place is given. Overlapping spans are replaced\n"
                   "once, the outer one.\n"
                   "  --in-place           rewrite the files (each through a temporary file beside it,\n"
                   "                       renamed over the original; its mode is kept)\n"
                   "  --span OPEN CLOSE    replace spans instead of occurrences of a pattern\n"
                   "  --nested, --what PART  as for spans\n" +
                   common;
    }
    return {};
}

}  // namespace scrivix_tool
