// GSFileWorker: the byte stream under a GSFile. A reference-counted object with a small set of
// virtual stream operations; GSFileWorkerStream works on a stdio stream (and carries safe saving),
// GSFileWorkerMemory on a byte array.
//
// Access flags, computed from the mode string by setAccessMode:
//   1  the mode starts with "r", or has "+"   2  it starts with anything else, or has "+"
//   4  the second character is "b"            8  it starts with "w" (create or truncate)
// So r, rb, r+, rb+, w, wb, w+, wb+, a, ab give 1, 5, 3, 7, 10, 14, 11, 15, 2, 6.
// The stored mode always has "b" second ("rt" is stored as "rb" without flag 4), then "+" if given.
//
// Read-ahead window: a worker that buffers input exposes its fetched bytes as [readNext, readEnd),
// so that GSFile can take small values from it without a virtual call per read (readBytes). The
// bytes in the window are the next bytes of the stream; a worker without a buffer leaves it empty.
#pragma once

#include "gs/filespec/GSFileSpec.h"
#include "gs/object/GSDynaArray.h"
#include "gs/object/GSObject.h"
#include "gs/text/GSString.h"

#include <cstdio>
#include <cstring>

class GSFileWorker : public GSObject {
public:
    enum : unsigned { kRead = 1, kWrite = 2, kBinary = 4, kCreate = 8 };

    GSFileWorker();
    ~GSFileWorker() override;

    GSRuntimeClass const& getRuntimeClass() const override;

    virtual void* getMemoryAddress() const { return nullptr; }
    [[nodiscard]] virtual short startCompression(int) { return 0; }
    [[nodiscard]] virtual short endCompression() { return 0; }
    // Bytes actually read (0 at the end or on failure).
    virtual long readData(void* buffer, long length) = 0;
    // whence: 0 absolute, 1 relative, 2 from the end. 0 on success.
    [[nodiscard]] virtual short seek(long offset, short whence) = 0;
    virtual long tell() = 0;
    // The stream's length, the position unchanged; -1 when unknown. The default seeks to the end
    // and back; workers override it to keep their read-ahead.
    virtual long getLength();
    [[nodiscard]] virtual short flush() = 0;
    [[nodiscard]] virtual short eof() = 0;
    [[nodiscard]] virtual short getError() = 0;
    [[nodiscard]] virtual short getString(GSString* s, int maximum);
    [[nodiscard]] virtual short putString(GSString const& s, short addNewLine);
    [[nodiscard]] virtual short putLong(int value, int width);
    [[nodiscard]] virtual short putFloat(float value, int decimals);
    [[nodiscard]] virtual short putChar(char c);
    // The next byte as 0..255, -1 at the end; outside binary mode every line end reads as 10.
    virtual int getChar();
    // Bytes actually written.
    virtual long _write(void const* buffer, long length) = 0;
    [[nodiscard]] virtual short _open() = 0;
    [[nodiscard]] virtual short _close(short abort) = 0;
    virtual GSFileSpec const& getFileSpec() const { return fileSpec; }
    virtual GSFileSpec const& getWorkingFileSpec() const { return fileSpec; }

    // 1 when already open; otherwise _open(), setting the opened flag on success.
    [[nodiscard]] short open();
    // 1 when not open; ends compression, then _close(abort), clearing the opened flag on success.
    [[nodiscard]] short close(short abort);
    long writeData(void const* buffer, long length) { return _write(buffer, length); }
    // readData with the read-ahead window tried first; bytes actually read.
    long readBytes(void* buffer, long length)
    {
        if (length > 0 && readEnd - readNext >= length) {
            std::memcpy(buffer, readNext, static_cast<size_t>(length));
            readNext += length;
            return length;
        }
        return readData(buffer, length);
    }
    void setFileSpec(GSFileSpec const& spec) { fileSpec = spec; }
    void setAccessMode(char const* mode);
    char const* getAccessMode() const { return accessMode; }
    unsigned getAccessFlags() const { return accessFlags; }
    void setSafetyMode(int mode) { safetyMode = mode; }
    int getSafetyMode() const { return safetyMode; }
    bool isOpened() const { return opened != 0; }
    bool isCompressionActive() const { return compressionActive != 0; }
    void setOpened(short value) { opened = value; }

    static GSRuntimeClass gsClassGSFileWorker;

protected:
    // Empties the read-ahead window (a buffering worker calls it whenever the window goes stale).
    void dropReadWindow() { readNext = readEnd = nullptr; }

