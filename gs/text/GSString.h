// GSString: the text type of every interface of the library: a run of 8-bit code units, always
// zero-terminated, plus a one-byte encoding tag that says how to read them.
//
// Encoding tags: 0 Windows code page, 1 Mac code page, 2 code page without tables,
// 3 PostScript code page, 100 UTF-8 (the default of a new string).
//
// This is the core of the type: storage, comparison and the UTF-8 check. Conversion between
// encodings, formatting and the file forms build on it.
#pragma once

#include <string>

class GSString {
public:
    enum : unsigned char { kWindows = 0, kMac = 1, kNoTables = 2, kPostScript = 3, kUTF8 = 100 };

    GSString() = default;
    GSString(char const* text, unsigned char encoding = kUTF8);
    GSString(char const* bytes, long length, unsigned char encoding);

    char const* c_str() const { return bytes.c_str(); }
    long getLength() const { return static_cast<long>(bytes.size()); }
    bool isEmpty() const { return bytes.empty(); }
    unsigned char getEncoding() const { return encoding; }
    void setEncoding(unsigned char e) { encoding = e; }

    void clear() { bytes.clear(); }
    void append(char const* data, long length) { bytes.append(data, static_cast<size_t>(length)); }
    void append(char c) { bytes.push_back(c); }
    GSString& operator+=(GSString const& other) { bytes += other.bytes; return *this; }

    // Byte-wise comparison of the code units (negative, zero or positive); the tag is not compared.
    int compare(GSString const& other) const { return bytes.compare(other.bytes); }
    bool operator==(GSString const& other) const { return bytes == other.bytes; }
    bool operator!=(GSString const& other) const { return bytes != other.bytes; }

    // True when the bytes form valid UTF-8 (no overlong forms, no surrogates, at most U+10FFFF).
    bool isValidUTF8() const { return isValidUTF8(bytes.data(), static_cast<long>(bytes.size())); }
    static bool isValidUTF8(char const* data, long length);

private:
    std::string bytes;
    unsigned char encoding = kUTF8;
};
