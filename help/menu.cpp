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
    int at = 0;
    for (const std::string_view part : parts) {
        const int end = at + static_cast<int>(part.size());
        if (end > 132 && !cut) return text<132>();
        whole.put(at + 1, std::min(end, 132), part);
        at = std::min(end, 132);
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
    std::int32_t lqin;  // as passed in, for the restart after a help text
    text<80> chin80;
    char wrb, go;  // mode letters

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
    int echo = 0;         // columns that it took on the screen

    bool block = false;   // equal columns are asked for
    int columns = 0;      // of the terminal when the menu was laid out
    bool afresh = false;  // what is on the screen is out of place: draw it below
};

bool fullwidth(char wrb) { return wrb == 'w' || wrb == 'r' || wrb == 'l'; }

// The default, also taken anew after a help text. It loses its "#".
void takedefault(menu& m)
{
    m.block = m.chdf(80) == '#';
    text<132> working(m.chdf(1, 79));
    stringlength(working, m.le);
    if (m.le == 0) m.lk = m.lq;
    m.chdf = text<80>(working.all());
}

// Blanks a field beyond the terminal width.
template <int n>
void cut(text<n>& field)
{
    const int width = std::max(term.ncol(1), 0);
    if (width < std::min(131, n)) field.put(width + 1, n, "");
}

void drawtitle(menu& m)
{
    text<132> line(dashes(132));
    if (!m.cheader.blank()) {
        cut(m.cheader);
        text<140> title(m.cheader(1, 130));
        int l = title.length();
        if (!m.cheader.contains("information")) {
            title.put(l + 1, l + 10, " (help:he)");
            l += 10;
        }
        const int i = (m.npx - l) / 2;
        for (int k = std::max(1, 1 - i); k <= l && i + k <= 132; ++k) line(i + k) = title(k);
    }
    const std::string_view shown = line(1, std::max(m.npx, 0));
    writerecord(noutput, {escape::normal, shown});
    m.iwrl = 1;
    if (m.wrb == 'w') writerecord(nscript, {shown});
    if (m.wrb == 'r') readrecord(nscript, line);  // the recorded title is of no use
}

// Lengths of the entries; returns the width of the widest with its frame.
int measureentries(menu& m)
{
    int laengez = 0;
    for (int k = 1; k <= m.lq; ++k) {
        text<16> ext = scrd.ext(k);
        cut(ext);
        scrd.ld(k) = ext.length();
        cut(scrd.queryar(k));
        scrd.lw(k) = scrd.queryar(k).length();
        if (scrd.queryar(k)(1) == 'q') m.iquit = true;
        laengez = std::max(laengez, scrd.lw(k) + scrd.ld(k) + 3);
    }
    return laengez;
}

// Equal columns, as many as fit without leaving the last row too empty. False if none fits, and for
// a single entry.
bool blocklayout(menu& m, int laengez)
{
    laengez += 2;
    int lapl = std::max(m.npx, 0) / laengez;
    if (lapl == 0 || m.lq < 2) return false;
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
            continue;
        }
        used += width + 6;
        ++scrd.lpart(m.iz);
        if (used == m.npx) {
            used = 0;
            nextrow(m, 0);
        } else if (used > m.npx) {
            used =
                width + 4;  // not 6: the first cell of a row counts less; the layout depends on it
            --scrd.lpart(m.iz);
            nextrow(m, 1);
        }
    }
}

// Widths, title, rows.
void layout(menu& m)
{
    m.npx = std::min(fullwidth(m.wrb) ? term.ncol(1) : term.npl, 133) - 3;
    m.npl_i = std::min(term.ncol(1), 132) - 3;
    int rows = 0;
    sizenow(rows, m.columns);
    drawtitle(m);
    const int laengez = measureentries(m);
    scrd.lpart(0) = 0;
    if (!m.block || !blocklayout(m, laengez)) flowinglayout(m);
    m.afresh = false;
}

// The set-up of a menu. Nothing is highlighted yet.
void setup(menu& m)
{
    takedefault(m);
    layout(m);
    m.jjq = m.jq = m.ikey = 0;
}

// First entry after `from` that contains the text, from the top again if there is none; lq + 1 if
// no entry does.
int search(const menu& m, int from)
{
    const std::string_view wanted = m.chdf(1, m.le);
    for (int i = 0; i < m.lq; ++i) {
        const int k = (from + i) % m.lq + 1;
        if (scrd.queryar(k).contains(wanted)) return k;
    }
    return m.lq + 1;
}

int entrytomark(const menu& m)
{
    if (m.le >= 1 && m.ikey == 0) return search(m, m.jjq);
    if (m.ikey == 1) return m.jjq < m.lq ? m.jjq + 1 : 1;
    if (m.ikey == -1) return m.jjq > 1 ? m.jjq - 1 : m.lq;
    return 0;
}

