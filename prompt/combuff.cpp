// SPDX-License-Identifier: GPL-3.0-or-later
#include "prompt/combuff.h"

#include <algorithm>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/channel.h"
#include "base/printable.h"
#include "help/comhelp.h"
#include "terminal/escape.h"
#include "terminal/key.h"
#include "terminal/readalinef.h"

static_assert(FLT_EVAL_METHOD == 0, "32-bit arithmetic must not be carried out in more bits");
#if defined __FAST_MATH__ || __FINITE_MATH_ONLY__ || defined __ASSOCIATIVE_MATH__
#error "the digits shown depend on exact arithmetic: -ffast-math gives others"
#endif

// Text utilities.

void stringlength(text<132>& ch, std::int32_t& il)
{
    il = 0;
    const text<132> before = ch;
    const int k = ch.length(131);
    if (k == 0 || ch(1) == '\0') return;
    int i = 1;
    while (ch(i) == ' ') ++i;
    il = k - i + 1;
    ch.put(1, k + 1, before(i, k));
}

void stringend(const text<132>& ch, std::int32_t& il)
{
    if (il < 1 || il > 132) il = 132;
    il = ch.length(il);
}

void lc_character(text<132>& ch)
{
    std::int32_t il = 0;
    stringlength(ch, il);
    for (int i = 1; i <= il; ++i) {
        if (ch(i) >= 'A' && ch(i) <= 'Z') ch(i) = static_cast<char>(ch(i) + 32);
    }
}

void nextchar(const text<132>& chl, std::int32_t& il, std::int32_t& ip, text<132>& cha,
              std::int32_t& ia)
{
    const auto separator = [](char c) { return c == ' ' || c == ','; };
    if (il > 130) il = 130;
    const int end = il > 0 ? il : 0;
    const int npl = std::max(chl.length(131), end) + 1;  // the first blank behind the text

    ip = end + 1;
    while (end >= 1 && ip < npl && !separator(chl(ip))) ++ip;
    while (ip < npl && separator(chl(ip))) ++ip;
    cha = text<132>(chl(ip, npl));
    ia = 0;
    while (ia < 132 && !separator(cha(ia + 1))) ++ia;
}

void itoc8(text<8>& ch, std::int32_t nn)
{
    ch = nn < 0 ? "-" : "";
    if (nn == 0) return;
    char digits[16];
    const auto end = std::to_chars(digits, digits + sizeof digits, std::abs(std::int64_t{nn})).ptr;
    ch.put(2, 8, end - digits > 7 ? "*******" : std::string_view(digits, end));
}

void c8toi(text<8>& ch, std::int32_t& n)
{
    const auto above9 = [](char c) { return static_cast<unsigned char>(c) > '9'; };
    std::replace_if(ch.ch, ch.ch + sizeof ch.ch, above9, ' ');
    n = 0;
    int i = 1;
    while (i <= 8 && ch(i) == ' ') ++i;
    if (i <= 8 && ch(i) == '+') ++i;
    const bool negative = i <= 8 && ch(i) == '-';
    if (negative) ++i;
    for (; i <= 8 && ch(i) != ' '; ++i) n = 10 * n + (static_cast<unsigned char>(ch(i)) - '0');
    if (negative) n = -n;
}

// Numbers.

namespace {

int digitvalue(char c) { return isdecimal(c) ? c - '0' : 0; }

// 10 to a power, rounded to 32 bits.
float tenpower(float exponent) { return static_cast<float>(std::pow(10.0, double{exponent})); }

// The number reader: its state while it walks along the columns of one text.
struct numberscan {
    dim<float, 1, 33> out;  // one more than is handed out: the exponent of the last number
    int iout = 0;           // numbers complete; out(iout + 1) is being built
    bool nnum = false;      // a digit of it has been seen
    float pt = 1.0f;        // 1 in the integer part, else the weight of the next decimal
    float nsig = 1.0f;      // sign of the number
    int k1 = 0, k2 = 0;     // columns of its minus signs, 0 for none
    int nex = 0;            // -1: the next number is an exponent; 1: it is being read

