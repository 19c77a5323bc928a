// SPDX-License-Identifier: GPL-3.0-or-later
// prompt/textnumbers.cpp: the text utilities and number conversions of combuff.h. Nothing here asks
// a question, so that a program without questions need not load the line editor.
#include <algorithm>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "prompt/combuff.h"

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
    const int npl = std::max(chl.length(131), end) + 1;  // the first blank after the text

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

// Takes the character in column k; k steps back when it is to be seen again. False to stop.
bool scancolumn(numberscan& s, std::string_view columns, int& k)
{
    const char c = columns[static_cast<std::size_t>(k - 1)];
    if (isdecimal(c)) {
        s.digit(c);
        return k < static_cast<int>(columns.size()) || s.store(k);
    }
    if (c == 'e' || c == 'E') {
        if (s.nex == 1) return s.store(k);
        // With a point in the digits before it, an "e" announces an exponent; after digits without
        // one it is passed over, so that " 12e3" reads as 123; after digits that start the text it
        // is like any other letter, so that "12e3" reads as 12 and 3. All three are required.
        const std::string_view before = columns.substr(0, static_cast<std::size_t>(k - 1));
        const std::size_t other = before.find_last_not_of("0123456789");
        if (other != before.npos && before[other] != '.') return true;
        if (other != before.npos) {
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
    if (s.nnum) return s.store(k);
    if (c == ' ') s.nex = 0;  // a blank cancels an announced exponent
    return true;
}

}  // namespace

void trlch(std::int32_t n_ch, const text<132>& chin, std::int32_t& iout, dim<float, 1, 32>& out)
{
    // The blank after the text ends its last number; further ones change nothing.
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
    int lastdigit = 0;    // last digit used
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
    t.lastdigit = f.is('i') ? t.iex : f.is('e') || f.is('a') ? f.k10 : f.k10 + t.iex;
    if (t.lastdigit < -1) t.lastdigit = -1;
    return z;
}

// Makes the digits 0 to lastdigit + 1 of z, in 32-bit arithmetic throughout.
void makedigits(numbertext& t, float z)
{
    float e10 = tenpower(static_cast<float>(t.iex));
    for (int i = 0; i <= t.lastdigit + 1; ++i) {
        // The 1e-6 takes up the rounding error. Beyond the digits that 32 bits can hold the
        // remainder may turn out negative or too large, and e10 zero: a digit stays a digit.
        const float quotient = e10 > 0.0f ? z / e10 + 1e-6f : 0.0f;
        const int digit = static_cast<int>(std::clamp(quotient, 0.0f, 9.0f));
        z -= static_cast<float>(digit) * e10;
        e10 /= 10.0f;
        t.ii(i) = digit;
    }
}

// Rounds at the last digit. Strictly above 5: a following digit of exactly 5 does not round up, as
// required; round-half-up would show other numbers.
void rounddigits(const numberformat& f, numbertext& t)
{
    if (t.ii(t.lastdigit + 1) > 5) {
        ++t.ii(t.lastdigit);
        for (int i = t.lastdigit; i >= 0 && t.ii(i) > 9; --i) {
            t.ii(i) = 0;
            ++t.ii(i - 1);
        }
    }
    if (t.ii(-1) == 0) return;
    t.iueb = -1;
    if (f.is('e') || f.is('a')) ++t.iex;
    else ++t.ip;
}

// Builds the text of an integer; returns its length, as the other two do.
int buildinteger(const numberformat& f, numbertext& t)
{
    if (t.iex < t.iueb) {  // the value rounds to no digit
        const int im = f.nn > 0 ? f.nn : 1;
        t.chl(im) = '0';
        return im;
    }
    t.appenddigits(t.iex);
    t.chl = text<24>(t.chf(1, t.j));
    return t.ip + t.iex + 1;
}

int buildfixed(const numberformat& f, numbertext& t)
{
    for (int i = t.iex; i < t.iueb; ++i) t.append('0');  // zeros in front, below 1
    t.appenddigits(f.k10 + t.iex);
    if (t.iex < 0 && t.iueb != 0) --t.ip;  // the carry takes the place of one of them
    const int mm = t.ip + 1 + std::max(t.iex, 0);
    t.point(mm, f.k10);
    return mm + 1 + f.k10;
}

int buildexponent(const numberformat& f, numbertext& t)
{
    char exponent[16], tail[24];
    std::snprintf(exponent, sizeof exponent, f.plus ? "%+d" : "%d", t.iex);
    // "a" is a markup for a raised exponent.
    const int length = f.is('e') ? std::snprintf(tail, sizeof tail, "%c%s", f.fch, exponent)
                                 : std::snprintf(tail, sizeof tail, "*10@u%s@n", exponent);
    t.appenddigits(f.k10);
    t.point(t.ip + 1, f.k10);
    t.chl.put(t.ip + f.k10 + 3, 24, tail);
    return t.ip + 2 + f.k10 + length;
}

// Puts the text into its field, or marks it if it is too wide.
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
    if (f.is('i')) im = buildinteger(f, t);
    else if (f.is('e') || f.is('a')) im = buildexponent(f, t);
    else im = buildfixed(f, t);
    chl = t.chl;
    place(chr, nn, chl, im);
}