// Chooses the entry to highlight and rebuilds all cells. No entry is highlighted before.
void mark(menu& m)
{
    const int jj = entrytomark(m);
    for (int k = 1; k <= m.lq; ++k) {
        const std::string_view entry = scrd.queryar(k)(1, scrd.lw(k));
        const std::string_view ext = scrd.ext(k)(1, scrd.ld(k));
        const std::string_view gap = blanks(ext.empty() ? 0 : 1);
        if (k == jj) {
            m.jjq = m.jq = k;
            m.chdf = text<80>(scrd.queryar(k).all());
            scrd.type(k) = joined({escape::red, "[", entry, gap, ext, "]"}, true);
        } else {
            scrd.type(k) = joined({escape::normal, " ", entry, gap, ext}, true);
        }
    }
}

// Columns that entry k takes with its brackets: its cell holds no more than 128.
int textwidth(int k) { return std::min(scrd.lw(k) + scrd.ld(k) + (scrd.ld(k) > 0 ? 3 : 2), 128); }

// Length of the control sequence at the start of the cell of entry k.
int sequencelength(int k) { return static_cast<int>(scrd.type(k).all().find('m')) + 1; }

// The last of the entries k to `last` that fit on one line of the screen beside entry k. What would
// pass the edge of the terminal goes to a line of its own.
int lastbeside(int k, int last)
{
    const int sequence = static_cast<int>(escape::normal.size());
    int used = scrd.laenge(k) - sequence;
    while (k < last && used + textwidth(k + 1) <= term.ncol(1)) {
        used += scrd.laenge(++k) - sequence;
    }
    return k;
}

// How many cells a line of a row takes: the first digit of the count. A row of ten and more entries
// therefore comes out as several lines. The menu counts them as one, and its cursor movements rely
// on that.
int cellsperline(int count)
{
    text<8> number;
    itoc8(number, count);
    return number(2) == ' ' ? 1 : number(2) - '0';
}

// A row of the menu: `count` entries after entry `ii`.
struct menurow {
    int ii, count;
    bool wide;   // a single entry too wide for one line,
    int broken;  // broken after this column of its cell, and never in its control sequence
    int lines;   // of the screen
};

// Lines of the screen of the second line of a wide row, which begins with a blank.
int secondlines(const menurow& row)
{
    const int sequence = static_cast<int>(escape::red.size());
    return screenlines(1 + sequence + textwidth(row.ii + 1) - row.broken);
}

int rowlines(const menurow& row)
{
    if (row.wide) return 1 + secondlines(row);
    if (row.count == 0 || cellsperline(row.count) < row.count) return 1;
    int lines = 0;
    for (int k = row.ii + 1; k <= row.ii + row.count; ++k) {
        lines += screenlines(textwidth(k));
        k = lastbeside(k, row.ii + row.count);
    }
    return lines;
}

// Calls `each` for every row.
template <typename action>
void foreachrow(const menu& m, action each)
{
    menurow row{0, 0, false, std::max(m.npl_i - 3, 5), 0};
    for (int r = 1; r <= m.iz; ++r) {
        row.count = scrd.lpart(r);
        row.wide = row.count == 1 && row.ii < 64 && scrd.laenge(row.ii + 1) > m.npl_i;
        row.lines = rowlines(row);
        each(row);
        row.ii += row.count;
    }
}

// Writes entries first..last side by side. Blanks of their cells beyond the edge of the terminal
// are left out, as they would take a line of the screen more.
void drawline(int unit, int first, int last)
{
    int room = screenlines(textwidth(first)) * term.ncol(1);
    for (int k = first; k <= last; ++k) {
        const int sequence = sequencelength(k);
        const int width = std::clamp(scrd.laenge(k), 0, std::clamp(sequence + room, 0, 132));
        writepart(unit, scrd.type(k)(1, width));
        room -= width - sequence;
    }
    writerecord(unit, {});
}

// Writes a wide row.
void drawwide(int unit, const menurow& row)
{
    const text<132>& type = scrd.type(row.ii + 1);
    const int end = row.broken + secondlines(row) * term.ncol(1) - 1;
    writerecord(unit, {type(1, row.broken)});
    writerecord(unit, {" ", type(row.broken + 1, std::clamp(end, row.broken, 132))});
}

