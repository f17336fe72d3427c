// Times. A date is a floating-point number of days that keeps about a microsecond in our century; converting it to a
// file time therefore rounds to milliseconds, so that a whole second stays one on the way there and back.
#include "support/uKwExceptions.hpp"
#include "support/uKwVariant.hpp"
#include "support/VariantErrors.hpp"

#include <cmath>
#include <cstdint>
#include <limits>

namespace deftmapi
{

using namespace variantnumbers;

namespace
{

constexpr std::uint64_t ticksPerSecond = 10'000'000;
constexpr std::uint64_t ticksPerMillisecond = 10'000;
constexpr std::uint64_t secondsPerDay = 86'400;
constexpr std::uint64_t ticksPerDay = secondsPerDay * ticksPerSecond;
constexpr double millisecondsPerDay = 86'400'000.0;
constexpr std::int64_t daysTo1899 = 109'205;     // from 1601-01-01 to 1899-12-30
constexpr std::int64_t daysTo1970 = 134'774;     // from 1601-01-01 to 1970-01-01
constexpr std::int64_t daysTo30828 = 10'674'942; // from 1601-01-01 to 30828-01-01

struct TCivil
{
    std::int64_t Year;
    unsigned Month;
    unsigned Day;
};

// The proleptic Gregorian calendar by 400-year eras that begin on 1 March, as public-domain date algorithms do it.
std::int64_t DaysFromCivil(std::int64_t year, unsigned month, unsigned day) noexcept
{
    year -= month <= 2 ? 1 : 0;
    const std::int64_t era = year / 400;
    const std::int64_t yearOfEra = year - era * 400;
    const std::int64_t dayOfYear = (153 * (static_cast<std::int64_t>(month) + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146'097 + dayOfEra - 719'468 + daysTo1970;
}

TCivil CivilFromDays(std::int64_t days) noexcept
{
    days += 719'468 - daysTo1970;
    const std::int64_t era = days / 146'097;
    const std::int64_t dayOfEra = days - era * 146'097;
    const std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36'524 - dayOfEra / 146'096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t shifted = (5 * dayOfYear + 2) / 153;
    const auto month = static_cast<unsigned>(shifted < 10 ? shifted + 3 : shifted - 9);
    return {yearOfEra + era * 400 + (month <= 2 ? 1 : 0), month,
            static_cast<unsigned>(dayOfYear - (153 * shifted + 2) / 5 + 1)};
}

unsigned DaysInMonth(std::int64_t year, unsigned month) noexcept
{
    constexpr unsigned days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    return days[month - 1] + (leap && month == 2 ? 1 : 0);
}

void AppendDigits(WideString& text, std::uint64_t value, std::size_t width)
{
    WideString digits;
    for (; value != 0 || digits.size() < width; value /= 10)
        digits.insert(digits.begin(), static_cast<char16_t>(u'0' + value % 10));
    text += digits;
}

/// Reads the parts of an ISO 8601 text; Failed() tells afterwards whether one did not fit.
class TIsoReader
{
public:
    explicit TIsoReader(WideView text) : FText(text) {}

    [[nodiscard]] bool Failed() const noexcept { return FFailed; }
    [[nodiscard]] bool AtEnd() const noexcept { return FText.empty(); }

    bool Accept(char16_t c) noexcept
    {
        if (FText.empty() || FText.front() != c)
            return false;
        FText.remove_prefix(1);
        return true;
    }
    void Expect(char16_t c) noexcept { FFailed = !Accept(c) || FFailed; }

    std::uint64_t Number(std::size_t leastDigits, std::size_t mostDigits, std::size_t* digits = nullptr) noexcept
    {
        std::uint64_t value = 0;
        std::size_t count = 0;
        while (count < mostDigits && !FText.empty() && FText.front() >= u'0' && FText.front() <= u'9') {
            value = value * 10 + (FText.front() - u'0');
            FText.remove_prefix(1);
            ++count;
        }
        FFailed = FFailed || count < leastDigits;
        if (digits != nullptr)
            *digits = count;
        return value;
    }

    std::uint64_t Bounded(std::uint64_t limit) noexcept
    {
        const std::uint64_t value = Number(2, 2);
        FFailed = FFailed || value > limit;
        return value;
    }

private:
    WideView FText;
    bool FFailed = false;
};

/// The offset from UTC in seconds: "Z", nothing, "+hh:mm", "+hhmm" or "+hh".
std::int64_t ReadZone(TIsoReader& reader) noexcept
{
    if (reader.AtEnd() || reader.Accept(u'Z') || reader.Accept(u'z'))
        return 0;
    const bool negative = reader.Accept(u'-');
    if (!negative)
        reader.Expect(u'+');
    auto seconds = static_cast<std::int64_t>(reader.Bounded(23) * 3600);
    if (reader.Accept(u':') || !reader.AtEnd())
        seconds += static_cast<std::int64_t>(reader.Bounded(59) * 60);
    return negative ? -seconds : seconds;
}

std::uint64_t ReadFraction(TIsoReader& reader) noexcept
{
    std::size_t digits = 0;
    std::uint64_t ticks = reader.Number(1, 7, &digits);
    for (; digits < 7; ++digits)
        ticks *= 10;
    reader.Number(0, 20); // what is finer than a tick is cut off
    return ticks;
}

} // namespace

TKwDate KwFileTimeToDate(TKwFileTime time) noexcept
{
    const auto days = static_cast<std::int64_t>(time.Ticks / ticksPerDay) - daysTo1899;
    const double fraction = static_cast<double>(time.Ticks % ticksPerDay) / static_cast<double>(ticksPerDay);
    const auto whole = static_cast<double>(days);
    return {days < 0 ? whole - fraction : whole + fraction};
}

TKwFileTime KwDateToFileTime(TKwDate date)
{
    const double whole = std::trunc(date.Days);
    if (!(whole >= static_cast<double>(-daysTo1899) && whole < static_cast<double>(daysTo30828 - daysTo1899)))
        RaiseOutOfRange();
    const auto days = static_cast<std::uint64_t>(static_cast<std::int64_t>(whole) + daysTo1899);
    const auto milliseconds =
        static_cast<std::uint64_t>(std::llround(std::fabs(date.Days - whole) * millisecondsPerDay));
    return {days * ticksPerDay + milliseconds * ticksPerMillisecond};
}

WideString KwFileTimeToIso(TKwFileTime time)
{
    const TCivil date = CivilFromDays(static_cast<std::int64_t>(time.Ticks / ticksPerDay));
    const std::uint64_t seconds = time.Ticks % ticksPerDay / ticksPerSecond;
    WideString result;
    AppendDigits(result, static_cast<std::uint64_t>(date.Year), 4);
    result += u'-';
    AppendDigits(result, date.Month, 2);
    result += u'-';
    AppendDigits(result, date.Day, 2);
    result += u'T';
    AppendDigits(result, seconds / 3600, 2);
    result += u':';
    AppendDigits(result, seconds / 60 % 60, 2);
    result += u':';
    AppendDigits(result, seconds % 60, 2);
    if (const std::uint64_t fraction = time.Ticks % ticksPerSecond; fraction != 0) {
        result += u'.';
        AppendDigits(result, fraction, 7);
    }
    result += u'Z';
    return result;
}

TKwFileTime KwIsoToFileTime(WideView text)
{
    TIsoReader reader(KwTrim(text));
    const auto year = static_cast<std::int64_t>(reader.Number(4, 5));
    reader.Expect(u'-');
    const auto month = static_cast<unsigned>(reader.Bounded(12));
    reader.Expect(u'-');
    const auto day = static_cast<unsigned>(reader.Bounded(31));
    std::uint64_t seconds = 0;
    std::uint64_t fraction = 0;
    std::int64_t zone = 0;
    if (!reader.AtEnd()) {
        if (!reader.Accept(u'T') && !reader.Accept(u't'))
            reader.Expect(u' ');
        seconds = reader.Bounded(23) * 3600;
        reader.Expect(u':');
        seconds += reader.Bounded(59) * 60;
        if (reader.Accept(u':'))
            seconds += reader.Bounded(59);
        if (reader.Accept(u'.') || reader.Accept(u','))
            fraction = ReadFraction(reader);
        zone = ReadZone(reader);
    }
    if (reader.Failed() || !reader.AtEnd() || month == 0 || day == 0 || day > DaysInMonth(year, month))
        RaiseNoTime(text);

    const std::int64_t days = DaysFromCivil(year, month, day);
    const std::int64_t total =
        days * static_cast<std::int64_t>(secondsPerDay) + static_cast<std::int64_t>(seconds) - zone;
    constexpr std::uint64_t mostTicks = std::numeric_limits<std::uint64_t>::max();
    if (total < 0 || static_cast<std::uint64_t>(total) > (mostTicks - fraction) / ticksPerSecond)
        RaiseOutOfRange();
    return {static_cast<std::uint64_t>(total) * ticksPerSecond + fraction};
}

} // namespace deftmapi
