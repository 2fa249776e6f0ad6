// The localisation hooks of GSString: the process's current string table and numeric string table,
// and the texts looked up in them.
#include "gs/text/GSString.h"

#include "gs/text/GSStringTable.h"

#include <memory>
#include <mutex>
#include <new>
#include <vector>

GSString const GSString::null;

namespace {

// The installed tables. Installing swaps a pointer under the lock; a reader takes its own
// reference to the current table under the lock and looks up without it, so that a table never
// changes or goes away while it is read.
struct InstalledTables {
    std::mutex lock;
    std::shared_ptr<GSStringTable const> strings;
    std::shared_ptr<GSNumericStringTable const> numbers;
    // Every string table ever installed: getUnlocalizedString hands out references to its keys.
    std::vector<std::shared_ptr<GSStringTable const>> kept;
};

// Made on first use, so that texts can be looked up from static initialisers of other files.
InstalledTables& installed()
{
    static InstalledTables tables;
    return tables;
}

std::shared_ptr<GSStringTable const> currentStrings()
{
    InstalledTables& tables = installed();
    std::lock_guard<std::mutex> guard(tables.lock);
    return tables.strings;
}

std::shared_ptr<GSNumericStringTable const> currentNumbers()
{
    InstalledTables& tables = installed();
    std::lock_guard<std::mutex> guard(tables.lock);
    return tables.numbers;
}

} // namespace

short GSString::setStringTable(GSStringTable const& table)
{
    InstalledTables& tables = installed();
    try {
        auto copy = std::make_shared<GSStringTable const>(table);
        std::lock_guard<std::mutex> guard(tables.lock);
        tables.kept.push_back(copy);
        tables.strings = std::move(copy);
    } catch (std::bad_alloc const&) {
        return 1;
    }
    return 0;
}

short GSString::setNumericStringTable(GSNumericStringTable const& table)
{
    InstalledTables& tables = installed();
    try {
        auto copy = std::make_shared<GSNumericStringTable const>(table);
        std::lock_guard<std::mutex> guard(tables.lock);
        tables.numbers = std::move(copy);
    } catch (std::bad_alloc const&) {
        return 1;
    }
    return 0;
}

GSString::GSString(int id) { (void)load(static_cast<unsigned int>(id)); }

GSString::GSString(unsigned int id) { (void)load(id); }

GSString::GSString(long id) { (void)load(static_cast<unsigned int>(id)); }

GSString::GSString(GSString const& key, int* status)
{
    short const st = load(key);
    if (status)
        *status = st;
}

short GSString::load(unsigned int id)
{
    GSString text;
    if (id != 0) {
        if (auto const table = currentNumbers())
            text = table->getValue(static_cast<int>(id));
    }
    *this = std::move(text);
    return id != 0 && isEmpty() ? 1 : 0;
}

short GSString::load(GSString const& key)
{
    if (key.isEmpty()) {
        *this = GSString();
        return 0;
    }
    auto const table = currentStrings();
    GSString const& value = table ? table->getValue(key) : null;
    if (value.isEmpty()) {
        *this = key;
        return 1;
    }
    *this = value;
    return 0;
}

GSString GSString::getLocalizedString(int id) { return GSString(id); }

int GSString::getStringID(GSString const& text)
{
    auto const table = currentNumbers();
    for (long i = table ? table->getCount() - 1 : -1; i >= 0; --i) {
        _NumericStringTableEntry const& entry = table->getEntry(i);
        if (entry.value.compareValue(text) == 0)
            return entry.key;
    }
    return 0;
}

GSString const& GSString::getUnlocalizedString(GSString const& text)
{
    // The table stays alive after `table` is gone (kept above), so its key may be handed out.
    auto const table = currentStrings();
    for (long i = table ? table->getCount() - 1 : -1; i >= 0; --i) {
        _StringTableEntry const& entry = table->getEntry(i);
        if (entry.value.compareValue(text) == 0)
            return entry.key;
    }
    return text;
}
