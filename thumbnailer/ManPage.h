// The manual page of quillmoor-thumbnailer, written from the CLI11 app that --help prints
// (buildCli), so that the page and --help cannot disagree.
//
// The page is man(7) roff: NAME ("program \- summary"), SYNOPSIS (one line per command), DESCRIPTION
// (the app's description and the further paragraphs given), OPTIONS (the program's own: --help,
// --version), COMMANDS (each command's description and options, with value, accepted range and
// default as --help states them), EXIT STATUS (kExitCodeMeanings), then the further sections
// given. Every text is escaped: a backslash prints as itself, a minus sign in an option is a
// minus (\-), and no output line starts with "." or "'", so no help text can run a roff request.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace qm {

struct ManSection {
    std::string title;                    // "FILES"
    std::vector<std::string> paragraphs;  // plain text, escaped when written
};

struct ManPageText {
    std::string summary;                      // the NAME line's text after the dash
    std::vector<std::string> description;     // paragraphs after the app's description
    std::vector<ManSection> sections;         // after EXIT STATUS
};

// Plain text as roff input: backslashes escaped, a leading "." or "'" of any line guarded.
std::string roffText(std::string const& text);

// The whole page, ready for section 1.
std::string manPage(CLI::App const& app, ManPageText const& text);

} // namespace qm
