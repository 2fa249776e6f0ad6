// GSTSize<T>: a width and a height, in that order (on file: width, then height).
#pragma once

template <class T>
struct GSTSize {
    T width{};
    T height{};
    bool operator==(GSTSize const&) const = default;
};
