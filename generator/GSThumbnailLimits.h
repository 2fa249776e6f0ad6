// Bounds on what reading a document's stored picture may cost, whatever the document says: one
// struct for the walk, the object reader, the picture decoders, every front end and every fuzz
// target. Every field has a default chosen so that no document the editor writes reaches it; a
// front end may lower a bound (the fuzz targets do, to keep each input fast) but the kinds of
// check stay the same. Plain values only, so that it can be set anywhere without other headers.
#pragma once

#include <cstddef>
#include <cstdint>

struct GSThumbnailLimits {
    // ---- The document ----

    // The largest stored picture read into memory, in bytes. The editor stores a thumbnail of a
    // few hundred pixels a side, which is tens of KiB; 64 MiB leaves room for any picture it could
    // reasonably store while keeping a hostile count from asking for more. A count above the bytes
    // left in its record is refused before this limit is even considered.
    long maxPictureBytes = 64L << 20;
    // The number of record headers (top-level and inside the thumbnail record) one walk reads.
    // Skipping a record costs one seek, so this bounds the time a file of millions of empty
    // records can take; documents have a few hundred records.
    long maxRecords = 1L << 20;
    // How deep objects may nest inside each other while a document's objects are read. The
    // editor's deepest structures (groups of groups of layers) stay far below it; each level costs
    // stack, so a hostile file must not choose the depth.
    int maxObjectDepth = 64;
    // The most entries one object table may list. A table's entries are positions (8 bytes each),
    // so 2^22 entries is 32 MiB of table, far beyond the few thousand objects of a large document.
    // A count above what the rest of the file can hold is refused before this is considered.
    long maxTableObjects = 1L << 22;

    // ---- The stored picture ----

    // Largest width and largest height, in pixels, of the stored picture. JPEG cannot exceed
    // 65535; PNG allows 2^31 - 1, which no thumbnail needs.
    std::uint32_t maxWidth = 65535;
    std::uint32_t maxHeight = 65535;
    // Largest width x height of the stored picture: 64 Mi pixels, so that a whole decode (what the
    // QuickLook request draws from) is at most 256 MiB of RGBA. Thumbnails never hold the whole
    // picture: JPEGs decode at a reduced DCT scale and PNG rows stream into the scaler.
    std::uint64_t maxPixels = std::uint64_t(1) << 26;
    // The working memory one decode may hold beyond the pixels it hands out (those are bounded by
    // maxPixels): libjpeg's own buffers, the full-size coefficient buffer of a progressive or
    // multi-scan JPEG above all (width/8 x height/8 blocks of 128 bytes per full-resolution
    // component), and the scaler's sums of an interlaced PNG (8 bytes per channel of each
    // thumbnail pixel). 64 MiB decodes a 16-megapixel progressive photo (4:2:0: 48 MiB) and any
    // thumbnail up to 1024 pixels a side, and keeps `cache --jobs N` within N times it. A picture
    // that needs more is refused as too large; libjpeg refuses it before it allocates.
    std::size_t maxDecodeBytes = std::size_t(64) << 20;
    // libspng's two chunk bounds: the largest single chunk, and the most ancillary chunk data it
    // keeps in memory while it reads (text, ICC profile, EXIF). The chunk bound is capped at the
    // cache bound. The cache bound is the one that refuses a huge text chunk (libspng 0.7.3 keeps a
    // tEXt above the chunk bound as long as it fits the cache). Picture data (IDAT) is streamed and
    // bound by neither.
    std::size_t maxPngChunkBytes = std::size_t(8) << 20;
    std::size_t maxPngChunkCacheBytes = std::size_t(32) << 20;
    // The longest one picture's decode may take, in milliseconds; 0 puts no bound. The decoders
    // look at the clock between rows and scans, so a decode stops shortly after it. The
    // `thumbnail` command bounds its whole process with a timer instead; `cache`, whose jobs
    // share one process, sets this from its --timeout.
    long maxDecodeMilliseconds = 0;
    // Refuse progressive JPEGs of more than 500 scans (libjpeg-turbo's scan limit), which otherwise
    // cost time quadratic in their size.
    bool limitJpegScans = true;
};
