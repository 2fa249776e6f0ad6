#include "gs/object/GSRuntimeClass.h"

#include "gs/object/GSFixArray.h"

#include <algorithm>
#include <atomic>
#include <cstring>

namespace {

// Created on first use, so that registration from any static initialiser finds it. The classes of
// the library fit in the 64 inline slots; more move the array to the heap.
using Registry = GSFixArray<GSRuntimeClass*, 64>;

Registry& registry()
{
    static Registry classes;
    return classes;
}

bool nameLess(GSRuntimeClass const* a, char const* b)
{
    return std::strcmp(a->getName().c_str(), b) < 0;
}

// Constant-initialised, so that it is ready for the static initialisers that register classes.
constinit std::atomic<long> failedRegistrations{0};

} // namespace

GSRuntimeClass::GSRuntimeClass(GSString const& n, GSRuntimeClass* p, CreateFunction f)
    : name(n), parent(p), createFunction(f)
{
    if (insertIntoChain(this) != 0)
        failedRegistrations.fetch_add(1, std::memory_order_relaxed);
}

long GSRuntimeClass::getFailedRegistrationCount()
{
    return failedRegistrations.load(std::memory_order_relaxed);
}

// Insertion position: at 0 when the registry is empty or the name sorts at or before the first;
// otherwise a binary search that lands on an equal name (inserting before it) or between
// neighbours. A second class of an existing name goes in front of the first.
short GSRuntimeClass::insertIntoChain(GSRuntimeClass* c)
{
    auto& classes = registry();
    long count = classes.getCount();
    long at = 0;
    if (count > 0 && c->getName().compareValueSimple(classes[0]->getName()) > 0) {
        long low = 0;
        long high = count - 1;
        long mid = 0;
        int last = 0;
        while (low <= high) {
            mid = (low + high) / 2;
            last = c->getName().compareValueSimple(classes[mid]->getName());
            if (last == 0)
                break;
            if (last > 0)
                low = mid + 1;
            else
                high = mid - 1;
        }
        at = last <= 0 ? mid : mid + 1;
    }
    return classes.insertAt(at, &c, 1) == 0 ? 0 : 1;
}

GSObject* GSRuntimeClass::createObject() const
{
    return createFunction ? createFunction() : nullptr;
}

bool GSRuntimeClass::isDescendantOf(GSRuntimeClass const& c) const
{
    for (GSRuntimeClass const* k = parent; k; k = k->parent)
        if (k == &c)
            return true;
    return false;
}

GSRuntimeClass* GSRuntimeClass::getRuntimeClassForName(GSString const& n)
{
    auto& classes = registry();
    auto at = std::lower_bound(classes.begin(), classes.end(), n.c_str(), nameLess);
    if (at != classes.end() && std::strcmp((*at)->getName().c_str(), n.c_str()) == 0)
        return *at;
    return nullptr;
}

GSObject* GSRuntimeClass::createObjectForName(GSString const& n)
{
    GSRuntimeClass* c = getRuntimeClassForName(n);
    return c ? c->createObject() : nullptr;
}

long GSRuntimeClass::getRegisteredCount()
{
    return registry().getCount();
}
