// The messages of the registries that this service uses, and answers made of them.
#include "host/web/redfish/Messages.h"

#include "bm_dev/ByteText.h"

#include <algorithm>
#include <stdexcept>

namespace bmhost {

using nlohmann::ordered_json;

namespace {

constexpr std::string_view BaseRegistry = "Base.1.22";
constexpr std::string_view ResourceEventRegistry = "ResourceEvent.1.4";
constexpr std::string_view TaskEventRegistry = "TaskEvent.1.0";
constexpr std::string_view UpdateRegistry = "Update.1.3";
constexpr std::string_view OwnRegistry = "Bmhost.1.0";

constexpr std::string_view NoResolution = "None.";
constexpr std::string_view CorrectValue =
    "Correct the value for the property in the request body and resubmit the request if the operation failed.";
constexpr std::string_view CorrectParameter =
    "Correct the value for the parameter in the request body and resubmit the request if the operation failed.";

// The texts are those of the registries, to which clients compare them.
constexpr MessageKind RegistryMessages[] = {
    {BaseRegistry, "NoOperation",
     "The request body submitted contains no data to act upon and no changes to the resource took place.", "Warning",
     "Add properties in the JSON object and resubmit the request."},
    {BaseRegistry, "PropertyUnknown", "The property '%1' is not in the list of valid properties for the resource.",
     "Warning", "Remove the unknown property from the request body and resubmit the request if the operation failed."},
    {BaseRegistry, "PropertyValueTypeError",
     "The value '%1' for the property '%2' is not a type that the property can accept.", "Warning", CorrectValue},
    {BaseRegistry, "PropertyValueFormatError",
     "The value '%1' for the property '%2' is not a format that the property can accept.", "Warning", CorrectValue},
    {BaseRegistry, "PropertyValueNotInList",
     "The value '%1' for the property '%2' is not in the list of acceptable values.", "Warning",
     "Choose a value from the enumeration list that the implementation can support and resubmit the request if the "
     "operation failed."},
    {BaseRegistry, "PropertyValueIncorrect",
     "The property '%1' with the requested value of '%2' could not be written because the value is not acceptable for "
     "the property.",
     "Warning", NoResolution},
    {BaseRegistry, "PropertyNotWritable", "The property '%1' is a read-only property and cannot be assigned a value.",
     "Warning", "Remove the property from the request body and resubmit the request if the operation failed."},
    {BaseRegistry, "PropertyMissing", "The property '%1' is a required property and must be included in the request.",
     "Warning",
     "Ensure that the property is in the request body and has a valid value and resubmit the request if the operation "
     "failed."},
    {BaseRegistry, "MalformedJSON",
     "The request body submitted was malformed JSON and could not be parsed by the receiving service.", "Critical",
     "Ensure that the request body is valid JSON and resubmit the request."},
    {BaseRegistry, "UnrecognizedRequestBody",
     "The service detected a malformed request body that it was unable to interpret.", "Warning",
     "Correct the request body and resubmit the request if it failed."},
    {BaseRegistry, "ActionParameterMissing",
     "The action '%1' requires the parameter '%2' to be present in the request body.", "Critical",
     "Supply the action with the required parameter in the request body when the request is resubmitted."},
    {BaseRegistry, "ActionParameterUnknown", "The action '%1' was submitted with the invalid parameter '%2'.",
     "Warning", "Correct the invalid action parameter and resubmit the request if the operation failed."},
    {BaseRegistry, "ActionParameterValueTypeError",
     "The value '%1' for the parameter '%2' in the action '%3' is not a type that the parameter can accept.", "Warning",
     CorrectParameter},
    {BaseRegistry, "ActionParameterValueFormatError",
     "The value '%1' for the parameter '%2' in the action '%3' is not a format that the parameter can accept.",
     "Warning", CorrectParameter},
    {BaseRegistry, "ActionParameterValueNotInList",
     "The value '%1' for the parameter '%2' in the action '%3' is not in the list of acceptable values.", "Warning",
     "Choose a value from the enumeration list that the implementation can support and resubmit the request if the "
     "operation failed."},
    {BaseRegistry, "ActionParameterValueOutOfRange",
     "The value '%1' for the parameter '%2' in the action '%3' is not in the supported range of acceptable values.",
     "Warning", CorrectParameter},
    {BaseRegistry, "ActionParameterValueError", "The value for the parameter '%1' in the action '%2' is invalid.",
     "Warning", CorrectParameter},
    {BaseRegistry, "ActionParameterNotSupported",
     "The parameter '%1' for the action '%2' is not supported on the target resource.", "Warning",
     "Remove the parameter supplied and resubmit the request if the operation failed."},
    {BaseRegistry, "ArraySizeTooLong", "The array provided for property '%1' exceeds the size limit %2.", "Warning",
     "Resubmit the request with an appropriate array size."},
    {BaseRegistry, "ArraySizeTooShort", "The array provided for property '%1' is under the minimum size limit %2.",
     "Warning", "Resubmit the request with an appropriate array size."},
    {BaseRegistry, "QueryNotSupported", "Querying is not supported by the implementation.", "Warning",
     "Remove the query parameters and resubmit the request if the operation failed."},
    {BaseRegistry, "SessionLimitExceeded",
     "The session establishment failed due to the number of simultaneous sessions exceeding the limit of the "
     "implementation.",
     "Critical",
     "Reduce the number of other sessions before trying to establish the session or increase the limit of "
     "simultaneous sessions, if supported."},
    {BaseRegistry, "EventSubscriptionLimitExceeded",
     "The event subscription failed due to the number of simultaneous subscriptions exceeding the limit of the "
     "implementation.",
     "Critical",
     "Reduce the number of other subscriptions before trying to establish the event subscription or increase the "
     "limit of simultaneous subscriptions, if supported."},
    {BaseRegistry, "ResourceInUse",
     "The change to the requested resource failed because the resource is in use or in transition.", "Warning",
     "Remove the condition and resubmit the request if the operation failed."},
    {BaseRegistry, "PayloadTooLarge", "The supplied payload exceeds the maximum size supported by the service.",
     "Critical", "Check that the supplied payload is correct and supported by this service."},
    {BaseRegistry, "InsufficientStorage", "Insufficient storage or memory available to complete the request.",
     "Critical", "Increase the free storage space available to the service and resubmit the request."},
    {BaseRegistry, "MissingOrMalformedPart",
     "The multipart request contains malformed parts or is missing required parts.", "Critical",
     "Add any missing required parts or correct the malformed parts and resubmit the request."},
    {BaseRegistry, "NoValidSession", "There is no valid session established with the implementation.", "Critical",
     "Establish a session before attempting any operations."},
    {BaseRegistry, "InsufficientPrivilege",
     "There are insufficient privileges for the account or credentials associated with the current session to perform "
     "the requested operation.",
     "Critical",
     "Either abandon the operation or change the associated access rights and resubmit the request if the operation "
     "failed."},
    {BaseRegistry, "InternalError",
     "The request failed due to an internal service error.  The service is still operational.", "Critical",
     "Resubmit the request.  If the problem persists, consider resetting the service."},
    {BaseRegistry, "ResourceMissingAtURI", "The resource at the URI '%1' was not found.", "Critical",
     "Place a valid resource at the URI or correct the URI and resubmit the request."},
    {BaseRegistry, "ServiceTemporarilyUnavailable", "The service is temporarily unavailable.  Retry in %1 seconds.",
     "Critical", "Wait for the indicated retry duration and retry the operation."},
    {BaseRegistry, "PreconditionFailed", "The ETag supplied did not match the ETag required to change this resource.",
     "Critical", "Try the operation again using the appropriate ETag."},
    {BaseRegistry, "OperationFailed",
     "An error occurred internal to the service as part of the overall request.  Partial results may have been "
     "returned.",
     "Warning", "Resubmit the request.  If the problem persists, consider resetting the service or provider."},
    {BaseRegistry, "OperationNotAllowed", "The HTTP method is not allowed on this resource.", "Critical", NoResolution},
    {ResourceEventRegistry, "ResourceStatusChangedOK", "The health of resource '%1' has changed to %2.", "OK",
     NoResolution},
    {ResourceEventRegistry, "ResourceStatusChangedCritical", "The health of resource '%1' has changed to %2.",
     "Critical", NoResolution},
    {ResourceEventRegistry, "ResourceStateChanged", "The state of resource '%1' has changed to %2.", "OK",
     NoResolution},
    {ResourceEventRegistry, "ResourceChanged", "One or more resource properties have changed.", "OK", NoResolution},
    {TaskEventRegistry, "TaskStarted", "The task with Id '%1' has started.", "OK", NoResolution},
    {TaskEventRegistry, "TaskCompletedOK", "The task with Id '%1' has completed.", "OK", NoResolution},
    {TaskEventRegistry, "TaskAborted", "The task with Id '%1' has completed with errors.", "Critical", NoResolution},
    {UpdateRegistry, "InstallingOnComponent", "Image '%1' is being installed on '%2'.", "OK", NoResolution},
    {UpdateRegistry, "UpdateSuccessful", "Device '%1' successfully updated with image '%2'.", "OK", NoResolution},
    {UpdateRegistry, "ApplyFailed", "Installation of image '%1' to '%2' failed.", "Critical", NoResolution},
    {OwnRegistry, "HealthFault", "The health monitor found a fault: %1: %2.", "Critical",
     "Remove the cause, then start the blade: a start begins the monitor again."},
    {OwnRegistry, "ControllerRefused", "The controller refused the request with completion code %1.", "Warning",
     "Choose a value that the controller supports."},
    {OwnRegistry, "AdaptorAnswered", "The adaptor answered %1 (%2).", "Critical",
     "See the log of the resident host for the reason."},
    {OwnRegistry, "NothingSet", "The inventory is simulated: nothing was set.", "Warning",
     "Give the resident host access to the controller."},
    {OwnRegistry, "Refused", "The request was refused: %1.", "Warning", "Change what the text names."},
};

std::string WithArguments(std::string_view text, const std::vector<std::string>& arguments) {
    std::string filled;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%' || i + 1 == text.size()) {
            filled += text[i];
            continue;
        }
        filled += arguments.at(static_cast<std::size_t>(text[++i] - '1'));
    }
    return filled;
}

} // namespace

