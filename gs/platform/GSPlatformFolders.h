// The folders a desktop gives each user and the machine: home, temporary, the XDG base folders and
// the XDG user folders (documents, pictures, downloads, ...). Paths are absolute, without a
// trailing divider; an empty result means the folder cannot be found.
#pragma once

#include <string>

// $HOME when it is set to an absolute path, else the home folder of the password database.
std::string GSPlatformGetHomeFolder();
// $TMPDIR when it is set to an absolute path, else /tmp.
std::string GSPlatformGetTemporaryFolder();
// $XDG_DATA_HOME when it is set to an absolute path, else ~/.local/share.
std::string GSPlatformGetDataHome();
// $XDG_CONFIG_HOME when it is set to an absolute path, else ~/.config.
std::string GSPlatformGetConfigHome();
// The folder that holds the running program (from /proc/self/exe).
std::string GSPlatformGetProgramFolder();

// A user folder as xdg-user-dir finds it: the line XDG_<key>_DIR="..." of
// $XDG_CONFIG_HOME/user-dirs.dirs; when there is none, ~/<fallbackName>. key is for example
// "DOCUMENTS", "PICTURES" or "DOWNLOAD".
std::string GSPlatformGetUserFolder(char const* key, char const* fallbackName);

// The value of XDG_<key>_DIR in the text of a user-dirs.dirs file, read as the desktop reads it:
// lines of the form XDG_<key>_DIR="$HOME/path" or XDG_<key>_DIR="/absolute/path" (blanks allowed
// around the name and the "="), a backslash taking the next byte as it is, "$HOME" replaced by
// `home`, trailing dividers dropped; lines of another form are ignored; a later line wins. False
// when no line gives the key.
bool GSPlatformParseUserDirs(std::string const& text, char const* key, std::string const& home, std::string* path);