    void digit(char c)
    {
        float& number = out(iout + 1);
        nnum = true;
        const auto d = static_cast<float>(c - '0');
        if (pt < 1.0f) {
            number += d * pt;
            pt /= 10.0f;
        } else {
            number = 10.0f * number + d;
        }
    }

    void minus(int k)
    {
        (nsig > 0.0f ? k1 : k2) = k;
        nsig = -1.0f;
    }

    // Completes the number before column k. False when the list is full.
    bool store(int k)
    {
        if (k1 < k) {
            out(iout + 1) *= nsig;
            // After "5-3" and "--5" the minus stays in force for all later numbers, on purpose.
            if (k2 < k1) nsig = 1.0f;
            else k1 = k2;
        }
        nnum = false;
        pt = 1.0f;
        if (nex == 1) {
            out(iout) *= tenpower(out(iout + 1));
            out(iout + 1) = 0.0f;
            --iout;
            nex = 0;
        }
        if (iout == 32) return false;
        ++iout;
        k1 = k2 = 0;
        if (nex == -1) nex = 1;
        return true;
    }
};

enum class eletter { exponent, skipped, ordinary };

// What an "e" means behind these columns. With a point in the digits before it, it announces an
// exponent; behind digits without one it is passed over, so that " 12e3" reads as 123; behind
// digits that start the text it is like any other letter, so that "12e3" reads as 12 and 3. Meant
// so.
eletter meaning(std::string_view before)
{
    for (; !before.empty(); before.remove_suffix(1)) {
        if (before.back() == '.') return eletter::exponent;
        if (!isdecimal(before.back())) return eletter::skipped;
    }
    return eletter::ordinary;
}

// Takes the character in column k; k steps back when it is to be seen again. False to stop.
bool scancolumn(numberscan& s, std::string_view columns, int& k)
{
    const char c = columns[static_cast<std::size_t>(k - 1)];
    if (c == ' ' && !s.nnum && s.pt == 1.0f) {  // no number is being built
        s.nex = 0;                              // a blank cancels an exponent
        return true;
    }
    if (isdecimal(c)) {
        s.digit(c);
        return k < static_cast<int>(columns.size()) || s.store(k);
    }
    if (c == 'e' || c == 'E') {
        if (s.nex == 1) return s.store(k);
        const eletter e = meaning(columns.substr(0, static_cast<std::size_t>(k - 1)));
        if (e == eletter::skipped) return true;
        if (e == eletter::exponent) {
            s.nex = -1;
            return s.store(k);
        }
    }
    if (s.pt < 1.0f) return s.store(--k);
    if (c == '.') {
        s.pt = 0.1f;
        return true;
    }
    if (c == '-') s.minus(k);
    return !s.nnum || s.store(k);
}

}  // namespace

void trlch(std::int32_t n_ch, const text<132>& chin, std::int32_t& iout, dim<float, 1, 32>& out)
{
    // The blank behind the text ends its last number; further ones change nothing.
    const int most = std::clamp(n_ch, 0, 132);
    const int nch = std::min(chin.length(most) + 1, most);
    const std::string_view columns = chin(1, nch);
    numberscan s;
    for (int k = 1; k <= nch; ++k) {
        if (!scancolumn(s, columns, k)) break;
    }
    iout = s.iout;
    std::memcpy(out.item, s.out.item, sizeof out.item);
}

namespace {

// A format text such as "+e15.5", taken apart.
struct numberformat {
    bool plus = false;  // show the sign of positive numbers
    char fch = 'f';     // the letter as written
    int nn = 0;         // width
    int k10 = 0;        // decimals

