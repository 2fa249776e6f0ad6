// Hex helpers for golden-byte tests: "00 3F 80 01" <-> bytes.
#pragma once

#include <string>
#include <vector>

namespace qmtest {

// Parses pairs of hex digits; spaces are ignored. Throws std::invalid_argument on other characters.
std::vector<unsigned char> fromHex(std::string const& text);
// "00 3F 80 01": upper case, one space between bytes.
std::string toHex(std::vector<unsigned char> const& bytes);
std::string toHex(unsigned char const* bytes, size_t length);

} // namespace qmtest
