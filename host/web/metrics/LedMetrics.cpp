// Metrics of the LEDs, with the age of each reading.
#include "host/picture/Led.h"
#include "host/session/Session.h"
#include "host/web/metrics/MetricTable.h"

#include <utility>

namespace bmhost {

namespace {

using Labels = std::map<std::string, std::string>;

Labels LabelsOf(const LedReading& led) {
    return {{"bay", std::to_string(led.m_bay)},
            {"place", LedBayText(led.m_bay)},
            {"led", std::to_string(led.m_led)},
            {"name", LedName(led.m_led)}};
}

// A LED that has never been read has no state.
template <typename Adder>
Samples OfReadLeds(const Scrape& scrape, const Adder& add) {
    if (scrape.m_picture == nullptr) return {};
    Samples samples;
    for (const LedReading& led : scrape.m_picture->m_leds) {
        if (led.m_state) add(samples, led);
    }
    return samples;
}

Samples LedStates(const Scrape& scrape) {
    static constexpr std::string_view words[] = {"blink", "lamp test", "off", "on"};
    return OfReadLeds(scrape, [](Samples& samples, const LedReading& led) {
        AddStates(samples, LabelsOf(led), words, LedStateName(LedRowOf(*led.m_state, led.m_bay)));
    });
}

Samples LedInfo(const Scrape& scrape) {
    return OfReadLeds(scrape, [](Samples& samples, const LedReading& led) {
        const LedRow row = LedRowOf(*led.m_state, led.m_bay);
        Labels labels = LabelsOf(led);
        labels["color"] = LedColorName(row.m_color);
        labels["control"] = LedControlName(row);
        samples.push_back({.m_labels = std::move(labels)});
    });
}

Samples LedReadable(const Scrape& scrape) {
    if (scrape.m_picture == nullptr) return {};
    Samples samples;
    for (const LedReading& led : scrape.m_picture->m_leds)
        samples.push_back({.m_labels = LabelsOf(led), .m_value = led.m_result == Success ? 1.0 : 0.0});
    return samples;
}

Samples LedReadTime(const Scrape& scrape) {
    return OfReadLeds(scrape, [](Samples& samples, const LedReading& led) {
        samples.push_back({.m_labels = LabelsOf(led), .m_value = SecondsOf(led.m_read)});
    });
}

Samples LedAge(const Scrape& scrape) {
    return OfReadLeds(scrape, [&scrape](Samples& samples, const LedReading& led) {
        samples.push_back({.m_labels = LabelsOf(led), .m_value = AgeOf(led.m_read, scrape.m_now)});
    });
}

Samples Sweeps(const Scrape& scrape) {
    if (scrape.m_picture == nullptr) return {};
    return OneSample(static_cast<double>(scrape.m_picture->m_controller.m_sweeps));
}

constexpr Metric LedTable[] = {
    {"bmhost_led_state", MetricKind::Gauge, "", "bay, led, name, place, state",
     "What a LED does, by its last good reading: 1 for its state, 0 for the others. Bay 0 is the baseboard, 9 the RTM.",
     LedStates},
    {"bmhost_led_info", MetricKind::Info, "", "bay, color, control, led, name, place",
     "The colour of a LED, and whether its own controller has it (local) or somebody has set it (override).", LedInfo},
    {"bmhost_led_readable", MetricKind::Gauge, "", "bay, led, name, place",
     "Whether the last try to read a LED was good: 1 yes, 0 no.", LedReadable},
    {"bmhost_led_read_timestamp_seconds", MetricKind::Gauge, "seconds", "bay, led, name, place",
     "When a LED was last read.", LedReadTime},
    {"bmhost_led_reading_age_seconds", MetricKind::Gauge, "seconds", "bay, led, name, place",
     "How old the last good reading of a LED is.", LedAge},
    {"bmhost_led_sweeps_total", MetricKind::Counter, "", "", "How often every LED has been tried.", Sweeps},
};

} // namespace

std::span<const Metric> LedMetrics() {
    return LedTable;
}

} // namespace bmhost
