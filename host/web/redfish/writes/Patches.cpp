// PATCH: which properties can be written, and the orders that do it.
#include "host/web/redfish/Places.h"
#include "host/web/redfish/writes/Writing.h"

#include "host/orders/DspAddresses.h"

#include <algorithm>

namespace bmhost {

using nlohmann::ordered_json;

namespace {

using OrderOrComplaint = std::variant<Order, ExtendedInfo>;

OrderOrComplaint PortOrder(const Wanted& wanted, const ordered_json& value) {
    const PortFacts* const port = FindPort(wanted.m_picture, wanted.m_ids.at(0));
    if (!value.is_boolean())
        return ExtendedInfo{"PropertyValueTypeError", {ValueInMessage(value), "InterfaceEnabled"}, "/InterfaceEnabled"};
    nlohmann::json values;
    values["port"] = port->m_port;
    values["enabled"] = value.get<bool>();
    return Order{"switch-set", values};
}

// A null removes an element, an empty object keeps it, and a shorter array cuts: all that a DSP can be given is one
// element with an address.
OrderOrComplaint AddressOrder(const Wanted& wanted, const ordered_json& value) {
    const std::string property = "IPv4StaticAddresses";
    const std::string first = property + "/0";
    if (!value.is_array())
        return ExtendedInfo{"PropertyValueTypeError", {ValueInMessage(value), property}, "/" + property};
    if (value.empty()) return ExtendedInfo{"ArraySizeTooShort", {property, "1"}, "/" + property};
    if (value.size() > 1) return ExtendedInfo{"ArraySizeTooLong", {property, "1"}, "/" + property};
    if (!value[0].is_object())
        return ExtendedInfo{"PropertyValueTypeError", {ValueInMessage(value[0]), first}, "/" + first};
    for (const auto& [name, member] : value[0].items()) {
        if (name == "Address") continue;
        std::string place = first;
        place.append("/").append(name);
        const bool known = name == "AddressOrigin" || name == "SubnetMask" || name == "Gateway" || name == "Oem";
        return ExtendedInfo{known ? "PropertyNotWritable" : "PropertyUnknown", {place}, "/" + place};
    }
    const std::string place = first + "/Address";
    if (!value[0].contains("Address")) return ExtendedInfo{"PropertyMissing", {place}, "/" + place};
    const ordered_json& address = value[0]["Address"];
    if (!address.is_string())
        return ExtendedInfo{"PropertyValueTypeError", {ValueInMessage(address), place}, "/" + place};
    if (!Ipv4Of(address.get<std::string>()))
        return ExtendedInfo{"PropertyValueFormatError", {ValueInMessage(address), place}, "/" + place};
    nlohmann::json values;
    values["dsp"] = FindDsp(wanted.m_picture, wanted.m_ids.at(0))->m_number;
    values["address"] = address.get<std::string>();
    return Order{"dsp-set-ip", values};
}

struct WritableProperty {
    std::string_view m_schema;
    const char* m_name;
    const char* m_place; ///< of the value within it
    OrderOrComplaint (*m_order)(const Wanted& wanted, const ordered_json& value);
};

constexpr WritableProperty WritableProperties[] = {
    {"Port", "InterfaceEnabled", "/InterfaceEnabled", PortOrder},
    {"EthernetInterface", "IPv4StaticAddresses", "/IPv4StaticAddresses/0/Address", AddressOrder}};

// What cannot be written of this body; annotations are no properties.
std::vector<ExtendedInfo> NotWritable(const ordered_json& body, const ordered_json& resource, const char* writable) {
    std::vector<ExtendedInfo> infos;
    for (const auto& [name, value] : body.items()) {
        if (name == writable || name.find('@') != std::string::npos) continue;
        infos.push_back({resource.contains(name) ? "PropertyNotWritable" : "PropertyUnknown", {name}, "/" + name});
    }
    return infos;
}

} // namespace

Wish WishToPatch(const FoundNode& found, const RedfishRequest& request) {
    const ordered_json resource = *found.m_node->m_make(found.m_wanted);
    const auto parsed = ObjectOf(request.m_body);
    if (const auto* const answer = std::get_if<RedfishAnswer>(&parsed)) return *answer;
    const auto& body = std::get<ordered_json>(parsed);
    const auto* const writable =
        std::ranges::find(WritableProperties, found.m_node->m_schema, &WritableProperty::m_schema);
    std::vector<ExtendedInfo> remarks = NotWritable(body, resource, writable->m_name);
    if (!body.contains(writable->m_name)) {
        if (remarks.empty()) remarks.push_back({"NoOperation"});
        return ErrorAnswer(400, remarks);
    }
    const ordered_json& value = body[writable->m_name];
    const OrderOrComplaint made = writable->m_order(found.m_wanted, value);
    if (const auto* const complaint = std::get_if<ExtendedInfo>(&made)) {
        remarks.insert(remarks.begin(), *complaint);
        return ErrorAnswer(400, remarks);
    }
    OrderWish wish{std::get<Order>(made), resource["@odata.id"].get<std::string>()};
    wish.m_property = writable->m_place;
    wish.m_value = ValueInMessage(value.is_array() ? value[0]["Address"] : value);
    wish.m_remarks = remarks;
    return wish;
}

} // namespace bmhost
