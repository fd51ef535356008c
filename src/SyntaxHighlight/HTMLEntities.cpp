// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/HTMLEntities.h"

#include "SyntaxHighlight/CompiledPattern.h"
#include "SyntaxHighlight/GraphemeCount.h"

#include <QList>
#include <QVarLengthArray>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace {

struct NamedEntity
{
    const char16_t* name;
    char32_t codePoint;
};

// HTML 4.01's 252 named character references, plus "&apos;" from XML.
constexpr NamedEntity namedEntities[] = {
    {u"&quot;", 0x0022},    {u"&amp;", 0x0026},     {u"&apos;", 0x0027},     {u"&lt;", 0x003C},
    {u"&gt;", 0x003E},      {u"&nbsp;", 0x00A0},    {u"&iexcl;", 0x00A1},    {u"&cent;", 0x00A2},
    {u"&pound;", 0x00A3},   {u"&curren;", 0x00A4},  {u"&yen;", 0x00A5},      {u"&brvbar;", 0x00A6},
    {u"&sect;", 0x00A7},    {u"&uml;", 0x00A8},     {u"&copy;", 0x00A9},     {u"&ordf;", 0x00AA},
    {u"&laquo;", 0x00AB},   {u"&not;", 0x00AC},     {u"&shy;", 0x00AD},      {u"&reg;", 0x00AE},
    {u"&macr;", 0x00AF},    {u"&deg;", 0x00B0},     {u"&plusmn;", 0x00B1},   {u"&sup2;", 0x00B2},
    {u"&sup3;", 0x00B3},    {u"&acute;", 0x00B4},   {u"&micro;", 0x00B5},    {u"&para;", 0x00B6},
    {u"&middot;", 0x00B7},  {u"&cedil;", 0x00B8},   {u"&sup1;", 0x00B9},     {u"&ordm;", 0x00BA},
    {u"&raquo;", 0x00BB},   {u"&frac14;", 0x00BC},  {u"&frac12;", 0x00BD},   {u"&frac34;", 0x00BE},
    {u"&iquest;", 0x00BF},  {u"&Agrave;", 0x00C0},  {u"&Aacute;", 0x00C1},   {u"&Acirc;", 0x00C2},
    {u"&Atilde;", 0x00C3},  {u"&Auml;", 0x00C4},    {u"&Aring;", 0x00C5},    {u"&AElig;", 0x00C6},
    {u"&Ccedil;", 0x00C7},  {u"&Egrave;", 0x00C8},  {u"&Eacute;", 0x00C9},   {u"&Ecirc;", 0x00CA},
    {u"&Euml;", 0x00CB},    {u"&Igrave;", 0x00CC},  {u"&Iacute;", 0x00CD},   {u"&Icirc;", 0x00CE},
    {u"&Iuml;", 0x00CF},    {u"&ETH;", 0x00D0},     {u"&Ntilde;", 0x00D1},   {u"&Ograve;", 0x00D2},
    {u"&Oacute;", 0x00D3},  {u"&Ocirc;", 0x00D4},   {u"&Otilde;", 0x00D5},   {u"&Ouml;", 0x00D6},
    {u"&times;", 0x00D7},   {u"&Oslash;", 0x00D8},  {u"&Ugrave;", 0x00D9},   {u"&Uacute;", 0x00DA},
    {u"&Ucirc;", 0x00DB},   {u"&Uuml;", 0x00DC},    {u"&Yacute;", 0x00DD},   {u"&THORN;", 0x00DE},
    {u"&szlig;", 0x00DF},   {u"&agrave;", 0x00E0},  {u"&aacute;", 0x00E1},   {u"&acirc;", 0x00E2},
    {u"&atilde;", 0x00E3},  {u"&auml;", 0x00E4},    {u"&aring;", 0x00E5},    {u"&aelig;", 0x00E6},
    {u"&ccedil;", 0x00E7},  {u"&egrave;", 0x00E8},  {u"&eacute;", 0x00E9},   {u"&ecirc;", 0x00EA},
    {u"&euml;", 0x00EB},    {u"&igrave;", 0x00EC},  {u"&iacute;", 0x00ED},   {u"&icirc;", 0x00EE},
    {u"&iuml;", 0x00EF},    {u"&eth;", 0x00F0},     {u"&ntilde;", 0x00F1},   {u"&ograve;", 0x00F2},
    {u"&oacute;", 0x00F3},  {u"&ocirc;", 0x00F4},   {u"&otilde;", 0x00F5},   {u"&ouml;", 0x00F6},
    {u"&divide;", 0x00F7},  {u"&oslash;", 0x00F8},  {u"&ugrave;", 0x00F9},   {u"&uacute;", 0x00FA},
    {u"&ucirc;", 0x00FB},   {u"&uuml;", 0x00FC},    {u"&yacute;", 0x00FD},   {u"&thorn;", 0x00FE},
    {u"&yuml;", 0x00FF},    {u"&OElig;", 0x0152},   {u"&oelig;", 0x0153},    {u"&Scaron;", 0x0160},
    {u"&scaron;", 0x0161},  {u"&Yuml;", 0x0178},    {u"&fnof;", 0x0192},     {u"&circ;", 0x02C6},
    {u"&tilde;", 0x02DC},   {u"&Alpha;", 0x0391},   {u"&Beta;", 0x0392},     {u"&Gamma;", 0x0393},
    {u"&Delta;", 0x0394},   {u"&Epsilon;", 0x0395}, {u"&Zeta;", 0x0396},     {u"&Eta;", 0x0397},
    {u"&Theta;", 0x0398},   {u"&Iota;", 0x0399},    {u"&Kappa;", 0x039A},    {u"&Lambda;", 0x039B},
    {u"&Mu;", 0x039C},      {u"&Nu;", 0x039D},      {u"&Xi;", 0x039E},       {u"&Omicron;", 0x039F},
    {u"&Pi;", 0x03A0},      {u"&Rho;", 0x03A1},     {u"&Sigma;", 0x03A3},    {u"&Tau;", 0x03A4},
    {u"&Upsilon;", 0x03A5}, {u"&Phi;", 0x03A6},     {u"&Chi;", 0x03A7},      {u"&Psi;", 0x03A8},
    {u"&Omega;", 0x03A9},   {u"&alpha;", 0x03B1},   {u"&beta;", 0x03B2},     {u"&gamma;", 0x03B3},
    {u"&delta;", 0x03B4},   {u"&epsilon;", 0x03B5}, {u"&zeta;", 0x03B6},     {u"&eta;", 0x03B7},
    {u"&theta;", 0x03B8},   {u"&iota;", 0x03B9},    {u"&kappa;", 0x03BA},    {u"&lambda;", 0x03BB},
    {u"&mu;", 0x03BC},      {u"&nu;", 0x03BD},      {u"&xi;", 0x03BE},       {u"&omicron;", 0x03BF},
    {u"&pi;", 0x03C0},      {u"&rho;", 0x03C1},     {u"&sigmaf;", 0x03C2},   {u"&sigma;", 0x03C3},
    {u"&tau;", 0x03C4},     {u"&upsilon;", 0x03C5}, {u"&phi;", 0x03C6},      {u"&chi;", 0x03C7},
    {u"&psi;", 0x03C8},     {u"&omega;", 0x03C9},   {u"&thetasym;", 0x03D1}, {u"&upsih;", 0x03D2},
    {u"&piv;", 0x03D6},     {u"&ensp;", 0x2002},    {u"&emsp;", 0x2003},     {u"&thinsp;", 0x2009},
    {u"&zwnj;", 0x200C},    {u"&zwj;", 0x200D},     {u"&lrm;", 0x200E},      {u"&rlm;", 0x200F},
    {u"&ndash;", 0x2013},   {u"&mdash;", 0x2014},   {u"&lsquo;", 0x2018},    {u"&rsquo;", 0x2019},
    {u"&sbquo;", 0x201A},   {u"&ldquo;", 0x201C},   {u"&rdquo;", 0x201D},    {u"&bdquo;", 0x201E},
    {u"&dagger;", 0x2020},  {u"&Dagger;", 0x2021},  {u"&bull;", 0x2022},     {u"&hellip;", 0x2026},
    {u"&permil;", 0x2030},  {u"&prime;", 0x2032},   {u"&Prime;", 0x2033},    {u"&lsaquo;", 0x2039},
    {u"&rsaquo;", 0x203A},  {u"&oline;", 0x203E},   {u"&frasl;", 0x2044},    {u"&euro;", 0x20AC},
    {u"&image;", 0x2111},   {u"&weierp;", 0x2118},  {u"&real;", 0x211C},     {u"&trade;", 0x2122},
    {u"&alefsym;", 0x2135}, {u"&larr;", 0x2190},    {u"&uarr;", 0x2191},     {u"&rarr;", 0x2192},
    {u"&darr;", 0x2193},    {u"&harr;", 0x2194},    {u"&crarr;", 0x21B5},    {u"&lArr;", 0x21D0},
    {u"&uArr;", 0x21D1},    {u"&rArr;", 0x21D2},    {u"&dArr;", 0x21D3},     {u"&hArr;", 0x21D4},
    {u"&forall;", 0x2200},  {u"&part;", 0x2202},    {u"&exist;", 0x2203},    {u"&empty;", 0x2205},
    {u"&nabla;", 0x2207},   {u"&isin;", 0x2208},    {u"&notin;", 0x2209},    {u"&ni;", 0x220B},
    {u"&prod;", 0x220F},    {u"&sum;", 0x2211},     {u"&minus;", 0x2212},    {u"&lowast;", 0x2217},
    {u"&radic;", 0x221A},   {u"&prop;", 0x221D},    {u"&infin;", 0x221E},    {u"&ang;", 0x2220},
    {u"&and;", 0x2227},     {u"&or;", 0x2228},      {u"&cap;", 0x2229},      {u"&cup;", 0x222A},
    {u"&int;", 0x222B},     {u"&there4;", 0x2234},  {u"&sim;", 0x223C},      {u"&cong;", 0x2245},
    {u"&asymp;", 0x2248},   {u"&ne;", 0x2260},      {u"&equiv;", 0x2261},    {u"&le;", 0x2264},
    {u"&ge;", 0x2265},      {u"&sub;", 0x2282},     {u"&sup;", 0x2283},      {u"&nsub;", 0x2284},
    {u"&sube;", 0x2286},    {u"&supe;", 0x2287},    {u"&oplus;", 0x2295},    {u"&otimes;", 0x2297},
    {u"&perp;", 0x22A5},    {u"&sdot;", 0x22C5},    {u"&lceil;", 0x2308},    {u"&rceil;", 0x2309},
    {u"&lfloor;", 0x230A},  {u"&rfloor;", 0x230B},  {u"&lang;", 0x2329},     {u"&rang;", 0x232A},
    {u"&loz;", 0x25CA},     {u"&spades;", 0x2660},  {u"&clubs;", 0x2663},    {u"&hearts;", 0x2665},
    {u"&diams;", 0x2666},
};

