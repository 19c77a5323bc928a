// SPDX-License-Identifier: GPL-3.0-or-later
// tools/widths.cpp: walks through menus on an emulated terminal, at every width.
//
// Usage: build/tests/widths [first [last]], 20 and 140 columns if not given. The title, the entries
// and the line below them must be on the screen once, after every key: neither the key nor anything
// that the menu wiped may be left. Prints the screen for each width at which a menu fails, and ends
// with status 1 then.
#include <cstdio>

#include "tests/screen.h"

namespace {

struct walkedmenu {
    const char* name;
    const char* keys;   // up to the menu
    const char* title;  // the middle of it, which is left in 20 columns, without blanks
};

const walkedmenu menus[] = {
    {"absorbers", "", "select(help"},
    {"densities of iron", "Iron\n\n\n", "themodif"},
    {"densities of carbon", "5\n\nC\n\n\n", "themodif"},
    {"densities of phosphorus", "5\n\nP\n\n\n", "themodif"},
    {"help", "he\n\n", "relatedinf"},
    {"help, second level", "he\n\nabout/prompts\n\n\n", "relatedinf"},
};

// The last key comes back to the entry that was highlighted at first. A text that is in no entry
// takes the highlight away and leaves the place.
const char* const walk[] = {"\033[B", "\033[C", "\033[B", "\033[A", "\033[D",
                            "\033[A", "\033[A", "\033[D", "\033[Z", "no such\n",
                            "\033[C", "\033[B", "\033[C", "\033[A"};

// What is on the screen, without what the highlight and the width change.
std::string squeezed(const screen& s)
{
    std::string text = s.shown();
    std::erase_if(text, [](char c) { return std::strchr(" \n[]", c) != nullptr; });
    return text;
}

// The entries of the menu shown last.
std::string entries(const screen& s, const walkedmenu& menu)
{
    std::string text = squeezed(s);
    text = text.substr(std::min(text.rfind(menu.title), text.size()));
    text = text.substr(std::min(text.find('-'), text.size()));
    std::erase(text, '-');
    return text;
}

// What is wrong with the menu in so many columns; empty if nothing is.
std::string fault(const walkedmenu& menu, int columns, const std::string& wanted)
{
    screen s(250, columns);  // all of a help text on one page
    s.type(menu.keys);
    const std::string before = s.shown(), text = squeezed(s);
    const bool whole = columns >= 64;  // no entry is cut
    if (whole && entries(s, menu) != wanted) return "at first:\n" + before;
    if (s.marked().empty()) return "nothing is highlighted:\n" + before;
    for (const char* key : walk) {
        s.type(key);
        if (squeezed(s) != text) return "after a key:\n" + s.shown();
    }
    return s.shown() == before ? "" : "at the end:\n" + s.shown();
}

}  // namespace

int main(int argc, char** argv)
{
    const int first = argc > 1 ? std::atoi(argv[1]) : 20,
              last = argc > 2 ? std::atoi(argv[2]) : 140;
    int faults = 0;
    for (const walkedmenu& menu : menus) {
        screen wide(250, 200);
        const std::string wanted = entries(wide.type(menu.keys), menu);
        for (int columns = first; columns <= last; ++columns) {
            const std::string why = fault(menu, columns, wanted);
            if (why.empty()) continue;
            ++faults;
            std::printf("%s, %d columns: %s\n", menu.name, columns, why.c_str());
        }
    }
    std::printf("%zu menus, %d to %d columns: %d faults\n", std::size(menus), first, last, faults);
    return faults > 0 ? 1 : 0;
}
