// SPDX-License-Identifier: GPL-3.0-or-later
// base/field.h: the two value types that carry all text and all tables.
//
// Both are plain copyable values with their bounds in the type. A position outside the bounds is a
// fault of the program and ends it with a clear line; it never reads or writes other memory.
#pragma once

#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>

#include "base/stop.h"

/// A view without its first `n` characters; empty if it has no more. Unlike `substr` it needs
/// nothing of the C++ library at run time, so that the program starts at once.
constexpr std::string_view without(std::string_view s, std::size_t n)
{
    s.remove_prefix(n < s.size() ? n : s.size());
    return s;
}

/// A view without the blanks at both its ends.
constexpr std::string_view stripped(std::string_view s)
{
    while (s.starts_with(' ')) s.remove_prefix(1);
    while (s.ends_with(' ')) s.remove_suffix(1);
    return s;
}

inline bool isdecimal(char c) { return c >= '0' && c <= '9'; }

/// Fixed array whose items are numbered lo..hi, as in the tables. Stops on any other number.
template <typename T, int lo, int hi>
struct dim {
    T item[hi - lo + 1]{};

    T& operator()(int i) { return item[place(i)]; }
    const T& operator()(int i) const { return item[place(i)]; }

    static int place(int i)
    {
        if (i < lo || i > hi) stop("index %d outside %d..%d", i, lo, hi);
        return i - lo;
    }
};

/// n characters, numbered from 1, blank beyond the text. Longer texts are cut, shorter ones padded.
/// The meaningful length is the place of the last non-blank.
template <int n>
struct text {
    char ch[n];

    text(std::string_view s = {}) { put(1, n, s); }
    text(const char* s) : text(std::string_view(s)) {}

    char& operator()(int i) { return ch[dim<char, 1, n>::place(i)]; }
    char operator()(int i) const { return ch[dim<char, 1, n>::place(i)]; }

    /// Columns i to j; empty if j is i - 1. Like the other views it must not outlive the text, and
    /// cannot be taken of a temporary one.
    std::string_view operator()(int i, int j) const&
    {
        if (i < 1 || j > n || j < i - 1) stop("columns %d to %d of a %d-column text", i, j, n);
        return {ch + (i - 1), static_cast<std::size_t>(j - i + 1)};
    }

    /// Columns i to j become `s`, cut or blank-padded. `s` must not lie in this very field.
    void put(int i, int j, std::string_view s)
    {
        const std::size_t width = (*this)(i, j).size();
        const std::size_t used = s.size() < width ? s.size() : width;
        if (used > 0) std::memcpy(ch + (i - 1), s.data(), used);
        if (used < width) std::memset(ch + (i - 1) + used, ' ', width - used);
    }

    /// Place of the last non-blank among columns 1 to k, 0 if there is none.
    int length(int k = n) const
    {
        const std::string_view columns(ch, static_cast<std::size_t>(k < n ? k : n));
        return static_cast<int>(columns.find_last_not_of(' ') + 1);
    }

    std::string_view all() const& { return {ch, static_cast<std::size_t>(n)}; }
    std::string_view trimmed() const& { return (*this)(1, length()); }
    std::string_view operator()(int, int) && = delete;
    std::string_view all() && = delete;
    std::string_view trimmed() && = delete;

    /// For routines that fill a text of any length.
    operator std::span<char>() & { return ch; }

    bool blank() const { return length() == 0; }
    bool begins(std::string_view s) const { return all().starts_with(s); }
    bool contains(std::string_view s) const { return all().find(s) != std::string_view::npos; }
    bool operator==(const text& other) const { return std::memcmp(ch, other.ch, n) == 0; }
};

/// Puts a line into the columns of `to`, cut or blank-padded; the rest of a longer line is dropped,
/// and so is a carriage return at its end. `nextpart` gives the next part of the line, the last one
/// with the line feed; an empty part at the end of the input. False if there is no further line.
template <typename source>
bool fillrecord(std::span<char> to, source nextpart)
{
    std::size_t length = 0;  // of the whole line, also beyond the last column
    bool any = false, whole = false;
    for (std::string_view part; !whole && !(part = nextpart()).empty(); any = true) {
        whole = part.ends_with('\n');
        if (whole) part.remove_suffix(1);
        if (length < to.size()) part.copy(&to[length], to.size() - length);
        length += part.size();
    }
    if (length > 0 && length <= to.size() && to[length - 1] == '\r') --length;
    if (length < to.size()) std::memset(&to[length], ' ', to.size() - length);
    return any;
}

/// A text of at most 132 characters as the C library takes it, with a NUL at its end.
struct cstring {
    char ch[133]{};

    explicit cstring(std::string_view s) { s.copy(ch, sizeof ch - 1); }
    operator const char*() const { return ch; }
};
