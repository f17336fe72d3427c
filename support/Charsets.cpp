// Character-set names of the Internet and the code pages they stand for. Names are compared as mail software must
// compare them: without regard to case and to the punctuation that senders vary ("ISO_8859-1", "iso8859-1", "UTF8").
#include "support/uKwEncoding.hpp"

#include <algorithm>
#include <iterator>

namespace deftmapi
{

namespace
{

struct TCharset
{
    std::string_view Name; // lower case, letters and digits only
    unsigned CodePage;
};

// Sorted by name.
constexpr TCharset charsets[] = {
    {"ansix341968", 20127},
    {"ansix341986", 20127},
    {"arabic", 28596},
    {"ascii", 20127},
    {"asmo708", 28596},
    {"big5", 950},
    {"big5hkscs", 950},
    {"chinese", 936},
    {"cnbig5", 950},
    {"cngb", 936},
    {"cp367", 20127},
    {"cp819", 28591},
    {"cseuckr", 51949},
    {"cseucpkdfmtjapanese", 51932},
    {"csgb2312", 936},
    {"csiso2022jp", 50220},
    {"csiso2022kr", 50225},
    {"csisolatin1", 28591},
    {"csisolatin2", 28592},
    {"csisolatin3", 28593},
    {"csisolatin4", 28594},
    {"csisolatin5", 28599},
    {"csisolatin9", 28605},
    {"csisolatinarabic", 28596},
    {"csisolatincyrillic", 28595},
    {"csisolatingreek", 28597},
    {"csisolatinhebrew", 28598},
    {"cskoi8r", 20866},
    {"csksc56011987", 949},
    {"csshiftjis", 932},
    {"csunicode11utf7", 65000},
    {"cswindows31j", 932},
    {"cyrillic", 28595},
    {"ecma114", 28596},
    {"ecma118", 28597},
    {"elot928", 28597},
    {"eucjp", 51932},
    {"euckr", 51949},
    {"gb18030", 54936},
    {"gb2312", 936},
    {"gbk", 936},
    {"greek", 28597},
    {"greek8", 28597},
    {"hebrew", 28598},
    {"hzgb2312", 52936},
    {"iso10646ucs2", 1200},
    {"iso2022jp", 50220},
    {"iso2022kr", 50225},
    {"iso646us", 20127},
    {"isoir100", 28591},
    {"isoir101", 28592},
    {"isoir109", 28593},
    {"isoir110", 28594},
    {"isoir126", 28597},
    {"isoir127", 28596},
    {"isoir138", 28598},
    {"isoir144", 28595},
    {"isoir148", 28599},
    {"isoir6", 20127},
    {"johab", 1361},
    {"koi8", 20866},
    {"koi8r", 20866},
    {"koi8ru", 21866},
    {"koi8u", 21866},
    {"korean", 949},
    {"ksc5601", 949},
    {"ksc56011987", 949},
    {"ksc56011989", 949},
    {"l1", 28591},
    {"l2", 28592},
    {"l5", 28599},
    {"l9", 28605},
    {"latin1", 28591},
    {"latin2", 28592},
    {"latin3", 28593},
    {"latin4", 28594},
    {"latin5", 28599},
    {"latin7", 28603},
    {"latin9", 28605},
    {"macintosh", 10000},
    {"ms936", 936},
    {"mskanji", 932},
    {"shiftjis", 932},
    {"sjis", 932},
    {"tis620", 874},
    {"ucs2", 1200},
    {"uhc", 949},
    {"unicode11utf7", 65000},
    {"unicode20utf8", 65001},
    {"us", 20127},
    {"usascii", 20127},
    {"utf16", 1200},
    {"utf16be", 1201},
    {"utf16le", 1200},
    {"utf32", 12000},
    {"utf32be", 12001},
    {"utf32le", 12000},
    {"utf7", 65000},
    {"utf8", 65001},
    {"windows31j", 932},
    {"windows874", 874},
    {"windows932", 932},
    {"windows936", 936},
    {"windows949", 949},
    {"windows950", 950},
    {"xansi", 1252},
    {"xcp1250", 1250},
    {"xcp1251", 1251},
    {"xeucjp", 51932},
    {"xgbk", 936},
    {"xmacroman", 10000},
    {"xsjis", 932},
    {"xunicode20utf8", 65001},
    {"xxbig5", 950},
};

static_assert(std::is_sorted(std::begin(charsets), std::end(charsets),
                             [](const TCharset& a, const TCharset& b) { return a.Name < b.Name; }));

constexpr std::size_t longestName = 40;

/// The number after prefix, or 0 when there is anything else.
unsigned NumberAfter(std::string_view name, std::string_view prefix) noexcept
{
    if (name.substr(0, prefix.size()) != prefix || name.size() == prefix.size() || name.size() > prefix.size() + 5)
        return 0;
    unsigned value = 0;
    for (const char c : name.substr(prefix.size())) {
        if (c < '0' || c > '9')
            return 0;
        value = value * 10 + static_cast<unsigned>(c - '0');
    }
    return value;
}

} // namespace

unsigned TKwEncoding::CodePageOfCharset(std::string_view name) noexcept
{
    char buffer[longestName];
    std::size_t length = 0;
    for (const char c : name) {
        const char lower = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
        if ((lower < 'a' || lower > 'z') && (lower < '0' || lower > '9'))
            continue;
        if (length == longestName)
            return 0;
        buffer[length++] = lower;
    }
    std::string_view key(buffer, length);

    const auto* it = std::lower_bound(std::begin(charsets), std::end(charsets), key,
                                      [](const TCharset& a, std::string_view b) { return a.Name < b; });
    if (it != std::end(charsets) && it->Name == key)
        return it->CodePage;

    // Families: the parts of ISO 8859 are code pages 28590 + part; the year of the standard ("ISO_8859-1:1987") does
    // not matter. Hebrew has a second number for text in logical order ("-i").
    if (key == "iso88598i")
        return 38598;
    if (key.substr(0, 7) == "iso8859") {
        key.remove_prefix(7);
        if (key == "8e")
            key.remove_suffix(1);
        if (key.size() > 4)
            key.remove_suffix(4);
        const unsigned part = NumberAfter(key, "");
        return part >= 1 && part <= 16 && part != 12 ? 28590 + part : 0;
    }
    for (const std::string_view prefix : {"windows", "cp", "xcp", "ibm", "mswin", "ms", "win"}) {
        const unsigned number = NumberAfter(key, prefix);
        const bool windows = (number >= 1250 && number <= 1258) || number == 874 || number == 932 || number == 936 ||
                             number == 949 || number == 950 || number == 65001 || number == 65000;
        const bool dos =
            number == 437 || number == 720 || number == 737 || number == 775 || (number >= 850 && number <= 869);
        if (windows || dos)
            return number;
    }
    return 0;
}

} // namespace deftmapi
