// SPDX-License-Identifier: GPL-3.0-or-later
// help/comhelp.cpp: the help file and its display.
#include "help/comhelp.h"

#include <unistd.h>

#include <algorithm>

#include "base/channel.h"
#include "base/infile.h"
#include "base/printable.h"
#include "prompt/combuff.h"
#include "terminal/escape.h"
#include "terminal/key.h"
#include "terminal/readalinef.h"

helprecord cmpa;
localrecord localpath;

namespace {

// The related entries that one level of the display added to the menu.
struct level {
    int count = 0;
    dim<text<80>, 1, 32> entry;
    text<80> chosen;  // remembered for the way back
};

// The working values of one call of `helproutine`.
struct display {
    static inline int open = 0;  // how many displays are open inside each other
    display() { ++open; }
    ~display() { --open; }

    infile file;
    text<132> key;         // with its "/"
    text<80> line;         // read last; "/" at the end of the file, which ends a text, too
    bool starred = false;  // the key ended in "*"

    std::string_view markup;  // of the markup line shown last
    int depth = 0;            // menu levels opened
    dim<level, 1, 4> levels;
    // What "more" and "details" open: one field for both on purpose, so that the last such line
    // read decides for both.
    text<132> target;
};

constexpr int circlebound = 100;  // continuations from entry to entry before one is given up

// Writes a line around a text of at most 132 characters from a file; a control character is shown
// as two, hence 264.
void writeprintable(std::string_view before, std::string_view from, std::string_view after)
{
    const printable<264> shown(from);
    writerecord(cmpa.nwrwin, {before, shown.view(), after});
}

// The line of the file is the header of the wanted entry. "nn" in its columns 6 and 7 matches
// any two characters.
bool isheader(const text<80>& line, const text<132>& key)
{
    if (line(1) != '/' || line.length() != key.length()) return false;
    text<80> wanted(key.all());
    if (line(6, 7) == "nn") wanted.put(6, 7, "nn");
    return line == wanted;
}

// Reads on to the header of the entry. A starred key shows every matching header up to the end of
// the file. True when the header was found, for a starred key when it was the last line.
bool findentry(display& d)
{
    bool found = false;
    d.file.rewind();
    while (d.file.next(d.line)) {
        found = isheader(d.line, d.key);
        if (found && !d.starred) return true;
        if (found) writeprintable("", d.line.trimmed(), "");
    }
    return found;
}

void nextline(display& d)
{
    if (!d.file.next(d.line)) d.line = "/";
}

// Shows a line that begins with a backslash.
void showmarkup(display& d)
{
    const std::string_view letters = d.line(2, 3);
    if (letters == "bf") d.markup = escape::bold;
    if (letters == "ul") d.markup = escape::underline;
    if (letters == "bc") d.markup = escape::blue;
    const std::string_view shown = without(d.line.trimmed(), 3);
    if (d.markup.empty()) return writeprintable("", shown, "");
    text<5> before;  // right-aligned
    before.put(6 - static_cast<int>(d.markup.size()), 5, d.markup);
    writeprintable(before.all(), shown, escape::normal);
}

// Waits for Enter below a page. On a terminal a hint tells of text that follows, and is wiped
// again.
void pause(display& d, bool follows)
{
    const text<17> whole(" Enter shows more");
    const std::string_view hint = whole(1, std::clamp(term.ncol(1) - 1, 0, 17));
    const bool tells = follows && isatty(STDIN_FILENO);
    if (tells) writepart(noutput, hint), writepart(noutput, "\r");
    text<80> answer;
    if (!readrecord(ninput, answer)) stop("end of input at a page of the help text");
    if (endedinplace()) writerecord(noutput, {" "});
    window(1);  // it may have another size by now
    cursorup(noutput, escape::up2);
    if (tells) {
        writerecord(noutput, {blanks(static_cast<int>(hint.size()))});
        cursorup(noutput, escape::up2);
    }
    // The next menu is a first level; nothing uses the levels before it.
    if (answer(1) == 'q' || answer(1) == '*') d.depth = 0;
}

// Rows of a page.
int pagerows()
{
    const int rows = term.nrows(1) > 0 ? term.nrows(1) : 24;  // 0: the terminal does not know
    return std::max(rows - 1, 1);
}

// Shows lines of the text until the page is full, counted in rows of the screen, or the text ends.
// `line` is left at the first line not shown. True if the page is full.
bool showpage(display& d)
{
    int rows = 0;
    while (d.line(1) != '/') {
        const int needed = screenlines(d.line.length());
        if (rows > 0 && rows + needed > pagerows()) return true;
        if (d.line(1) == '\\') showmarkup(d);
        else writeprintable("", d.line.trimmed(), "");
        rows += needed;
        nextline(d);
    }
    return rows >= pagerows();
}

// Shows the text after the header page by page, with a pause after each. The line that ends it is
// left in `line`. False if the first line of a page named another entry to go on with, which is now
// the key.
bool showtext(display& d)
{
    nextline(d);
    bool full = true;  // also before the first page
    while (full && d.line(1) != '/') {
        full = showpage(d);
        pause(d, full && (d.line(1) != '/' || d.line.begins("/>")));
    }
    if (!full || !d.line.begins("/>")) return true;
    d.key = joined({"/", d.line(3, 80)});
    return false;
}

// Shows the entry of the key, over all its continuations. False, with a line that says why, if
// there is no such entry.
bool showentry(display& d)
{
    for (int steps = 0; steps < circlebound; ++steps) {
        if (!findentry(d)) {
            writeprintable("no entry found for ", d.key.trimmed(), " in helpfile:");
            writeprintable("", d.file.name, "");
            return false;
        }
        if (d.starred || showtext(d)) return true;
    }
    writeprintable("the help texts continue in a circle at ", d.key.trimmed(), "");
    return false;
}

// The name may become part of a shell command and of a path.
bool isplain(std::string_view name)
{
    constexpr std::string_view plain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._+-/";
    return !name.empty() && !name.starts_with('-') &&
           name.find_first_not_of(plain) == std::string_view::npos &&
           !joined({"/", name, "/"}).contains("/../");
}

bool ismore(std::string_view entry) { return entry.starts_with("more "); }

bool isdetails(std::string_view entry) { return entry.starts_with("details "); }

// Notes what a "more" or "details" line opens; blank if its name is not plain, or too long.
void settarget(display& d)
{
    const bool more = ismore(d.line(3, 80));
    if (!more && !isdetails(d.line(3, 80))) return;
    text<132> cha;
    std::int32_t il = 0, ip = 0, ia = 0;
    nextchar(text<132>(d.line(more ? 8 : 11, 80)), il, ip, cha, ia);
    const std::string_view name = cha(1, ia);
    if (!isplain(name)) d.target = text<132>();
    else if (more) d.target = joined({"$TANOHEPATH/dvifiles/", name, "/", name, ".dvi &"});
    else d.target = joined({cmpa.tanohepath.trimmed(), "/", name});
}

// Opens the next level with the related entries that follow the text. False if there are too many
// levels.
bool openlevel(display& d)
{
    if (d.depth == 4) return false;
    level& l = d.levels(++d.depth);
    l.count = 0;
    l.chosen = "return";
    for (; d.line.begins("/#"); nextline(d)) {
        if (l.count == 32) continue;
        l.entry(++l.count) = text<80>(d.line(3, 80));
        settarget(d);
    }
    return true;
}

// Builds the menu: "return", then the entries of the levels, the deepest first. `listed` holds the
// entries as in the file. The help keys stay. Returns the count of entries, with "return".
int buildmenu(const display& d, dim<text<80>, 1, 64>& listed)
{
    int n = 1;
    listed(1) = "return";
    for (int l = d.depth; l >= 1; --l) {
        const level& from = d.levels(l);
        for (int k = 1; k <= from.count && n < 64; ++k) listed(++n) = from.entry(k);
    }
    for (int k = 1; k <= n; ++k) menuentry(k, listed(k).trimmed(), scrd.helpar(k).all());
    return n;
}

// Asks for a related entry until the user takes one, whose text is then in `entry`. False when the
// user comes back out of the first level.
bool chooserelated(display& d, text<80>& entry)
{
    text<132> cheader("further related information");
    for (;; cheader = "related information") {
        dim<text<80>, 1, 64> listed;
        std::int32_t lq = buildmenu(d, listed);
        std::int32_t lk = lq;
        text<80> chdf(d.levels(d.depth).chosen(1, std::clamp(term.ncol(1), 1, 79)));
        chdf(80) = '#';
        query(lq, lk, cheader, chdf);
        if (lq > 1) {
            // A blank default would only draw the menu.
            if (!listed(lq).blank()) d.levels(d.depth).chosen = scrd.queryar(lq)(1, 79);
            entry = listed(lq);
            return true;
        }
        if (d.depth == 1) return false;
        --d.depth;
    }
}

void startviewer(const display& d)
{
    // The name may be that of a "details" line, without the "&" that keeps the dialogue going.
    const std::string_view target = d.target.trimmed();
    const text<132> command = joined({target, target.ends_with('&') ? "" : " &"}, true);
    viewdvi(cstring(command.trimmed()));
}

void showdetails(const display& d)
{
    const std::string_view name = d.target.trimmed();
    infile file;
    if (!file.open(cstring(name))) return writeprintable(" file ", name, " for details not found");
    text<80> line;
    while (file.next(line)) writeprintable("", line.all(), "");
}

void trailer(const display& d)
{
    writerecord(cmpa.nwrwin, {escape::red, " ", escape::up1});
    const text<64> name(d.file.name);
    const printable<128> shown(name.all());
    writerecord(cmpa.nwrwin, {"   from help-file:", shown.view(), " ", escape::normal});
}

// Shows the entry of the key and those that the user goes on to. False if they lead too deep.
bool walk(display& d)
{
    for (;;) {
        if (!showentry(d)) return true;
        if (d.starred) break;
        if (!openlevel(d)) {
            writerecord(cmpa.nwrwin, {" there was no way back to the preceeding level"});
            return false;
        }
        text<80> entry;
        if (!chooserelated(d, entry)) break;
        const std::string_view chosen = entry.all();
        if (ismore(chosen) || isdetails(chosen)) {
            if (d.target.blank()) writeprintable(" name not accepted: ", entry.trimmed(), "");
            else if (ismore(chosen)) startviewer(d);
            else showdetails(d);
            break;
        }
        d.key = joined({"/", entry.trimmed()});
        writerecord(cmpa.nwrwin, {""});
    }
    trailer(d);
    return true;
}

}  // namespace

