// GSString: the text type of every interface of the library: a run of 8-bit code units, always
// zero-terminated, plus a one-byte encoding tag that says how to read them.
//
// Encoding tags: 0 Windows code page, 1 Mac code page, 2 code page without tables,
// 3 PostScript code page, 100 UTF-8 (the default of a new string).
//
// This is the core of the type: storage, comparison, the UTF-8 check and the binary file form.
// Conversion between encodings and formatting build on it.
//
// Binary file form (count = data bytes including the terminating zero; an empty string has count 0):
//   compact mode   tag (1 byte), count (compact signed), the count bytes
//   classic        empty: int16 0. Otherwise int16 ~tag, count (int32), the count bytes.
//                  A positive int16 n is the older form: n is the count, the tag is 0 (Windows).
#pragma once

#include <string>

class GSFile;

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

    // The binary file form above. read() checks the count against the bytes left in the file
    // before taking them; a failed read returns its status and leaves the string empty. Data whose
    // last byte is not zero reads as an empty string with status 0.
    [[nodiscard]] short read(GSFile* file);
    [[nodiscard]] short write(GSFile* file) const;

private:
    std::string bytes;
    unsigned char encoding = kUTF8;
};
