// Dates, file times and their ISO 8601 text.
#include "support/uKwExceptions.hpp"
#include "support/uKwVariant.hpp"

#include <gtest/gtest.h>

#include <limits>

using namespace deftmapi;

namespace
{

constexpr std::uint64_t second = 10'000'000;
constexpr std::uint64_t unixEpoch = 116'444'736'000'000'000; // 1970-01-01

} // namespace

TEST(VariantTimeTest, KnownMoments)
{
    EXPECT_EQ(KwFileTimeToIso({0}), u"1601-01-01T00:00:00Z");
    EXPECT_EQ(KwFileTimeToIso({unixEpoch}), u"1970-01-01T00:00:00Z");
    EXPECT_EQ(KwFileTimeToIso({unixEpoch + 1709210096 * second + 1}), u"2024-02-29T12:34:56.0000001Z");
    EXPECT_EQ(KwFileTimeToIso({0x0CB34557A3DD4000}), u"4501-01-01T00:00:00Z"); // what calendars use for "no date"
    EXPECT_EQ(KwFileTimeToIso({std::numeric_limits<std::uint64_t>::max()}), u"60056-05-28T05:36:10.9551615Z");

    EXPECT_DOUBLE_EQ(KwFileTimeToDate({unixEpoch}).Days, 25569.0);
    EXPECT_DOUBLE_EQ(KwFileTimeToDate({unixEpoch + 6 * 3600 * second}).Days, 25569.25);
    EXPECT_EQ(KwDateToFileTime({25569.5}), (TKwFileTime{unixEpoch + 12 * 3600 * second}));
}

TEST(VariantTimeTest, DatesBefore1900KeepTheirTimeOfDayPositive)
{
    // -1.25 is 1899-12-29 at six in the morning, not at six in the evening.
    EXPECT_EQ(KwFileTimeToIso(KwDateToFileTime({-1.25})), u"1899-12-29T06:00:00Z");
    EXPECT_DOUBLE_EQ(KwFileTimeToDate(KwIsoToFileTime(u"1899-12-29T06:00:00Z")).Days, -1.25);
    EXPECT_EQ(KwFileTimeToIso(KwDateToFileTime({-0.25})), u"1899-12-30T06:00:00Z");
    EXPECT_EQ(KwDateToFileTime({-109205.0}), TKwFileTime{});
    EXPECT_EQ(KwFileTimeToIso(KwDateToFileTime({-109205.5})), u"1601-01-01T12:00:00Z");
}

TEST(VariantTimeTest, RangeOfDates)
{
    EXPECT_THROW(static_cast<void>(KwDateToFileTime({-109206.0})), EKwConvertError);
    EXPECT_EQ(KwFileTimeToIso(KwDateToFileTime({10565736.0})), u"30827-12-31T00:00:00Z");
    EXPECT_THROW(static_cast<void>(KwDateToFileTime({10565737.0})), EKwConvertError);
    EXPECT_THROW(static_cast<void>(KwDateToFileTime({std::numeric_limits<double>::quiet_NaN()})), EKwConvertError);
    EXPECT_THROW(static_cast<void>(KwDateToFileTime({std::numeric_limits<double>::infinity()})), EKwConvertError);
}

TEST(VariantTimeTest, MillisecondsSurviveTheDate)
{
    // Through the centuries, at awkward times of day, also where a double keeps few digits of the fraction.
    for (std::uint64_t ticks = 0; ticks < 9'220'000'000'000'000'000; ticks += 7'654'321'098'760'000) {
        const TKwFileTime time{ticks};
        ASSERT_EQ(KwDateToFileTime(KwFileTimeToDate(time)), time) << KwToUtf8(KwFileTimeToIso(time));
    }
    // The last millisecond of a day must not become the 1440th minute of the same day.
    const TKwFileTime midnight{unixEpoch - 1};
    EXPECT_EQ(KwDateToFileTime(KwFileTimeToDate(midnight)), (TKwFileTime{unixEpoch}));
}

