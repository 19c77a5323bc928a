// SPDX-License-Identifier: GPL-3.0-or-later
// help/menu.cpp: the selection menu of comhelp.h.
#include <unistd.h>

#include <algorithm>
#include <charconv>

#include "base/channel.h"
#include "base/printable.h"
#include "help/comhelp.h"
#include "prompt/combuff.h"
#include "terminal/escape.h"
#include "terminal/key.h"

menurecord scrd;

text<132> joined(std::initializer_list<std::string_view> parts, bool cut)
{
    text<132> whole;
    std::size_t at = 0;
    for (const std::string_view part : parts) {
        const std::size_t room = 132 - at;
        if (part.size() > room && !cut) return text<132>();
        at += part.copy(whole.ch + at, room);
    }
    return whole;
}

int screenlines(int columns)
{
    const int width = std::max(term.ncol(1), 1);
    return std::max((columns + width - 1) / width, 1);
}

namespace {

// The working values of one call of `query`.
struct menu {
    std::int32_t& lq;
    std::int32_t& lk;
    text<132>& cheader;
    text<80>& chdf;
    char wrb = cheader(132), go = cheader(131);  // mode letters

    int npx = 0;         // width of the header and separator lines
    int npl_i = 0;       // where a row with a single long entry is broken
    int iz = 0;          // screen rows
    int iwrl = 0;        // lines written
    bool iquit = false;  // an entry begins with "q", which then does not cancel

    std::int32_t le = 0;  // length of the text to search for
    int ikey = 0;         // 1: a step forward, -1: back, 0: search, -2: nowhere
    int jjq = 0;          // entry at the cursor, 0 for none
    int jq = 0;           // highlighted entry, 0 for none
    text<132> ch132{};    // the answer

