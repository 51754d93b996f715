// The picture's enumerations in words, for people and in JSON.
#include "host/picture/PictureWords.h"

#include <array>

namespace bmhost {

namespace {

template <typename Value>
struct Worded {
    Value m_value;
    std::string_view m_word;
};

using Control = Controller::State;

constexpr std::array<Worded<Source::Kind>, 4> Sources = {{{Source::Kind::Hardware, "hardware"},
                                                          {Source::Kind::Missing, "missing"},
                                                          {Source::Kind::NoPermission, "permission"},
                                                          {Source::Kind::NoController, "no controller"}}};
constexpr std::array<Worded<HealthState>, 4> Healths = {{{HealthState::NotMonitored, "not monitored"},
                                                         {HealthState::Monitored, "monitored"},
                                                         {HealthState::Fault, "fault"},
                                                         {HealthState::Ended, "ended"}}};
constexpr std::array<Worded<Control>, 3> Controllers = {
    {{Control::Unknown, "unknown"}, {Control::Answers, "answers"}, {Control::Lost, "lost"}}};

template <typename Table, typename Value>
std::string_view WordIn(const Table& table, Value value) {
    for (const auto& row : table) {
        if (row.m_value == value) return row.m_word;
    }
    return table.front().m_word;
}

template <typename Value, std::size_t Size>
std::optional<Value> ValueIn(const std::array<Worded<Value>, Size>& table, std::string_view word) {
    for (const auto& row : table) {
        if (row.m_word == word) return row.m_value;
    }
    return std::nullopt;
}

} // namespace

std::string_view SourceWord(Source::Kind kind) {
    return WordIn(Sources, kind);
}

std::optional<Source::Kind> SourceOfWord(std::string_view word) {
    return ValueIn(Sources, word);
}

std::string_view HealthWord(HealthState state) {
    return WordIn(Healths, state);
}

std::optional<HealthState> HealthOfWord(std::string_view word) {
    return ValueIn(Healths, word);
}

std::string_view ControllerWord(Controller::State state) {
    return WordIn(Controllers, state);
}

std::optional<Controller::State> ControllerOfWord(std::string_view word) {
    return ValueIn(Controllers, word);
}

std::string_view LinkWord(std::optional<bool> linkUp) {
    if (!linkUp) return "unknown";
    return *linkUp ? "up" : "down";
}

} // namespace bmhost
