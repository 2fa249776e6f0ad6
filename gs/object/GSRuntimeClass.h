// GSRuntimeClass: one static record per class (name as written in files, parent, create function),
// kept in a process-wide registry sorted by name so that a class name read from a file can be
// turned back into an empty object. Records register themselves from static initialisers and are
// never freed before exit.
#pragma once

#include "gs/text/GSString.h"

class GSObject;

class GSRuntimeClass {
public:
    using CreateFunction = GSObject* (*)();

    // Stores the fields and inserts the class into the registry. A class that cannot be stored
    // (out of memory) is counted in getFailedRegistrationCount() and is not found by name.
    GSRuntimeClass(GSString const& name, GSRuntimeClass* parent, CreateFunction createFunction);
    GSRuntimeClass(GSRuntimeClass const&) = delete;
    GSRuntimeClass& operator=(GSRuntimeClass const&) = delete;

    GSString const& getName() const { return name; }
    GSRuntimeClass const* getParent() const { return parent; }
    // A new object with the count 0, or null for an abstract class.
    GSObject* createObject() const;
    // True when `c` is met walking up from the parent; a class is not its own descendant.
    bool isDescendantOf(GSRuntimeClass const& c) const;

    // 0 when the class was stored, 1 when the registry could not grow.
    [[nodiscard]] static short insertIntoChain(GSRuntimeClass* c);
    // Binary search by byte-wise name comparison; null when absent.
    static GSRuntimeClass* getRuntimeClassForName(GSString const& name);
    // Null when the class is unknown or abstract.
    static GSObject* createObjectForName(GSString const& name);
    static long getRegisteredCount();
    // Classes that could not be registered since start-up: a front end that finds any reports
    // it, since objects of such a class in a file would be skipped as unknown.
    static long getFailedRegistrationCount();

    GSString name;
    GSRuntimeClass* parent;
    CreateFunction createFunction;
};
