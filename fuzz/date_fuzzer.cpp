// Fuzz target for the date readers over arbitrary bytes.
//
// The first byte picks the reader: 0 the file block in the classic framing, 1 the file block in
// the compact framing (behind an empty object table of the newer kind), 2 the colon form, 3 a
// format: the bytes up to the first zero byte are the format, the rest the text. Every date that
// reads, whatever its fields, then goes through the calendar and the writers. Invariants:
//   - weekdays are 0..6, weeks of valid dates 1..53 (days beyond a month's end count on past 53),
//     feasts' weekdays are theirs;
//   - the colon form and the file block give the same fields back, whatever they are;
//   - a valid date moved by n days and back is itself, and its day number moves by n;
//   - a valid date written in a format that names every field reads back as itself.
#include "gs/file/GSFile.h"
#include "gs/util/GSDate.h"

#include "gs/file/GSFileWorker.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

// An empty object table of the newer kind: its header switches the file to compact mode.
unsigned char const compactTable[14] = {2};

void require(bool ok)
{
    if (!ok)
        std::abort();
}

// Reads a date block from `bytes`, behind an empty object table in the compact framing.
short readBlock(std::vector<unsigned char> const& bytes, bool compact, GSDate* date)
{
    std::vector<unsigned char> input;
    if (compact)
        input.assign(compactTable, compactTable + sizeof compactTable);
    input.insert(input.end(), bytes.begin(), bytes.end());
    // Exactly the input's size (plus one, so that an empty input has storage), so that a sanitizer
    // sees any read past it.
    GSDynaArray<unsigned char> array(static_cast<long>(input.size()) + 1, 0);
    require(array.append(input.data(), static_cast<long>(input.size())) == 0);
    GSFile file(array);
    (void)file.open(); // cannot fail for a memory file
    if (compact)
        require(file.startObjectMergingRead() == 0 && file.seek(sizeof compactTable, 0) == 0);
    short const status = date->read(&file);
    if (compact)
        require(file.stopObjectMergingRead() == 0);
    return status;
}

void checkBlockRoundTrip(GSDate const& date, bool compact)
{
    GSFile out(-100, 64);
    require(out.setAccessMode("wb+") == 0 && out.open() == 0);
    if (compact)
        require(out.startObjectMergingWrite(1) == 0);
    long const start = out.tell();
    require(date.write(&out) == 0);
    GSDynaArray<unsigned char> const& written = static_cast<GSFileWorkerMemory*>(out.getFileWorker())->getArray();
    std::vector<unsigned char> const block(written.getPointer() + start, written.getPointer() + written.getCount());
    if (compact)
        require(out.stopObjectMergingWrite() == 0);
    GSDate back;
    require(readBlock(block, compact, &back) == 0 && back == date);
}

void exercise(GSDate const& date, GSString const& format, bool compact)
{
    require(date.getDayOfWeek() >= 0 && date.getDayOfWeek() <= 6);
    int const week = date.getWeekOfYear();
    require(GSDate::getKarfreitag(date.year).getDayOfWeek() == 5);
    GSString text;
    require(date.writeToString(&text) == 0 && date.writeToStringWithFormat(format, &text) == 0);
    text = date.getCTimeString();
    GSString colon;
    require(date.writeToString(&colon) == 0);
    GSDate back(colon);
    back.millisecond = date.millisecond;
    require(back == date);
    checkBlockRoundTrip(date, compact);
    GSDate moved = date;
    moved.addSeconds(static_cast<long>(date.year) * 977);
    moved.addMonths(date.year);
    moved.addYears(date.day - 128);
    if (date.checkForError() != 0)
        return;
    require(week >= 1 && week <= 53);
    if (date.year < -2000000000 || date.year > 2000000000)
        return;
    int const n = date.year % 3000000;
    moved = date;
    moved.addDays(n);
    require(moved.days() == date.days() + n);
    moved.addDays(-n);
    require(moved == date);
    GSString const full("yyyy-MM-dd HH:mm:ss.SSS");
    GSString written;
    GSDate read;
    require(date.writeToStringWithFormat(full, &written) == 0);
    if (date.millisecond < 1000 && date.year > -1000000000 && date.year < 1000000000)
        require(read.readFromStringWithFormat(written, full) == 0 && read == date);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    if (size < 1)
        return 0;
    int const mode = data[0] % 4;
    std::vector<unsigned char> const input(data + 1, data + size);
    char const* const bytes = reinterpret_cast<char const*>(input.data());
    GSDate date(9, 9, 9, 9, 9, 9, 9);
    GSString format("%Y %B %d (%a) %I:%M:%S %p");
    short status;
    if (mode <= 1) {
        status = readBlock(input, mode == 1, &date);
    } else if (mode == 2) {
        status = date.readFromString(GSString(bytes, static_cast<long>(input.size()), GSString::kUTF8));
    } else {
        size_t const split = static_cast<size_t>(std::find(input.begin(), input.end(), 0) - input.begin());
        format = GSString(bytes, static_cast<long>(split), GSString::kUTF8);
        size_t const rest = split < input.size() ? split + 1 : split;
        status = date.readFromStringWithFormat(GSString(bytes + rest, static_cast<long>(input.size() - rest), GSString::kUTF8),
                                               format);
    }
    if (status == 0)
        exercise(date, format, mode == 1);
    return 0;
}
