// The two files from which ipmi_sim makes the controller of a blade.
#include "sim/controller/SimulatorConfig.h"

#include "sim/base/Error.h"
#include "sim/controller/SdrRecords.h"

#include <sstream>

namespace BLADESIM {
namespace {

/// Numbers are written in hexadecimal with 0x, which ipmi_sim takes everywhere.
std::ostringstream Script() {
    std::ostringstream l_Script;
    l_Script << std::hex << std::showbase << std::internal;
    return l_Script;
}

/// ipmi_sim knows no way to write a quotation mark into a text, and a line ends where it ends.
std::string Quoted(const std::string& a_File) {
    if (a_File.find_first_of("\"\n") != std::string::npos) {
        throw BLADE_ERROR(a_File + ": a path with a quotation mark or a line break cannot be given to ipmi_sim");
    }
    return '"' + a_File + '"';
}

} // namespace

std::string SimulatorInterfaces(const BLADE& a_Blade, const std::string& a_ModuleFile) {
    std::ostringstream l_Script;
    l_Script << "name \"" << g_SimulatorName << "\"\n"
             << "set_working_mc " << int{a_Blade.m_Controller.m_Address} << "\n"
             << "startlan 1\n"
             << "  addr 127.0.0.1 " << g_LanPort << "\n"
             << "  priv_limit admin\n"
             << "  allowed_auths_callback none md2 md5 straight\n"
             << "  allowed_auths_user none md2 md5 straight\n"
             << "  allowed_auths_operator none md2 md5 straight\n"
             << "  allowed_auths_admin none md2 md5 straight\n"
             << "  guid a123456789abcdefa123456789abcdef\n"
             << "endlan\n"
             << "serial 15 127.0.0.1 " << g_VMPort << " codec VM\n"
             << "console 127.0.0.1 " << g_ConsolePort << "\n"
             << "loadlib " << Quoted(a_ModuleFile) << " " << Quoted(a_Blade.m_File) << "\n"
             << "user 1 true \"\" \"" << g_LanPassword << "\" user 10 none md2 md5 straight\n"
             << "user 2 true \"" << g_LanUser << "\" \"" << g_LanPassword << "\" admin 10 none md2 md5 straight\n";
    return l_Script.str();
}

std::string SimulatorCommands(const BLADE& a_Blade) {
    const CONTROLLER& l_Controller = a_Blade.m_Controller;
    const int l_Address = l_Controller.m_Address;
    std::ostringstream l_Script = Script();
    l_Script << "mc_add " << l_Address << " " << int{l_Controller.m_DeviceId} << " no-device-sdrs "
             << int{l_Controller.m_DeviceRevision} << " " << int{l_Controller.m_FirmwareMajor} << " "
             << int{l_Controller.m_FirmwareMinor} << " " << int{g_DeviceSupport} << " " << l_Controller.m_ManufacturerId
             << " " << l_Controller.m_ProductId << "\n"
             << "sel_enable " << l_Address << " 0x100 0x0a\n";
    for (const SDR_RECORD& l_Record : LocatorRecords(a_Blade)) {
        l_Script << "main_sdr_add " << l_Address;
        for (const int l_Byte : l_Record)
            l_Script << " " << l_Byte;
        l_Script << "\n";
    }
    l_Script << "mc_setbmc " << l_Address << "\n"
             << "mc_enable " << l_Address << "\n";
    return l_Script.str();
}

} // namespace BLADESIM
