// SPDX-License-Identifier: GPL-3.0-or-later
#include "prompt/combuff.h"

#include <algorithm>
#include <cmath>

#include "base/channel.h"
#include "base/printable.h"
#include "help/comhelp.h"
#include "terminal/escape.h"
#include "terminal/readalinef.h"

namespace {

const text<132> scriptkey("tano/script/alteration");

// One call of a prompt: what is shown of the question, and the way back to it after a help text.
struct question {
    text<132>& querytype;
    char wrb;              // script mode
    int ld;                // columns of the question shown
    text<132> querystore;  // querytype(1:ld)

    std::string_view shown() const { return querytype(1, ld); }
    std::string_view prefix() const { return wrb == 'w' ? "(b) " : ""; }
    void restore() { querytype.put(1, ld, querystore(1, ld)); }
};

// Takes the script mode out of the caller's field and cuts the question at the terminal width.
question openquestion(text<132>& querytype, std::int32_t ncol)
{
    question q{querytype, querytype(132), ncol, text<132>()};
    querytype(132) = ' ';
    stringend(querytype, q.ld);
    q.querystore = text<132>(querytype(1, q.ld));
    return q;
}

// Puts the cursor at the start of a line further up, where the next output overwrites.
void cursorup(std::int32_t nwr, std::string_view lines) { writerecord(nwr, {" ", lines}); }

// Wipes the question and the answer line; the cursor ends at the start of the question line.
void redraw(std::int32_t nwr, std::int32_t width)
{
    cursorup(nwr, escape::up2);
    writerecord(nwr, {blanks(width)});
    writerecord(nwr, {blanks(width)});
    cursorup(nwr, escape::up3);
}

[[noreturn]] void stopatquestion(const question& q)
{
    stop("end of input at the question \"%.*s\"", q.ld, q.querystore.ch);
}

// Reads an answer line, lower-cased and left-justified.
text<132> readanswer(const question& q, std::int32_t nrd, std::int32_t nwr)
{
    text<132> ch132;
    if (!readrecord(nrd, ch132)) stopatquestion(q);
    cursorup(nwr, escape::up2);
    lc_character(ch132);
    return ch132;
}

// True with the next line of the script file. At its end the prompt becomes interactive and says
// so; `first` is the first character of that line, which belongs to it.
bool readscript(text<132>& line, std::int32_t nwr, std::string_view first)
{
    if (readrecord(nscript, line)) return true;
    writerecord(nwr, {first, "end of sript file: switch to interactive mode"});
    return false;
}

void recordanswer(const question& q, std::string_view bracket, std::string_view answer)
{
    if (q.wrb == 'w') writerecord(nscript, {q.shown(), bracket, answer, "]"});
}

void scripthelp(question& q)
{
    q.querytype = scriptkey;
    help(q.querytype);
}

void showhelp(question& q, const text<132>& chcom)
{
    help(chcom);
    if (q.wrb == 'w') scripthelp(q);
    q.restore();
}

// The answer "back". True if the prompt is to return, which only a recording does.
bool goback(question& q, text<132>& chcom, std::int32_t nwr)
{
    chcom.put(1, 4, "back");
    if (q.wrb == 'w') return true;
    scripthelp(q);
    writerecord(nwr, {" a script file has not been defined"});
    q.restore();
    return false;
}

bool isquit(char c) { return c == '*' || c == 'q'; }

}  // namespace

void yesno(text<132>& querytype, text<1>& ch1, const text<132>& chcom, std::int32_t ncol,
           std::int32_t nrd, std::int32_t nwr)
{
    const question q = openquestion(querytype, ncol);
    text<132> ch132;
    if (q.wrb == 'r' && readscript(ch132, nwr, "1")) {
        writerecord(nwr, {ch132.all()});
        ch1 = ch132(2, 132).find("[y]") != std::string_view::npos ? "y" : "n";
        return;
    }
    for (;;) {
        writerecord(nwr, {q.shown(), " [", ch1.all(), "]"});
        ch132 = readanswer(q, nrd, nwr);
        if (ch132.begins("he")) {
            help(chcom);
            continue;
        }
        if (ch132.blank()) return recordanswer(q, " [", ch1.all());
        if (isquit(ch132(1))) {
            ch1 = "*";
            return;
        }
        if (ch132(1) == 'n' || ch132(1) == 'y') ch1(1) = ch132(1);
        redraw(nwr, q.ld);
    }
}

namespace {

// A number as shown in its format, and read back from that.
struct shownvalue {
    text<24> chl;
    std::int32_t im = 0;

    void render(text<7>& form, float value)
    {
        text<24> chr;
        std::int32_t nn = 0;
        im = 24;
        trlnu(form, value, chr, nn, chl, im);
        if (im > 24) im = 24;
    }
    std::string_view view() const { return chl(1, im); }
};

// The first number in columns 1 to `width` of a text, 0 if there is none.
float firstnumber(const text<132>& ch, int width)
{
    std::int32_t iout = 0;
    dim<float, 1, 32> out;
    trlch(width, ch, iout, out);
    return iout > 0 ? out(1) : 0.0f;
}

// The number between the last brackets of a script line that end by column 80.
float replayedvalue(const text<132>& line)
{
    int close = 80;
    while (close > 0 && line(close) != ']') --close;
    int open = close - 1;
    while (open > 0 && line(open) != '[') --open;
    if (open < 1) stop("script file: no value in brackets in \"%.80s\"", line.ch);
    const int last = close - 1 < open + 24 ? close - 1 : open + 24;
    return firstnumber(text<132>(line(open + 1, last)), 16);
}

}  // namespace