    bool block = false;   // equal columns are asked for
    bool afresh = false;  // what is on the screen is out of place: draw it below
};

bool fullwidth(char wrb) { return wrb == 'w' || wrb == 'r' || wrb == 'l'; }

// Blanks a field beyond the terminal width.
void cut(text<132>& field)
{
    if (term.ncol(1) < 131) field.put(term.ncol(1) + 1, 132, "");
}

void drawtitle(menu& m)
{
    text<132> line(dashes(132));
    if (!m.cheader.blank()) {
        cut(m.cheader);
        text<140> title(m.cheader(1, 130));
        if (!m.cheader.contains("information")) title.put(title.length() + 1, 140, " (help:he)");
        const int l = title.length();
        const int i = (m.npx - l) / 2;
        for (int k = std::max(1, 1 - i); k <= l && i + k <= 132; ++k) line(i + k) = title(k);
    }
    const std::string_view shown = line(1, std::max(m.npx, 0));
    writerecord(noutput, {escape::normal, shown});
    m.iwrl = 1;
    if (m.wrb == 'w') writerecord(nscript, {shown});
    if (m.wrb == 'r') readrecord(nscript, line);  // the recorded title is of no use
}

// Lengths of the entries; returns the width of the widest with its frame and the gap after it.
int measureentries(menu& m)
{
    int laengez = 0;
    for (int k = 1; k <= m.lq; ++k) {
        cut(scrd.queryar(k));
        scrd.lw(k) = scrd.queryar(k).length();
        scrd.ld(k) = scrd.ext(k).length(term.ncol(1));
        if (scrd.queryar(k)(1) == 'q') m.iquit = true;
        laengez = std::max(laengez, scrd.lw(k) + scrd.ld(k) + 5);
    }
    return laengez;
}

// Equal columns, as many as fit without leaving the last row too empty. False if none fits, and for
// a single entry.
bool blocklayout(menu& m, int laengez)
{
    if (m.lq < 2 || laengez > m.npx) return false;
    int lapl = m.npx / laengez;
    m.iz = (m.lq + lapl - 1) / lapl;
    lapl = (m.lq + m.iz - 1) / m.iz;  // no more than fill these rows
    for (int k = 1; k <= m.lq; ++k) scrd.laenge(k) = laengez + 5;
    for (int r = 1; r < m.iz; ++r) scrd.lpart(r) = lapl;
    scrd.lpart(m.iz) = m.lq - lapl * (m.iz - 1);
    return true;
}

// Begins a new row with `count` entries. A 65th row, which only the 64th entry of a very narrow
// menu could take, is never drawn and therefore not counted.
void nextrow(menu& m, int count)
{
    if (m.iz < 64) scrd.lpart(++m.iz) = count;
}

// Entries one after another, each in a cell of a multiple of ten columns.
void flowinglayout(menu& m)
{
    m.iz = 1;
    scrd.lpart(1) = 0;
    int used = 0;  // width of the current row
    for (int k = 1; k <= m.lq; ++k) {
        const int width = ((scrd.lw(k) + 5) / 10 + 1) * 10 + scrd.ld(k);
        scrd.laenge(k) = width;
        if (width >= m.npx) {
            // The width goes to the entry numbered like the new row, not to entry k, and the row
            // in hand stays as it is. Odd, but part of the layout.
            if (m.iz < 64) scrd.laenge(m.iz + 1) = width;
            nextrow(m, 1);
        } else if (used + width + 6 > m.npx) {
            used = width + 4;  // not 6, on purpose: such a row takes 2 columns more
            nextrow(m, 1);
        } else {
            used += width + 6;
            ++scrd.lpart(m.iz);
            if (used < m.npx) continue;
            used = 0;
            nextrow(m, 0);
        }
    }
}

// Widths, title, rows.
void layout(menu& m)
{
    m.npx = std::min(fullwidth(m.wrb) ? term.ncol(1) : term.npl, 133) - 3;
    m.npl_i = std::min(term.ncol(1), 132) - 3;
    drawtitle(m);
    const int laengez = measureentries(m);
    if (!m.block || !blocklayout(m, laengez)) flowinglayout(m);
    m.afresh = false;
}

// The set-up of a menu, also after a help text. The default loses its "#".
void setup(menu& m)
{
    m.block = m.chdf(80) == '#';
    text<132> working(m.chdf(1, 79));
    stringlength(working, m.le);
    if (m.le == 0) m.lk = m.lq;
    m.chdf = text<80>(working.all());
    layout(m);
    m.jjq = m.ikey = 0;
}

// First entry after the cursor that contains the text, from the top again if there is none; 0 if no
// entry does.
int search(const menu& m)
{
    const std::string_view wanted = m.chdf(1, m.le);
    for (int i = 0; i < m.lq; ++i) {
        const int k = (m.jjq + i) % m.lq + 1;
        if (scrd.queryar(k).contains(wanted)) return k;
    }
    return 0;
}

int entrytomark(const menu& m)
{
    if (m.ikey == 0) return m.le > 0 ? search(m) : 0;
    if (m.ikey == -2) return 0;
    const int k = m.jjq + m.ikey;
    return k > m.lq ? 1 : k < 1 ? m.lq : k;
}

// Chooses the entry to highlight and builds all cells.
void mark(menu& m)
{
    m.jq = entrytomark(m);
    if (m.jq > 0) {
        m.jjq = m.jq;
        m.chdf = text<80>(scrd.queryar(m.jq).all());
    }
    for (int k = 1; k <= m.lq; ++k) {
        const std::string_view entry = scrd.queryar(k)(1, scrd.lw(k));
        const std::string_view ext = scrd.ext(k)(1, scrd.ld(k));
        const std::string_view gap = blanks(ext.empty() ? 0 : 1);
        scrd.type(k) = k == m.jq ? joined({escape::red, "[", entry, gap, ext, "]"}, true)
                                 : joined({escape::normal, " ", entry, gap, ext}, true);
    }
}

// Columns that entry k takes with its brackets: its cell holds no more than 128.
int textwidth(int k) { return std::min(scrd.lw(k) + scrd.ld(k) + (scrd.ld(k) > 0 ? 3 : 2), 128); }

// A row of the menu; an empty one has its last entry before the first.
struct menurow {
    int first = 1, last = 0, count = 0;
    bool wide = false;  // a single entry too wide for one line
    int broken;         // a wide row goes on in the next line after this column of its cell; at
                        // least 5, so that the control sequence stays whole
    int lines = 0;      // of the screen
};

// How many cells a line of a row takes: the first digit of the count. A row of ten and more entries
// therefore comes out as several lines. The menu counts them as one, and its cursor movements rely
// on that.
int cellsperline(int count) { return count < 10 ? count : count / 10; }

// The last entry on the line of the screen that begins with entry k. What would pass the edge of
// the terminal goes to a line of its own.
int lastbeside(const menurow& row, int k)
{
    const auto width = [](int cell) {  // a cell holds no more than 132 characters
        return std::min(scrd.laenge(cell), 132) - static_cast<int>(escape::normal.size());
    };
    const int last = std::min(k + cellsperline(row.count) - 1, row.last);
    int used = width(k);
    while (k < last && used + textwidth(k + 1) <= term.ncol(1)) used += width(++k);
    return k;
}

int rowlines(const menurow& row)
{
    if (row.wide) {  // the second line begins with a blank
        const int cell = static_cast<int>(escape::red.size()) + textwidth(row.first);
        return 1 + screenlines(1 + cell - row.broken);
    }
    if (row.count == 0 || row.count >= 10) return 1;
    int lines = 0;
    for (int k = row.first; k <= row.last; k = lastbeside(row, k) + 1) {
        lines += screenlines(textwidth(k));
    }
    return lines;
}

// Calls `each` for every row.
template <typename action>
void foreachrow(const menu& m, action each)
{
    menurow row{.broken = std::max(m.npl_i - 3, 5)};
    for (int r = 1; r <= m.iz; ++r) {
        row.count = scrd.lpart(r);
        row.first = row.last + 1;
        row.last += row.count;
        row.wide = row.count == 1 && scrd.laenge(row.first) > m.npl_i;
        row.lines = rowlines(row);
        each(row);
    }
}

// Writes the line of the screen that begins with entry `first`, and returns its last entry. Blanks
// of the cells beyond the edge of the terminal are left out, as they would take one line more.
int drawline(int unit, const menurow& row, int first)
{
    const int last = lastbeside(row, first);
    int room = screenlines(textwidth(first)) * term.ncol(1);
    for (int k = first; k <= last; ++k) {
        const int sequence = static_cast<int>(scrd.type(k).all().find('m')) + 1;  // its length
        const int width = std::min(scrd.laenge(k), std::clamp(sequence + room, 0, 132));
        writepart(unit, scrd.type(k)(1, width));
        room -= width - sequence;
    }
    writerecord(unit, {});
    return last;
}

// Writes a wide row.
void drawwide(int unit, const menurow& row)
{
    const text<132>& type = scrd.type(row.first);
    const int end = row.broken + (row.lines - 1) * term.ncol(1) - 1;
    writerecord(unit, {type(1, row.broken)});
    writerecord(unit, {" ", type(row.broken + 1, std::min(end, 132))});
}

// Writes the rows to a channel and returns the count of lines, as the menu counts them.
int drawrows(const menu& m, int unit)
{
    int lines = 0;
    foreachrow(m, [&](const menurow& row) {
        if (row.last >= 64) return;  // so the row that holds entry 64 is never drawn
        lines += row.lines;
        if (row.wide) return drawwide(unit, row);
        if (row.count == 0) writerecord(unit, {});
        for (int k = row.first; k <= row.last;) k = drawline(unit, row, k) + 1;
    });
    return lines;
}

void drawseparator(menu& m)
{
    writerecord(noutput, {escape::normal, dashes(m.npx)});
    ++m.iwrl;
}

// Reads the rest of a typed text, of which the key was the first character.
void readrest(menu& m, int code)
{
    text<132> rest;
    const bool any = readrecord(ninput, rest);
    if (any && endedinplace() && !inputended() && !keyahead()) {
        freshline(noutput, term.ncol(1));
        m.afresh = moreahead();  // with further line ends, which may have moved the cursor
    } else if (endedinplace()) {
        writerecord(noutput, {any ? " " : ""});
    }
    if (!any) stop("end of input in an answer to the menu \"%s\"", cstring(m.cheader.trimmed()).ch);
    m.ch132(1) = static_cast<char>(code);
    m.ch132.put(2, 132, rest.all());
}

// A terminal that has been made narrower has broken the lines of the menu.
void noteresize(menu& m)
{
    int rows = 0, columns = 0;
    sizenow(rows, columns);
    if (!isatty(STDIN_FILENO) || columns >= term.ncol(1)) return;
    window(1);
    m.afresh = true;
}

// A key, or a typed text.
void readkey(menu& m)
{
    const int code = key();
    if (inputended()) stop("end of input at the menu \"%s\"", cstring(m.cheader.trimmed()).ch);
    const bool back = code == keyup || code == keyleft;
    const bool forward = code == keydown || code == keyright;
    m.ikey = back ? -1 : forward ? 1 : code < 0 ? -2 : 0;
    if (code < 0) m.ch132 = "shift";
    if (code < 0 || code == keyenter) writerecord(noutput, {" "});
    else readrest(m, code);
    noteresize(m);
}

void readanswer(menu& m)
{
    m.ch132 = text<132>();
    if (m.lq < 2) drawseparator(m);
    else if (m.go != 'g') readkey(m);
}

// Records the rows and, in the separator line, the number of the choice.
void recordchoice(const menu& m)
{
    drawrows(m, nscript);
    text<132> line(dashes(132));
    std::to_chars(line.ch, line.ch + 2, m.jq);
    writerecord(nscript, {line(1, std::max(m.npx, 5))});
}

// Wipes the answer line, or lines; the cursor ends on it.
void wipeanswer(const menu& m)
{
    // Columns that a typed text took on the screen.
    const int echo = m.ikey == 0 && isatty(STDIN_FILENO) ? m.ch132.length() : 0;
    const int width = echo > m.npx ? term.ncol(1) : m.npx;
    for (int lines = screenlines(echo); lines > 0; --lines) {
        cursorup(noutput, escape::up2);
        writerecord(noutput, {blanks(width)});
        cursorup(noutput, escape::up2);
    }
}

// Wipes the rows from the bottom up; the cursor ends where the first row goes. The bound
// differs from the drawing's, and both are kept.
void wiperows(menu& m)
{
    const auto climb = [](const menurow& row) {
        if (row.first >= 64) return;
        for (int lines = row.lines; lines > 0; lines -= 2) {
            cursorup(noutput, lines > 1 ? escape::up3 : escape::up2);
        }
    };
    cursorup(noutput, escape::up2);
    foreachrow(m, climb);
    --m.iwrl;
    foreachrow(m, [&m](const menurow& row) {
        if (row.first >= 64) return;
        for (int line = row.lines; line > 0; --line) writerecord(noutput, {blanks(m.npl_i)});
        m.iwrl -= row.lines;
    });
    foreachrow(m, climb);
}

enum class step { again, help, done };

// What the answer asks for.
step decide(menu& m)
{
    stringlength(m.ch132, m.le);
    m.chdf = text<80>(m.ch132(1, m.le));
    if (m.chdf.begins("he")) {
        writerecord(noutput, {" select by typing a substring, RET",
                              " or by repeatedly using left/right shift keys"});
    }
    m.le = std::min(m.le, 80);
    lc_character(m.ch132);
    if (m.ch132.begins("he") && !m.cheader.contains("further related")) return step::help;

    const bool cancelled = m.chdf(1) == '*' || (m.chdf(1) == 'q' && !m.iquit);
    if (m.chdf(1) != ' ' && !cancelled) {
        if (m.afresh) layout(m);
        else wiperows(m);
        return step::again;
    }
    m.lk = 0;
    m.lq = cancelled ? 0 : m.jq;
    if (m.lq > 0) m.chdf = text<80>(scrd.queryar(m.lq).all());
    return m.lq > 0 || cancelled ? step::done : step::again;
}

// Takes the choice from the script file: its lines are echoed up to the separator, which begins
// with the number. A title recorded once more after a help text looks like one, but for the number.
void replay(menu& m)
{
    text<132> ch132;
    while (ch132(3, 5) != "---" || !isdecimal(ch132(1))) {
        if (!readrecord(nscript, ch132)) stop("script file: ends within a menu");
        writerecord(noutput, {escape::normal, ch132(1, std::clamp(term.ncol(1), 0, 132))});
        ++m.iwrl;
    }
    int chosen = ch132(1) - '0';
    if (isdecimal(ch132(2))) chosen = 10 * chosen + (ch132(2) - '0');
    if (chosen > m.lq) stop("script file: no such entry in the menu: \"%.5s\"", ch132.ch);
    if (chosen > 0) m.chdf = text<80>(scrd.queryar(chosen).all());
    m.lq = chosen;
}

// Sets the menu up, then marks, shows and asks until it ends or a help text is wanted.
step selectentry(menu& m)
{
    setup(m);
    for (;;) {
        mark(m);
        if (m.wrb == 'r') {
            replay(m);
            return step::done;
        }
        m.iwrl += drawrows(m, noutput);
        writerecord(noutput, {escape::normal, escape::up1});
        drawseparator(m);
        if (m.le == 0) return step::done;  // no default and no answer: the menu is only drawn
        readanswer(m);
        if (m.wrb == 'w' && m.ch132.blank()) recordchoice(m);
        wipeanswer(m);
        const step next = decide(m);
        if (next != step::again) return next;
    }
}

}  // namespace

void menuentry(int k, std::string_view entry, std::string_view key)
{
    scrd.queryar(k) = text<132>(printable<132>(entry).view());
    scrd.helpar(k) = text<132>(key);  // a copy first: `key` may be a view of this field
    scrd.ext(k) = text<16>();
}

void query(std::int32_t& lq, std::int32_t& lk, text<132>& cheader, text<80>& chdf)
{
    if (lq < 0 || lq > 64) stop("a menu of %d entries", lq);
    menu m{lq, lk, cheader, chdf};
    const text<80> chin80 = chdf;  // for the restart after a help text
    cheader(132) = ' ';
    while (selectentry(m) == step::help) {
        if (m.jq == 0) continue;  // nothing highlighted: the text typed is the default now
        help(scrd.helpar(m.jq));
        chdf = chin80;
    }
    chdf(80) = static_cast<char>(static_cast<unsigned char>(48 + m.iwrl));
    writerecord(noutput, {" ", escape::normal, escape::up1});
}