    GSFileSpec fileSpec;
    char accessMode[4] = {'r', 'b', 0, 0};
    unsigned accessFlags = kRead | kBinary;
    int safetyMode = 1;
    short opened = 0;
    short compressionActive = 0;
    unsigned char const* readNext = nullptr;
    unsigned char const* readEnd = nullptr;
};

// Reads go through a 64 KiB buffer of the worker's own, exposed as the read-ahead window, so that
// small reads cost no stdio call; large reads go to fread directly. Seeks inside the buffered bytes
// move in the window only. Switching between reading and writing repositions the stream as stdio
// requires. tell() is the logical position (the stream's position minus the unread window).
// Safe saving. Opening with the create bit ("w...") over an existing file while bit 0 of the
// safety mode is set writes into a new temporary file beside the target (same extension); close()
// then puts it in the target's place in one atomic step, so the target holds either its complete
// old or its complete new content at every moment, also when the process dies. With bit 1 of the
// safety mode the old content is kept under the first usable backup name (name.extbak,
// name.extbak1, ...; see GSFileSpec::createBackupSpec), else it is dropped. A failed write, a failed
// close or close(1) (abort) removes the temporary file and leaves the target exactly as it was;
// so does destroying the worker without closing it.
// Opening for writing fails at once for a locked target (message 49713 through
// GSFileSpec::sendErrorMessage) and for a folder. A failed backup rename or removal after a
// successful save is reported as message 49705 or 49703; the save itself stands.
class GSFileWorkerStream : public GSFileWorker {
public:
    GSFileWorkerStream() = default;
    // Works on an existing stream, which counts as open; the worker closes it.
    explicit GSFileWorkerStream(FILE* stream);
    GSFileWorkerStream(GSFileWorkerStream const&) = delete;
    GSFileWorkerStream& operator=(GSFileWorkerStream const&) = delete;
    ~GSFileWorkerStream() override;

    long readData(void* buffer, long length) override;
    [[nodiscard]] short seek(long offset, short whence) override;
    long tell() override;
    long getLength() override;
    [[nodiscard]] short flush() override;
    [[nodiscard]] short eof() override;
    [[nodiscard]] short getError() override;
    [[nodiscard]] short putChar(char c) override;
    long _write(void const* buffer, long length) override;
    [[nodiscard]] short _open() override;
    [[nodiscard]] short _close(short abort) override;
    GSFileSpec const& getWorkingFileSpec() const override { return workingSpec; }

protected:
    // Before output: moves the stream to the logical position and drops the window.
    [[nodiscard]] short prepareWrite();
    // Forgets the stream's buffered input (after close or when the stream changes).
    void resetBuffer();

    GSFileSpec workingSpec;
    FILE* stream = nullptr;

private:
    enum : short { kNone = 0, kLastRead = 1, kLastWrite = 2 };
    static constexpr long kBufferSize = 65536;

    long refill(unsigned char* destination, long length);
    // Closes the stream without finishing a save: a temporary file is removed, the target kept.
    void abandon();

    unsigned char* buffer = nullptr;
    // Stream position of buffer[0] while the window is set.
    long bufferStart = 0;
    short lastOperation = kNone;
};

class GSFileWorkerMemory : public GSFileWorker {
public:
    GSFileWorkerMemory();
    // Shares the given array's storage; position 0.
    explicit GSFileWorkerMemory(GSDynaArray<unsigned char> const& bytes);
    // An empty array with that growth value and initial capacity.
    GSFileWorkerMemory(long growth, long capacity);

    GSRuntimeClass const& getRuntimeClass() const override;
    void* getMemoryAddress() const override;
    long readData(void* buffer, long length) override;
    // A result outside 0..size is clamped and gives status 1.
    [[nodiscard]] short seek(long offset, short whence) override;
    long tell() override { return position; }
    long getLength() override { return bytes.getCount(); }
    [[nodiscard]] short flush() override { return 0; }
    [[nodiscard]] short eof() override { return position == bytes.getCount(); }
    [[nodiscard]] short getError() override { return 0; }
    long _write(void const* buffer, long length) override;
    [[nodiscard]] short _open() override;
    [[nodiscard]] short _close(short) override { return 0; }

    void setArray(GSDynaArray<unsigned char> const& array);
    GSDynaArray<unsigned char> const& getArray() const { return bytes; }
    void empty();
    void clear();
    [[nodiscard]] short setSize(long size);

    static GSObject* _createFunction();
    static GSRuntimeClass gsClassGSFileWorkerMemory;

private:
    GSDynaArray<unsigned char> bytes;
    long position = 0;
};