// Sorted by name, so that a reference is looked up without building a string for it.
const std::vector<std::pair<QStringView, char32_t>>& entityTable()
{
    static const std::vector<std::pair<QStringView, char32_t>> table = [] {
        std::vector<std::pair<QStringView, char32_t>> entities;
        entities.reserve(std::size(namedEntities));
        for (const NamedEntity& entity : namedEntities)
            entities.emplace_back(QStringView(entity.name), entity.codePoint);
        std::sort(entities.begin(), entities.end());
        return entities;
    }();
    return table;
}

std::optional<char32_t> namedEntity(QStringView reference)
{
    const auto& table = entityTable();
    const auto found = std::lower_bound(table.cbegin(), table.cend(), reference,
                                        [](const std::pair<QStringView, char32_t>& entry,
                                           QStringView name) { return entry.first < name; });
    if (found == table.cend() || found->first != reference)
        return std::nullopt;
    return found->second;
}

QString scalarText(char32_t codePoint)
{
    return QString::fromUcs4(&codePoint, 1);
}

} // namespace

int HTMLEntities::namedEntityCount()
{
    return int(entityTable().size());
}

QString HTMLEntities::decode(QStringView text)
{
    QString output;
    appendDecoded(text, output);
    return output;
}

void HTMLEntities::appendDecoded(QStringView text, QString& output)
{
    // \w and \d as Unicode classes, like the platform's other pattern engines read them. One
    // pattern per thread: it holds the captures of its last search.
    thread_local CompiledPattern pattern(
        u"(?<name>&\\w+;)|&#(?<dec>\\d+);|&#x(?<hexa>[[:xdigit:]]+);",
        CompiledPattern::Classes::unicode);
    constexpr int nameGroup = 1;
    constexpr int decimalGroup = 2;
    constexpr int hexadecimalGroup = 3;
    if (!pattern.isValid() || !text.contains(u'&')) {
        output += text;
        return;
    }

    // Searched over the character count, like the HTML it came from (see HighlightedHTMLParser).
    const QStringView searched = text.first(GraphemeCount::characterCount(text));

    // Each search goes on from where the previous match ended, as a scan for all matches does.
    struct Replacement
    {
        qsizetype start;
        qsizetype length;
        char32_t scalar;
    };
    QVarLengthArray<Replacement, 16> replacements;
    for (qsizetype from = 0; from < searched.size();) {
        if (!pattern.match(searched, from))
            break;
        const qsizetype start = pattern.capturedStart();
        const qsizetype length = pattern.capturedLength();
        from = start + std::max<qsizetype>(length, 1);
        if (pattern.hasCaptured(nameGroup)) {
            if (const std::optional<char32_t> scalar = namedEntity(pattern.capturedView(nameGroup)))
                replacements.append({start, length, *scalar});
            continue;
        }
        bool ok = false;
        quint32 value = 0;
        if (pattern.hasCaptured(decimalGroup))
            value = pattern.capturedView(decimalGroup).toUInt(&ok, 10);
        else if (pattern.hasCaptured(hexadecimalGroup))
            value = pattern.capturedView(hexadecimalGroup).toUInt(&ok, 16);
        if (ok && value < 0x110000 && !(value >= 0xD800 && value <= 0xDFFF))
            replacements.append({start, length, char32_t(value)});
    }

    // The replacements do not overlap, so writing them front to back gives what replacing them
    // from the last to the first in place would.
    qsizetype copied = 0;
    for (const Replacement& replacement : replacements) {
        output += text.sliced(copied, replacement.start - copied);
        output += scalarText(replacement.scalar);
        copied = replacement.start + replacement.length;
    }
    output += text.sliced(copied);
}
