// Date and time functions. A date is a serial number: its whole part counts
// days so that 1 is 31.12.1899 and 25569 is 1.1.1970, its fraction is the
// time of day. Two calendars stand side by side, and hosts rely on both:
//
// - StringToDate, WeekstringToDate, YearOfDate, MonthOfDate, DayOfDate,
//   WeekOfDate, AddToDate and GetDate count days from 1.1.1970 in cycles of
//   four years, take weekdays from the count cut to 16 bits and keep day and
//   month in 8 bits. They are exact from 1970 to 2099; AddToDate treats those
//   years as a ring.
// - Date, EncodeDate, DayOfWeek, the Extract functions, DateTime and the time
//   functions use the Gregorian calendar of the years 1 to 9999.
//
// Only Date, GetDate and GetTime read the clock.
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <string_view>

#include "functions/ArgumentToolkit.h"
#include "functions/FunctionRegistry.h"

namespace CalcEngine {

namespace {

// The serial of 1.1.1970, where the day count of the 1970 functions starts.
constexpr int64_t DayNumberSerial = 25569;
// Added to a serial, counts the days so that 1.1.0001 is 1.
constexpr int64_t SerialOffset = 693594;
constexpr double MillisecondsPerDay = 86400000.0;

constexpr int cumulativeDays[12] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
constexpr int monthLengths[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

struct DateRecord {
    uint8_t day;
    uint8_t month;
    int64_t year;
};

// Division and remainder rounding down, so that the calendars run on
// consistently before their first year.
int64_t FloorDiv(int64_t a, int64_t b) { return a / b - (a % b < 0 ? 1 : 0); }
int64_t FloorMod(int64_t a, int64_t b) { return a - FloorDiv(a, b) * b; }

bool IsLeapYear(int64_t year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

int YearLength(int64_t year) { return IsLeapYear(year) ? 366 : 365; }

// `month` from 1 to 12.
int MonthLength(int month, int64_t year) {
    return month == 2 && IsLeapYear(year) ? 29 : monthLengths[month - 1];
}

// The days of `year` before the first of `month` (1 to 12).
int DaysBeforeMonth(int month, int64_t year) {
    return cumulativeDays[month - 1] + (month > 2 && IsLeapYear(year) ? 1 : 0);
}

// The date of day `dayOfYear` of `year`, counted from 0.
DateRecord DateInYear(int64_t year, int dayOfYear) {
    if (IsLeapYear(year)) {
        if (dayOfYear == 59) return {29, 2, year};
        if (dayOfYear > 59) --dayOfYear;
    }
    int month = dayOfYear / 31;
    while (month < 11 && dayOfYear >= cumulativeDays[month + 1]) ++month;
    return {static_cast<uint8_t>(dayOfYear - cumulativeDays[month] + 1),
            static_cast<uint8_t>(month + 1), year};
}

// ---- The 1970 calendar.

// The day count from 1.1.1970 of a date whose month is 1 to 12; the day is
// not checked against its month, so day 0 is the last of the month before.
int64_t DateToDayNumber(const DateRecord& date) {
    const int64_t n = date.year - 1969;
    return FloorDiv(n, 4) * 1461 + (FloorMod(n, 4) - 1) * 365 +
           DaysBeforeMonth(date.month, date.year) + date.day - 1;
}

DateRecord DayNumberToDate(int64_t number) {
    const int64_t a = number + 365;
    const int64_t cycles = FloorDiv(a, 1461);
    const int64_t rest = FloorMod(a, 1461);
    // The last day of a leap year, which the 365-day steps leave over.
    if (rest / 365 == 4) return {31, 12, 4 * cycles + 1972};
    return DateInYear(4 * cycles + rest / 365 + 1969, static_cast<int>(rest % 365));
}

// 0 for Monday, from the day count cut to 16 bits: right from 1970 to 2149.
int WeekdayIndex(int64_t dayNumber) { return (static_cast<uint16_t>(dayNumber) + 3) % 7; }

int NewYearWeekday(int64_t year) { return WeekdayIndex(DateToDayNumber({1, 1, year})); }

int WeeksInYear(int64_t year) {
    const int newYear = NewYearWeekday(year);
    return newYear == 3 || (newYear == 2 && IsLeapYear(year)) ? 53 : 52;
}

// The week of a year's date, weeks beginning on Monday and week 1 holding
// the first Thursday; except that January and February of a leap year are
// counted one day ahead.
int WeekNumber(const DateRecord& date) {
    if (date.month == 12) {
        const int lastWeekday = WeekdayIndex(DateToDayNumber({31, 12, date.year}));
        if (date.day >= 31 - lastWeekday) return lastWeekday < 3 ? 1 : WeeksInYear(date.year);
    }
    const int newYear = NewYearWeekday(date.year);
    if (date.month == 1 && newYear + date.day < 8)
        return newYear < 4 ? 1 : WeeksInYear(date.year - 1);
    const int day = cumulativeDays[date.month - 1] + date.day + (IsLeapYear(date.year) ? 1 : 0);
    return (day + newYear - 8) / 7 + (newYear < 4 ? 2 : 1);
}

// Day `dayOffset` (0 for Monday) of `week` of `year`. A day before the year
// or after it lands in December or January; the day wraps in 8 bits.
DateRecord WeekToDate(int64_t year, int week, int dayOffset) {
    const int newYear = NewYearWeekday(year);
    if (newYear < 4) --week;
    const int dayOfYear = dayOffset + 7 * week - (newYear - 1);
    if (dayOfYear < 1) return {static_cast<uint8_t>(dayOfYear + 31), 12, year - 1};
    const int length = YearLength(year);
    if (dayOfYear > length) return {static_cast<uint8_t>(dayOfYear - length), 1, year + 1};
    return DateInYear(year, dayOfYear - 1);
}

// Months past December carry into the years, twelve at a time, month 0 is
// December of the year before.
void CarryMonths(DateRecord& date) {
    if (date.month > 12) {
        const int years = (date.month - 13) / 12 + 1;
        date.year += years;
        date.month = static_cast<uint8_t>(date.month - 12 * years);
    } else if (date.month == 0) {
        date.year -= 1;
        date.month = 12;
    }
}

// The integer at the start of `field` as the C runtime reads one: blanks
// skipped, a sign, the digits up to the first other character; 0 for none.
int32_t LeadingInteger(std::u16string_view field) {
    size_t pos = field.find_first_not_of(u" \t\n\v\f\r");
    if (pos == field.npos) return 0;
    const bool negative = field[pos] == u'-';
    if (field[pos] == u'-' || field[pos] == u'+') ++pos;
    int32_t value = 0;
    for (; pos < field.size() && field[pos] >= u'0' && field[pos] <= u'9'; ++pos)
        value = value * 10 + (field[pos] - u'0');
    return negative ? -value : value;
}

// The integer of the characters `start` to `start + length` of `text`, as
// many of them as it has.
int32_t FixedField(const WString& text, size_t start, size_t length) {
    return LeadingInteger(std::u16string_view(text).substr(std::min(start, text.size()), length));
}

// The date of a serial read from parameter `place`: a null counts as
// 1.1.1970, and the day count is cut to 32 bits.
DateRecord DateArgument(const ArgumentList& arguments, size_t place) {
    return DayNumberToDate(
        NumberToInt32(NumberArgument(arguments[place], place) - DayNumberSerial));
}

Object* NewDayNumber(Environment& environment, int64_t dayNumber) {
    return NewNumber(environment, static_cast<double>(dayNumber + DayNumberSerial));
}

// "YYYYMMDD"; month and day may be left out and then are 1. A field that is
// no number reads as 0, and fields out of their range run on into the next
// months and years.
Object* StringToDateFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const WString text = TextArgument(arguments[0], 0);
    DateRecord date{1, 1, FixedField(text, 0, 4)};
    if (text.size() > 4) date.month = static_cast<uint8_t>(FixedField(text, 4, 2));
    if (text.size() > 6) date.day = static_cast<uint8_t>(FixedField(text, 6, 2));
    CarryMonths(date);
    return NewDayNumber(environment, DateToDayNumber(date));
}

// "YY__WWDD": the year is the first two characters only, so "20120512" is in
// the year 20; week and day (1 for Monday) may be left out and then are 1.
Object* WeekstringToDateFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const WString text = TextArgument(arguments[0], 0);
    const int32_t week = text.size() > 4 ? FixedField(text, 4, 2) : 1;
    const int32_t day = text.size() > 6 ? FixedField(text, 6, 2) : 1;
    return NewDayNumber(environment,
                        DateToDayNumber(WeekToDate(FixedField(text, 0, 2), week, day - 1)));
}

Object* YearOfDateFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return NewNumber(environment, static_cast<double>(DateArgument(arguments, 0).year));
}

Object* MonthOfDateFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return NewNumber(environment, DateArgument(arguments, 0).month);
}

