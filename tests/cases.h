// SPDX-License-Identifier: GPL-3.0-or-later
// tests/cases.h: tables of cases, out of the text files in tests/cases.
//
// One case is one row of fields separated by " | "; blanks around a field count only inside double
// quotes. A row goes on in the next line after a "\" at its end; blanks ahead of what follows do
// not count. \n, \r, \t, \e (escape) and octal codes such as \0 or \177 mean those characters, \u
// the line " \e[2A\n", any other character behind "\" itself, and {3*ab} means ababab. "#" at the
// start of a line, or after two blanks, begins a comment; [name] a section, which has a check of
// its own.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>

inline std::string unescaped(std::string_view from)
{
    static const std::map<char, std::string> letters{
        {'n', "\n"}, {'r', "\r"}, {'t', "\t"}, {'e', "\033"}, {'u', " \033[2A\n"}};
    std::string to;
    for (std::size_t i = 0, used; i < from.size(); i += used) {
        used = 1;
        if (from[i] == '{') {
            const auto star = from.find('*', i), end = from.find('}', i);
            if (from[i + 1] > '9' || star > end || end == from.npos) {
                ADD_FAILURE() << "behind { belong a count, * and }; { itself is written \\{";
                return to;
            }
            const std::string part = unescaped(from.substr(star + 1, end - star - 1));
            for (int n = std::stoi(std::string(from.substr(i + 1))); n > 0; --n) to += part;
            used = end - i + 1;
        } else if (from[i] != '\\' || i + 1 == from.size()) {
            to += from[i];
        } else if (const char c = from[++i]; c >= '0' && c <= '7') {
            to += static_cast<char>(std::stoi(std::string(from.substr(i, 3)), &used, 8));
        } else {
            to += letters.contains(c) ? letters.at(c) : std::string(1, c);
        }
    }
    return to;
}

// The text with \e for the escape character, so that a message leaves the screen alone.
inline std::string visible(std::string text)
{
    for (std::size_t i = 0; (i = text.find('\033', i)) != text.npos;) text.replace(i, 1, "\\e");
    return text;
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

    // Expects the fields from i on in `text`, each after the one before; what follows a "!"
    // is not to be there. "<" and ">" are the start and the end of the text. At least one is
    // expected, and where a fatal message ends the text, the last one in that.
    void expectin(std::string text, std::size_t i) const
    {
        EXPECT_GT(size(), i) << "the row expects nothing";
        text = "<" + text + ">";
        std::size_t from = 0;
        for (; i < size(); ++i) {
            const bool wanted = !at(i).starts_with('!');
            const std::string part = at(i).substr(wanted ? 0 : 1);
            const std::size_t found = text.find(part, from);
            if (part.empty() || wanted == (found == text.npos)) {
                ADD_FAILURE() << "field " << i + 1 << (wanted ? ", wanted: " : ", not wanted: ")
                              << visible(part) << "\nin\n"
                              << visible(text.substr(from));
            }
            if (wanted && found != text.npos) from = found + part.size();
        }
        const std::size_t fatal = text.rfind("attenuation: ");
        const bool ends = fatal != text.npos && text.find('\n', fatal) == text.size() - 2;
        if (ends && from <= fatal) ADD_FAILURE() << "no field for " << text.substr(fatal);
    }
};

// Reads the file and hands each case to the check of its section, "" ahead of the first. What fails
// names the line.
using checks = std::map<std::string, std::function<void(const row&)>>;
inline void cases(const std::string& name, const checks& check)
{
    std::ifstream in(CASES_DIR "/" + name);
    std::string line, section, more;
    int number = 0;
    while (++number, std::getline(in, line)) {
        const int first = number;
        for (; line.ends_with('\\') && std::getline(in, more); ++number) {
            line.pop_back();
            line += more.substr(std::min(more.find_first_not_of(' '), more.size()));
        }
        const testing::ScopedTrace at(name.c_str(), first, line);
        if (line.empty() || line[0] == '#') continue;
        if (line.front() == '[' && line.back() == ']') section = line.substr(1, line.size() - 2);
        else if (!check.contains(section)) ADD_FAILURE() << "no check for section " << section;
        else check.at(section)(row(line));
    }
    EXPECT_GT(number, 9) << name;
}
