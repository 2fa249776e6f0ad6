// GSObjectDictionary: adding values and the typed and tolerant getters.
#include "gs/object/GSObjectDictionary.h"

#include "gs/filespec/GSFileSpec.h"
#include "gs/object/GSBufferObject.h"
#include "gs/object/GSDoubleObject.h"
#include "gs/object/GSFileSpecObject.h"
#include "gs/object/GSFloatArrayObject.h"
#include "gs/object/GSFloatObject.h"
#include "gs/object/GSLongArrayObject.h"
#include "gs/object/GSLongObject.h"
#include "gs/object/GSObjectDictionaryObject.h"
#include "gs/object/GSPointerObject.h"
#include "gs/object/GSStringObject.h"
#include "gs/object/GSULongObject.h"

#include <cmath>
#include <new>

namespace {

constexpr unsigned int kMissingULong = 0x80000000u;

// The value object when it is exactly of class c (C being that class), else null.
template <class C>
C const* exactly(GSObject const* value, GSRuntimeClass const& c)
{
    return value && value->isKindOfRuntimeClass(c) ? static_cast<C const*>(value) : nullptr;
}

// floor(d + 0.49) as a 32-bit integer. NaN and results outside the range give 0x80000000 (what the
// processor's conversion gives; it is also how the most negative double comes out).
int roundTolerant(double d)
{
    double const r = std::floor(d + 0.49);
    if (!(r >= INT_MIN && r <= INT_MAX))
        return INT_MIN;
    return static_cast<int>(r);
}

// The number a value object holds as getDoubleValueTolerant takes it: a double, a float, a long or
// an unsigned long that is not its class's "missing" value; else kMissingDouble. Text is not a
// number here: "12" in a GSStringObject is no value.
double numberOf(GSObject const* value)
{
    constexpr double kMissing = GSObjectDictionary::kMissingDouble;
    if (auto const* d = exactly<GSDoubleObject>(value, GSDoubleObject::gsClassGSDoubleObject))
        return d->value;
    if (auto const* f = exactly<GSFloatObject>(value, GSFloatObject::gsClassGSFloatObject))
        return f->value == GSObjectDictionary::kMissingFloat ? kMissing : f->value;
    if (auto const* l = exactly<GSLongObject>(value, GSLongObject::gsClassGSLongObject))
        return l->value == GSObjectDictionary::kMissingLong ? kMissing : l->value;
    if (auto const* u = exactly<GSULongObject>(value, GSULongObject::gsClassGSULongObject))
        return u->value == kMissingULong ? kMissing : u->value;
    return kMissing;
}

// The integer getLongValueTolerant takes from a value object: an unsigned long's bits unless they
// are 0x80000000, else the rounded number (a long's own value: floor(v + 0.49) is v); false when
// there is no number.
bool integerOf(GSObject const* value, int* result)
{
    auto const* u = exactly<GSULongObject>(value, GSULongObject::gsClassGSULongObject);
    if (u && u->value != kMissingULong) {
        *result = static_cast<int>(u->value);
        return true;
    }
    double const d = numberOf(value);
    if (d == GSObjectDictionary::kMissingDouble)
        return false;
    *result = roundTolerant(d);
    return true;
}

// Each element of `from` converted into a new array; empty when memory runs out.
template <class To, class From, class Convert>
GSDynaArray<To> convertArray(GSDynaArray<From> const& from, Convert convert)
{
    long const n = from.getCount();
    GSDynaArray<To> to(n);
    for (long i = 0; i < n; ++i)
        if (to.add(convert(from[i])) != 0)
            return GSDynaArray<To>();
    return to;
}

} // namespace

// --- Construction with one entry -----------------------------------------------------------------

GSObjectDictionary::GSObjectDictionary(GSString const& key, int value) : GSObjectDictionary()
{
    (void)addLongValue(key, value); // out of memory: the dictionary stays empty
}

GSObjectDictionary::GSObjectDictionary(GSString const& key, float value) : GSObjectDictionary()
{
    (void)addFloatValue(key, value);
}

GSObjectDictionary::GSObjectDictionary(GSString const& key, double value) : GSObjectDictionary()
{
    (void)addDoubleValue(key, value);
}

GSObjectDictionary::GSObjectDictionary(GSString const& key, GSString const& value) : GSObjectDictionary()
{
    (void)addStringValue(key, value);
}

GSObjectDictionary::GSObjectDictionary(GSString const& key, GSFileSpec const& value) : GSObjectDictionary()
{
    (void)addFileSpecValue(key, value);
}

GSObjectDictionary::GSObjectDictionary(GSString const& key, GSObject const* value) : GSObjectDictionary()
{
    (void)addObjectValue(key, value);
}

// --- Adding --------------------------------------------------------------------------------------

short GSObjectDictionary::addLongValue(GSString const& key, int value)
{
    return addNew(key, new (std::nothrow) GSLongObject(value));
}

short GSObjectDictionary::addULongValue(GSString const& key, unsigned int value)
{
    return addNew(key, new (std::nothrow) GSULongObject(value));
}

