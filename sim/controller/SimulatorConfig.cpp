// The two files from which ipmi_sim makes the controller of a blade.
#include "sim/controller/SimulatorConfig.h"

#include "sim/base/Error.h"
#include "sim/controller/SdrRecords.h"

#include <sstream>

namespace bladesim {
namespace {

/// Numbers are written in hexadecimal with 0x, which ipmi_sim takes everywhere.
std::ostringstream Script() {
    std::ostringstream script;
    script << std::hex << std::showbase << std::internal;
    return script;
}

/// ipmi_sim's files have no way to quote a quotation mark or a line break.
std::string Quoted(const std::string& file) {
    if (file.find_first_of("\"\n") != std::string::npos) {
        throw BladeError(file + ": a path with a quotation mark or a line break cannot be given to ipmi_sim");
    }
    return '"' + file + '"';
}

} // namespace

std::string SimulatorInterfaces(const Blade& blade, const std::string& moduleFile) {
    std::ostringstream script;
    script << "name \"" << SimulatorName << "\"\n"
           << "set_working_mc " << int{blade.m_controller.m_address} << "\n"
           << "startlan 1\n"
           << "  addr 127.0.0.1 " << LanPort << "\n"
           << "  priv_limit admin\n"
           << "  allowed_auths_callback none md2 md5 straight\n"
           << "  allowed_auths_user none md2 md5 straight\n"
           << "  allowed_auths_operator none md2 md5 straight\n"
           << "  allowed_auths_admin none md2 md5 straight\n"
           << "  guid a123456789abcdefa123456789abcdef\n"
           << "endlan\n"
           << "serial 15 127.0.0.1 " << VMPort << " codec VM\n"
           << "console 127.0.0.1 " << ConsolePort << "\n"
           << "loadlib " << Quoted(moduleFile) << " " << Quoted(blade.m_file) << "\n"
           << "user 1 true \"\" \"" << LanPassword << "\" user 10 none md2 md5 straight\n"
           << "user 2 true \"" << LanUser << "\" \"" << LanPassword << "\" admin 10 none md2 md5 straight\n";
    return script.str();
}

std::string SimulatorCommands(const Blade& blade) {
    const Controller& controller = blade.m_controller;
    const int address = controller.m_address;
    std::ostringstream script = Script();
    script << "mc_add " << address << " " << int{controller.m_deviceId} << " no-device-sdrs "
           << int{controller.m_deviceRevision} << " " << int{controller.m_firmwareMajor} << " "
           << int{controller.m_firmwareMinor} << " " << int{DeviceSupport} << " " << controller.m_manufacturerId << " "
           << controller.m_productId << "\n"
           << "sel_enable " << address << " 0x100 0x0a\n";
    for (const SdrRecord& record : blade.m_sdrs ? *blade.m_sdrs : LocatorRecords(blade)) {
        script << "main_sdr_add " << address;
        for (const int byte : record)
            script << " " << byte;
        script << "\n";
    }
    script << "mc_setbmc " << address << "\n"
           << "mc_enable " << address << "\n";
    return script.str();
}

} // namespace bladesim