    bool is(char letter) const { return fch == letter || fch == letter - 32; }
};

numberformat readformat(const text<7>& formatch)
{
    numberformat f;
    int i = 1;
    const auto at = [&formatch](int column) { return column <= 7 ? formatch(column) : ' '; };
    while (i < 7 && at(i) == ' ') ++i;
    f.plus = at(i) == '+';
    if (f.plus) ++i;
    f.fch = at(i++);
    f.nn = digitvalue(at(i++));
    if (at(i) != ' ' && at(i) != '.') f.nn = 10 * f.nn + digitvalue(at(i++));
    if (at(i) != '.') return f;
    f.k10 = digitvalue(at(i + 1));
    if (at(i + 2) != ' ') f.k10 = 10 * f.k10 + digitvalue(at(i + 2));
    return f;
}

// A number on its way to text: its digits and the text built of them.
struct numbertext {
    dim<int, -2, 15> ii;  // ii(0): leading digit; ii(-1): what a carry puts before it
    int iueb = 0;         // first digit used: 0, or -1 after such a carry
    int iex = 0;          // decimal exponent of ii(0)
    int ip = 0;           // characters before the first digit
    int im = 0;           // last digit used, then the length of the text
    text<16> chf;         // sign and digits
    int j = 0;            // characters in chf
    text<24> chl;

    void append(char c)
    {
        if (j < 16) chf(++j) = c;
    }
    void appenddigits(int last)
    {
        for (int i = iueb; i <= last; ++i) append(static_cast<char>('0' + ii(i)));
    }
    // chl := the first `before` characters, a point and the following `after` ones.
    void point(int before, int after)
    {
        chl.put(1, before, chf(1, before));
        chl(before + 1) = '.';
        const int last = before + after < 16 ? before + after : 16;
        if (after > 0) chl.put(before + 2, before + 1 + after, chf(before + 1, last));
    }
};

// Sign, exponent of the leading digit and number of digits.
float startdigits(const numberformat& f, float rn, numbertext& t)
{
    t.ip = f.plus ? 1 : 0;
    if (rn < 0.0f) t.ip = 1;
    if (t.ip == 1) t.append(rn < 0.0f ? '-' : '+');
    const float z = rn < 0.0f ? -rn : rn;
    // The 1e-5 keeps a power of ten from falling one exponent short.
    if (z > 0.0f) t.iex = static_cast<int>(1e-5f + static_cast<float>(std::log10(double{z})));
    if (z < 1.0f) --t.iex;
    t.im = f.is('i') ? t.iex : f.is('e') || f.is('a') ? f.k10 : f.k10 + t.iex;
    if (t.im < -1) t.im = -1;
    return z;
}

// Makes the digits 0 to im + 1 of z, in 32-bit arithmetic throughout.
void makedigits(numbertext& t, float z)
{
    float e10 = tenpower(static_cast<float>(t.iex));
    for (int i = 0; i <= t.im + 1; ++i) {
        // The 1e-6 takes up the rounding error. Beyond the digits that 32 bits can hold the
        // remainder may turn out negative or too large, and e10 zero: a digit stays a digit.
        const float quotient = e10 > 0.0f ? z / e10 + 1e-6f : 0.0f;
        const int digit = quotient < 0.0f ? 0 : quotient > 9.0f ? 9 : static_cast<int>(quotient);
        z -= static_cast<float>(digit) * e10;
        e10 /= 10.0f;
        t.ii(i) = digit;
    }
}

// Rounds at digit im. Strictly above 5: a following digit of exactly 5 does not round up. This is
// meant so; round-half-up would show other numbers.
void rounddigits(const numberformat& f, numbertext& t)
{
    if (t.ii(t.im + 1) > 5) {
        ++t.ii(t.im);
        for (int i = t.im; i >= 0 && t.ii(i) > 9; --i) {
            t.ii(i) = 0;
            ++t.ii(i - 1);
        }
    }
    if (t.ii(-1) == 0) return;
    t.iueb = -1;
    if (f.is('e') || f.is('a')) ++t.iex;
    else ++t.ip;
}

void buildinteger(const numberformat& f, numbertext& t)
{
    if (t.iex < t.iueb) {  // the value rounds to no digit
        t.im = f.nn > 0 ? f.nn : 1;
        t.chl(t.im) = '0';
        return;
    }
    t.appenddigits(t.iex);
    t.chl = text<24>(t.chf(1, t.j));
    t.im = t.ip + t.iex + 1;
}

void buildfixed(const numberformat& f, numbertext& t)
{
    if (t.iex >= 0) {
        t.appenddigits(f.k10 + t.iex);
        const int mm = t.ip + t.iex + 1;
        t.point(mm, f.k10);
        t.im = mm + 1 + f.k10;
        return;
    }
    for (int i = 0; i < t.iueb - t.iex; ++i) t.append('0');
    t.appenddigits(f.k10 + t.iex);
    t.im = t.ip + 1 + f.k10;
    if (t.iueb == 0) ++t.im;
    else --t.ip;
    t.point(t.ip + 1, f.k10);
}

void buildexponent(const numberformat& f, numbertext& t)
{
    char exponent[16], tail[24];
    std::snprintf(exponent, sizeof exponent, f.plus ? "%+d" : "%d", t.iex);
    // "a" is a markup for a raised exponent.
    const int length = f.is('e') ? std::snprintf(tail, sizeof tail, "%c%s", f.fch, exponent)
                                 : std::snprintf(tail, sizeof tail, "*10@u%s@n", exponent);
    t.appenddigits(f.k10);
    t.point(t.ip + 1, f.k10);
    t.im = t.ip + 2 + f.k10 + length;
    t.chl.put(t.ip + f.k10 + 3, 24, tail);
}

// Puts the text into its field, or marks it where it is wider.
void place(text<24>& chr, int nn, text<24>& chl, int im)
{
    if (im <= nn) {
        chr.put(nn - im + 1, nn, chl(1, im));
        return;
    }
    char marked[32];
    std::snprintf(marked, sizeof marked, "***%.*s***", std::min(im, 24), chl.ch);
    chl = chr = marked;
}

}  // namespace

