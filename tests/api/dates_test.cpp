// The date and time builtins through the exported interface, checked against
// the standard library's calendar: the Gregorian functions over the years 1
// to 9999, the 1970 calendar from 1970 to 2099, where it is exact. Outside
// those ranges, and for text that is no date, results must stay defined; the
// oddities that hosts rely on are pinned.
#include <gtest/gtest.h>
#include <time.h>

#include <chrono>
#include <cmath>
#include <string>
#include <vector>

#include "OrdoHost.h"

using namespace ordotest;
using namespace std::chrono;

namespace {

// Serials count days from 30.12.1899: 25569 is 1.1.1970.
double Serial(sys_days day) { return (day - sys_days(year(1899) / December / 30)).count(); }
double Serial(int y, unsigned m, unsigned d) { return Serial(sys_days(year(y) / m / d)); }

std::string Text(double x) {
    char text[32];
    std::snprintf(text, sizeof text, "%.17g", x);
    return text;
}

// A formula giving the date of `serial` as the number yyyymmdd, through the
// functions that `pattern` names with '#' for Year, Month and Day.
std::string Digits(std::string pattern, const std::string& serial) {
    const size_t hole = pattern.find('#');
    const auto call = [&](const char* field) {
        return std::string(pattern).replace(hole, 1, field) + "(" + serial + ")";
    };
    return call("Year") + " * 10000 + " + call("Month") + " * 100 + " + call("Day");
}
double Digits(year_month_day date) {
    return int(date.year()) * 10000.0 + unsigned(date.month()) * 100 + unsigned(date.day());
}

// Every `step`th day from `first` to `last`, both included.
std::vector<sys_days> Days(sys_days first, sys_days last, int step) {
    std::vector<sys_days> result;
    for (sys_days day = first; day < last; day += days(step)) result.push_back(day);
    result.push_back(last);
    return result;
}

// ISO 8601: weeks begin on Monday, and week 1 holds the year's first Thursday.
unsigned IsoWeek(sys_days day) {
    const sys_days thursday = day - days(weekday(day).iso_encoding()) + days(4);
    const sys_days newYear = sys_days(year_month_day(thursday).year() / January / 1);
    return static_cast<unsigned>((thursday - newYear).count() / 7 + 1);
}

// WeekOfDate counts a leap year one day ahead from the first Monday after
// New Year's Day to the end of February.
unsigned ExpectedWeekOfDate(sys_days day) {
    const year_month_day date(day);
    const sys_days second = sys_days(date.year() / January / 2);
    const bool ahead = date.year().is_leap() && date.month() <= February &&
                       day >= second + (Monday - weekday(second));
    return IsoWeek(ahead ? day + days(1) : day);
}

class Dates : public testing::Test {
protected:
    // The formula's number; the formula must succeed.
    double Calc(const std::string& formula) {
        const Outcome outcome = host.Calc(formula);
        EXPECT_EQ(outcome.code, ORDODLL_RESULT_OK) << formula << "\n" << outcome.text;
        return outcome.number;
    }

    void Expect(const std::vector<std::pair<std::string, double>>& rows) {
        for (const auto& [formula, number] : rows) EXPECT_EQ(Calc(formula), number) << formula;
    }

    // `function` of each of the argument lists gives a number within [low, high].
    void ExpectWithin(const std::string& function, const std::vector<std::string>& arguments,
                      double low, double high) {
        for (const std::string& list : arguments) {
            const double x = Calc(function + "(" + list + ")");
            EXPECT_TRUE(x >= low && x <= high) << function << "(" << list << ") gave " << x;
        }
    }

