// Writes quillmoor-thumbnailer's manual page (roff) to OUTPUT, from the same command line as --help
// (thumbnailer/ManPage.h); DATADIR is where the installed data files lie (/usr/share). Run by the
// build; the page is installed gzipped.
#include "thumbnailer/Cli.h"
#include "thumbnailer/ManPage.h"

#include <CLI/CLI.hpp>

#include <fstream>
#include <iostream>

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::cerr << "usage: make_manpage OUTPUT DATADIR\n";
        return 2;
    }
    qm::CliContext context{std::cout, std::cerr};
    CLI::App app;
    qm::buildCli(app, context);
    std::string const datadir = argv[2];
    qm::ManPageText text;
    text.summary = "thumbnails and stored pictures of Quillmoor documents";
    text.description = {
        "Quillmoor stores a picture of each document inside it when it saves. This program reads that picture "
        "and nothing else of the document: it reports it (info), copies it out unchanged (extract), makes the "
        "PNG thumbnail a desktop file manager asks for (thumbnail) and fills the freedesktop.org thumbnail "
        "cache for many documents at once (cache).",
        "File managers that follow the freedesktop.org thumbnail specification (Nautilus, Thunar, Nemo and "
        "others) run the thumbnail command through the thumbnailer entry below for every file of type "
        "application/x-quillmoor-document.",
        "Every failure prints one line on standard error, \"quillmoor-thumbnailer: FILE: reason\", with control "
        "characters in names escaped. With several files each is reported and the exit status is the first "
        "failure's."};
    text.sections = {
        {"ENVIRONMENT",
         {"XDG_CACHE_HOME: the cache command writes under $XDG_CACHE_HOME/thumbnails, or ~/.cache/thumbnails "
          "when it is not set."}},
        {"FILES",
         {datadir + "/thumbnailers/quillmoor.thumbnailer: the thumbnailer entry that file managers read.",
          datadir + "/mime/packages/quillmoor.xml: the file types application/x-quillmoor-document (*.qmd) and "
          "application/x-quillmoor-selection (*.qms).",
          "$XDG_CACHE_HOME/thumbnails/normal, large, x-large, xx-large: the thumbnail cache (boxes of 128, "
          "256, 512 and 1024 pixels); thumbnails/fail/quillmoor-thumbnailer: failure records."}}};
    std::ofstream out(argv[1], std::ios::binary);
    out << qm::manPage(app, text);
    out.close();
    if (!out) {
        std::cerr << "make_manpage: cannot write " << argv[1] << "\n";
        return 3;
    }
    return 0;
}
