// The two exceptions of the library, both reporting misuse rather than bad input:
// bad_file for unbalanced object-merging calls, bad_index for an index out of range.
#pragma once

#include <exception>

class bad_file : public std::exception {
public:
    char const* what() const noexcept override { return "Bad File"; }
};

class bad_index : public std::exception {
public:
    char const* what() const noexcept override { return "Bad Index"; }
};
