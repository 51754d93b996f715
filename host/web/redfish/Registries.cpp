// The registries of messages, and the schema of the own types.
#include "host/web/redfish/Builders.h"

#include <algorithm>

namespace bmhost {

using nlohmann::ordered_json;

namespace {

constexpr const char* RegistriesUri = "/redfish/v1/Registries";
constexpr const char* SchemaFilesUri = "/redfish/v1/JsonSchemas";
constexpr const char* OwnRegistryId = "Bmhost.1.0";
constexpr const char* OwnRegistryUri = "/redfish/v1/Registries/Bmhost.1.0/Bmhost.1.0.0";
constexpr const char* OwnSchemaId = "Bmhost.v1_0_0";
constexpr const char* OwnSchemaUri = "/redfish/v1/JsonSchemas/Bmhost.v1_0_0/Bmhost.v1_0_0.json";

struct RegistryFile {
    const char* m_id;
    const char* m_name;
    const char* m_published; ///< null: served here
};

constexpr RegistryFile RegistryFiles[] = {
    {"Base.1.22", "Base messages", "https://redfish.dmtf.org/registries/Base.1.22.3.json"},
    {"ResourceEvent.1.4", "Events of resources", "https://redfish.dmtf.org/registries/ResourceEvent.1.4.2.json"},
    {"TaskEvent.1.0", "Events of tasks", "https://redfish.dmtf.org/registries/TaskEvent.1.0.4.json"},
    {"Update.1.3", "Messages of upgrades", "https://redfish.dmtf.org/registries/Update.1.3.0.json"},
    {OwnRegistryId, "Messages of this system", nullptr},
};

struct OwnMessage {
    const char* m_key;
    const char* m_description;
    std::vector<const char*> m_arguments;
};

const std::vector<OwnMessage>& OwnMessages() {
    static const std::vector<OwnMessage> messages = {
        {"HealthFault",
         "Indicates that the health monitor found a fault and ended.",
         {"What is at fault.", "The reason."}},
        {"ControllerRefused", "Indicates that the controller refused a request.", {"The completion code."}},
        {"AdaptorAnswered",
         "Indicates a result of the adaptor that has no message of its own.",
         {"The result.", "What the result means."}},
        {"NothingSet", "Indicates that the inventory is simulated, so that nothing can be set.", {}},
        {"Refused", "Indicates that the door or the resident host refused a request.", {"The reason."}},
    };
    return messages;
}

ordered_json OwnMessageJson(const OwnMessage& own) {
    const MessageKind& kind = MessageOf(own.m_key);
    ordered_json message;
    message["Description"] = own.m_description;
    message["Message"] = kind.m_text;
    message["MessageSeverity"] = kind.m_severity;
    message["NumberOfArgs"] = own.m_arguments.size();
    if (!own.m_arguments.empty()) {
        message["ParamTypes"] = std::vector<std::string>(own.m_arguments.size(), "string");
        message["ArgDescriptions"] = own.m_arguments;
    }
    message["Resolution"] = kind.m_resolution;
    return message;
}

ordered_json FileLocation(const char* served, const char* published) {
    ordered_json location;
    location["Language"] = "en";
    if (served != nullptr) location["Uri"] = served;
    if (published != nullptr) location["PublicationUri"] = published;
    return ordered_json::array({location});
}

} // namespace

Resource MakeRegistries(const Wanted&) {
    std::vector<std::string> ids;
    for (const RegistryFile& file : RegistryFiles)
        ids.emplace_back(file.m_id);
    return CollectionOf("MessageRegistryFileCollection", RegistriesUri, "Registries", ids);
}

Resource MakeRegistryFile(const Wanted& wanted) {
    const auto* const found =
        std::ranges::find_if(RegistryFiles, [&](const RegistryFile& file) { return file.m_id == wanted.m_ids.at(0); });
    if (found == std::end(RegistryFiles)) return std::nullopt;
    ordered_json file =
        ResourceOf("MessageRegistryFile", std::string(RegistriesUri) + "/" + found->m_id, found->m_id, found->m_name);
    file["Registry"] = found->m_id;
    file["Languages"] = ordered_json::array({"en"});
    file["Location"] = FileLocation(found->m_published == nullptr ? OwnRegistryUri : nullptr, found->m_published);
    return file;
}

Resource MakeOwnRegistry(const Wanted&) {
    ordered_json registry = ResourceOf("MessageRegistry", OwnRegistryUri, "Bmhost.1.0.0", "Messages of this system");
    registry.erase("@odata.id"); // a registry is a file, which may lie anywhere
    registry["Language"] = "en";
    registry["Description"] = "Messages that no published registry has.";
    registry["RegistryPrefix"] = OwnName;
    registry["RegistryVersion"] = "1.0.0";
    registry["OwningEntity"] = OwnName;
    for (const OwnMessage& message : OwnMessages())
        registry["Messages"][message.m_key] = OwnMessageJson(message);
    return registry;
}

Resource MakeJsonSchemas(const Wanted&) {
    return CollectionOf("JsonSchemaFileCollection", SchemaFilesUri, "Schemas of this system", {OwnSchemaId});
}

Resource MakeJsonSchemaFile(const Wanted& wanted) {
    if (wanted.m_ids.at(0) != OwnSchemaId) return std::nullopt;
    ordered_json file = ResourceOf("JsonSchemaFile", std::string(SchemaFilesUri) + "/" + OwnSchemaId, OwnSchemaId,
                                   "Schema of the own objects");
    file["Schema"] = "#Bmhost.v1_0_0";
    file["Languages"] = ordered_json::array({"en"});
    file["Location"] = FileLocation(OwnSchemaUri, nullptr);
    return file;
}

std::optional<RedfishAnswer> AnswerJsonSchema(const Wanted&) {
    RedfishAnswer answer = EmptyAnswer(200);
    answer.m_body = OwnJsonSchema();
    return answer;
}

} // namespace bmhost
