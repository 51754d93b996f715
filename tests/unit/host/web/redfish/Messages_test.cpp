// The messages of the registries, and answers made of them.
#include "host/web/redfish/Messages.h"

#include "TestBlades.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <stdexcept>

namespace {

using namespace bmhost;
using testing::ElementsAre;

TEST(RedfishMessages, HaveTheirArgumentsFilledIn) {
    EXPECT_EQ(Json(R"({"MessageId": "Base.1.22.PropertyValueTypeError",
        "Message": "The value '7' for the property 'InterfaceEnabled' is not a type that the property can accept.",
        "MessageArgs": ["7", "InterfaceEnabled"], "MessageSeverity": "Warning",
        "Resolution": "Correct the value for the property in the request body and resubmit the request if the operation failed.",
        "RelatedProperties": ["#/InterfaceEnabled"]})"),
              MessageJson({"PropertyValueTypeError", {"7", "InterfaceEnabled"}, "/InterfaceEnabled"}));
    EXPECT_FALSE(MessageJson({"MalformedJSON"}).contains("RelatedProperties"));
}

TEST(RedfishMessages, ThatAreMisusedAreAMistakeOfTheProgram) {
    EXPECT_THROW(MessageJson({"NoSuchMessage"}), std::logic_error);
    EXPECT_THROW(MessageJson({"PropertyUnknown"}), std::logic_error);
    EXPECT_THROW(MessageJson({"PropertyUnknown", {"a", "b"}}), std::logic_error);
}

TEST(RedfishMessages, HaveOneMeaningAKey) {
    std::set<std::string_view> keys;
    for (const MessageKind& kind : MessageKinds()) {
        EXPECT_TRUE(keys.insert(kind.m_key).second) << kind.m_key;
        // Each argument once, in their order.
        std::string order;
        for (std::size_t at = kind.m_text.find('%'); at != std::string_view::npos; at = kind.m_text.find('%', at + 1))
            order += kind.m_text.at(at + 1);
        EXPECT_EQ(std::string("123").substr(0, ArgumentsOf(kind)), order) << kind.m_key;
        EXPECT_FALSE(kind.m_resolution.empty()) << kind.m_key;
    }
}

TEST(RedfishErrors, HaveTheFirstMessageAsTheirOwn) {
    const RedfishAnswer answer =
        ErrorAnswer(400, {{"PropertyUnknown", {"Colour"}, "/Colour"}, {"PropertyNotWritable", {"Name"}, "/Name"}});
    EXPECT_EQ(400U, answer.m_status);
    EXPECT_EQ("application/json; charset=utf-8", answer.m_contentType);
    EXPECT_EQ("4.0", answer.Header("OData-Version"));
    EXPECT_EQ("no-store", answer.Header("Cache-Control"));
    const auto error = BodyOf(answer)["error"];
    EXPECT_EQ("Base.1.22.PropertyUnknown", error["code"]);
    EXPECT_EQ("The property 'Colour' is not in the list of valid properties for the resource.", error["message"]);
    EXPECT_THAT(MessagesOf(answer), ElementsAre("PropertyUnknown(Colour)", "PropertyNotWritable(Name)"));
}

TEST(RedfishErrors, HaveTheHeadersOfTheirStatus) {
    EXPECT_EQ("Basic realm=\"bmhost\", charset=\"UTF-8\"", UnauthorizedAnswer().Header("WWW-Authenticate"));
    EXPECT_EQ(401U, UnauthorizedAnswer().m_status);
    EXPECT_THAT(MessagesOf(ForbiddenAnswer()), ElementsAre("InsufficientPrivilege"));
    EXPECT_EQ(403U, ForbiddenAnswer().m_status);
    EXPECT_EQ("9", UnavailableAnswer(9).Header("Retry-After"));
    EXPECT_THAT(MessagesOf(UnavailableAnswer(9)), ElementsAre("ServiceTemporarilyUnavailable(9)"));
    EXPECT_EQ("GET, HEAD", NotAllowedAnswer("GET, HEAD").Header("Allow"));
    EXPECT_EQ(405U, NotAllowedAnswer("").m_status);
}

TEST(RedfishErrors, EscapeWhatAClientSent) {
    const RedfishAnswer answer = MissingAnswer("/redfish/\x01\x7F\xC2\x9B\xFF\"");
    for (const char next : answer.m_body.substr(0, answer.m_body.size() - 1))
        EXPECT_TRUE(static_cast<unsigned char>(next) >= 0x20 && next != '\x7F');
    EXPECT_THAT(MessagesOf(answer), ElementsAre("ResourceMissingAtURI(/redfish/\x01\x7F\xC2\x9B\xEF\xBF\xBD\")"));
}

} // namespace
