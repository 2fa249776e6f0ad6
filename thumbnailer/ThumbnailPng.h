// Thumbnail PNG output: encoding in memory with the freedesktop.org thumbnail text chunks (files
// are written by thumbnailer/FileSafety.h).
//
// Text chunks (tEXt, Latin-1 keywords), written when their value is set:
//   Thumb::URI              the document's URI
//   Thumb::MTime            the document's modification time, whole seconds since 1970
//   Thumb::Size             the document's size in bytes
//   Thumb::Mimetype         the document's MIME type
//   Thumb::Image::Width     width of the stored picture the thumbnail was made from
//   Thumb::Image::Height    height of that picture
//   Software                the program that made the thumbnail
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

struct ThumbnailInfo {
    std::string uri;
    std::string mimeType;
    std::string software;
    long mtime = -1;        // < 0: not written
    long size = -1;         // < 0: not written
    int imageWidth = 0;     // <= 0: not written
    int imageHeight = 0;
};

// zlib level, strategy and row filter of thumbnail PNGs (bench/png_encode_bench, 256 x 256).
// Run-length matching after the Up filter: a photo-like thumbnail encodes in half the time of
// level 1's full string matching and comes out smaller (129 KB against 140 KB), because noise
// leaves little for longer matches to find while their search costs; flat drawings still shrink
// to a few KB, which Huffman coding alone would not do (27 KB).
struct PngEncodeOptions {
    int zlibLevel = 1;
    int filterChoice = 32;  // a SPNG_FILTER_CHOICE_* mask; 32 = Up
    int strategy = 3;       // a zlib strategy; 3 = Z_RLE
};

// A PNG file held in memory (malloc'd by the encoder).
struct PngBytes {
    struct Free {
        void operator()(void* p) const;
    };
    std::unique_ptr<uint8_t, Free> data;
    size_t size = 0;
};

// Encodes width x height RGBA pixels (straight alpha) as an 8-bit PNG: RGB when `opaque`, else
// RGBA. Returns 0, or 1 when encoding fails (nothing is returned then).
[[nodiscard]] short encodeThumbnailPng(uint8_t const* rgba, int width, int height, bool opaque,
                                       ThumbnailInfo const& info, PngEncodeOptions const& options,
                                       PngBytes* out);
