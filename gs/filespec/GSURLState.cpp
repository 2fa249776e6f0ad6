// GSURL: the state of an item (dates, flags, size) read and written.
#include "gs/filespec/GSFileState.h"
#include "gs/filespec/GSURL.h"
#include "gs/filespec/GSURLSupport.h"

#include "gs/platform/GSPlatformDirectory.h"
#include "gs/platform/GSPlatformItem.h"

#include <string>

namespace {

long long const kSecondsPerDay = 86400;

// The flag bits a fill decides; the others keep what the caller had in them.
unsigned char const kFilledFlags = GSFileState::kLocked | GSFileState::kHidden | 4 | GSFileState::kFolder
    | GSFileState::kPackage;

} // namespace

GSDate GSURLDateFromTime(long long seconds, long nanoseconds)
{
    // floor(nanoseconds / 1e6 + 0.49) in integers, exact for every nanosecond value.
    long milliseconds = (nanoseconds + 490000) / 1000000;
    if (milliseconds >= 1000) {
        ++seconds;
        milliseconds = 0;
    }
    GSDate date(1, 1, 1970, 0, 0, 0, static_cast<int>(milliseconds));
    date.addSeconds(static_cast<long>(seconds));
    return date;
}

void GSURLFillDates(GSPlatformItemState const& item, GSFileState* state)
{
    GSDate carried;
    if (item.access.given)
        carried = GSURLDateFromTime(item.access.seconds, item.access.nanoseconds);
    state->accessDate = carried;
    if (item.creation.given)
        carried = GSURLDateFromTime(item.creation.seconds, item.creation.nanoseconds);
    state->creationDate = carried;
    if (item.modification.given)
        carried = GSURLDateFromTime(item.modification.seconds, item.modification.nanoseconds);
    state->modificationDate = carried;
}

bool GSURLTimeFromDate(GSDate const& date, GSPlatformTime* time)
{
    if (date.checkForError() != 0 || date.millisecond > 999)
        return false;
    static long const epochDay = GSDate(1, 1, 1970).days();
    time->seconds = (static_cast<long long>(date.days()) - epochDay) * kSecondsPerDay
        + (date.hour * 60LL + date.minute) * 60 + date.second;
    time->nanoseconds = date.millisecond * 1000000L;
    time->given = true;
    return true;
}

namespace {

void fillFromItem(GSPlatformItemState const& item, GSFileState* state)
{
    GSURLFillDates(item, state);
    unsigned char flags = 0;
    if (item.isHidden)
        flags |= GSFileState::kHidden;
    if (item.isFolder)
        flags |= GSFileState::kFolder;
    if (item.isLocked)
        flags |= GSFileState::kLocked;
    state->flags = static_cast<unsigned char>((state->flags & ~kFilledFlags) | flags);
    state->fileType = 0;
    state->valid = 1;
}

} // namespace

short GSURLFillFileState(void const* url, GSFileState* state)
{
    state->valid = 0;
    GSPlatformURL const* u = GSURLCast(url);
    GSPlatformItemState item;
    if (!u || GSPlatformReadItemState(u->getPath().c_str(), &item, nullptr) != 0)
        return 1;
    fillFromItem(item, state);
    return 0;
}

short GSDirectoryEnumeratorFillFileState(void* enumerator, GSFileState* state)
{
    state->valid = 0;
    auto const* e = dynamic_cast<GSPlatformDirectoryEnumerator const*>(static_cast<GSPlatformObject const*>(enumerator));
    GSPlatformItemState item;
    if (!e || e->readCurrentState(&item) != 0)
        return 1;
    fillFromItem(item, state);
    return 0;
}

unsigned long long GSURLGetFileSize(void const* url)
{
    GSPlatformURL const* u = GSURLCast(url);
    GSPlatformItemState item;
    if (!u || GSPlatformReadItemState(u->getPath().c_str(), &item, nullptr) != 0 || !(item.isFile || item.isLink))
        return ~0ULL;
    return item.size;
}

short GSURLSetFileState(void* url, GSFileState const& state, GSString* error)
{
    GSPlatformURL const* u = GSURLCast(url);
    if (!u)
        return 1;
    char const* path = u->getPath().c_str();
    GSURLErrorText text(error);
    GSPlatformItemState item;
    if (GSPlatformReadItemState(path, &item, text.get()) != 0)
        return text.finish(1);
    if (state.isHidden() != item.isHidden) {
        // Checked before anything changes, so that a refused request changes nothing.
        if (error)
            *error = GSString("On this system an item is hidden by a name that begins with \".\": rename it to hide or show it.");
        return 1;
    }
    // Unlocking comes first and locking last, so that the dates can be written in between.
    if (!state.isLocked() && item.isLocked && GSPlatformSetItemLocked(path, false, text.get()) != 0)
        return text.finish(1);
    GSPlatformTime access, modification;
    bool const hasAccess = GSURLTimeFromDate(state.accessDate, &access);
    bool const hasModification = GSURLTimeFromDate(state.modificationDate, &modification);
    if ((hasAccess || hasModification)
        && GSPlatformSetItemTimes(path, hasAccess ? &access : nullptr, hasModification ? &modification : nullptr,
                                  text.get()) != 0)
        return text.finish(1);
    if (state.isLocked() && !item.isLocked && GSPlatformSetItemLocked(path, true, text.get()) != 0)
        return text.finish(1);
    return 0;
}
