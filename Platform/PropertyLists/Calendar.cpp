// Calendar.cpp - dates to text and back.

#include "PropertyLists/Calendar.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace Standin {

namespace {

using std::chrono::day;
using std::chrono::month;
using std::chrono::sys_days;
using std::chrono::year;
using std::chrono::year_month_day;

constexpr sys_days kEpoch = sys_days(year_month_day(year(2001), month(1), day(1)));
constexpr SInt64 kSecondsPerDay = 86400;

void AppendDigits(std::string& text, SInt64 number, int digits)
{
    std::string part = std::to_string(number);
    text.append(static_cast<std::size_t>(std::max(0, digits - static_cast<int>(part.size()))), '0');
    text += part;
}

/// The number at a place. Requires: digits stand there.
int Digits(std::string_view text, std::size_t place, std::size_t count)
{
    int number = 0;
    for (const char digit : text.substr(place, count)) {
        number = number * 10 + (digit - '0');
    }
    return number;
}

} // namespace

std::string DateText(CFAbsoluteTime time)
{
    constexpr Float64 kFirst = -63113904000.0;
    constexpr Float64 kLast = 252423993599.0;
    const Float64 bounded = std::isnan(time) ? 0.0 : std::clamp(std::floor(time), kFirst, kLast);
    const auto seconds = static_cast<SInt64>(bounded);
    const SInt64 days = (seconds - (seconds < 0 ? kSecondsPerDay - 1 : 0)) / kSecondsPerDay;
    const SInt64 inDay = seconds - days * kSecondsPerDay;
    const year_month_day date(kEpoch + std::chrono::days(static_cast<int>(days)));

    std::string text;
    AppendDigits(text, static_cast<int>(date.year()), 4);
    text += '-';
    AppendDigits(text, static_cast<unsigned>(date.month()), 2);
    text += '-';
    AppendDigits(text, static_cast<unsigned>(date.day()), 2);
    text += 'T';
    AppendDigits(text, inDay / 3600, 2);
    text += ':';
    AppendDigits(text, inDay / 60 % 60, 2);
    text += ':';
    AppendDigits(text, inDay % 60, 2);
    text += 'Z';
    return text;
}

bool DateFromText(std::string_view text, CFAbsoluteTime& time)
{
    constexpr std::string_view kShape = "0000-00-00T00:00:00Z";
    if (text.size() != kShape.size()) {
        return false;
    }
    for (std::size_t place = 0; place < kShape.size(); ++place) {
        const bool isDigit = text[place] >= '0' && text[place] <= '9';
        if (kShape[place] == '0' ? !isDigit : text[place] != kShape[place]) {
            return false;
        }
    }
    const year_month_day date(year(Digits(text, 0, 4)),
                              month(static_cast<unsigned>(Digits(text, 5, 2))),
                              day(static_cast<unsigned>(Digits(text, 8, 2))));
    const int hours = Digits(text, 11, 2);
    const int minutes = Digits(text, 14, 2);
    const int seconds = Digits(text, 17, 2);
    // The first day that can be written is the first of year 1.
    if (!date.ok() || date.year() < year(1) || hours > 23 || minutes > 59 || seconds > 59) {
        return false;
    }
    const SInt64 days = (sys_days(date) - kEpoch).count();
    const int secondOfDay = hours * 3600 + minutes * 60 + seconds;
    time = static_cast<CFAbsoluteTime>(days * kSecondsPerDay + secondOfDay);
    return true;
}

} // namespace Standin
