// GSTagWrite: writes a tagged record sequence (the counterpart of GSTagRead): a version, then
// records (tag, size, data), then an end tag. The framing follows the file's mode at each call:
// compact while an object table of the newer kind is attached (GSFile::getUse64Bit), else classic.
//
// Classic framing (big-endian):
//   version  int16, or the two-short form 00 MM 00 mm (writeLongVersionIfNeeded)
//   header   tag (int32), size (int32); the size is written late, when the record ends, and the
//            late sizes are back-patched 16 at a time (clearLengthCache), so a sequence must be
//            closed with writeEndTag
//   end tag  int32 -1
// Compact framing:
//   version  1 byte: major << 4 | minor
//   header   short: tag (0..126), size byte, for data under 256 bytes;
//            long: tag | 0x80, size as int64, for everything else
//   end tag  7F
//
// In compact framing a record's data goes to a 256-byte buffer (GSTagWriteFileWorker, which
// stands in for the file's worker while the record is open), so that the size can be written in
// front of the data without seeking. The first write that would fill the buffer, and any read,
// seek or tell through the file, switch the record to a long header and pass everything through;
// enclosing records switch first. Usage:
//   GSTagWrite w(file); w.writeVersion(0x0100);
//   w.writeStart(3); file->writeLong(7); w.writeEnd();
//   w.writeEndTag();
// A nested sequence inside a record uses a second GSTagWrite on the same file.
#pragma once

#include "gs/file/GSFileWorker.h"

class GSFile;
class GSTagWrite;

class GSTagWriteFileWorker : public GSFileWorker {
public:
    static constexpr int kBufferSize = 256;

    explicit GSTagWriteFileWorker(GSTagWrite* owner);
    ~GSTagWriteFileWorker() override;

    GSRuntimeClass const& getRuntimeClass() const override;
    // Reads, seeks, tell and the rest switch to pass-through first, then forward.
    long readData(void* buffer, long length) override;
    [[nodiscard]] short seek(long offset, short whence) override;
    long tell() override;
    [[nodiscard]] short flush() override;
    [[nodiscard]] short eof() override;
    [[nodiscard]] short getError() override;
    [[nodiscard]] short startCompression(int level) override;
    [[nodiscard]] short putChar(char c) override;
    long _write(void const* buffer, long length) override;
    [[nodiscard]] short _open() override { return 0; }
    [[nodiscard]] short _close(short) override { return 0; }
    GSFileSpec const& getFileSpec() const override;
    GSFileSpec const& getWorkingFileSpec() const override;

    // Stands in for the file's worker (retaining it); 1 when the file has none.
    [[nodiscard]] short activate(GSFile* file);
    // Gives the file its worker back, with the ownership it had.
    void deactivate(GSFile* file);
    // Writes the long header and the buffered bytes to the replaced worker; from then on every
    // write goes straight through. Enclosing records switch first. 0 on success.
    [[nodiscard]] short startPassThrough();

    bool isActive() const { return replaced != nullptr; }
    bool isPassThrough() const { return passThrough != 0; }
    bool hasFailed() const { return failed != 0; }
    int getBufferedCount() const { return buffered; }
    unsigned char const* getBuffer() const { return buffer; }
    GSFileWorker* getReplacedWorker() const { return replaced; }

    static GSRuntimeClass gsClassGSTagWriteFileWorker;

private:
    GSTagWrite* owner;
    GSFileWorker* replaced = nullptr;
    short ownsReplaced = 0;
    short passThrough = 0;
    unsigned char buffer[kBufferSize] = {};
    int buffered = 0;
    short failed = 0;
};

class GSTagWrite {
public:
    static constexpr int kPendingSlots = 16;

    explicit GSTagWrite(GSFile* file);
    // Ends a compact record that is still open. Classic sizes still pending are not written.
    ~GSTagWrite();
    GSTagWrite(GSTagWrite const&) = delete;
    GSTagWrite& operator=(GSTagWrite const&) = delete;

    [[nodiscard]] short writeVersion(short version);
    // Always the one-byte form: (v & 15) | ((v >> 4) & 240).
    [[nodiscard]] short writeByteVersion(short version);
    // Classic: the two-short form as one int32 (v & 255) | ((v << 8) & 0xFF0000); compact: as
    // writeVersion.
    [[nodiscard]] short writeLongVersionIfNeeded(short version);
    // Begins a record. Compact tags are 0..126 (1 otherwise).
    [[nodiscard]] short writeStart(int tag);
    // Ends the record begun last, in the framing it was begun in.
    [[nodiscard]] short writeEnd();
    // Classic: writes every pending size, then -1. Compact: 7F.
    [[nodiscard]] short writeEndTag();
    // Writes the pending classic sizes and returns to the current position; the status of the
    // last write (the first failure stops).
    [[nodiscard]] short clearLengthCache();
    // Compact headers: a negative size writes the long header with size 0 and remembers the data
    // start behind it; otherwise the short header with the size's low byte.
    [[nodiscard]] short writeTagWithSize(int size);

    int getPendingCount() const { return pendingCount; }
    GSFile* getFile() const { return file; }
    GSTagWriteFileWorker& getFileWorker() { return worker; }

private:
    friend class GSTagWriteFileWorker;
    struct Pending {
        long position = 0;   // the size field (classic); the data start of a long record (compact)
        long size = 0;
    };

    void prepareWorker();
    [[nodiscard]] short endCompactRecord();

    GSFile* file;
    Pending pending[kPendingSlots];
    int pendingCount = 0;
    GSTagWriteFileWorker worker;
    int tag = 0;
    // The framing the open record was begun in.
    short recordCompact = 0;
};
