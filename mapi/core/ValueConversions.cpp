// From an SPropValue to a variant, and the text and calendar forms that values have on the way.
#include "mapi/core/uKwMAPIPropValue.hpp"

#include "mapi/core/PropRegistry.hpp"
#include "mapi/headers/uKwMAPICodeH.hpp"
#include "mapi/headers/uKwMAPIPropTypesH.hpp"
#include "support/uKwExceptions.hpp"

#include <chrono>

namespace deftmapi
{

namespace
{

constexpr auto sNoGuid = u"\"%s\" is no GUID in braces.";
constexpr auto sNoSystemTime = u"%d-%d-%d %d:%d:%d.%d is no date and time.";
constexpr auto sNoCalendarTime = u"The time is beyond the year %d.";

using TTicks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
constexpr std::chrono::sys_days firstDay = std::chrono::year(1601) / 1 / 1;
constexpr int lastYear = 30827; // of a SYSTEMTIME

template <typename Char>
TKwVariant TextOf(const Char* text)
{
    if (text == nullptr)
        return {};
    if constexpr (std::is_same_v<Char, char>)
        return TKwAnsiText{text};
    else
        return WideString(text);
}

TKwVariant BytesOf(const mapi::SBinary& binary)
{
    return std::span<const std::uint8_t>(binary.lpb, binary.lpb != nullptr ? binary.cb : 0);
}

TKwVariant TimeOf(const mapi::FILETIME& time)
{
    return TKwFileTime{std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime};
}

template <typename T, typename Convert>
TKwVariant ArrayOf(mapi::ULONG count, const T* elements, Convert convert)
{
    TKwVariant::Array array;
    if (elements != nullptr) {
        array.reserve(count);
        for (mapi::ULONG i = 0; i < count; ++i)
            array.emplace_back(convert(elements[i]));
    }
    return array;
}

/// A member of an array that is a value of its own.
const auto asIs = [](auto element) { return TKwVariant(element); };

int HexDigit(char16_t c)
{
    if (c >= u'0' && c <= u'9')
        return c - u'0';
    if (c >= u'A' && c <= u'F')
        return c - u'A' + 10;
    return c >= u'a' && c <= u'f' ? c - u'a' + 10 : -1;
}

} // namespace

TKwVariant KwPropValueToVariant(const mapi::SPropValue& value)
{
    const mapi::UPV& v = value.Value;
    mapi::ULONG type = mapi::PROP_TYPE(value.ulPropTag);
    if ((type & mapi::MV_INSTANCE) != 0)
        type &= ~mapi::MVI_FLAG;
    switch (type) {
    case mapi::PT_NULL:
        return TKwNull{};
    case mapi::PT_I2:
        return v.i;
    case mapi::PT_LONG:
        return v.l;
    case mapi::PT_R4:
        return v.flt;
    case mapi::PT_DOUBLE:
        return v.dbl;
    case mapi::PT_CURRENCY:
        return TKwCurrency{v.cur.int64};
    case mapi::PT_APPTIME:
        return TKwDate{v.at};
    case mapi::PT_BOOLEAN:
        return v.b != 0;
    case mapi::PT_I8:
        return std::int64_t{v.li.QuadPart};
    case mapi::PT_SYSTIME:
        return TimeOf(v.ft);
    case mapi::PT_UNICODE:
        return TextOf(v.lpszW);
    case mapi::PT_STRING8:
        return TextOf(v.lpszA);
    case mapi::PT_BINARY:
    case mapi::PT_SVREID:
        return BytesOf(v.bin);
    case mapi::PT_CLSID:
        return v.lpguid != nullptr ? TKwVariant(KwGuidToStr(*v.lpguid)) : TKwVariant();
    case mapi::PT_MV_I2:
        return ArrayOf(v.MVi.cValues, v.MVi.lpi, asIs);
    case mapi::PT_MV_LONG:
        return ArrayOf(v.MVl.cValues, v.MVl.lpl, asIs);
    case mapi::PT_MV_R4:
        return ArrayOf(v.MVflt.cValues, v.MVflt.lpflt, asIs);
    case mapi::PT_MV_DOUBLE:
        return ArrayOf(v.MVdbl.cValues, v.MVdbl.lpdbl, asIs);
    case mapi::PT_MV_CURRENCY:
        return ArrayOf(v.MVcur.cValues, v.MVcur.lpcur, [](const mapi::CURRENCY& c) { return TKwCurrency{c.int64}; });
    case mapi::PT_MV_APPTIME:
        return ArrayOf(v.MVat.cValues, v.MVat.lpat, [](double days) { return TKwDate{days}; });
    case mapi::PT_MV_SYSTIME:
        return ArrayOf(v.MVft.cValues, v.MVft.lpft, TimeOf);
    case mapi::PT_MV_I8:
        return ArrayOf(v.MVli.cValues, v.MVli.lpli,
                       [](const mapi::LARGE_INTEGER& n) { return std::int64_t{n.QuadPart}; });
    case mapi::PT_MV_UNICODE:
        return ArrayOf(v.MVszW.cValues, v.MVszW.lppszW, TextOf<char16_t>);
    case mapi::PT_MV_STRING8:
        return ArrayOf(v.MVszA.cValues, v.MVszA.lppszA, TextOf<char>);
    case mapi::PT_MV_BINARY:
        return ArrayOf(v.MVbin.cValues, v.MVbin.lpbin, BytesOf);
    case mapi::PT_MV_CLSID:
        return ArrayOf(v.MVguid.cValues, v.MVguid.lpguid, KwGuidToStr);
    default:
        return {};
    }
}

mapi::GUID KwStrToGuid(WideView text)
{
    // The digits of the sixteen bytes in text order; the first three groups are numbers, the rest single bytes.
    static constexpr WideView shape = u"{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}";
    std::uint64_t halves[2] = {0, 0};
    std::size_t digits = 0;
    bool valid = text.size() == shape.size();
    for (std::size_t i = 0; valid && i < shape.size(); ++i) {
        if (shape[i] != u'x') {
            valid = text[i] == shape[i];
            continue;
        }
        const int digit = HexDigit(text[i]);
        valid = digit >= 0;
        std::uint64_t& half = halves[digits++ / 16];
        half = half << 4 | static_cast<std::uint64_t>(digit & 0xF);
    }
    if (!valid)
        throw EKwConvertError(sNoGuid, {text.substr(0, 2 * shape.size())}, mapi::MAPI_E_INVALID_PARAMETER);
    return mapi::MakeGuid(static_cast<mapi::ULONG>(halves[0] >> 32), static_cast<mapi::WORD>(halves[0] >> 16),
                          static_cast<mapi::WORD>(halves[0]), static_cast<mapi::WORD>(halves[1] >> 48),
                          halves[1] & 0xFFFFFFFFFFFF);
}

TKwFileTime KwSystemTimeToFileTime(const mapi::SYSTEMTIME& time)
{
    using namespace std::chrono;
    const year_month_day date(year(time.wYear), month(time.wMonth), day(time.wDay));
    if (!date.ok() || time.wYear < 1601 || time.wYear > lastYear || time.wHour > 23 || time.wMinute > 59 ||
        time.wSecond > 59 || time.wMilliseconds > 999)
        throw EKwConvertError(
            sNoSystemTime,
            {time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond, time.wMilliseconds},
            mapi::MAPI_E_INVALID_PARAMETER);
    const TTicks ticks = TTicks(sys_days(date) - firstDay) + hours(time.wHour) + minutes(time.wMinute) +
                         seconds(time.wSecond) + milliseconds(time.wMilliseconds);
    return {static_cast<std::uint64_t>(ticks.count())};
}

mapi::SYSTEMTIME KwFileTimeToSystemTime(TKwFileTime time)
{
    using namespace std::chrono;
    constexpr std::uint64_t ticksPerDay = TTicks(days(1)).count();
    const sys_days date = firstDay + days(static_cast<int>(time.Ticks / ticksPerDay));
    const TTicks rest(static_cast<std::int64_t>(time.Ticks % ticksPerDay));
    // std::chrono's year ends at 32767, where a file time does not.
    if (date > sys_days(year(lastYear) / 12 / 31))
        throw EKwConvertError(sNoCalendarTime, {lastYear}, mapi::MAPI_E_INVALID_PARAMETER);
    const year_month_day ymd(date);
    const hh_mm_ss clock(duration_cast<milliseconds>(rest));
    mapi::SYSTEMTIME result{};
    result.wYear = static_cast<mapi::WORD>(static_cast<int>(ymd.year()));
    result.wMonth = static_cast<mapi::WORD>(static_cast<unsigned>(ymd.month()));
    result.wDayOfWeek = static_cast<mapi::WORD>(weekday(date).c_encoding());
    result.wDay = static_cast<mapi::WORD>(static_cast<unsigned>(ymd.day()));
    result.wHour = static_cast<mapi::WORD>(clock.hours().count());
    result.wMinute = static_cast<mapi::WORD>(clock.minutes().count());
    result.wSecond = static_cast<mapi::WORD>(clock.seconds().count());
    result.wMilliseconds = static_cast<mapi::WORD>(clock.subseconds().count());
    return result;
}

} // namespace deftmapi
