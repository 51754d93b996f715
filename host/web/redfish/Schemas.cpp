// The schemas whose types this tree has, each in the version that is claimed.
#include "host/web/redfish/Schemas.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace bmhost {

namespace {

constexpr Schema KnownSchemas[] = {
    {"ServiceRoot", "v1_20_0"},
    {"ChassisCollection", ""},
    {"Chassis", "v1_28_0"},
    {"ComputerSystemCollection", ""},
    {"ComputerSystem", "v1_27_0"},
    {"ProcessorCollection", ""},
    {"Processor", "v1_22_0"},
    {"EthernetInterfaceCollection", ""},
    {"EthernetInterface", "v1_12_4"},
    {"FabricCollection", ""},
    {"Fabric", "v1_4_0"},
    {"SwitchCollection", ""},
    {"Switch", "v1_11_0"},
    {"PortCollection", ""},
    {"Port", "v1_18_0"},
    {"ManagerCollection", ""},
    {"Manager", "v1_24_0"},
    {"UpdateService", "v1_17_0"},
    {"SoftwareInventoryCollection", ""},
    {"SoftwareInventory", "v1_13_0"},
    {"TaskService", "v1_3_0"},
    {"TaskCollection", ""},
    {"Task", "v1_7_4"},
    {"EventService", "v1_12_0"},
    {"EventDestinationCollection", ""},
    {"EventDestination", "v1_16_0"},
    {"Event", "v1_13_0"},
    {"SessionService", "v1_2_0"},
    {"SessionCollection", ""},
    {"Session", "v1_8_0"},
    {"AccountService", "v1_18_1"},
    {"ManagerAccountCollection", ""},
    {"ManagerAccount", "v1_14_1"},
    {"RoleCollection", ""},
    {"Role", "v1_3_3"},
    {"MessageRegistryFileCollection", ""},
    {"MessageRegistryFile", "v1_1_5"},
    {"MessageRegistry", "v1_7_0"},
    {"JsonSchemaFileCollection", ""},
    {"JsonSchemaFile", "v1_1_5"},
};

/// The last version of the service root that has a container of its own; later ones have no more in it.
constexpr const char* ContainerVersion = "ServiceRoot.v1_19_0";

constexpr const char* PublishedSchemas = "https://redfish.dmtf.org/schemas/v1/";

std::string IncludeOf(const std::string& name) {
    return "    <edmx:Include Namespace=\"" + name + "\"/>\n";
}

std::string ReferenceTo(const std::string& uri, const std::string& includes) {
    return "  <edmx:Reference Uri=\"" + uri + "\">\n" + includes + "  </edmx:Reference>\n";
}

} // namespace

std::string Schema::Namespace() const {
    return std::string(m_name) + (m_version.empty() ? "" : "." + std::string(m_version));
}

std::span<const Schema> Schemas() {
    return KnownSchemas;
}

const Schema& SchemaOf(std::string_view name) {
    const auto* const found = std::ranges::find(KnownSchemas, name, &Schema::m_name);
    if (found == std::end(KnownSchemas)) throw std::logic_error("no schema " + std::string(name));
    return *found;
}

std::string TypeOf(std::string_view schema) {
    const Schema& found = SchemaOf(schema);
    return "#" + found.Namespace() + "." + std::string(found.m_name);
}

std::string OwnTypeOf(std::string_view name) {
    return "#" + std::string(OwnName) + "." + std::string(OwnVersion) + "." + std::string(name);
}

std::string DescriptionUri(std::string_view schema) {
    return PublishedSchemas + SchemaOf(schema).Namespace() + ".json";
}

std::string MetadataXml() {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                       "<edmx:Edmx xmlns:edmx=\"http://docs.oasis-open.org/odata/ns/edmx\" Version=\"4.0\">\n";
    for (const Schema& schema : KnownSchemas) {
        std::string includes = IncludeOf(std::string(schema.m_name));
        if (!schema.m_version.empty()) includes += IncludeOf(schema.Namespace());
        if (schema.m_name == "ServiceRoot") includes += IncludeOf(ContainerVersion);
        text += ReferenceTo(PublishedSchemas + std::string(schema.m_name) + "_v1.xml", includes);
    }
    const std::string own(OwnName);
    text += ReferenceTo(std::string(OwnCsdlUri), IncludeOf(own) + IncludeOf(own + "." + std::string(OwnVersion)));
    text += ReferenceTo(PublishedSchemas + std::string("RedfishExtensions_v1.xml"),
                        "    <edmx:Include Namespace=\"RedfishExtensions.v1_0_0\" Alias=\"Redfish\"/>\n");
    return text +
           "  <edmx:DataServices>\n"
           "    <Schema xmlns=\"http://docs.oasis-open.org/odata/ns/edm\" Namespace=\"Service\">\n"
           "      <EntityContainer Name=\"Service\" Extends=\"" +
           ContainerVersion +
           ".ServiceContainer\"/>\n"
           "    </Schema>\n"
           "  </edmx:DataServices>\n"
           "</edmx:Edmx>\n";
}

} // namespace bmhost
