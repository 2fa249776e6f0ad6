// The manual page, read as man(1) shows it: through groff, the formatter man uses.
#include "thumbnailer/ManPage.h"

#include "thumbnailer/Cli.h"

#include "tests/support/ScratchFolder.h"

#include <CLI/CLI.hpp>
#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <regex>
#include <sstream>

using namespace qmtest;

namespace {

struct Rendered {
    std::string text;
    std::string warnings;
};

// The page as plain ASCII text, one line per paragraph (no filling, so no hyphenation), with
// groff's warnings.
Rendered render(std::string const& page)
{
    ScratchFolder folder;
    std::string source = folder.write("page.1", page);
    std::string command = "groff -man -Tascii -P-cbou -rLL=5000n -ww '" + source + "' 2>'" + (folder / "warnings") + "'";
    Rendered result;
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr)
        return result;
    char buffer[4096];
    for (size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        result.text.append(buffer, n);
    pclose(pipe);
    result.warnings = readText(folder / "warnings");
    return result;
}

std::string collapseBlanks(std::string const& text)
{
    std::string result;
    for (char c : text) {
        bool blank = c == ' ' || c == '\n' || c == '\t';
        if (blank && (result.empty() || result.back() == ' '))
            continue;
        result += blank ? ' ' : c;
    }
    if (!result.empty() && result.back() == ' ')
        result.pop_back();
    return result;
}

// The rendered lines from the heading `from` (a whole line) up to the next heading of the same
// or a higher level, which is indented as much or less.
std::string section(std::string const& text, std::string const& from)
{
    size_t start = ("\n" + text).find("\n" + from + "\n");
    if (start == std::string::npos)
        return "";
    start += from.size() + 1;
    size_t indent = from.find_first_not_of(' ');
    std::istringstream in(text.substr(start));
    std::string result;
    for (std::string line; std::getline(in, line);) {
        size_t lineIndent = line.find_first_not_of(' ');
        if (lineIndent != std::string::npos && lineIndent <= indent)
            break;
        result += line + "\n";
    }
    return result;
}

struct CliHelp {
    std::string out;
    int code;
};

CliHelp help(std::vector<std::string> args)
{
    args.insert(args.begin(), "quillmoor-thumbnailer");
    std::vector<char const*> argv;
    for (auto const& a : args)
        argv.push_back(a.c_str());
    std::ostringstream out, err;
    int code = qm::runCli(int(argv.size()), argv.data(), out, err);
    return {out.str(), code};
}

std::string realPage()
{
    std::ostringstream out, err;
    qm::CliContext context{out, err};
    CLI::App app;
    qm::buildCli(app, context);
    qm::ManPageText text;
    text.summary = "thumbnails";
    return qm::manPage(app, text);
}

// Texts that roff would read as requests, escapes or quotes, in every position.
std::string hostileText(std::mt19937& random)
{
    static char const* const pieces[] = {".", "'", "\\", "\\fB", "-", "--x", "\"", ".TH X", "'br", ". ", "a",
                                         "word", " ", "\n", "\n\n", "\\-", "%", "\\\\n", ".SH", "&"};
    std::string text = "start ";
    int count = 1 + int(random() % 12);
    for (int i = 0; i < count; ++i)
        text += pieces[random() % (sizeof pieces / sizeof *pieces)];
    return text + " end";
}

// A heading's text: no line breaks, but quotes, backslashes and dots.
std::string hostileTitle(std::mt19937& random)
{
    static char const* const pieces[] = {"\"", "\\", ".", "'", " ", "A", "Notes", "-"};
    std::string title = "T";
    for (int i = 0, count = 1 + int(random() % 6); i < count; ++i)
        title += pieces[random() % (sizeof pieces / sizeof *pieces)];
    return title + "E";
}

TEST(ManPage, AnyTextReadsBackAsWritten)
{
    std::mt19937 random(7);
    for (int round = 0; round < 60; ++round) {
        std::vector<std::string> written = {hostileText(random), hostileText(random), hostileText(random),
                                            hostileText(random), hostileText(random), hostileTitle(random)};
        CLI::App app(written[0], "prog");
        CLI::App* command = app.add_subcommand("run", written[1]);
        std::string value;
        command->add_option("--what", value, written[2]);
        qm::ManPageText text;
        text.summary = "a program";
        text.description = {written[3]};
        text.sections = {{written[5], {written[4]}}};
        Rendered out = render(qm::manPage(app, text));
        std::string seen = collapseBlanks(out.text);
        for (std::string const& each : written)
            EXPECT_NE(seen.find(collapseBlanks(each)), std::string::npos) << each << "\n--- page:\n" << out.text;
        EXPECT_EQ(out.warnings, "") << testing::PrintToString(written);
    }
}

TEST(ManPage, NameLineIsWhatisForm)
{
    Rendered out = render(realPage());
    EXPECT_NE(out.text.find("\nNAME\n       quillmoor-thumbnailer - thumbnails\n"), std::string::npos) << out.text;
}

// What --help shows of one option or argument.
struct HelpItem {
    std::string names;     // "-s, --size", "INPUT"
    std::string value;     // "SIZE"; for an argument its type, "TEXT"
    std::string accepted;  // "INT in [1 - 16384]"
    std::string fallback;  // "256"
    bool repeats = false;  // an argument that takes several values
};

// The items of a --help text: CLI11 writes "  -s,--size SIZE:INT in [1 - 16384]=256" and
// "  FILE TEXT ... REQUIRED" under "Options:" and "Positionals:".
std::vector<HelpItem> helpItems(std::string const& help)
{
    static std::regex const item(
        R"(^  ((?:-[-a-z]+,?)+|[A-Z]+)(?: ([A-Z]+)(?::(.*?))?(?:=(\S+))?( \.\.\.)?)?(?: REQUIRED)?(?:  |$))");
    std::vector<HelpItem> items;
    std::istringstream in(help);
    bool inList = false;
    for (std::string line; std::getline(in, line);) {
        if (line == "Options:" || line == "Positionals:") {
            inList = true;
            continue;
        }
        if (line.empty() || line.back() == ':')
            inList = false;
        std::smatch m;
        if (!inList || !std::regex_search(line, m, item))
            continue;
        HelpItem h{m[1], m[2], m[3], m[4], m[5].matched};
        for (size_t comma = h.names.find(','); comma != std::string::npos; comma = h.names.find(',', comma + 2))
            h.names.replace(comma, 1, ", ");
        items.push_back(h);
    }
    return items;
}

// Every option and argument --help shows for a command is in that command's part of the page: in
// its synopsis line, and in its list with value name, accepted values and default as --help says
// them. The page renders without a warning.
TEST(ManPage, EveryCommandAndOptionOfHelpIsDocumented)
{
    Rendered out = render(realPage());
    EXPECT_EQ(out.warnings, "");
    std::string commands = section(out.text, "COMMANDS");
    std::string options = section(out.text, "OPTIONS");
    ASSERT_NE(commands, "");
    int itemsSeen = 0;
    for (std::string name : {"info", "extract", "thumbnail", "cache"}) {
        std::string part = section(commands, "   " + name);
        std::string synopsis = part.substr(0, part.find('\n'));
        std::string list = part.substr(synopsis.size());
        EXPECT_EQ(synopsis.find("       quillmoor-thumbnailer " + name + " "), 0u) << part;
        CliHelp h = help({name, "--help"});
        ASSERT_EQ(h.code, 0);
        for (HelpItem const& item : helpItems(h.out)) {
            ++itemsSeen;
            std::string where = name + ": " + item.names;
            if (item.names == "-h, --help") {  // documented once, with the program's options
                EXPECT_EQ(part.find("--help"), std::string::npos) << part;
                EXPECT_NE(options.find(item.names), std::string::npos);
                EXPECT_EQ(options.find(item.names), options.rfind(item.names)) << options;
                continue;
            }
            bool positional = item.names[0] != '-';
            std::string tag = positional ? item.names : item.names + (item.value.empty() ? "" : " " + item.value);
            EXPECT_NE(list.find("\n       " + tag + (positional && item.repeats ? "..." : "")), std::string::npos)
                << where << ":\n" << list;
            if (positional) {
                EXPECT_EQ(list.find(item.names + " " + item.value), std::string::npos) << where;
                std::string shown = item.names + (item.repeats ? "..." : "");
                EXPECT_NE((synopsis + " ").find(" " + shown + " "), std::string::npos) << where << ": " << synopsis;
            } else {
                std::string first = item.names.substr(0, item.names.find(','));
                std::string shown = "[" + first + (item.value.empty() ? "" : " " + item.value) + "]";
                EXPECT_NE(synopsis.find(shown), std::string::npos) << where << ": " << synopsis;
            }
            if (!item.accepted.empty()) {
                EXPECT_NE(list.find("Accepts " + item.accepted + "."), std::string::npos) << where;
            }
            if (!item.fallback.empty()) {
                EXPECT_NE(list.find(". Default: " + item.fallback + "."), std::string::npos) << where << list;
            }
        }
    }
    EXPECT_GE(itemsSeen, 15);
    // Sentences are joined with one full stop.
    EXPECT_FALSE(std::regex_search(out.text, std::regex(R"([^.]\.\.[^.]|[^.] Default:)"))) << out.text;
}

// The page opens its description with the sentence --help opens with, and its exit status list
// is the one --help ends with ("Exit codes:", then "  2  wrong usage: ..."), in the same order.
TEST(ManPage, DescriptionAndExitStatusAreWhatHelpSays)
{
    Rendered out = render(realPage());
    CliHelp h = help({"--help"});
    ASSERT_EQ(h.code, 0);
    std::string description = h.out.substr(0, h.out.find('\n'));
    EXPECT_NE(description.rfind("Usage", 0), 0u) << h.out;
    EXPECT_EQ(collapseBlanks(section(out.text, "DESCRIPTION")).find(description), 0u) << out.text;

    std::string exits = section(out.text, "EXIT STATUS");
    std::string codes;
    std::istringstream page(exits);
    for (std::string line; std::getline(page, line);)
        if (line.size() > 7 && line.compare(0, 7, "       ") == 0 && std::isdigit(static_cast<unsigned char>(line[7])))
            codes += line[7];
    EXPECT_EQ(codes, "023456") << exits;

    size_t footer = h.out.find("\nExit codes:\n");
    ASSERT_NE(footer, std::string::npos) << h.out;
    std::istringstream listed(h.out.substr(footer + 1));
    std::string helpCodes;
    std::smatch m;
    for (std::string line; std::getline(listed, line);)
        if (std::regex_match(line, m, std::regex(R"(  (\d)  (.+))"))) {
            helpCodes += m.str(1);
            EXPECT_NE(collapseBlanks(exits).find(m.str(1) + " " + m.str(2)), std::string::npos) << line;
        }
    EXPECT_EQ(helpCodes, codes);
}

} // namespace