std::string_view RedfishAnswer::Header(std::string_view name) const {
    const auto found = std::ranges::find(m_headers, name, &std::pair<std::string, std::string>::first);
    return found != m_headers.end() ? std::string_view(found->second) : std::string_view();
}

std::span<const MessageKind> MessageKinds() {
    return RegistryMessages;
}

const MessageKind& MessageOf(std::string_view key) {
    const auto* const found = std::ranges::find(RegistryMessages, key, &MessageKind::m_key);
    if (found == std::end(RegistryMessages)) throw std::logic_error("no message " + std::string(key));
    return *found;
}

std::size_t ArgumentsOf(const MessageKind& kind) {
    return static_cast<std::size_t>(std::ranges::count(kind.m_text, '%'));
}

ordered_json MessageJson(const ExtendedInfo& info) {
    const MessageKind& kind = MessageOf(info.m_key);
    if (info.m_arguments.size() != ArgumentsOf(kind))
        throw std::logic_error("message " + std::string(info.m_key) + " with another number of arguments");
    ordered_json message;
    message["MessageId"] = std::string(kind.m_registry) + "." + std::string(kind.m_key);
    message["Message"] = WithArguments(kind.m_text, info.m_arguments);
    message["MessageArgs"] = info.m_arguments;
    message["MessageSeverity"] = kind.m_severity;
    message["Resolution"] = kind.m_resolution;
    if (!info.m_property.empty()) message["RelatedProperties"] = ordered_json::array({"#" + info.m_property});
    return message;
}

