// Actions: their parameters, and the orders that they are.
#include "host/web/redfish/Places.h"
#include "host/web/redfish/writes/Writing.h"

#include "host/picture/Led.h"

#include <algorithm>
#include <initializer_list>
#include <regex>

namespace bmhost {

using nlohmann::ordered_json;

namespace {

constexpr int64_t MostMilliseconds = 60000;

/// The parameters of an action. What is wrong with them is collected, so that a client hears all of it at once.
class ActionParameters {
public:
    ActionParameters(std::string action, const ordered_json& body) : m_action(std::move(action)), m_body(body) {}

    void Only(std::initializer_list<std::string_view> names) {
        for (const auto& [name, value] : m_body.items()) {
            const bool annotation = name.find('@') != std::string::npos;
            if (!annotation && std::ranges::find(names, name) == names.end())
                m_complaints.push_back({"ActionParameterUnknown", {m_action, name}});
        }
    }
    void Need(std::initializer_list<const char*> names) {
        for (const char* const name : names) {
            if (!Has(name)) m_complaints.push_back({"ActionParameterMissing", {m_action, name}});
        }
    }
    bool Has(const std::string& name) const { return m_body.contains(name); }

    std::optional<std::string> Text(const std::string& name) {
        if (!Has(name)) return std::nullopt;
        if (m_body[name].is_string()) return m_body[name].get<std::string>();
        WrongType(name);
        return std::nullopt;
    }
    std::optional<std::string> Word(const std::string& name, std::initializer_list<std::string_view> words) {
        auto text = Text(name);
        if (!text || std::ranges::find(words, *text) != words.end()) return text;
        Complain("ActionParameterValueNotInList", name);
        return std::nullopt;
    }
    std::optional<int64_t> Number(const std::string& name, int64_t first, int64_t last) {
        if (!Has(name)) return std::nullopt;
        const ordered_json& value = m_body[name];
        if (!value.is_number_integer()) {
            WrongType(name);
            return std::nullopt;
        }
        if (value >= first && value <= last) return value.get<int64_t>();
        Complain("ActionParameterValueOutOfRange", name);
        return std::nullopt;
    }
    /// A text of this form.
    std::optional<std::string> Form(const std::string& name, const std::regex& form) {
        auto text = Text(name);
        if (!text || std::regex_match(*text, form)) return text;
        Complain("ActionParameterValueFormatError", name);
        return std::nullopt;
    }
    std::optional<std::vector<std::string>> Texts(const std::string& name) {
        if (!Has(name)) return std::nullopt;
        const ordered_json& value = m_body[name];
        const bool texts =
            value.is_array() && std::ranges::all_of(value, [](const auto& one) { return one.is_string(); });
        if (texts) return value.get<std::vector<std::string>>();
        WrongType(name);
        return std::nullopt;
    }
    void NotSupported(const std::string& name) {
        if (Has(name)) m_complaints.push_back({"ActionParameterNotSupported", {name, m_action}});
    }

    bool AreGood() const { return m_complaints.empty(); }
    RedfishAnswer Answer() const { return ErrorAnswer(400, m_complaints); }

private:
    void WrongType(const std::string& name) { Complain("ActionParameterValueTypeError", name); }
    void Complain(std::string_view key, const std::string& name) {
        m_complaints.push_back({key, {ValueInMessage(m_body[name]), name, m_action}});
    }

