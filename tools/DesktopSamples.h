// make_examples desktop: sample documents with real pictures, for the desktop tests, the decode
// fuzz seeds and the benchmarks.
//
//   make_examples desktop DIR            documents of each shape; prints per document its file name
//                                        and the expected thumbnail width and height at 128, 256,
//                                        512 and 1024 (0 0 without a picture), tab-separated
//   make_examples desktop --corpus DIR   small documents as seeds of the decode fuzz target
//   make_examples desktop --hostile DIR  documents whose stored pictures are hostile or damaged
//   make_examples desktop --bench DIR    photo-like documents for the benchmarks, each beside its
//                                        stored picture extracted (.jpg / .png)
#pragma once

// `argv` holds the arguments after "desktop". Returns the exit code: 0 when every file was written,
// 1 when one could not be, 2 for a usage error.
int writeDesktopSamples(int argc, char** argv);