RedfishAnswer JsonAnswer(unsigned status, const ordered_json& body) {
    RedfishAnswer answer = EmptyAnswer(status);
    answer.m_body = bm_dev::EscapedJson(body.dump(-1, ' ', false, ordered_json::error_handler_t::replace)) + "\n";
    return answer;
}

RedfishAnswer EmptyAnswer(unsigned status) {
    RedfishAnswer answer;
    answer.m_status = status;
    answer.m_headers = {{"OData-Version", "4.0"}, {"Cache-Control", "no-store"}};
    return answer;
}

RedfishAnswer ErrorAnswer(unsigned status, const std::vector<ExtendedInfo>& infos) {
    ordered_json messages = ordered_json::array();
    for (const ExtendedInfo& info : infos)
        messages.push_back(MessageJson(info));
    ordered_json error;
    error["code"] = messages.at(0)["MessageId"];
    error["message"] = messages.at(0)["Message"];
    error["@Message.ExtendedInfo"] = messages;
    ordered_json body;
    body["error"] = error;
    return JsonAnswer(status, body);
}

RedfishAnswer UnauthorizedAnswer() {
    RedfishAnswer answer = ErrorAnswer(401, {{"NoValidSession"}});
    answer.m_headers.emplace_back("WWW-Authenticate", "Basic realm=\"bmhost\", charset=\"UTF-8\"");
    return answer;
}

RedfishAnswer ForbiddenAnswer() {
    return ErrorAnswer(403, {{"InsufficientPrivilege"}});
}

RedfishAnswer UnavailableAnswer(unsigned seconds) {
    RedfishAnswer answer = ErrorAnswer(503, {{"ServiceTemporarilyUnavailable", {std::to_string(seconds)}}});
    answer.m_headers.emplace_back("Retry-After", std::to_string(seconds));
    return answer;
}

RedfishAnswer MissingAnswer(const std::string& uri) {
    return ErrorAnswer(404, {{"ResourceMissingAtURI", {uri}}});
}

RedfishAnswer NotAllowedAnswer(const std::string& allow) {
    RedfishAnswer answer = ErrorAnswer(405, {{"OperationNotAllowed"}});
    answer.m_headers.emplace_back("Allow", allow);
    return answer;
}

} // namespace bmhost