Object* DayOfDateFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return NewNumber(environment, DateArgument(arguments, 0).day);
}

Object* WeekOfDateFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return NewNumber(environment, WeekNumber(DateArgument(arguments, 0)));
}

// ---- The Gregorian calendar.

// The serial of a date whose month is 1 to 12; the day may lie beyond its
// month.
int64_t GregorianSerial(const DateRecord& date) {
    const int64_t y = date.year - 1;
    return date.day + DaysBeforeMonth(date.month, date.year) + FloorDiv(y, 4) - FloorDiv(y, 100) +
           FloorDiv(y, 400) + 365 * y - SerialOffset;
}

// The date of a whole serial, through the cycles of 400, 100, 4 and 1 years.
DateRecord GregorianDate(int64_t serial) {
    const int64_t days = serial + SerialOffset - 1;  // from 1.1.0001, counted from 0
    int64_t rest = FloorMod(days, 146097);
    const int64_t centuries = std::min<int64_t>(rest / 36524, 3);
    rest -= centuries * 36524;
    const int64_t quadrennia = rest / 1461;
    rest %= 1461;
    const int64_t years = std::min<int64_t>(rest / 365, 3);
    rest -= years * 365;
    const int64_t year =
        1 + 400 * FloorDiv(days, 146097) + 100 * centuries + 4 * quadrennia + years;
    return DateInYear(year, static_cast<int>(rest));
}