short GSObjectDictionary::addPointerValue(GSString const& key, void* value)
{
    return addNew(key, new (std::nothrow) GSPointerObject(value));
}

short GSObjectDictionary::addFloatValue(GSString const& key, float value)
{
    return addNew(key, new (std::nothrow) GSFloatObject(value));
}

short GSObjectDictionary::addDoubleValue(GSString const& key, double value)
{
    return addNew(key, new (std::nothrow) GSDoubleObject(value));
}

short GSObjectDictionary::addStringValue(GSString const& key, GSString const& value)
{
    return addNew(key, new (std::nothrow) GSStringObject(value));
}

short GSObjectDictionary::addFileSpecValue(GSString const& key, GSFileSpec const& value)
{
    return addNew(key, new (std::nothrow) GSFileSpecObject(value));
}

short GSObjectDictionary::addDictionaryValue(GSString const& key, GSObjectDictionary const& value)
{
    return addNew(key, new (std::nothrow) GSObjectDictionaryObject(value));
}

short GSObjectDictionary::addBufferValue(GSString const& key, GSDynaArray<unsigned char> const& value)
{
    return addNew(key, new (std::nothrow) GSBufferObject(value));
}

short GSObjectDictionary::addFloatArrayValue(GSString const& key, GSDynaArray<float> const& value)
{
    return addNew(key, new (std::nothrow) GSFloatArrayObject(value));
}

short GSObjectDictionary::addFloatArrayValue(GSString const& key, long count, float const* elements)
{
    GSDynaArray<float> array;
    if (array.append(elements, count) != 0) // a count below 1 appends nothing
        return 1;
    return addFloatArrayValue(key, array);
}

short GSObjectDictionary::addLongArrayValue(GSString const& key, GSDynaArray<int> const& value)
{
    return addNew(key, new (std::nothrow) GSLongArrayObject(value));
}

short GSObjectDictionary::addLongArrayValue(GSString const& key, long count, int const* elements)
{
    GSDynaArray<int> array;
    if (array.append(elements, count) != 0) // a count below 1 appends nothing
        return 1;
    return addLongArrayValue(key, array);
}

short GSObjectDictionary::addObjectValue(GSString const& key, GSObject const* value)
{
    // The caller's object: retained when stored, never deleted here.
    return insertUnderText(key, value);
}

// --- Typed getters -------------------------------------------------------------------------------

int GSObjectDictionary::getLongValue(GSString const& key, int defaultValue) const
{
    auto const* v = exactly<GSLongObject>(valueForText(key), GSLongObject::gsClassGSLongObject);
    return v ? v->value : defaultValue;
}

unsigned int GSObjectDictionary::getULongValue(GSString const& key, unsigned int defaultValue) const
{
    auto const* v = exactly<GSULongObject>(valueForText(key), GSULongObject::gsClassGSULongObject);
    return v ? v->value : defaultValue;
}

float GSObjectDictionary::getFloatValue(GSString const& key, float defaultValue) const
{
    auto const* v = exactly<GSFloatObject>(valueForText(key), GSFloatObject::gsClassGSFloatObject);
    return v ? v->value : defaultValue;
}

double GSObjectDictionary::getDoubleValue(GSString const& key, double defaultValue) const
{
    auto const* v = exactly<GSDoubleObject>(valueForText(key), GSDoubleObject::gsClassGSDoubleObject);
    return v ? v->value : defaultValue;
}

GSString GSObjectDictionary::getStringValue(GSString const& key, GSString const& defaultValue) const
{
    auto const* v = exactly<GSStringObject>(valueForText(key), GSStringObject::gsClassGSStringObject);
    return v ? v->value : defaultValue;
}

void* GSObjectDictionary::getPointerValue(GSString const& key, void* defaultValue) const
{
    auto const* v = exactly<GSPointerObject>(valueForText(key), GSPointerObject::gsClassGSPointerObject);
    return v ? v->value : defaultValue;
}

GSFileSpec GSObjectDictionary::getFileSpecValue(GSString const& key, GSFileSpec const& defaultValue) const
{
    auto const* v = exactly<GSFileSpecObject>(valueForText(key), GSFileSpecObject::gsClassGSFileSpecObject);
    return v ? v->value : defaultValue;
}

GSObjectDictionary GSObjectDictionary::getDictionaryValue(GSString const& key,
                                                          GSObjectDictionary const& defaultValue) const
{
    auto const* v =
        exactly<GSObjectDictionaryObject>(valueForText(key), GSObjectDictionaryObject::gsClassGSObjectDictionaryObject);
    return v ? v->value : defaultValue;
}

GSObject* GSObjectDictionary::getObjectValue(GSString const& key, GSObject* defaultValue) const
{
    GSObject* v = valueForText(key);
    return v ? v : defaultValue;
}

