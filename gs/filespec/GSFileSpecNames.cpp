// GSFileSpec: the static name helpers (extensions, extension lists, temporary names, forbidden
// characters) and the exported notification names. None of this touches the file system.
#include "gs/filespec/GSFileSpec.h"

#include "gs/util/GSRandom.h"

GSString const GSFileSpecDidCreateFile("GSFileSpecDidCreateFile");
GSString const GSFileSpecDidCreateFolder("GSFileSpecDidCreateFolder");
GSString const GSFileSpecDidRemoveFile("GSFileSpecDidRemoveFile");
GSString const GSFileSpecDidRemoveFolder("GSFileSpecDidRemoveFolder");
GSString const GSFileSpecDidRenameFile("GSFileSpecDidRenameFile");
GSString const GSFileSpecDidRenameFolder("GSFileSpecDidRenameFolder");
GSString const GSFileSpecIsFileSpecLocked("GSFileSpecIsFileSpecLocked");

long GSFileSpec::getExtenderPositionForFilename(GSString const& name)
{
    long const dot = name.findCharRev('.');
    return dot > name.findCharRev('/') ? dot : name.getLength();
}

GSString GSFileSpec::getExtenderForFilename(GSString const& name)
{
    long const position = getExtenderPositionForFilename(name);
    return name.getSubstring(position, name.getLength() - position);
}

short GSFileSpec::setExtenderOfFilename(GSString const& extender, GSString* name)
{
    GSString changed = name->getSubstring(0, getExtenderPositionForFilename(*name));
    if (changed.add(extender) != 0)
        return 1;
    *name = changed;
    return 0;
}

GSString GSFileSpec::getExtenderListFromString(GSString const& list)
{
    // "*.jpg:JPEG;*.png:PNGf;" -> "*.jpg;*.png;": each ":" starts a part (a file type) that runs to
    // the next ";", or to the end when no ";" follows.
    // From the last ":" backwards: what is removed never holds a ":" still to be found.
    GSString result = list;
    for (long colon = result.findCharRev(':'); colon >= 0; colon = result.findCharRev(':')) {
        long const semicolon = result.findChar(';', colon);
        if (result.remove(colon, semicolon < 0 ? -1 : semicolon - colon) != 0)
            return GSString();
    }
    return result;
}

GSString GSFileSpec::getExtenderFromString(GSString const& list)
{
    GSString extender = getExtenderListFromString(list);
    long start = extender.c_str()[0] == '*' ? 1 : 0;
    long end = extender.findChar(';', start);
    if (end < 0)
        end = extender.getLength();
    return extender.getSubstring(start, end - start);
}

bool GSFileSpec::extendersAreEqual(char const* a, long lengthA, char const* b, long lengthB)
{
    if (lengthA > 0 && a[0] == '*') {
        ++a;
        --lengthA;
    }
    if (lengthB > 0 && b[0] == '*') {
        ++b;
        --lengthB;
    }
    if (lengthA != lengthB)
        return false;
    GSString const left(a, lengthA, GSString::kUTF8);
    return left.compareValueCaseless(GSString(b, lengthB, GSString::kUTF8)) == 0;
}

bool GSFileSpec::isExtenderInList(GSString const& extender, GSString const& list)
{
    GSString const items = getExtenderListFromString(list);
    char const* text = items.c_str();
    long const length = items.getLength();
    for (long start = 0; start < length;) {
        long end = items.findChar(';', start);
        if (end < 0)
            end = length;
        if (end > start && extendersAreEqual(text + start, end - start, extender.c_str(), extender.getLength()))
            return true;
        start = end + 1;
    }
    return false;
}

char GSFileSpec::getPathDividerChar(int* length)
{
    if (length)
        *length = 1;
    return '/';
}

int GSFileSpec::compareFilenameWithNumberCaseless(GSString const& a, GSString const& b)
{
    return a.compareValueWithNumberCaseless(b, 1);
}

short GSFileSpec::correctFilename(GSString* name, int flags)
{
    // Pairs "character;replacement;": each character that file systems or shells refuse in a name
    // becomes a blank; "/" too unless the name may hold sub-folders (flag bit 0).
    GSString list("*; ;\"; ;?; ;<; ;>; ;|; ;:; ");
    if ((flags & 1) == 0 && list.add(";/; ", 4) != 0)
        return 1;
    return name->replaceChar(list, ';');
}

GSString GSFileSpec::getTemporaryFilename()
{
    char name[14] = {'t', 'm', 'p'};
    for (int i = 3; i < 13; ++i) {
        // C++'s remainder keeps the dividend's sign, as the name rule asks.
        int const value = GSRandom32() % 36;
        name[i] = static_cast<char>(value < 10 ? '0' + value : 'W' + value);
    }
    return GSString(name, 13, GSString::kUTF8);
}
