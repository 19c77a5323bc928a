// SPDX-License-Identifier: GPL-3.0-or-later
#include "prompt/combuff.h"

#include <algorithm>
#include <cmath>

#include "base/channel.h"
#include "base/printable.h"
#include "help/comhelp.h"
#include "terminal/escape.h"
#include "terminal/key.h"
#include "terminal/readalinef.h"

namespace {

const text<132> scriptkey("tano/script/alteration");

enum class kind { yesno, number, string };

// One call of a prompt, made before `openquestion` changes the caller's field.
struct question {
    kind asks;
    text<132>& querytype;
    text<132>& chcom;
    std::int32_t nrd, nwr;
    char wrb = querytype(132);  // script mode
    int ld = 0;                 // columns of the question shown
    text<132> querystore{};     // these columns, to put them back after a help text

    bool istext() const { return asks == kind::string; }
    std::string_view shown() const { return querytype(1, ld); }
    std::string_view bracket() const { return asks == kind::number ? "=[" : " ["; }
    bool recorded() const { return wrb == 'w'; }
    void restore() { querytype.put(1, ld, querystore(1, ld)); }
};

// Blanks the script mode in the caller's field and notes what is shown of the question. A question
// for a text is shown whole, and a help text leaves 80 columns of it, on purpose; the other two are
// cut at the terminal width.
void openquestion(question& q, std::int32_t ncol)
{
    q.querytype(132) = ' ';
    q.ld = ncol;
    text<132> moved = q.querytype;
    if (q.istext()) stringlength(moved, q.ld);
    else stringend(moved, q.ld);
    q.querystore = text<132>(q.querytype(1, q.istext() ? std::min(q.ld, 80) : q.ld));
}

// Wipes the question and the answer line; the cursor ends at the start of the question line.
void redraw(const question& q, std::int32_t width)
{
    cursorup(q.nwr, escape::up2);
    writerecord(q.nwr, {blanks(width)});
    writerecord(q.nwr, {blanks(width)});
    cursorup(q.nwr, escape::up3);
}

// True with the next line of the script file if the answer comes from there. At the end of the file
// the prompt says so and becomes interactive. The "1" of `yesno` and the text prompt, which does not
// show the line, are as required.
bool readscript(const question& q, text<132>& line)
{
    if (q.wrb != 'r') return false;
    const bool any = readrecord(nscript, line);
    if (!any) {
        writerecord(q.nwr, {q.asks == kind::yesno ? "1" : " ",
                            "end of sript file: switch to interactive mode"});
    } else if (!q.istext()) {
        writerecord(q.nwr, {line.all()});
    }
    return any;
}

[[noreturn]] void stopatquestion(const question& q)
{
    stop("end of input at the question \"%.*s\"", q.ld, q.querytype.ch);
}

// An answer line as typed.
text<132> plainline(const question& q)
{
    text<132> ch132;
    if (!readrecord(q.nrd, ch132)) stopatquestion(q);
    if (endedinplace()) writerecord(q.nwr, {" "});
    return ch132;
}

// An answer from the line editor. Its up-arrow key brings back the default and earlier answers.
text<132> editedline(const question& q, std::string_view offered)
{
    addhist(cstring(offered));
    dim<std::int32_t, 1, 132> k;
    const int count = readaline(k, ">");
    if (inputended()) {
        writerecord(q.nwr, {""});  // the cursor is after the ">"
        stopatquestion(q);
    }
    text<132> ch132;
    for (int i = 1; i <= count; ++i) ch132(i) = static_cast<char>(k(i));
    if (count > 0) addhist(cstring(ch132(1, count)));
    return ch132;
}

// What an answer does. `typed`: it becomes the new default.
enum class meaning { accepted, quit, back, help, typed };

// Tells what an answer does. Capitals and leading blanks do not count and are taken off `ch132`,
// except in a text. There, on purpose, "back", "q" and "*" count only as typed from column 1, four
// leading blanks accept the default whatever follows, and the word "he" (also the symbol "He") opens
// the help text, but "help" does not.
meaning meaningof(const question& q, text<132>& ch132)
{
    text<132> lower = ch132;
    lc_character(lower);
    if (!q.istext()) ch132 = lower;
    if (q.asks != kind::yesno && ch132.begins("back")) return meaning::back;
    if (lower.begins(q.istext() ? "he " : "he")) return meaning::help;
    if (q.istext() ? ch132.begins("    ") : ch132.blank()) return meaning::accepted;
    return ch132(1) == '*' || ch132(1) == 'q' ? meaning::quit : meaning::typed;
}

void scripthelp(question& q)
{
    q.querytype = scriptkey;
    help(q.querytype);
}

// Asks until the answer is neither "he" nor, unless it is recorded, "back". `ch132` is that answer.
meaning ask(question& q, std::string_view offered, text<132>& ch132)
{
    const bool marked = q.recorded() && q.asks != kind::yesno;
    const printable<160> inbrackets(offered);  // typed control characters are shown, not sent
    for (;;) {
        const std::string_view mark = marked ? "(b) " : "";
        writerecord(q.nwr, {mark, q.shown(), q.bracket(), inbrackets.view(), "]"});
        ch132 = q.istext() ? editedline(q, offered) : plainline(q);
        cursorup(q.nwr, escape::up2);
        const meaning found = meaningof(q, ch132);
        // On purpose the key stays so: a later "he" asks for the text of "back/energy".
        if (found == meaning::back) q.chcom.put(1, 4, "back");
        if (found == meaning::help) {
            help(q.chcom);
            if (marked) scripthelp(q);
        } else if (found == meaning::back && !q.recorded()) {
            scripthelp(q);
            writerecord(q.nwr, {" a script file has not been defined"});
        } else {
            return found;
        }
        q.restore();
    }
}

void recordanswer(const question& q, std::string_view answer)
{
    if (q.recorded()) writerecord(nscript, {q.shown(), q.bracket(), answer, "]"});
}

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

// The number in the last pair of brackets that ends by column 80 of a script line; 16 columns of it
// count. Both bounds are meant so.
float replayedvalue(const text<132>& line)
{
    const std::string_view columns = line(1, 80);
    const std::size_t close = columns.rfind(']');
    const std::size_t open = columns.substr(0, close).rfind('[');
    if (close == columns.npos || open == columns.npos) {
        stop("script file: no value in brackets in \"%.80s\"", line.ch);
    }
    return firstnumber(text<132>(without(columns.substr(0, close), open + 1)), 16);
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

// The `ls` characters after the first "[" of a script line, or its first ones. The length is that of
// the default, by design: a longer recorded answer is cut, a shorter one brings along what follows.
text<132> replayedtext(const text<132>& line, int ls)
{
    const std::string_view answer = without(line.all(), line.all().find('[') + 1);  // npos + 1 is 0
    return text<132>(answer.substr(0, static_cast<std::size_t>(ls)));
}

}  // namespace

void yesno(text<132>& querytype, text<1>& ch1, text<132>& chcom, std::int32_t ncol,
           std::int32_t nrd, std::int32_t nwr)
{
    question q{kind::yesno, querytype, chcom, nrd, nwr};
    openquestion(q, ncol);
    text<132> ch132;
    if (readscript(q, ch132)) {
        ch1 = ch132(2, 132).find("[y]") != std::string_view::npos ? "y" : "n";
        return;
    }
    for (;;) {
        const meaning found = ask(q, ch1.all(), ch132);
        if (found == meaning::accepted) return recordanswer(q, ch1.all());
        if (found == meaning::quit) {
            ch1 = "*";
            return;
        }
        if (ch132(1) == 'n' || ch132(1) == 'y') ch1(1) = ch132(1);
        redraw(q, q.ld);
    }
}

void askvalue(text<132>& querytype, text<7>& form, float& value, text<132>& chcom,
              std::int32_t ncol, std::int32_t nrd, std::int32_t nwr)
{
    question q{kind::number, querytype, chcom, nrd, nwr};
    openquestion(q, ncol);
    shownvalue shown;
    shown.render(form, value);
    text<132> ch132;
    if (readscript(q, ch132)) {
        value = replayedvalue(ch132);
        return;
    }
    for (;;) {
        const meaning found = ask(q, shown.view(), ch132);
        if (found == meaning::accepted) {  // the number as shown, not the unrounded one
            value = firstnumber(text<132>(shown.chl.all()), ncol);
            return recordanswer(q, shown.view());
        }
        if (found == meaning::quit) querytype = "*";
        if (found != meaning::typed) return;
        std::int32_t iout = 0;
        dim<float, 1, 32> out;
        trlch(ncol, ch132, iout, out);
        if (iout != 1 || !std::isfinite(out(1))) continue;
        shown.render(form, out(1));
        redraw(q, q.ld);
    }
}

void askstring(text<132>& querytype, text<132>& chstr, text<132>& chcom, std::int32_t ncol,
               std::int32_t nrd, std::int32_t nwr)
{
    question q{kind::string, querytype, chcom, nrd, nwr};
    openquestion(q, ncol);
    storedtext stored(chstr);
    text<132> ch132;
    if (readscript(q, ch132)) {
        chstr = replayedtext(ch132, stored.ls);
        return;
    }
    for (;;) {
        const meaning found = ask(q, stored.view(), ch132);
        if (found == meaning::back) return;
        if (found != meaning::typed) {  // a quit is recorded, too, with the default; only here
            chstr = found == meaning::accepted ? text<132>(stored.view()) : text<132>("*");
            return recordanswer(q, stored.view());
        }
        stored = storedtext(ch132);
        redraw(q, ncol);
    }
}
