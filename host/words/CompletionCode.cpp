// Completion codes of an IPMI controller by name.
#include "host/words/CompletionCode.h"

#include "host/words/Names.h"

namespace bmhost {

namespace {

struct CodeName {
    int m_code;
    const char* m_name;
};

constexpr CodeName Codes[] = {
    {0x00, "success"},
    {0xC0, "node busy"},
    {0xC1, "invalid command"},
    {0xC2, "command invalid for this LUN"},
    {0xC3, "timeout"},
    {0xC4, "out of space"},
    {0xC5, "reservation cancelled or invalid"},
    {0xC6, "request data truncated"},
    {0xC7, "request data length invalid"},
    {0xC8, "request data field length limit exceeded"},
    {0xC9, "parameter out of range"},
    {0xCA, "cannot return the requested number of bytes"},
    {0xCB, "requested sensor, data or record not present"},
    {0xCC, "invalid data field in the request"},
    {0xCD, "command illegal for this sensor or record"},
    {0xCE, "response could not be provided"},
    {0xCF, "duplicated request"},
    {0xD0, "SDR repository in update mode"},
    {0xD1, "device in firmware update mode"},
    {0xD2, "initialisation in progress"},
    {0xD3, "destination unavailable"},
    {0xD4, "insufficient privilege level"},
    {0xD5, "not supported in the present state"},
    {0xD6, "sub-function disabled or unavailable"},
    {0xFF, "unspecified error"},
};

const char* NameOf(int code) {
    for (const CodeName& known : Codes) {
        if (known.m_code == code) return known.m_name;
    }
    if (code >= 0x01 && code <= 0x7E) return "a code of the device's own";
    if (code >= 0x80 && code <= 0xBE) return "a code of this command's own";
    return "a reserved code";
}

} // namespace

std::string CompletionCodeText(int code) {
    return Hex(static_cast<unsigned>(code)) + " (" + NameOf(code) + ")";
}

} // namespace bmhost
