// The names of IPMI commands, for people who read the log.
#include "sim/driver/CommandNames.h"

#include <algorithm>
#include <iterator>

namespace bladesim {
namespace {

struct NamedCommand {
    uint8_t m_netFn;
    uint8_t m_command;
    const char* m_name;
};

constexpr NamedCommand CommandNames[] = {
    {0x00, 0x01, "Get Chassis Status"},
    {0x04, 0x01, "Get Event Receiver"},
    {0x04, 0x20, "Get Device SDR Info"},
    {0x04, 0x21, "Get Device SDR"},
    {0x04, 0x22, "Reserve Device SDR Repository"},
    {0x04, 0x2D, "Get Sensor Reading"},
    {0x06, 0x01, "Get Device ID"},
    {0x06, 0x02, "Cold Reset"},
    {0x06, 0x03, "Warm Reset"},
    {0x06, 0x04, "Get Self Test Results"},
    {0x06, 0x08, "Get Device GUID"},
    {0x06, 0x2E, "Set BMC Global Enables"},
    {0x06, 0x2F, "Get BMC Global Enables"},
    {0x06, 0x30, "Clear Message Flags"},
    {0x06, 0x31, "Get Message Flags"},
    {0x06, 0x37, "Get System GUID"},
    {0x06, 0x42, "Get Channel Info"},
    {0x0A, 0x10, "Get FRU Inventory Area Info"},
    {0x0A, 0x11, "Read FRU Data"},
    {0x0A, 0x12, "Write FRU Data"},
    {0x0A, 0x20, "Get SDR Repository Info"},
    {0x0A, 0x22, "Reserve SDR Repository"},
    {0x0A, 0x23, "Get SDR"},
    {0x0A, 0x40, "Get SEL Info"},
    {0x0A, 0x42, "Reserve SEL"},
    {0x0A, 0x43, "Get SEL Entry"},
    {0x0A, 0x48, "Get SEL Time"},
    {0x0A, 0x49, "Set SEL Time"},
    {0x2C, 0x00, "Get PICMG Properties"},
    {0x2C, 0x01, "Get Address Info"},
    {0x2C, 0x04, "FRU Control"},
    {0x2C, 0x05, "Get FRU LED Properties"},
    {0x2C, 0x06, "Get LED Color Capabilities"},
    {0x2C, 0x07, "Set FRU LED State"},
    {0x2C, 0x08, "Get FRU LED State"},
    {0x2C, 0x0A, "Set FRU Activation Policy"},
    {0x2C, 0x0B, "Get FRU Activation Policy"},
    {0x2C, 0x0C, "Set FRU Activation"},
    {0x2C, 0x0D, "Get Device Locator Record ID"},
};

} // namespace

const char* CommandName(uint8_t netFn, uint8_t command) {
    const auto* const found =
        std::find_if(std::begin(CommandNames), std::end(CommandNames),
                     [=](const NamedCommand& name) { return name.m_netFn == netFn && name.m_command == command; });
    return found == std::end(CommandNames) ? "" : found->m_name;
}

} // namespace bladesim