// ---- AddToDate.

// The ring of AddToDate's day steps: from the last day a step forward goes
// on at the first, and a step back from the first at the last.
constexpr int64_t RingFirst = DayNumberSerial;  // 1.1.1970
constexpr int64_t RingLength = 47482;           // to 31.12.2099
constexpr int64_t RingLast = RingFirst + RingLength - 1;

// `date` moved by `days` single days through the months of the Gregorian
// calendar, on the ring. A date outside the ring moves in a straight line
// until it enters it. `date` must be valid.
DateRecord StepDays(const DateRecord& date, int32_t days) {
    if (days == 0) return date;
    const int64_t from = GregorianSerial(date);
    int64_t to = from + days;
    if (days > 0 && from <= RingLast && to > RingLast)
        to = RingFirst + (to - RingFirst) % RingLength;
    else if (days < 0 && from >= RingFirst && to < RingFirst)
        to = RingLast - (RingLast - to) % RingLength;
    return GregorianDate(to);
}

// AddToDate(date [, years, months, days, weeks]). Months are added in 8 bits
// and the excess carried into the years, so that a negative count of months
// wraps: 3 + (-5) is 254, 21 years and month 2. A day beyond its new month
// becomes the month's last.
Object* AddToDateFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    DateRecord date = DateArgument(arguments, 0);
    date.year += IntIfEvaluated(arguments, 1, 0);
    date.month =
        static_cast<uint8_t>(date.month + static_cast<uint8_t>(IntIfEvaluated(arguments, 2, 0)));
    CarryMonths(date);
    date.day = static_cast<uint8_t>(std::min(int{date.day}, MonthLength(date.month, date.year)));
    date = StepDays(date, IntIfEvaluated(arguments, 3, 0));
    const int64_t weeks = IntIfEvaluated(arguments, 4, 0);
    return NewDayNumber(environment, DateToDayNumber(date) + 7 * weeks);
}

// ---- The Gregorian functions.