// Writes the rows to a channel and returns the count of lines, as the menu counts them.
int drawrows(const menu& m, int unit)
{
    int lines = 0;
    foreachrow(m, [&](const menurow& row) {
        const int last = row.ii + row.count;
        if (last >= 64) return;  // so the row that holds entry 64 is never drawn
        lines += row.lines;
        if (row.wide) return drawwide(unit, row);
        if (row.count == 0) writerecord(unit, {});
        const int step = cellsperline(row.count);
        for (int k = row.ii + 1, end = 0; k <= last; k = end + 1) {
            end = lastbeside(k, std::min(k + step - 1, last));
            drawline(unit, k, end);
        }
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
    const cstring title(m.cheader.trimmed());
    if (!any) stop("end of input in an answer to the menu \"%s\"", title.ch);
    m.ch132(1) = static_cast<char>(code);
    m.ch132.put(2, 132, rest.all());
    if (isatty(STDIN_FILENO)) m.echo = m.ch132.length();
}

// A terminal that has been made narrower has broken the lines of the menu.
void noteresize(menu& m)
{
    int rows = 0, columns = 0;
    sizenow(rows, columns);
    if (columns >= m.columns) return;
    window(1);
    m.afresh = true;
}

// A key, or a typed text.
void readkey(menu& m)
{
    const int code = key();
    const cstring title(m.cheader.trimmed());
    if (inputended()) stop("end of input at the menu \"%s\"", title.ch);
    m.ikey = 0;
    if (code < 0) {
        const bool back = code == keyup || code == keyleft;
        const bool forward = code == keydown || code == keyright;
        m.ikey = back ? -1 : forward ? 1 : -2;
        m.ch132 = "shift";
        writerecord(noutput, {" "});
    } else if (code == keyenter) {
        writerecord(noutput, {" "});
    } else {
        readrest(m, code);
    }
    noteresize(m);
}

void readanswer(menu& m)
{
    m.ch132 = text<132>();
    m.echo = 0;
    if (m.lq < 2) drawseparator(m);
    else if (m.go != 'g') readkey(m);
}

// Records the rows and, in the separator line, the number of the choice.
void recordchoice(const menu& m)
{
    drawrows(m, nscript);
    text<132> line(dashes(std::max(m.npx, 5)));
    std::to_chars(line.ch, line.ch + 2, m.jq);
    writerecord(nscript, {line(1, std::max(m.npx, 5))});
}

// Wipes the answer line, or lines; the cursor ends on it.
void wipeanswer(const menu& m)
{
    const int width = m.echo > m.npx ? term.ncol(1) : m.npx;
    for (int lines = screenlines(m.echo); lines > 0; --lines) {
        cursorup(noutput, escape::up2);
        writerecord(noutput, {blanks(width)});
        cursorup(noutput, escape::up2);
    }
}

// Wipes the rows from the bottom up; the cursor ends where the first row goes. The bound
// differs from the drawing's, and both are kept.
void wiperows(menu& m)
{
    const auto climb = [&m](const menurow& row) {
        if (row.ii + 1 >= 64) return;
        int lines = row.lines;
        for (; lines > 1; lines -= 2) cursorup(noutput, escape::up3);
        if (lines > 0) cursorup(noutput, escape::up2);
        m.iwrl -= row.lines;
    };
    cursorup(noutput, escape::up2);
    --m.iwrl;
    foreachrow(m, climb);
    foreachrow(m, [&m](const menurow& row) {
        if (row.ii + 1 >= 64) return;
        for (int line = row.lines; line > 0; --line) writerecord(noutput, {blanks(m.npl_i)});
        m.iwrl += row.lines;
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

    if (m.chdf(1) == '*' || (m.chdf(1) == 'q' && !m.iquit)) {  // cancelled
        m.lq = m.lk = 0;
        return step::done;
    }
    if (m.chdf(1) != ' ') {
        if (m.afresh) layout(m);
        else wiperows(m);
        m.jq = 0;
        return step::again;
    }
    m.lk = 0;
    m.lq = m.jq;
    if (m.lq == 0) return step::again;
    m.chdf = text<80>(scrd.queryar(m.lq).all());
    return step::done;
}

void showhelp(menu& m)
{
    if (m.jq == 0) return;  // nothing highlighted: the menu starts again unchanged
    help(scrd.helpar(m.jq));
    m.jq = 0;
    m.lq = m.lqin;
    m.lk = m.lq;
    m.chdf = m.chin80;
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
    m.lq = ch132(1) - '0';
    if (isdecimal(ch132(2))) m.lq = 10 * m.lq + (ch132(2) - '0');
    if (m.lq > m.lqin) stop("script file: no such entry in the menu: \"%.5s\"", ch132.ch);
    if (m.lq > 0) m.chdf = text<80>(scrd.queryar(m.lq).all());
}

// Marks, shows and asks until the menu ends or starts again.
step selectentry(menu& m)
{
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
    const text<132> helpkey(key);  // which may lie in the record itself
    scrd.queryar(k) = text<132>(printable<132>(entry).view());
    scrd.helpar(k) = helpkey;
    scrd.ext(k) = text<16>();
}

void query(std::int32_t& lq, std::int32_t& lk, text<132>& cheader, text<80>& chdf)
{
    if (lq < 0 || lq > 64) stop("a menu of %d entries", lq);
    menu m{.lq = lq,
           .lk = lk,
           .cheader = cheader,
           .chdf = chdf,
           .lqin = lq,
           .chin80 = chdf,
           .wrb = cheader(132),
           .go = cheader(131)};
    cheader(132) = ' ';
    step next = step::again;
    do {
        setup(m);
        next = selectentry(m);
        if (next == step::help) showhelp(m);
    } while (next != step::done);
    chdf(80) = static_cast<char>(static_cast<unsigned char>(48 + m.iwrl));
    writerecord(noutput, {" ", escape::normal, escape::up1});
}
