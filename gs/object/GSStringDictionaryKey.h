// GSStringDictionaryKey: a dictionary key made of a text, the key every add... and get... call of
// GSObjectDictionary builds. Record 1 of its block holds the text in GSString's file form.
#pragma once

#include "gs/object/GSObjectDictionaryKey.h"
#include "gs/text/GSString.h"

class GSStringDictionaryKey : public GSObjectDictionaryKey {
public:
    GSStringDictionaryKey() = default;
    explicit GSStringDictionaryKey(GSString const& text) : key(text) {}

    GSRuntimeClass const& getRuntimeClass() const override;
    [[nodiscard]] short read(GSFile* file) override;
    [[nodiscard]] short write(GSFile* file) const override;
    // Exactly this class on both sides and texts equal by GSString::compareValue: case-sensitive,
    // by character (a composed and a decomposed accent are equal; tags are looked through).
    bool operator==(GSObjectDictionaryKey const& other) const override;

    // a.compareValue(b) == 0, decided from the bytes where they suffice: equal bytes under one tag
    // (or both UTF-8) are equal texts, and UTF-8 texts whose first difference is between two ASCII
    // bytes (or an ASCII byte and the end) differ. Everything else takes compareValue.
    static bool isEqualText(GSString const& a, GSString const& b);

    // A new key with an empty text, with the count 0; null when memory runs out.
    static GSObject* _createFunction();
    static GSRuntimeClass gsClassGSStringDictionaryKey;

    GSString key;
};