// The serial of a valid date of the years 1 to 9999, else 0.
double EncodeDate(unsigned year, unsigned month, unsigned day) {
    if (year < 1 || year > 9999 || month < 1 || month > 12 || day < 1 ||
        day > static_cast<unsigned>(MonthLength(static_cast<int>(month), year)))
        return 0.0;
    return static_cast<double>(GregorianSerial(
        {static_cast<uint8_t>(day), static_cast<uint8_t>(month), static_cast<int64_t>(year)}));
}

// The part of a day of a valid time, else 0.
double DayFraction(unsigned hour, unsigned minute, unsigned second, unsigned millisecond) {
    if (hour >= 24 || minute >= 60 || second >= 60 || millisecond >= 1000) return 0.0;
    return (((hour * 60 + minute) * 60 + second) * 1000 + millisecond) / MillisecondsPerDay;
}

// Parameter `place` as an integer cut to 16 bits.
uint16_t ShortArgument(const ArgumentList& arguments, size_t place) {
    return static_cast<uint16_t>(IntArgument(arguments[place], place));
}

double EncodeDateAt(const ArgumentList& arguments, size_t first) {
    return EncodeDate(ShortArgument(arguments, first), ShortArgument(arguments, first + 1),
                      ShortArgument(arguments, first + 2));
}

double EncodeTimeAt(const ArgumentList& arguments, size_t first) {
    return DayFraction(ShortArgument(arguments, first), ShortArgument(arguments, first + 1),
                       ShortArgument(arguments, first + 2), 0);
}

Object* EncodeDateFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return NewNumber(environment, EncodeDateAt(arguments, 0));
}

Object* TimeFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return NewNumber(environment, EncodeTimeAt(arguments, 0));
}

Object* DateTimeFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return NewNumber(environment, EncodeDateAt(arguments, 0) + EncodeTimeAt(arguments, 3));
}

// The serial's whole part cut to 32 bits as the processor does it: a null
// and any serial beyond 32 bits become -2147483648.
int64_t WholeSerial(const ArgumentList& arguments) {
    return TruncateToInt32(NumberArgument(arguments[0], 0));
}

// 1 for Sunday.
Object* DayOfWeekFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    const int64_t weekday = FloorMod(WholeSerial(arguments) + SerialOffset, 7) + 1;
    return NewNumber(environment, static_cast<double>(weekday));
}

// The date of the serial; all fields 0 before the year 1.
DateRecord ExtractedDate(const ArgumentList& arguments) {
    const int64_t serial = WholeSerial(arguments);
    return serial + SerialOffset <= 0 ? DateRecord{0, 0, 0} : GregorianDate(serial);
}

Object* ExtractDayFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return NewNumber(environment, ExtractedDate(arguments).day);
}

Object* ExtractMonthFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return NewNumber(environment, ExtractedDate(arguments).month);
}

Object* ExtractYearFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return NewNumber(environment, static_cast<double>(ExtractedDate(arguments).year));
}

// Milliseconds into the day of a positive serial, truncated; 0 for any other.
int32_t MillisecondOfDay(const ArgumentList& arguments) {
    const double value = NumberArgument(arguments[0], 0);
    if (!(value > 0)) return 0;
    double whole;
    return TruncateToInt32(std::modf(value, &whole) * MillisecondsPerDay);
}

Object* HourFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return NewNumber(environment, MillisecondOfDay(arguments) / 3600000);
}

Object* MinuteFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return NewNumber(environment, MillisecondOfDay(arguments) % 3600000 / 60000);
}

Object* SecondFunc(ICalcContext&, Environment& environment, ArgumentList& arguments) {
    return NewNumber(environment, MillisecondOfDay(arguments) % 60000 / 1000);
}

// ---- The clock.

struct LocalTime {
    tm fields{};
    unsigned millisecond = 0;
};

LocalTime Now() {
    const auto now = std::chrono::system_clock::now();
    const time_t seconds = std::chrono::system_clock::to_time_t(now);
    LocalTime local;
    localtime_r(&seconds, &local.fields);
    local.millisecond = static_cast<unsigned>(
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() %
        1000);
    return local;
}