GSDynaArray<unsigned char> GSObjectDictionary::getBufferValue(GSString const& key) const
{
    auto const* v = exactly<GSBufferObject>(valueForText(key), GSBufferObject::gsClassGSBufferObject);
    return v ? v->value : GSDynaArray<unsigned char>();
}

GSDynaArray<float> GSObjectDictionary::getFloatArrayValue(GSString const& key) const
{
    auto const* v = exactly<GSFloatArrayObject>(valueForText(key), GSFloatArrayObject::gsClassGSFloatArrayObject);
    return v ? v->value : GSDynaArray<float>();
}

GSDynaArray<int> GSObjectDictionary::getLongArrayValue(GSString const& key) const
{
    auto const* v = exactly<GSLongArrayObject>(valueForText(key), GSLongArrayObject::gsClassGSLongArrayObject);
    return v ? v->value : GSDynaArray<int>();
}

// --- Tolerant getters ----------------------------------------------------------------------------

double GSObjectDictionary::getDoubleValueTolerant(GSString const& key, double defaultValue) const
{
    double const d = numberOf(valueForText(key));
    return d == kMissingDouble ? defaultValue : d;
}

int GSObjectDictionary::getLongValueTolerant(GSString const& key, int defaultValue) const
{
    int v;
    return integerOf(valueForText(key), &v) ? v : defaultValue;
}

unsigned int GSObjectDictionary::getULongValueTolerant(GSString const& key, unsigned int) const
{
    // A value object is of one class, so taking the unsigned long first or the long first is the
    // same. The default is never looked at: without a number the result is 0x80000000, the
    // rounding of kMissingDouble.
    int v = kMissingLong;
    (void)integerOf(valueForText(key), &v);
    return static_cast<unsigned int>(v);
}

float GSObjectDictionary::getFloatValueTolerant(GSString const& key, float defaultValue) const
{
    double const d = numberOf(valueForText(key));
    return d == kMissingDouble ? defaultValue : static_cast<float>(d);
}

short GSObjectDictionary::getBoolValueTolerant(GSString const& key, short defaultValue) const
{
    int const v = getLongValueTolerant(key, 2);
    if (v != 2)
        return v != 0 ? 1 : 0;
    // 2 is "no number" here, so a stored 2 falls through to the words and then to the default.
    if (auto const* s = exactly<GSStringObject>(valueForText(key), GSStringObject::gsClassGSStringObject)) {
        if (s->value.compareValueCaselessSimple(GSString("true")) == 0)
            return 1;
        if (s->value.compareValueCaselessSimple(GSString("false")) == 0)
            return 0;
    }
    return defaultValue;
}

GSDynaArray<unsigned char> GSObjectDictionary::getBufferValueTolerant(GSString const& key) const
{
    GSObject const* value = valueForText(key);
    if (auto const* b = exactly<GSBufferObject>(value, GSBufferObject::gsClassGSBufferObject))
        return b->value;
    GSDynaArray<unsigned char> bytes;
    if (auto const* s = exactly<GSStringObject>(value, GSStringObject::gsClassGSStringObject))
        (void)s->value.decodeBinaryData(&bytes); // text that is not hexadecimal digits leaves it empty
    return bytes;
}

GSDynaArray<float> GSObjectDictionary::getFloatArrayValueTolerant(GSString const& key) const
{
    GSObject const* value = valueForText(key);
    if (auto const* f = exactly<GSFloatArrayObject>(value, GSFloatArrayObject::gsClassGSFloatArrayObject))
        return f->value;
    if (auto const* l = exactly<GSLongArrayObject>(value, GSLongArrayObject::gsClassGSLongArrayObject))
        return convertArray<float>(l->value, [](int x) { return static_cast<float>(x); });
    GSDynaArray<float> one;
    if (double const d = numberOf(value); d != kMissingDouble)
        (void)one.add(static_cast<float>(d)); // out of memory: it stays empty
    return one;
}

GSDynaArray<int> GSObjectDictionary::getLongArrayValueTolerant(GSString const& key) const
{
    GSObject const* value = valueForText(key);
    if (auto const* l = exactly<GSLongArrayObject>(value, GSLongArrayObject::gsClassGSLongArrayObject))
        return l->value;
    if (auto const* f = exactly<GSFloatArrayObject>(value, GSFloatArrayObject::gsClassGSFloatArrayObject))
        return convertArray<int>(f->value, [](float x) { return roundTolerant(x); });
    GSDynaArray<int> one;
    if (int v; integerOf(value, &v))
        (void)one.add(v); // out of memory: it stays empty
    return one;
}

GSFileSpec GSObjectDictionary::getFileSpecValueTolerant(GSString const& key, GSFileSpec const& defaultValue) const
{
    GSObject const* value = valueForText(key);
    if (auto const* f = exactly<GSFileSpecObject>(value, GSFileSpecObject::gsClassGSFileSpecObject))
        return f->value;
    if (auto const* s = exactly<GSStringObject>(value, GSStringObject::gsClassGSStringObject); s && !s->value.isEmpty())
        return GSFileSpec(s->value);
    return defaultValue;
}
