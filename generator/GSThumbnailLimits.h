// Bounds on what the thumbnail walk accepts from a document, whatever the document says. The
// front ends and the fuzz target use the same struct; every field has a default chosen so that no
// document the editor writes reaches it. Limits on decoding the picture itself (pixels, scans)
// belong to the front ends' decoders; record nesting needs no limit here, since
// the walk's nesting is fixed (document, thumbnail record, picture description).
#pragma once

struct GSThumbnailLimits {
    // The largest stored picture read into memory, in bytes. The editor stores a thumbnail of a
    // few hundred pixels a side, which is tens of KiB; 64 MiB leaves room for any picture it could
    // reasonably store while keeping a hostile count from asking for more. A count above the bytes
    // left in its record is refused before this limit is even considered.
    long maxPictureBytes = 64L << 20;
    // The number of record headers (top-level and inside the thumbnail record) one walk reads.
    // Skipping a record costs one seek, so this bounds the time a file of millions of empty
    // records can take; documents have a few hundred records.
    long maxRecords = 1L << 20;
};
