#include "gs/platform/GSPlatformFolders.h"

#include <gtest/gtest.h>

#include <string>

// user-dirs.dirs lines read as the desktop reads them.
TEST(GSPlatformUserDirs, Lines)
{
    struct Case {
        char const* text;
        char const* expected; // null: not found
    };
    Case const cases[] = {
        {"XDG_DOCUMENTS_DIR=\"$HOME/Documents\"\n", "/home/me/Documents"},
        {"  XDG_DOCUMENTS_DIR \t= \"$HOME/My Files/\"", "/home/me/My Files"},
        {"XDG_DOCUMENTS_DIR=\"/srv/docs//\"\n", "/srv/docs"},
        {"XDG_DOCUMENTS_DIR=\"$HOME\"\n", "/home/me"},
        {"XDG_DOCUMENTS_DIR=\"$HOME/\"\n", "/home/me"},
        {"XDG_DOCUMENTS_DIR=\"$HOME/a\\\"b\\\\c\"\n", "/home/me/a\"b\\c"},
        {"XDG_DOCUMENTS_DIR=\"$HOME/first\"\nXDG_DOCUMENTS_DIR=\"$HOME/second\"\n", "/home/me/second"},
        {"XDG_DOCUMENTS_DIR=\"$HOME/good\"\nXDG_DOCUMENTS_DIR=\"relative\"\n", "/home/me/good"},
        {"XDG_DOCUMENTS_DIR=\"relative/path\"\n", nullptr},
        {"XDG_DOCUMENTS_DIR=\"$HOMEWORK/x\"\n", nullptr},
        {"XDG_DOCUMENTS_DIR=$HOME/unquoted\n", nullptr},
        {"XDG_DOCUMENTS_DIR=\"$HOME/unclosed\n", nullptr},
        {"# a comment\nXDG_DOCUMENTS_DIR=\"$HOME/unclosed\n\"\n", nullptr}, // a quote on the next line ends nothing
        {"# XDG_DOCUMENTS_DIR=\"$HOME/comment\"\n", nullptr},
        {"XDG_DOCUMENTS_DIRECTORY=\"$HOME/other\"\n", nullptr},
        {"XDG_DESKTOP_DIR=\"$HOME/Desktop\"\n", nullptr},
        {"", nullptr},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.text);
        std::string path = "unchanged";
        bool found = GSPlatformParseUserDirs(c.text, "DOCUMENTS", "/home/me", &path);
        EXPECT_EQ(found, c.expected != nullptr);
        EXPECT_EQ(path, c.expected ? c.expected : "unchanged");
    }
    // Without a home folder a $HOME line means nothing.
    std::string path;
    EXPECT_FALSE(GSPlatformParseUserDirs("XDG_DOCUMENTS_DIR=\"$HOME/Documents\"\n", "DOCUMENTS", "", &path));
}