    std::string m_action;
    const ordered_json& m_body;
    std::vector<ExtendedInfo> m_complaints;
};

// An action without parameters may come without a body.
std::variant<ordered_json, RedfishAnswer> ParametersOf(const RedfishRequest& request) {
    return request.m_body.empty() ? ObjectOf("{}") : ObjectOf(request.m_body);
}

std::string InLowerCase(std::string text) {
    std::ranges::transform(text, text.begin(), [](char next) {
        return next >= 'A' && next <= 'Z' ? static_cast<char>(next - 'A' + 'a') : next;
    });
    return text;
}

// The colour and the times go with a light that is lit; of the times none without the other.
void CheckLight(ActionParameters& parameters, const std::string& state) {
    if (state != "On" && state != "Blink") parameters.NotSupported("Color");
    if (state != "Blink") {
        parameters.NotSupported("OnMilliseconds");
        parameters.NotSupported("OffMilliseconds");
    } else if (parameters.Has("OnMilliseconds") || parameters.Has("OffMilliseconds")) {
        parameters.Need({"OnMilliseconds", "OffMilliseconds"});
    }
}

template <typename Value>
void PutIfAny(ordered_json& record, const char* name, const std::optional<Value>& value) {
    if (value) record[name] = *value;
}

} // namespace

Wish WishToReset(const FoundNode& found, const RedfishRequest& request) {
    const auto parsed = ParametersOf(request);
    if (const auto* const answer = std::get_if<RedfishAnswer>(&parsed)) return *answer;
    ActionParameters parameters("Chassis.Reset", std::get<ordered_json>(parsed));
    parameters.Only({"ResetType"});
    parameters.Need({"ResetType"});
    parameters.Word("ResetType", {"ForceRestart"});
    if (!parameters.AreGood()) return parameters.Answer();
    OrderWish wish{{"board-reset", nlohmann::json::object()}, ChassisUri(*BayOfPlaceId(found.m_wanted.m_ids.at(0)))};
    wish.m_action = "Chassis.Reset";
    wish.m_property = "ResetType";
    wish.m_answeredFirst = true; // it is the blade that this program runs on
    return wish;
}

Wish WishToSetLed(const FoundNode& found, const RedfishRequest& request) {
    const auto parsed = ParametersOf(request);
    if (const auto* const answer = std::get_if<RedfishAnswer>(&parsed)) return *answer;
    ActionParameters parameters("Bmhost.SetLed", std::get<ordered_json>(parsed));
    parameters.Only({"Led", "State", "Color", "OnMilliseconds", "OffMilliseconds"});
    parameters.Need({"Led", "State"});
    const auto led = parameters.Number("Led", FirstLed, LastLed);
    const auto state = parameters.Word("State", {"On", "Off", "Blink", "Local"});
    const auto color = parameters.Word("Color", {"White", "Red", "Green", "Blue", "Amber", "Orange"});
    const auto on = parameters.Number("OnMilliseconds", 1, MostMilliseconds);
    const auto off = parameters.Number("OffMilliseconds", 1, MostMilliseconds);
    if (state) CheckLight(parameters, *state);
    if (!parameters.AreGood()) return parameters.Answer();
    const int bay = *BayOfPlaceId(found.m_wanted.m_ids.at(0));
    OrderWish wish{{"led-set", {{"bay", bay}, {"led", *led}, {"action", InLowerCase(*state)}}}, ChassisUri(bay)};
    if (color) wish.m_order.m_values["color"] = InLowerCase(*color);
    if (on) wish.m_order.m_values["on"] = *on;
    if (off) wish.m_order.m_values["off"] = *off;
    wish.m_action = "Bmhost.SetLed";
    wish.m_property = color ? "Color" : "Led";
    wish.m_value = color ? *color : std::to_string(*led);
    return wish;
}

Wish WishToTestEvents(const FoundNode&, const RedfishRequest& request) {
    static const std::regex messageId(R"(\w+\.\d+\.\d+\.\w+)");
    static const std::regex time(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d+)?(Z|[+-]\d\d:\d\d))");
    const auto parsed = ParametersOf(request);
    if (const auto* const answer = std::get_if<RedfishAnswer>(&parsed)) return *answer;
    ActionParameters parameters("EventService.SubmitTestEvent", std::get<ordered_json>(parsed));
    parameters.Only({"EventGroupId", "EventId", "EventTimestamp", "EventType", "Message", "MessageArgs", "MessageId",
                     "MessageSeverity", "OriginOfCondition", "Resolution", "Severity"});
    parameters.Need({"MessageId"});
    ordered_json record;
    record["EventType"] = parameters
                              .Word("EventType", {"StatusChange", "ResourceUpdated", "ResourceAdded", "ResourceRemoved",
                                                  "Alert", "MetricReport", "Other"})
                              .value_or("Other");
    PutIfAny(record, "EventId", parameters.Text("EventId"));
    PutIfAny(record, "EventGroupId", parameters.Number("EventGroupId", 0, INT32_MAX));
    PutIfAny(record, "EventTimestamp", parameters.Form("EventTimestamp", time));
    PutIfAny(record, "MessageId", parameters.Form("MessageId", messageId));
    PutIfAny(record, "Message", parameters.Text("Message"));
    PutIfAny(record, "MessageArgs", parameters.Texts("MessageArgs"));
    PutIfAny(record, "MessageSeverity", parameters.Word("MessageSeverity", {"OK", "Warning", "Critical"}));
    parameters.Text("Severity"); // deprecated: it is taken, and its successor is sent
    PutIfAny(record, "Resolution", parameters.Text("Resolution"));
    if (const auto origin = parameters.Text("OriginOfCondition")) record["OriginOfCondition"]["@odata.id"] = *origin;
    if (!parameters.AreGood()) return parameters.Answer();
    return TestEventWish{record};
}

} // namespace bmhost
