// The manual page, read as man(1) shows it: through groff, the formatter man uses.
#include "thumbnailer/ManPage.h"

#include "thumbnailer/Cli.h"

#include "tests/support/ScratchFolder.h"

#include <CLI/CLI.hpp>
#include <gtest/gtest.h>

#include <cstdio>
#include <map>
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

TEST(ManPage, AnyTextReadsBackAsWritten)
{
    std::mt19937 random(7);
    for (int round = 0; round < 60; ++round) {
        std::string description = hostileText(random);
        std::string optionText = hostileText(random);
        std::string paragraph = hostileText(random);
        CLI::App app(description, "prog");
        CLI::App* command = app.add_subcommand("run", "Runs.");
        std::string value;
        command->add_option("--what", value, optionText);
        qm::ManPageText text;
        text.summary = "a program";
        text.sections = {{"NOTES", {paragraph}}};
        Rendered out = render(qm::manPage(app, text));
        std::string seen = collapseBlanks(out.text);
        for (std::string const& written : {description, optionText, paragraph})
            EXPECT_NE(seen.find(collapseBlanks(written)), std::string::npos) << written << "\n--- page:\n" << out.text;
        EXPECT_EQ(out.warnings, "") << description << " | " << optionText << " | " << paragraph;
    }
}

TEST(ManPage, NameLineIsWhatisForm)
{
    Rendered out = render(realPage());
    EXPECT_NE(out.text.find("\nNAME\n       quillmoor-thumbnailer - thumbnails\n"), std::string::npos) << out.text;
}

// Every option and argument --help shows for a command, with its value name and default, is in
// that command's part of the page; the page renders without a warning.
TEST(ManPage, EveryCommandAndOptionOfHelpIsDocumented)
{
    Rendered out = render(realPage());
    EXPECT_EQ(out.warnings, "");
    std::string commands = section(out.text, "COMMANDS");
    std::string options = section(out.text, "OPTIONS");
    ASSERT_NE(commands, "");
    std::map<std::string, std::string> partOf = {{"", options}};
    for (std::string name : {"info", "extract", "thumbnail", "cache"}) {
        partOf[name] = section(commands, "   " + name);
        EXPECT_NE(partOf[name], "") << name;
    }
    // CLI11's help lines: "  -s,--size SIZE:INT in [1 - 16384]=256" and "  INPUT TEXT REQUIRED".
    std::regex item(R"(^  ((?:-[-a-z]+,?)+|[A-Z]+)(?: ([A-Z]+)[^=\s]*(?:=(\S+))?)?)");
    int itemsSeen = 0;
    for (auto const& [name, part] : partOf) {
        CliHelp h = help(name.empty() ? std::vector<std::string>{"--help"} : std::vector<std::string>{name, "--help"});
        ASSERT_EQ(h.code, 0);
        std::istringstream in(h.out);
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
            ++itemsSeen;
            std::string names = m[1];
            for (size_t comma = names.find(','); comma != std::string::npos; comma = names.find(',', comma + 2))
                names.replace(comma, 1, ", ");
            bool positional = names[0] != '-';
            std::string value = positional ? "" : std::string(m[2]);
            // Each command's --help is the program's, documented once.
            std::string const& where = names == "-h, --help" ? options : part;
            EXPECT_NE(where.find(names + (value.empty() ? "" : " " + value)), std::string::npos)
                << "'" << names << " " << value << "' of " << (name.empty() ? "the program" : name) << ":\n" << part;
            if (m[3].matched) {
                EXPECT_NE(part.find("Default: " + std::string(m[3]) + "."), std::string::npos) << names;
            }
        }
    }
    EXPECT_GE(itemsSeen, 15);
}

TEST(ManPage, ExitStatusListsTheDocumentedCodes)
{
    std::string exits = section(render(realPage()).text, "EXIT STATUS");
    std::string codes;
    std::istringstream in(exits);
    for (std::string line; std::getline(in, line);)
        if (line.size() > 7 && line.compare(0, 7, "       ") == 0 && std::isdigit(static_cast<unsigned char>(line[7])))
            codes += line[7];
    EXPECT_EQ(codes, "023456") << exits;
    EXPECT_NE(exits.find("not a Quillmoor document"), std::string::npos);
}

} // namespace
