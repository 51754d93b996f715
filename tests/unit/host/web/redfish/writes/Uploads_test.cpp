// Firmware that is uploaded: which place it is for.
#include "TestWishes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;

std::string Uploaded(const Picture& picture, const std::optional<std::string>& parameters) {
    const ShownBlade blade(picture);
    const auto made = UploadOrderOf(blade.m_facts, parameters);
    if (const auto* const order = std::get_if<Order>(&made)) return order->m_name + " " + order->m_values.dump();
    return TextOfWish(std::get<RedfishAnswer>(made));
}

std::string UploadedFor(const std::string& targets) {
    return Uploaded(SmallBlade(), R"({"Targets": )" + targets + "}");
}

TEST(RedfishUpload, IsForOnePlace) {
    EXPECT_EQ(R"(firmware-update {"target":"board"})",
              UploadedFor(R"(["/redfish/v1/UpdateService/FirmwareInventory/Blade"])"));
    EXPECT_EQ(R"(firmware-update {"target":"board"})", UploadedFor(R"(["/redfish/v1/Chassis/Blade"])"));
    EXPECT_EQ(R"(firmware-update {"bay":6,"target":"amc"})",
              UploadedFor(R"(["/redfish/v1/UpdateService/FirmwareInventory/AMC6/"])"));
    EXPECT_EQ(R"(firmware-update {"target":"rtm"})", UploadedFor(R"(["/redfish/v1/Chassis/RTM"])"));
}

TEST(RedfishUpload, HasNoPlaceByDefault) {
    EXPECT_EQ("400 MissingOrMalformedPart", Uploaded(SmallBlade(), std::nullopt));
    EXPECT_EQ("400 PropertyMissing(Targets)", Uploaded(SmallBlade(), "{}"));
    EXPECT_EQ("400 PropertyMissing(Targets)", UploadedFor("[]"));
    EXPECT_EQ("400 MalformedJSON", Uploaded(SmallBlade(), "x"));
}

TEST(RedfishUpload, RefusesOtherTargets) {
    EXPECT_EQ("400 ArraySizeTooLong(Targets, 1)",
              UploadedFor(R"(["/redfish/v1/Chassis/AMC3", "/redfish/v1/Chassis/AMC6"])"));
    EXPECT_EQ("400 PropertyValueTypeError(7, Targets)", UploadedFor("7"));
    EXPECT_EQ("400 PropertyValueTypeError(7, Targets/0)", UploadedFor("[7]"));
    for (const char* const target : {"/redfish/v1/Chassis/AMC1", "/redfish/v1/Systems/Media", "", "/"})
        EXPECT_EQ("400 PropertyValueNotInList(" + std::string(target) + ", Targets/0)",
                  UploadedFor("[\"" + std::string(target) + "\"]"));
}

TEST(RedfishUpload, IsAppliedAtOnce) {
    const auto uploaded = [](const std::string& more) {
        return Uploaded(SmallBlade(), R"({"Targets": ["/redfish/v1/Chassis/Blade"], )" + more + "}");
    };
    EXPECT_EQ(R"(firmware-update {"target":"board"})", uploaded(R"("@Redfish.OperationApplyTime": "Immediate")"));
    EXPECT_EQ("400 PropertyValueNotInList(OnReset, @Redfish.OperationApplyTime)",
              uploaded(R"("@Redfish.OperationApplyTime": "OnReset")"));
    EXPECT_EQ("400 PropertyUnknown(Force)", uploaded(R"("Force": true)"));
}

TEST(RedfishUpload, IsOneAtATime) {
    EXPECT_EQ("503 ResourceInUse", Uploaded(BigBlade(), R"({"Targets": ["/redfish/v1/Chassis/Blade"]})"));
    EXPECT_EQ("503 ServiceTemporarilyUnavailable(5)",
              Uploaded(Picture{}, R"({"Targets": ["/redfish/v1/Chassis/Blade"]})"));
}

} // namespace
