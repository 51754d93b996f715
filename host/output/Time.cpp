// Points in time as texts: RFC 3339 with milliseconds, in UTC.
#include "host/output/Time.h"

#include <array>
#include <cstdio>

namespace bmhost {

using namespace std::chrono;

namespace {

constexpr std::string_view Layout = "dddd-dd-ddTdd:dd:dd.dddZ"; // d is a digit

bool HasLayout(std::string_view text) {
    if (text.size() != Layout.size()) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool digit = text[i] >= '0' && text[i] <= '9';
        if (Layout[i] == 'd' ? !digit : text[i] != Layout[i]) return false;
    }
    return true;
}

unsigned NumberAt(std::string_view text, std::size_t begin, std::size_t digits) {
    unsigned number = 0;
    for (const char digit : text.substr(begin, digits))
        number = number * 10 + static_cast<unsigned>(digit - '0');
    return number;
}

} // namespace

WallTime WallNow() {
    return floor<milliseconds>(system_clock::now());
}

std::string Rfc3339(WallTime time) {
    const auto day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss clock(time - day);
    std::array<char, 48> text{};
    snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
             static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
             static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
             static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
    return text.data();
}

std::optional<WallTime> WallTimeOf(std::string_view text) {
    if (!HasLayout(text)) return std::nullopt;
    const year_month_day date(year(static_cast<int>(NumberAt(text, 0, 4))), month(NumberAt(text, 5, 2)),
                              day(NumberAt(text, 8, 2)));
    const unsigned hour = NumberAt(text, 11, 2);
    const unsigned minute = NumberAt(text, 14, 2);
    const unsigned second = NumberAt(text, 17, 2);
    if (!date.ok() || hour > 23 || minute > 59 || second > 59) return std::nullopt;
    return WallTime(time_point_cast<milliseconds>(sys_days(date)) + hours(hour) + minutes(minute) + seconds(second) +
                    milliseconds(NumberAt(text, 20, 3)));
}

} // namespace bmhost
