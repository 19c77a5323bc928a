// SPDX-License-Identifier: GPL-3.0-or-later
// tests/cases.h: tables of cases, out of the text files in tests/cases.
//
// One case is one line, its fields separated by " | "; blanks around a field count only inside
// double quotes. \n, \r, \t, \e (escape) and octal codes such as \0 or \177 stand for those
// characters, any other character behind "\" for itself, {3*ab} for ababab. "#" at the start of a
// line, or behind two blanks, begins a comment; [name] a section, which has a check of its own.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>

inline std::string unescaped(std::string_view from)
{
    static const std::map<char, char> letters{{'n', '\n'}, {'r', '\r'}, {'t', '\t'}, {'e', '\033'}};
    std::string to;
    for (std::size_t i = 0, used; i < from.size(); i += used) {
        used = 1;
        if (from[i] == '{') {
            const auto star = from.find('*', i), end = std::min(from.find('}', i), from.size());
            const std::string part = unescaped(from.substr(star + 1, end - star - 1));
            for (int n = std::stoi(std::string(from.substr(i + 1))); n > 0; --n) to += part;
            used = end - i + 1;
        } else if (from[i] != '\\') {
            to += from[i];
        } else if (const char c = from[++i]; c >= '0' && c <= '7') {
            to += static_cast<char>(std::stoi(std::string(from.substr(i, 3)), &used, 8));
        } else {
            to += letters.contains(c) ? letters.at(c) : c;
        }
    }
    return to;
}

struct row : std::vector<std::string> {
    explicit row(std::string_view line)
    {
        line = line.substr(0, line.find("  # "));
        for (std::size_t at = 0, bar = 0; bar != line.npos; at = bar + 3) {
            bar = line.find(" | ", at);
            std::string_view field = line.substr(at, bar - at);
            field.remove_prefix(std::min(field.find_first_not_of(' '), field.size()));
            field = field.substr(0, field.find_last_not_of(' ') + 1);
            const bool quoted = field.size() > 1 && field.front() == '"' && field.back() == '"';
            push_back(unescaped(quoted ? field.substr(1, field.size() - 2) : field));
        }
    }
    // Field i, from 0; empty, and 0 as a number, if the line has no such field.
    std::string operator[](std::size_t i) const { return i < size() ? at(i) : ""; }
    float number(std::size_t i) const { return std::strtof((*this)[i].c_str(), nullptr); }
    int integer(std::size_t i) const { return static_cast<int>(number(i)); }

    // Expects the fields from i on in `text`, each behind the one before; what stands behind a "!"
    // is not to be there. "<" and ">" are the start and the end of the text.
    void expectin(std::string text, std::size_t i) const
    {
        text = "<" + text + ">";
        for (std::size_t from = 0; i < size(); ++i) {
            const std::string part = at(i).substr(at(i).starts_with('!'));
            const std::size_t found = text.find(part, from);
            EXPECT_EQ(found == text.npos, part.size() < at(i).size()) << at(i) << "\nin\n" << text;
            if (found != text.npos) from = found + part.size();
        }
    }
};

// Reads the file and hands each case to the check of its section, "" ahead of the first. What fails
// names the line.
inline void cases(const std::string& name,
                  const std::map<std::string, std::function<void(const row&)>>& checks)
{
    std::ifstream in(CASES_DIR "/" + name);
    std::string line, section;
    int number = 1;
    for (; std::getline(in, line); ++number) {
        const testing::ScopedTrace at(name.c_str(), number, line);
        if (line.empty() || line[0] == '#') continue;
        if (line.front() != '[' || line.back() != ']') checks.at(section)(row(line));
        else section = line.substr(1, line.size() - 2);
    }
    EXPECT_GT(number, 9) << name;
}
