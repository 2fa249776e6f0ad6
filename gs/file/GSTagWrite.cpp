#include "gs/file/GSTagWrite.h"

#include "gs/file/GSFile.h"
#include "gs/object/GSRuntimeClass.h"

#include <climits>
#include <cstring>

GSRuntimeClass GSTagWriteFileWorker::gsClassGSTagWriteFileWorker(GSString("GSTagWriteFileWorker"),
                                                                 &GSFileWorker::gsClassGSFileWorker, nullptr);

namespace {

void putBigLongLong(unsigned char* out, long value)
{
    auto v = static_cast<unsigned long>(value);
    for (int i = 7; i >= 0; --i) {
        out[i] = static_cast<unsigned char>(v & 0xFF);
        v >>= 8;
    }
}

} // namespace

// --- GSTagWriteFileWorker ------------------------------------------------------------------------

GSTagWriteFileWorker::GSTagWriteFileWorker(GSTagWrite* o) : owner(o) {}

GSTagWriteFileWorker::~GSTagWriteFileWorker()
{
    // The owner deactivates before this is destroyed; a worker still held here is only released.
    if (replaced)
        replaced->releaseNoDelete();
}

GSRuntimeClass const& GSTagWriteFileWorker::getRuntimeClass() const
{
    return gsClassGSTagWriteFileWorker;
}

short GSTagWriteFileWorker::activate(GSFile* file)
{
    GSFileWorker* old = file->getFileWorker();
    if (!old || old == this)
        return 1;
    old->retain();
    replaced = old;
    ownsReplaced = (file->getFlags() & GSFile::kOwnsWorker) ? 1 : 0;
    passThrough = 0;
    buffered = 0;
    failed = 0;
    (void)file->init(this, 0); // cannot fail: this worker is not null
    if (old->isCompressionActive())
        return startPassThrough();
    return 0;
}

void GSTagWriteFileWorker::deactivate(GSFile* file)
{
    GSFileWorker* old = replaced;
    if (!old)
        return;
    (void)file->init(old, ownsReplaced); // cannot fail: old is not null
    // The file holds the worker again; drop the reference taken on activation.
    old->releaseNoDelete();
    replaced = nullptr;
}

short GSTagWriteFileWorker::startPassThrough()
{
    if (passThrough || !replaced)
        return failed;
    passThrough = 1;
    // An enclosing record must know its real position first: its header comes before ours.
    if (replaced->isKindOfRuntimeClass(gsClassGSTagWriteFileWorker)) {
        auto* outer = static_cast<GSTagWriteFileWorker*>(replaced);
        if (outer->isActive() && outer->startPassThrough() != 0)
            failed = 1;
    }
    if (owner->writeTagWithSize(-1) != 0)
        failed = 1;
    if (buffered > 0 && replaced->writeData(buffer, buffered) != buffered)
        failed = 1;
    buffered = 0;
    return failed;
}

long GSTagWriteFileWorker::_write(void const* data, long length)
{
    if (!replaced || length < 0)
        return 0;
    if (!passThrough && length < kBufferSize - buffered) {
        std::memcpy(buffer + buffered, data, static_cast<size_t>(length));
        buffered += static_cast<int>(length);
        return length;
    }
    if (startPassThrough() != 0)
        return 0;
    return replaced->writeData(data, length);
}

short GSTagWriteFileWorker::putChar(char c)
{
    return _write(&c, 1) == 1 ? 0 : 1;
}

long GSTagWriteFileWorker::readData(void* data, long length)
{
    if (!replaced || startPassThrough() != 0)
        return 0;
    return replaced->readBytes(data, length);
}

short GSTagWriteFileWorker::seek(long offset, short whence)
{
    if (!replaced || startPassThrough() != 0)
        return 1;
    return replaced->seek(offset, whence);
}

long GSTagWriteFileWorker::tell()
{
    if (!replaced || startPassThrough() != 0)
        return -1;
    return replaced->tell();
}

short GSTagWriteFileWorker::flush()
{
    if (!replaced || startPassThrough() != 0)
        return 1;
    return replaced->flush();
}

short GSTagWriteFileWorker::eof()
{
    if (!replaced || startPassThrough() != 0)
        return 1;
    return replaced->eof();
}

short GSTagWriteFileWorker::getError()
{
    if (!replaced)
        return 0;
    if (startPassThrough() != 0)
        return 1;
    return replaced->getError();
}

short GSTagWriteFileWorker::startCompression(int level)
{
    if (!replaced || startPassThrough() != 0)
        return 1;
    return replaced->startCompression(level);
}

GSFileSpec const& GSTagWriteFileWorker::getFileSpec() const
{
    return replaced ? replaced->getFileSpec() : fileSpec;
}

GSFileSpec const& GSTagWriteFileWorker::getWorkingFileSpec() const
{
    return replaced ? replaced->getWorkingFileSpec() : fileSpec;
}

