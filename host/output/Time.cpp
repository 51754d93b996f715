// Points in time as texts: RFC 3339 with milliseconds, in UTC.
#include "host/output/Time.h"

#include <array>
#include <cctype>
#include <cstdio>
#include <ctime>

namespace bmhost {

WallTime WallNow() {
    return std::chrono::time_point_cast<std::chrono::milliseconds>(std::chrono::system_clock::now());
}

std::string Rfc3339(WallTime time) {
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(time - day);
    std::array<char, 64> text{};
    snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
             static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
             static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
             static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
    return text.data();
}

std::optional<WallTime> WallTimeOf(std::string_view text) {
    constexpr std::string_view form = "dddd-dd-ddTdd:dd:dd.dddZ";
    if (text.size() != form.size()) return std::nullopt;
    for (std::size_t i = 0; i < form.size(); ++i) {
        const bool digit = std::isdigit(static_cast<unsigned char>(text[i])) != 0;
        if (form[i] == 'd' ? !digit : text[i] != form[i]) return std::nullopt;
    }
    const auto number = [&](std::size_t begin, std::size_t count) {
        unsigned value = 0;
        for (const char digit : text.substr(begin, count))
            value = value * 10 + static_cast<unsigned>(digit - '0');
        return value;
    };
    const std::chrono::year_month_day date(std::chrono::year(static_cast<int>(number(0, 4))),
                                           std::chrono::month(number(5, 2)), std::chrono::day(number(8, 2)));
    if (!date.ok() || number(11, 2) > 23 || number(14, 2) > 59 || number(17, 2) > 59) return std::nullopt;
    return WallTime(std::chrono::sys_days(date)) + std::chrono::hours(number(11, 2)) +
           std::chrono::minutes(number(14, 2)) + std::chrono::seconds(number(17, 2)) +
           std::chrono::milliseconds(number(20, 3));
}

} // namespace bmhost
