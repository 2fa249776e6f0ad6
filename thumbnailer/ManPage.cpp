#include "thumbnailer/ManPage.h"

#include "thumbnailer/Cli.h"

#include <CLI/CLI.hpp>

#include <cctype>

namespace qm {

namespace {

// An option's name as roff: every '-' a minus sign, in bold.
std::string roffOptionName(std::string const& name)
{
    std::string result = "\\fB";
    for (char c : name) {
        if (c == '-')
            result += "\\-";
        else if (c == '\\')
            result += "\\e";
        else
            result += c;
    }
    return result + "\\fR";
}

std::string roffItalic(std::string const& text)
{
    return "\\fI" + roffText(text) + "\\fR";
}

// "-s, --size", from the option's short and long names.
std::string optionNames(CLI::Option const& option)
{
    std::string names;
    for (std::string const& name : option.get_snames())
        names += (names.empty() ? "" : ", ") + roffOptionName("-" + name);
    for (std::string const& name : option.get_lnames())
        names += (names.empty() ? "" : ", ") + roffOptionName("--" + name);
    return names;
}

// CLI11 names a value "INT:INT in [1 - 16384]": the type, then what the checks accept.
void splitTypeName(CLI::Option const& option, std::string* value, std::string* accepted)
{
    std::string type = option.get_type_name();
    size_t colon = type.find(':');
    *value = type.substr(0, colon);
    *accepted = colon == std::string::npos ? std::string() : type.substr(colon + 1);
}

// "-s" rather than "--size" where an option has both.
std::string firstName(CLI::Option const& option)
{
    if (!option.get_snames().empty())
        return "-" + option.get_snames().front();
    return option.get_lnames().empty() ? option.get_name() : "--" + option.get_lnames().front();
}

bool takesValue(CLI::Option const& option)
{
    return option.get_items_expected_max() > 0;
}

bool repeats(CLI::Option const& option)
{
    return option.get_items_expected_max() > 1;
}

std::vector<CLI::Option const*> optionsOf(CLI::App const& command, bool positional)
{
    CLI::Option const* help = command.get_help_ptr();
    return command.get_options([&](CLI::Option const* option) {
        return option != help && option->nonpositional() != positional;
    });
}

std::vector<CLI::App const*> commandsOf(CLI::App const& app)
{
    return app.get_subcommands([](CLI::App const*) { return true; });
}

// One synopsis line: "quillmoor-thumbnailer thumbnail [-s INT] [--timeout FLOAT] INPUT OUTPUT".
std::string synopsisLine(std::string const& program, CLI::App const& command)
{
    std::string line = roffOptionName(program) + " " + roffOptionName(command.get_name());
    for (CLI::Option const* option : optionsOf(command, false)) {
        std::string value, accepted;
        splitTypeName(*option, &value, &accepted);
        std::string item = roffOptionName(firstName(*option)) + (takesValue(*option) ? " " + roffItalic(value) : "");
        line += option->get_required() ? " " + item : " [" + item + "]";
    }
    for (CLI::Option const* option : optionsOf(command, true)) {
        std::string item = roffItalic(option->get_name()) + (repeats(*option) ? "..." : "");
        line += option->get_required() ? " " + item : " [" + item + "]";
    }
    return line;
}

// A tagged paragraph for an option: its names and value, then its description, what it accepts
// and its default.
void writeOption(std::string* page, CLI::Option const& option)
{
    std::string value, accepted;
    splitTypeName(option, &value, &accepted);
    std::string tag = option.nonpositional() ? optionNames(option) : roffItalic(option.get_name());
    if (option.nonpositional() && takesValue(option))
        tag += " " + roffItalic(value);
    if (repeats(option))
        tag += "...";
    std::string text = option.get_description();
    if (!accepted.empty())
        text += (text.empty() ? "" : ". ") + std::string("Accepts ") + accepted + ".";
    if (!option.get_default_str().empty())
        text += (text.empty() || text.back() == '.' ? " " : ". ") + std::string("Default: ") +
                option.get_default_str() + ".";
    *page += ".TP\n" + tag + "\n" + roffText(text) + "\n";
}

void writeParagraphs(std::string* page, std::vector<std::string> const& paragraphs)
{
    for (std::string const& paragraph : paragraphs)
        *page += ".PP\n" + roffText(paragraph) + "\n";
}

// `.TH` arguments are quoted; a double quote inside one is written twice.
std::string quotedArgument(std::string const& text)
{
    std::string result = "\"";
    for (char c : roffText(text))
        result += c == '"' ? std::string("\"\"") : std::string(1, c);
    return result + "\"";
}

std::string upper(std::string text)
{
    for (char& c : text)
        c = char(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

} // namespace

std::string roffText(std::string const& text)
{
    std::string result;
    bool lineStart = true;
    for (char c : text) {
        if (c == '\n') {
            // An empty line would end the paragraph in some formatters and warn in others.
            result += lineStart ? ".sp\n" : "\n";
            lineStart = true;
            continue;
        }
        if (lineStart && (c == '.' || c == '\''))
            result += "\\&";
        lineStart = false;
        if (c == '\\')
            result += "\\e";
        else
            result += c;
    }
    return result;
}

std::string manPage(CLI::App const& app, ManPageText const& text)
{
    std::string const& program = app.get_name();
    std::string page = ".TH " + quotedArgument(upper(program)) + " 1 \"\" " + quotedArgument(versionLine()) +
                       " \"User Commands\"\n";
    page += ".SH NAME\n" + roffText(program) + " \\- " + roffText(text.summary) + "\n";

    page += ".SH SYNOPSIS\n";
    bool first = true;
    for (CLI::App const* command : commandsOf(app)) {
        page += (first ? "" : ".br\n") + synopsisLine(program, *command) + "\n";
        first = false;
    }
    // The program's own options each end it: --help, --version.
    std::vector<CLI::Option const*> own = optionsOf(app, false);
    if (CLI::Option const* help = app.get_help_ptr())
        own.insert(own.begin(), help);
    for (CLI::Option const* option : own)
        page += ".br\n" + roffOptionName(program) + " " + roffOptionName(option->get_lnames().empty()
                                                                          ? firstName(*option)
                                                                          : "--" + option->get_lnames().front()) +
                "\n";

    page += ".SH DESCRIPTION\n";
    writeParagraphs(&page, {app.get_description()});
    writeParagraphs(&page, text.description);

    page += ".SH OPTIONS\n";
    for (CLI::Option const* option : own)
        writeOption(&page, *option);
    page += ".PP\nEvery command also takes " + roffOptionName("--help") + ".\n";

    page += ".SH COMMANDS\n";
    for (CLI::App const* command : commandsOf(app)) {
        page += ".SS " + roffText(command->get_name()) + "\n";
        page += synopsisLine(program, *command) + "\n";
        writeParagraphs(&page, {command->get_description()});
        for (CLI::Option const* option : optionsOf(*command, true))
            writeOption(&page, *option);
        for (CLI::Option const* option : optionsOf(*command, false))
            writeOption(&page, *option);
    }

    page += ".SH \"EXIT STATUS\"\n";
    for (ExitCodeMeaning const& entry : kExitCodeMeanings)
        page += ".TP\n.B " + std::to_string(entry.code) + "\n" + roffText(entry.meaning) + "\n";

    for (ManSection const& section : text.sections) {
        page += ".SH " + quotedArgument(section.title) + "\n";
        writeParagraphs(&page, section.paragraphs);
    }
    return page;
}

} // namespace qm