    Host host{HostOptions{.flags = ORDODLL_FLAG_FORCE_FLOAT_RESULT}};
};

TEST_F(Dates, GregorianFunctionsOverTheYears1To9999) {
    std::vector<sys_days> sample =
        Days(sys_days(year(1) / 1 / 1), sys_days(year(9999) / 12 / 31), 1009);
    for (int y : {100, 1600, 1700, 1900, 2000, 2100})
        for (unsigned m : {2u, 3u}) sample.push_back(sys_days(year(y) / m / 1) - days(1));
    for (sys_days day : sample) {
        const year_month_day date(day);
        const double serial = Serial(day);
        // The time of day is cut off toward zero.
        const std::string withTime = Text(serial + (serial < 0 ? -0.999 : 0.999));
        EXPECT_EQ(Calc("EncodeDate(" + Text(int(date.year())) + ", " +
                       Text(unsigned(date.month())) + ", " + Text(unsigned(date.day())) + ")"),
                  serial);
        EXPECT_EQ(Calc(Digits("Extract#", withTime)), Digits(date));
        EXPECT_EQ(Calc("WeekDay(" + Text(serial) + ")"), weekday(day).c_encoding() + 1);
    }
}

TEST_F(Dates, GregorianEdges) {
    Expect({
        {"DayOfWeek(25569)", 5},  // 1.1.1970 was a Thursday; 1 is Sunday
        {"EncodeDate(2012, 2, 30) + EncodeDate(1900, 2, 29) + EncodeDate(2011, 4, 31)", 0},
        {"EncodeDate(0, 1, 1) + EncodeDate(10000, 1, 1) + EncodeDate(-1, 1, 1)", 0},
        {"EncodeDate(2012, 0, 1) + EncodeDate(2012, 13, 1) + EncodeDate(2012, 1, 0)", 0},
        {"EncodeDate(NULL, 1, 1) + EncodeDate(1e12, 1, 1) + EncodeDate(\"x\", 1, 1)", 0},
        {"EncodeDate(65536 + 2012, 65536 + 2, 29.9)", Serial(2012, 2, 29)},  // 16 bits
        {Digits("Extract#", "-1.5"), 18991229},
        // Before the year 1, a null and serials beyond 32 bits: all fields 0.
        {Digits("Extract#", "-693594") + " + " + Digits("Extract#", "1e10"), 0},
        {Digits("Extract#", "NULL") + " + " + Digits("Extract#", "-1e10"), 0},
        {"Time(1, 2, 3)", 3723000 / 86400000.0},
        {"Time(24, 0, 0) + Time(0, 60, 0) + Time(0, 0, 60) + Time(-1, 0, 0)", 0},
        {"Time(65536 + 12, 0, 0)", 0.5},
        {"DateTime(2012, 2, 29, 18, 0, 0)", Serial(2012, 2, 29) + 0.75},
        {"DateTime(2012, 2, 30, 18, 0, 0)", 0.75},
        {"Hour(0.5) + Hour(0) + Hour(-0.25) + Hour(1e300) + Hour(1e300 * 1e300)", 12},
        {"Hour(1 / 128) * 10000 + Minute(1 / 128) * 100 + Second(1 / 128)", 1115},  // 0:11:15
        // Milliseconds are truncated: 11 seconds come out a hair short.
        {"Second(Time(0, 0, 11))", 10},
    });
    ExpectWithin("DayOfWeek", {"NULL", "-1e300", "-2147483648", "2147483647"}, 1, 7);
}

TEST_F(Dates, CalendarOf1970FromTheYears1970To2099) {
    std::vector<sys_days> sample =
        Days(sys_days(year(1970) / 1 / 1), sys_days(year(2099) / 12 / 31), 11);
    // Every day around the start of leap years, New Year's Day on each weekday.
    for (int y : {1972, 2004, 2008, 2012, 2016, 2020, 2024})
        for (sys_days day = sys_days(year(y - 1) / 12 / 20); day <= sys_days(year(y) / 3 / 10);
             day += days(1))
            sample.push_back(day);
    for (sys_days day : sample) {
        const year_month_day date(day);
        const std::string serial = Text(Serial(day));
        EXPECT_EQ(Calc("StringToDate(\"" + Text(Digits(date)) + "\")"), Serial(day));
        EXPECT_EQ(Calc(Digits("#OfDate", serial + " + 0.99")), Digits(date));
        EXPECT_EQ(Calc("WeekOfDate(" + serial + ")"), ExpectedWeekOfDate(day)) << serial;
    }
}

TEST_F(Dates, StringToDateFields) {
    Expect({
        {"StringToDate(\"2012\")", Serial(2012, 1, 1)},
        {"StringToDate(\"20123\") - StringToDate(\"2012+3 1xyz\")", 0},
        // Fields out of their range run on into the next months and years; the
        // month is kept in 8 bits.
        {"StringToDate(\"20120230\")", Serial(2012, 3, 1)},
        {"StringToDate(\"2012ab01\")", Serial(2011, 12, 1)},
        {"StringToDate(\"2012-1\")", Serial(2033, 3, 1)},
        // Text that is no date gives what its fields give.
        {Digits("#OfDate", "StringToDate(\"\")"), 101},
        {Digits("#OfDate", "StringToDate(\"x2012\")"), 201},  // year "x201", month "2"
        {Digits("#OfDate", "StringToDate(\"-999\")"), -9990000 + 101},
        {Digits("#OfDate", "NULL"), 19700101},
        {"WeekOfDate(" + Text(Serial(2010, 1, 1)) + ")", 53},  // in the last week of 2009
    });
    ExpectWithin("WeekOfDate", {"-1e300", "1e300", "-2147483648", "1 / 0"}, 1, 53);
}

// "YYxxWWDD": the year is two characters only, the week and the day (1 for
// Monday) are those of ISO 8601 reckoned in the 1970 calendar.
TEST_F(Dates, WeekstringToDate) {
    Expect({
        {"YearOfDate(WeekstringToDate(\"20120512\"))", 20},
        {"WeekstringToDate(\"20120512\") - WeekstringToDate(\"20990411\")", 8},
        {"WeekstringToDate(\"2012\") - WeekstringToDate(\"20000101\")", 0},
    });
    // Back through WeekOfDate and YearOfDate. From week 10 on the leap years'
    // quirk is past, and Monday to Thursday lie in the week's own year.
    for (int y = 1; y < 100; y += 3) {
        for (int week = 10; week <= 52; week += 7) {
            for (int day = 1; day <= 4; ++day) {
                char text[16];
                std::snprintf(text, sizeof text, "\"%02d__%02d%02d\"", y, week, day);
                const std::string date = std::string("WeekstringToDate(") + text + ")";
                EXPECT_EQ(Calc("WeekOfDate(" + date + ")"), week) << text;
                EXPECT_EQ(Calc("YearOfDate(" + date + ")"), y) << text;
            }
        }
    }
    ExpectWithin("WeekstringToDate",
                 {"\"\"", "\"-\"", "\"abcdefgh\"", "\"20__-9-9\"", "\"20__9999\""}, -1e6, 0);
}

TEST_F(Dates, AddToDateAgainstTheStandardCalendar) {
    const std::vector<sys_days> sample =
        Days(sys_days(year(1976) / 1 / 1), sys_days(year(2093) / 12 / 31), 97);
    for (size_t i = 0; i < sample.size(); ++i) {
        const year_month_day date(sample[i]);
        const int addedYears = static_cast<int>(i % 7) - 3;
        const unsigned addedMonths = i % 12;
        const int steps = static_cast<int>(i * 37 % 801) - 400;
        const int weeks = static_cast<int>(i % 5) - 2;
        const year_month shifted =
            date.year() / date.month() + years(addedYears) + months(addedMonths);
        const year_month_day_last last(shifted.year(), month_day_last(shifted.month()));
        const sys_days moved =
            date.day() > last.day() ? sys_days(last) : sys_days(shifted / date.day());
        const std::string formula = "AddToDate(" + Text(Serial(sample[i])) + ", " +
                                    Text(addedYears) + ", " + Text(addedMonths) + ", " +
                                    Text(steps) + ", " + Text(weeks) + ")";
        EXPECT_EQ(Calc(formula), Serial(moved) + steps + 7 * weeks) << formula;
    }
}

TEST_F(Dates, AddToDateOddities) {
    const double last = Serial(2099, 12, 31);
    const auto add = [](double serial, const std::string& rest) {
        return "AddToDate(" + Text(serial) + ", " + rest + ")";
    };
    Expect({
        // Months are added in 8 bits: 3 - 1 is February of the same year,
        // 3 - 5 is 254, 21 years and 2 months on, 3 - 3 is month 0, December
        // of the year before, and 256 is nothing.
        {add(Serial(2012, 3, 31), "0, -1"), Serial(2012, 2, 29)},
        {add(Serial(2012, 3, 15), "0, -5"), Serial(2033, 2, 15)},
        {add(Serial(2012, 3, 15), "0, -3"), Serial(2011, 12, 15)},
        {add(Serial(2012, 3, 15), "0, 256"), Serial(2012, 3, 15)},
        // The days run on a ring from 1.1.1970 to 31.12.2099; weeks and
        // years do not, and a date before the ring runs into it.
        {add(last, "0, 0, 1"), 25569},
        {add(25569, "0, 0, 2147483647"), 25569 + 2147483647 % 47482},
        {add(last, "0, 0, -2147483648"), last - 2147483648 % 47482},
        {add(last, "1, 0, 0, 1"), Serial(2100, 12, 31) + 7},
        {add(Serial(1969, 12, 31), "0, 0, 47483"), 25569},
        {add(Serial(1960, 1, 1), "0, 0, -1"), Serial(1959, 12, 31)},
        // Parameters without a value are left out, NULL counts as 0.
        {"AddToDate(" + Text(Serial(2012, 3, 15) + 0.5) + ", Rem(), 1, NULL)", Serial(2012, 4, 15)},
        {"AddToDate(NULL)", 25569},
    });
    ExpectWithin("AddToDate",
                 {"1e300, 2147483647, 2147483647, 2147483647, 2147483647",
                  "-1e300, -2147483648, -2147483648, -2147483648, -2147483648", "0, 1e300, -1e300"},
                 -1e15, 1e15);
}

// Results from the clock match the local time read just before or just after.
TEST_F(Dates, Clock) {
    const auto local = [] {
        const time_t now = time(nullptr);
        tm fields;
        localtime_r(&now, &fields);
        return fields;
    };
    const auto serial = [](const tm& t) {
        return Serial(t.tm_year + 1900, static_cast<unsigned>(t.tm_mon + 1),
                      static_cast<unsigned>(t.tm_mday)) +
               ((t.tm_hour * 60 + t.tm_min) * 60 + t.tm_sec) / 86400.0;
    };
    const tm before = local();
    const double getDate = Calc("GetDate()");
    const double date = Calc("Date()");
    const std::string text = Host().Calc("GetTime(\"x\")").text;
    const tm after = local();
    EXPECT_TRUE(getDate == std::floor(serial(before)) || getDate == std::floor(serial(after)));
    EXPECT_GE(date, serial(before));
    EXPECT_LT(date, serial(after) + 1 / 86400.0);
    char first[64], second[64];
    EXPECT_TRUE(text == asctime_r(&before, first) || text == asctime_r(&after, second)) << text;
}

}  // namespace
