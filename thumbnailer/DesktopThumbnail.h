// One document to one thumbnail PNG, as desktops want it: the pieces the `thumbnail` and `cache`
// commands share (input and URI handling, the GLib cache names, exit codes) and the
// `thumbnail` command itself.
#pragma once

#include "thumbnailer/Cli.h"
#include "thumbnailer/ThumbnailPng.h"

#include <string>

inline constexpr char kDocumentMimeType[] = "application/x-quillmoor-document";

// The file URI of an absolute path, escaped as GLib (and so every GIO file manager) escapes it.
std::string fileUriForPath(std::string const& absolutePath);

// The cache entry name of a URI: the lowercase hex MD5 of the URI's bytes, plus ".png".
std::string thumbnailEntryName(std::string const& uri);

// INPUT as desktops pass it: a path (relative to the current folder) or a file:// URI. Gives the
// absolute path and the URI of the file; false with a message when INPUT names no local file.
bool resolveDocumentInput(std::string const& input, std::string* path, std::string* uri, std::string* message);

// Makes the thumbnail PNG of the document at `path` (whose URI is `uri`), `size` the side of the
// box. Returns an exit code (thumbnailer/Cli.h; a stored picture that does not decode is
// kExitDamaged): kExitOk with *png filled, else *message says why. *info receives the
// text-chunk values written (also for the failure records of the cache).
int makeDocumentThumbnail(std::string const& path, std::string const& uri, int size, PngBytes* png,
                          ThumbnailInfo* info, std::string* message);

// The `thumbnail` command: writes OUTPUT in place, or leaves an existing OUTPUT empty on failure
// and reports why in `context`. After `timeoutSeconds` (> 0) the program ends at once with
// kExitDamaged, OUTPUT emptied.
int runThumbnailCommand(std::string const& input, std::string const& output, int size, double timeoutSeconds,
                        qm::CliContext& context);
