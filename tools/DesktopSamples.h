// make_examples desktop: sample documents with real pictures, for the desktop tests, the decode
// fuzz seeds and the benchmarks.
//
//   make_examples desktop DIR            documents of each shape; prints per document its file name
//                                        and the expected thumbnail width and height at 128, 256,
//                                        512 and 1024 (0 0 without a picture), tab-separated
//   make_examples desktop --corpus DIR   the seeds of the decode fuzz target (decodeSeeds below)
//   make_examples desktop --hostile DIR  documents whose stored pictures are hostile or damaged
//   make_examples desktop --bench DIR    photo-like documents for the benchmarks, each beside its
//                                        stored picture extracted (.jpg / .png)
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

// The seeds of the decode fuzz target (fuzz/corpus/decode/), by file name: small documents with
// JPEGs and PNGs of several kinds, each followed by the byte that picks the thumbnail box.
std::map<std::string, std::vector<uint8_t>> decodeSeeds();

// `argv` holds the arguments after "desktop". Returns the exit code: 0 when every file was written,
// 1 when one could not be, 2 for a usage error.
int writeDesktopSamples(int argc, char** argv);