void askvalue(text<132>& querytype, text<7>& form, float& value, text<132>& chcom,
              std::int32_t ncol, std::int32_t nrd, std::int32_t nwr)
{
    question q = openquestion(querytype, ncol);
    shownvalue shown;
    shown.render(form, value);
    text<132> ch132;
    if (q.wrb == 'r' && readscript(ch132, nwr, " ")) {
        writerecord(nwr, {ch132.all()});
        value = replayedvalue(ch132);
        return;
    }
    for (;;) {
        writerecord(nwr, {q.prefix(), q.shown(), "=[", shown.view(), "]"});
        ch132 = readanswer(q, nrd, nwr);
        if (ch132.begins("back")) {
            if (goback(q, chcom, nwr)) return;
            continue;
        }
        if (ch132.begins("he")) {
            showhelp(q, chcom);
            continue;
        }
        if (ch132.blank()) {  // the number as shown is accepted, not the unrounded one
            value = firstnumber(text<132>(shown.chl.all()), ncol);
            return recordanswer(q, "=[", shown.view());
        }
        if (isquit(ch132(1))) {
            querytype = "*";
            return;
        }
        std::int32_t iout = 0;
        dim<float, 1, 32> out;
        trlch(ncol, ch132, iout, out);
        if (iout != 1 || !std::isfinite(out(1))) continue;
        shown.render(form, out(1));
        redraw(nwr, q.ld);
    }
}

namespace {

// An answer line as the line editor gives it, kept in its history unless it is empty; stops at the
// end of input.
text<132> editedline(const question& q, std::int32_t nwr)
{
    dim<std::int32_t, 1, 132> k;
    const int count = readaline(k, ">");
    if (inputended()) {
        writerecord(nwr, {""});  // the cursor is after the ">"
        stopatquestion(q);
    }
    text<132> ch132;
    for (int i = 1; i <= count; ++i) ch132(i) = static_cast<char>(k(i));
    if (count > 0) addhist(cstring(ch132(1, count)));
    return ch132;
}

// The default that is accepted by an empty answer: its text, at most 80 characters, at least one.
struct storedtext {
    text<80> chstore;
    int ls;

    explicit storedtext(text<132>& chstr)  // left-justifies `chstr`
    {
        stringlength(chstr, ls);
        chstore = text<80>(chstr.all());
        ls = std::clamp(ls, 1, 80);
    }
    std::string_view view() const { return chstore(1, ls); }
};

// The question is shown whole here, also beyond the terminal width; the copy that brings it back
// after a help text holds 80 characters.
question openwholequestion(text<132>& querytype)
{
    question q{querytype, querytype(132), 0, text<132>()};
    querytype(132) = ' ';
    text<132> moved = querytype;
    stringlength(moved, q.ld);
    q.querystore = text<132>(querytype(1, q.ld < 80 ? q.ld : 80));
    return q;
}

// The `ls` characters after the first "[" of a script line. The length is that of the default, by
// design: a longer recorded answer is cut, a shorter one brings along what follows it.
text<132> replayedtext(const text<132>& line, int ls)
{
    const std::size_t bracket = line.all().find('[');
    const int i = bracket == std::string_view::npos ? 1 : static_cast<int>(bracket) + 2;
    const int last = i + ls - 1 < 132 ? i + ls - 1 : 132;
    return text<132>(line(i, last));
}

}  // namespace

void askstring(text<132>& querytype, text<132>& chstr, text<132>& chcom, std::int32_t ncol,
               std::int32_t, std::int32_t nwr)
{
    question q = openwholequestion(querytype);
    storedtext stored(chstr);
    text<132> ch132;
    if (q.wrb == 'r' && readscript(ch132, nwr, " ")) {
        chstr = replayedtext(ch132, stored.ls);
        return;
    }
    for (;;) {
        // Typed control characters are shown, not sent.
        writerecord(nwr, {q.prefix(), q.shown(), " [", printable<160>(stored.view()).view(), "]"});
        addhist(cstring(stored.view()));  // the up-arrow key brings the default back for editing
        ch132 = editedline(q, nwr);
        cursorup(nwr, escape::up2);
        text<132> lower = ch132;
        lc_character(lower);
        if (ch132.begins("back")) {
            if (goback(q, chcom, nwr)) return;
            continue;
        }
        if (lower.begins("he ")) {  // the symbol "He" alone opens the help text, on purpose
            showhelp(q, chcom);
            continue;
        }
        const bool accepted = ch132.begins("    ");
        if (accepted || isquit(ch132(1))) {
            chstr = accepted ? text<132>(stored.view()) : text<132>("*");
            return recordanswer(q, " [", stored.view());
        }
        stored = storedtext(ch132);
        redraw(nwr, ncol);
    }
}