// --- GSTagWrite ----------------------------------------------------------------------------------

GSTagWrite::GSTagWrite(GSFile* f) : file(f), worker(this) {}

GSTagWrite::~GSTagWrite()
{
    if (worker.isActive())
        (void)endCompactRecord(); // a writer that wants the status calls writeEnd()
}

void GSTagWrite::prepareWorker()
{
    if (GSFileWorker* current = file->getFileWorker(); current && current != &worker)
        worker.setAccessMode(current->getAccessMode());
    worker.setSafetyMode(file->getSafetyMode());
    worker.setOpened(1);
}

short GSTagWrite::writeVersion(short version)
{
    if (!file)
        return 1;
    if (file->getUse64Bit()) {
        prepareWorker();
        return writeByteVersion(version);
    }
    return file->writeShort(version);
}

short GSTagWrite::writeByteVersion(short version)
{
    if (!file)
        return 1;
    return file->writeChar(static_cast<char>((version & 15) | ((version >> 4) & 240)));
}

short GSTagWrite::writeLongVersionIfNeeded(short version)
{
    if (!file)
        return 1;
    if (file->getUse64Bit())
        return writeVersion(version);
    return file->writeLong((version & 255) | ((version << 8) & 0xFF0000));
}

short GSTagWrite::writeStart(int t)
{
    if (!file)
        return 1;
    if (file->getUse64Bit()) {
        if (t < 0 || t > 126 || worker.isActive())
            return 1;
        tag = t;
        recordCompact = 1;
        pending[0].position = -1;
        prepareWorker();
        return worker.activate(file);
    }
    recordCompact = 0;
    if (short st = file->writeLong(t))
        return st;
    long position = file->tell();
    if (position < 0)
        return 1;
    pending[pendingCount].position = position;
    return file->writeLong(0);
}

short GSTagWrite::writeEnd()
{
    if (!file)
        return 1;
    if (recordCompact)
        return endCompactRecord();
    long end = file->tell();
    long size = end - pending[pendingCount].position - 4;
    if (end < 0 || size < 0 || size > INT_MAX)
        return 1;
    pending[pendingCount].size = size;
    if (++pendingCount == kPendingSlots)
        return clearLengthCache();
    return 0;
}

short GSTagWrite::endCompactRecord()
{
    recordCompact = 0;
    if (!worker.isActive())
        return 1;
    bool wentThrough = worker.isPassThrough();
    short status = worker.hasFailed();
    worker.deactivate(file);
    if (!wentThrough) {
        int n = worker.getBufferedCount();
        if (writeTagWithSize(n) != 0)
            return 1;
        if (n > 0 && file->write(worker.getBuffer(), n) != 0)
            return 1;
        return status;
    }
    // A long record: patch its size in front of the data.
    GSFileWorker* under = file->getFileWorker();
    long dataStart = pending[0].position;
    long end = under ? under->tell() : -1;
    if (end < 0 || dataStart < 8 || end < dataStart)
        return 1;
    unsigned char size[8];
    putBigLongLong(size, end - dataStart);
    if (under->seek(dataStart - 8, 0) != 0)
        return 1;
    if (under->writeData(size, 8) != 8)
        status = 1;
    if (under->seek(end, 0) != 0)
        status = 1;
    return status;
}

short GSTagWrite::writeEndTag()
{
    if (!file)
        return 1;
    if (file->getUse64Bit())
        return file->writeChar(127);
    if (short st = clearLengthCache())
        return st;
    return file->writeLong(-1);
}

short GSTagWrite::clearLengthCache()
{
    if (pendingCount == 0)
        return 0;
    long here = file->tell();
    if (here < 0)
        return 1;
    short status = 0;
    // Return to the current position also when an exception passes.
    struct Restore {
        GSFile* file;
        long position;
        ~Restore() { (void)file->seek(position, 0); } // a destructor cannot report a failure
    } restore{file, here};
    for (int i = 0; i < pendingCount && status == 0; ++i) {
        status = file->seek(pending[i].position, 0);
        if (status == 0)
            status = file->writeLong(static_cast<int>(pending[i].size));
    }
    pendingCount = 0;
    return status;
}

short GSTagWrite::writeTagWithSize(int size)
{
    // The header goes to the stream under the record: the replaced worker while the record is
    // open (it is written when the record switches to pass-through), else the file's worker.
    GSFileWorker* target = worker.isActive() ? worker.getReplacedWorker() : file->getFileWorker();
    if (!target)
        return 1;
    if (size < 0) {
        unsigned char header[9] = {static_cast<unsigned char>((tag & 127) | 128)};
        if (target->writeData(header, 9) != 9)
            return 1;
        pending[0].position = target->tell();
        return pending[0].position < 0 ? 1 : 0;
    }
    unsigned char header[2] = {static_cast<unsigned char>(tag & 127), static_cast<unsigned char>(size & 255)};
    return target->writeData(header, 2) == 2 ? 0 : 1;
}