void trlnu(text<7>& formatch, float rn, text<24>& chr, std::int32_t& nn, text<24>& chl,
           std::int32_t& im)
{
    if (std::fabs(rn) > 1e10f) formatch = "e15.5";
    const numberformat f = readformat(formatch);
    nn = f.nn;
    chl = chr = text<24>();
    if (nn >= 25 || !std::isfinite(rn)) {
        chl.put(1, std::min(nn, 24), "************************");
        chr = chl;
        if (nn < 25) im = nn;
        return;
    }
    numbertext t;
    const float z = startdigits(f, rn, t);
    makedigits(t, z);
    rounddigits(f, t);
    if (f.is('i')) buildinteger(f, t);
    else if (f.is('e') || f.is('a')) buildexponent(f, t);
    else buildfixed(f, t);
    chl = t.chl;
    im = t.im;
    place(chr, nn, chl, im);
}

// Prompts.

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

// Wipes the question and the answer line; the cursor stands at the start of the question line.
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
    if (endedinplace()) writerecord(nwr, {" "});
    cursorup(nwr, escape::up2);
    lc_character(ch132);
    return ch132;
}

// True with the next line of the script file; at its end the prompt becomes interactive.
bool readscript(text<132>& line, std::int32_t nwr, std::string_view endmessage)
{
    if (readrecord(nscript, line)) return true;
    writerecord(nwr, {endmessage});
    return false;
}

void record(const question& q, std::string_view bracket, std::string_view answer)
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
    // The leading "1" belongs to the message.
    if (q.wrb == 'r' && readscript(ch132, nwr, "1end of sript file: switch to interactive mode")) {
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
        if (ch132.blank()) return record(q, " [", ch1.all());
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
    if (q.wrb == 'r' && readscript(ch132, nwr, " end of sript file: switch to interactive mode")) {
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
        if (ch132.blank()) {  // the number as shown is accepted, not the one behind it
            value = firstnumber(text<132>(shown.chl.all()), ncol);
            return record(q, "=[", shown.view());
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
        writerecord(nwr, {""});  // the cursor stands behind the ">"
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

// The `ls` characters behind the first "[" of a script line. The length is that of the default, by
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
    if (q.wrb == 'r' && readscript(ch132, nwr, " end of sript file: switch to interactive mode")) {
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
            return record(q, " [", stored.view());
        }
        stored = storedtext(ch132);
        redraw(nwr, ncol);
    }
}
