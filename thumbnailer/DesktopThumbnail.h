// One document to one thumbnail PNG, as desktops want it: the pieces the `thumbnail` and `cache`
// commands share (input and URI handling, the GLib cache names, exit codes) and the
// `thumbnail` command itself.
#pragma once

#include "thumbnailer/Cli.h"
#include "thumbnailer/FileSafety.h"
#include "thumbnailer/ThumbnailPng.h"
#include "thumbnailer/ThumbnailRender.h"

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
// The document is opened once: the state in the text chunks, the walk and the picture's bytes come
// from that one descriptor. Anything but a regular file is refused before it is read.
int makeDocumentThumbnail(std::string const& path, std::string const& uri, int size, PngBytes* png,
                          ThumbnailInfo* info, std::string* message,
                          GSThumbnailLimits const& limits = GSThumbnailLimits());

// The same for a document already open.
int makeDocumentThumbnail(qm::DocumentFile const& document, std::string const& uri, int size, PngBytes* png,
                          ThumbnailInfo* info, std::string* message,
                          GSThumbnailLimits const& limits = GSThumbnailLimits());

// The thumbnail pixels alone, for front ends that take pixels rather than a PNG: the walk locates
// the stored picture and renderThumbnailFromFile decodes and scales it into a `size` box. kExitOk
// with *rendered filled; else the exit code makeDocumentThumbnail gives, *message says why and
// *rendered holds no pixels.
int renderDocumentThumbnail(qm::DocumentFile const& document, int size, RenderedThumbnail* rendered,
                            std::string* message, GSThumbnailLimits const& limits = GSThumbnailLimits());

// "timed out after 30 s": the failure text of a time-out.
std::string timeoutText(double seconds);

// The `thumbnail` command: writes OUTPUT in place, or leaves an existing OUTPUT empty on failure
// and reports why in `context`. An OUTPUT that is the document itself (also through a link) is
// refused with kExitUsage and left alone. After `timeoutSeconds` (> 0) the program ends at once
// with kExitDamaged, OUTPUT emptied; so does SIGTERM or SIGINT (ending by the signal) once
// installSignalCleanup was called.
int runThumbnailCommand(std::string const& input, std::string const& output, int size, double timeoutSeconds,
                        qm::CliContext& context);
