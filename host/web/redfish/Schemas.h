// The schemas whose types this tree has, each in the version that is claimed.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace bmhost {

struct Schema {
    std::string_view m_name;    ///< "Chassis", "ChassisCollection"
    std::string_view m_version; ///< "v1_28_0"; empty for a collection, which has none

    /// "Chassis.v1_28_0", "ChassisCollection".
    std::string Namespace() const;
};

/// This system's own additions, in Oem objects and for their action.
constexpr std::string_view OwnName = "Bmhost";
constexpr std::string_view OwnVersion = "v1_0_0";
constexpr std::string_view OwnCsdlUri = "/redfish/v1/Schemas/Bmhost_v1.xml";

std::span<const Schema> Schemas();
/// Throws std::logic_error for a name that the table does not have.
const Schema& SchemaOf(std::string_view name);
/// "#Chassis.v1_28_0.Chassis".
std::string TypeOf(std::string_view schema);
/// "#Bmhost.v1_0_0.Chassis".
std::string OwnTypeOf(std::string_view name);
/// Of the JSON schema of the version that is claimed, as published; of the own schema's types the one served here.
std::string DescriptionUri(std::string_view schema);

/// $metadata: every namespace in use, with the file that defines it, and the container of the service.
std::string MetadataXml();
/// The own types in CSDL, and as a JSON schema.
std::string_view OwnCsdl();
std::string_view OwnJsonSchema();

} // namespace bmhost