TEST(VariantTimeTest, IsoTextRoundTrips)
{
    for (std::uint64_t ticks = 3; ticks < 18'000'000'000'000'000'000u; ticks += 87'654'321'987'654'321)
        ASSERT_EQ(KwIsoToFileTime(KwFileTimeToIso({ticks})), (TKwFileTime{ticks}));
    const TKwFileTime last{std::numeric_limits<std::uint64_t>::max()};
    EXPECT_EQ(KwIsoToFileTime(KwFileTimeToIso(last)), last);
    EXPECT_THROW(static_cast<void>(KwIsoToFileTime(u"60056-05-28T05:36:10.9551616Z")), EKwConvertError);
    // Every day of two leap cycles has its own number.
    TKwFileTime time = KwIsoToFileTime(u"1999-12-31");
    for (int day = 0; day < 3000; ++day, time.Ticks += 86400 * second)
        ASSERT_EQ(KwIsoToFileTime(KwFileTimeToIso(time)), time);
}

TEST(VariantTimeTest, FormsOfIsoText)
{
    const TKwFileTime noon = KwIsoToFileTime(u"2024-01-31T12:00:00Z");
    for (const auto* text :
         {u" 2024-01-31T12:00:00Z ", u"2024-01-31 12:00", u"2024-01-31t12:00:00z", u"2024-01-31T12:00:00.000",
          u"2024-01-31T13:30:00+01:30", u"2024-01-31T07:00:00-0500", u"2024-02-01T00:00+12"})
        EXPECT_EQ(KwIsoToFileTime(text), noon) << KwToUtf8(text);
    EXPECT_EQ(KwIsoToFileTime(u"2024-01-31").Ticks + 12 * 3600 * second, noon.Ticks);
    EXPECT_EQ(KwIsoToFileTime(u"2024-01-31T12:00:00.5Z").Ticks, noon.Ticks + second / 2);
    EXPECT_EQ(KwIsoToFileTime(u"2024-01-31T12:00:00.123456789Z").Ticks, noon.Ticks + 1'234'567);

    for (const auto* text : {u"",
                             u"2024",
                             u"2024-01",
                             u"2024-13-01",
                             u"2024-00-01",
                             u"2024-02-30",
                             u"2023-02-29",
                             u"2100-02-29",
                             u"2024-01-00",
                             u"24-01-01",
                             u"2024-01-31T",
                             u"2024-01-31T12",
                             u"2024-01-31T24:00",
                             u"2024-01-31T12:60",
                             u"2024-01-31T12:00:60",
                             u"2024-01-31T12:00:00.",
                             u"2024-01-31T12:00:00Zx",
                             u"2024-01-31T12:00:00+",
                             u"2024-01-31T12:00:00+24:00",
                             u"2024/01/31",
                             u"1600-12-31",
                             u"60057-01-01",
                             u"+2024-01-01",
                             u"0000-01-01"})
        EXPECT_THROW(static_cast<void>(KwIsoToFileTime(text)), EKwConvertError) << KwToUtf8(text);
}

TEST(VariantTimeTest, ValuesConvertBetweenTheTimeKinds)
{
    const TKwFileTime time = KwIsoToFileTime(u"2024-01-31T10:20:30Z");
    const TKwVariant asTime(time);
    const TKwVariant asDate(KwFileTimeToDate(time));
    const TKwVariant asText(u"2024-01-31T10:20:30Z");
    EXPECT_EQ(asDate.AsFileTime(), time);
    EXPECT_EQ(asText.AsFileTime(), time);
    EXPECT_EQ(asText.AsDateTime(), KwFileTimeToDate(time));
    EXPECT_EQ(asDate.AsStringW(), u"2024-01-31T10:20:30Z");
    EXPECT_EQ(asTime.AsStringA(), "2024-01-31T10:20:30Z");
    EXPECT_EQ(asTime, asDate);
    EXPECT_EQ(asText, asTime);
    EXPECT_EQ(asDate, asText);
    EXPECT_NE(asTime, TKwVariant(TKwFileTime{time.Ticks + 1}));
    EXPECT_NE(asText, TKwVariant(TKwFileTime{time.Ticks + 1}));
    EXPECT_NE(asTime, TKwVariant(u"yesterday"));

    EXPECT_DOUBLE_EQ(TKwVariant(TKwDate{1.5}).AsFloat(), 1.5); // a date is its number of days
    EXPECT_EQ(TKwVariant(1.5).AsDateTime(), (TKwDate{1.5}));
    EXPECT_DOUBLE_EQ(asTime.AsFloat(), asDate.AsFloat()); // and so is a file time
    EXPECT_THROW(static_cast<void>(TKwVariant(true).AsDateTime()), EKwConvertError);
    EXPECT_EQ(TKwVariant().AsFileTime(), TKwFileTime{});
}