// Today as a day count of the 1970 calendar.
Object* GetDateFunc(ICalcContext&, Environment& environment, ArgumentList&) {
    const tm fields = Now().fields;
    return NewDayNumber(environment, DateToDayNumber({static_cast<uint8_t>(fields.tm_mday),
                                                      static_cast<uint8_t>(fields.tm_mon + 1),
                                                      int64_t{fields.tm_year} + 1900}));
}

// The local time as ctime writes it, line feed included. The one parameter
// is not looked at.
Object* GetTimeFunc(ICalcContext&, Environment& environment, ArgumentList&) {
    const tm fields = Now().fields;
    char buffer[64];
    const char* text = asctime_r(&fields, buffer);
    return NewText(environment, text ? Widen(text) : WString());
}

// The local date and time as a serial, to the millisecond.
Object* DateFunc(ICalcContext&, Environment& environment, ArgumentList&) {
    const LocalTime now = Now();
    const tm& f = now.fields;
    const double date =
        EncodeDate(static_cast<unsigned>(f.tm_year + 1900), static_cast<unsigned>(f.tm_mon + 1),
                   static_cast<unsigned>(f.tm_mday));
    return NewNumber(
        environment,
        date + DayFraction(static_cast<unsigned>(f.tm_hour), static_cast<unsigned>(f.tm_min),
                           static_cast<unsigned>(f.tm_sec), now.millisecond));
}

constexpr uint8_t Pure = ICalcFunction::Pure;
constexpr const char16_t* DaysAfter1900 = u"days after 1.1.1900";
constexpr const char16_t* TextToDays = u"text to be converted to days after 1.1.1900";

constexpr BuiltinEntry entries[] = {
    {u"Date", u"StringToDate", nullptr, StringToDateFunc, u"S", TextToDays, Pure},
    {u"Date", u"WeekstringToDate", nullptr, WeekstringToDateFunc, u"S", TextToDays, Pure},
    {u"Date", u"YearOfDate", nullptr, YearOfDateFunc, u"D", DaysAfter1900, Pure},
    {u"Date", u"MonthOfDate", nullptr, MonthOfDateFunc, u"D", DaysAfter1900, Pure},
    {u"Date", u"DayOfDate", nullptr, DayOfDateFunc, u"D", DaysAfter1900, Pure},
    {u"Date", u"WeekOfDate", nullptr, WeekOfDateFunc, u"D", DaysAfter1900, Pure},
    {u"Date", u"AddToDate", nullptr, AddToDateFunc, u"D....",
     u"days after 1.1.1900[,years,months,days,weeks]", Pure},
    {u"Date", u"GetDate", nullptr, GetDateFunc, u"", u"", 0},
    // One parameter, never read; Date, which answers the same moment as a
    // number, takes none.
    {u"Date", u"GetTime", nullptr, GetTimeFunc, u" ", u"", 0},
    {u"Date", u"Date", nullptr, DateFunc, u"", u" ", 0},
    {u"Date", u"EncodeDate", nullptr, EncodeDateFunc, u"DDD", u"", Pure},
    {u"Date", u"DayOfWeek", u"WeekDay", DayOfWeekFunc, u"D", u"", Pure},
    {u"Date", u"ExtractDay", u"Day", ExtractDayFunc, u"D", u"", Pure},
    {u"Date", u"ExtractMonth", u"Month", ExtractMonthFunc, u"D", u"", Pure},
    {u"Date", u"ExtractYear", u"Year", ExtractYearFunc, u"D", u"", Pure},
    {u"Date", u"Time", nullptr, TimeFunc, u"DDD", u"", Pure},
    {u"Date", u"DateTime", nullptr, DateTimeFunc, u"DDDDDD", u"", Pure},
    {u"Date", u"Hour", nullptr, HourFunc, u"D", u"", Pure},
    {u"Date", u"Minute", nullptr, MinuteFunc, u"D", u"", Pure},
    {u"Date", u"Second", nullptr, SecondFunc, u"D", u"", Pure},
};

}  // namespace

const std::span<const BuiltinEntry> dateFunctions = entries;

}  // namespace CalcEngine