void helproutine(const text<132>& chcom, const text<132>& helpfile)
{
    cmpa.nwrwin = noutput;
    window(1);
    display d;
    d.key = chcom;
    if (!d.file.open(cstring(helpfile.trimmed())) || d.key.blank()) {
        return writerecord(noutput, {"entry of helpfile  could not be identified"});
    }
    if (display::open > 8) {
        return writerecord(noutput, {"too many help texts are open inside each other"});
    }
    const int lc = d.key.length();
    d.starred = d.key(lc) == '*';
    if (d.starred) d.key(lc) = ' ';

    // All of the caller's entries are saved: a menu of related entries may be long, and help may be
    // asked for inside it. After the message about the fifth level they stay lost, on purpose.
    const auto queryar = scrd.queryar;
    if (walk(d)) scrd.queryar = queryar;
}

void help(const text<132>& chin)
{
    infopath();
    const text<132> chcom = joined({"/", chin(1, 131)});
    const std::string_view directory(path.hepath.item, sizeof path.hepath.item);
    const std::size_t nul = directory.find('\0');
    text<132> name = joined(
        {directory.substr(0, nul < directory.size() ? nul : 0), localpath.localhepath.trimmed()},
        true);

    if (access(cstring(name.trimmed()), F_OK) != 0) name = "helpfile.help";
    if (access(cstring(name.trimmed()), F_OK) != 0) {
        writerecord(noutput, {" helpfile:", name.trimmed()});
        return writerecord(noutput, {" not found in the current directory "});
    }
    helproutine(chcom, name);
}
