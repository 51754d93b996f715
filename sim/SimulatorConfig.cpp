// The two files from which ipmi_sim makes the controller of a blade.
#include "sim/SimulatorConfig.h"

#include "sim/FruImage.h"

#include <sstream>

namespace BLADESIM {
namespace {

/// Numbers are written in hexadecimal with 0x, which ipmi_sim takes everywhere.
std::ostringstream Script() {
    std::ostringstream l_Script;
    l_Script << std::hex << std::showbase << std::internal;
    return l_Script;
}

} // namespace

std::string SimulatorInterfaces(const BLADE& a_Blade) {
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
             << "user 1 true \"\" \"" << g_LanPassword << "\" user 10 none md2 md5 straight\n"
             << "user 2 true \"" << g_LanUser << "\" \"" << g_LanPassword << "\" admin 10 none md2 md5 straight\n";
    return l_Script.str();
}

std::string FruFile(const FRU& a_FRU) {
    return "fru-" + std::to_string(a_FRU.m_Id) + ".bin";
}

std::string SimulatorCommands(const BLADE& a_Blade, const std::string& a_Folder) {
    const CONTROLLER& l_Controller = a_Blade.m_Controller;
    const int l_Address = l_Controller.m_Address;
    // Sensors, SDR repository, SEL, FRU inventory, event receiver, chassis.
    constexpr int l_DeviceSupport = 0x9F;
    std::ostringstream l_Script = Script();
    l_Script << "atca_enable\n"
             << "mc_add " << l_Address << " " << int{l_Controller.m_DeviceId} << " no-device-sdrs "
             << int{l_Controller.m_DeviceRevision} << " " << int{l_Controller.m_FirmwareMajor} << " "
             << int{l_Controller.m_FirmwareMinor} << " " << l_DeviceSupport << " " << l_Controller.m_ManufacturerId
             << " " << l_Controller.m_ProductId << "\n"
             << "sel_enable " << l_Address << " 0x100 0x0a\n";
    for (const FRU& l_FRU : a_Blade.m_FRUs) {
        l_Script << "atca_set_site " << int{l_FRU.m_Site.m_HardwareAddress} << " " << int{l_FRU.m_Site.m_Type} << " "
                 << int{l_FRU.m_Site.m_Number} << "\n"
                 << "mc_set_num_leds " << l_Address << " " << int{l_FRU.m_LEDs} << "\n"
                 << "mc_add_fru_data " << l_Address << " " << int{l_FRU.m_Id} << " " << BuildFruImage(l_FRU).size()
                 << " file 0 \"" << a_Folder << "/" << FruFile(l_FRU) << "\"\n";
    }
    l_Script << "mc_setbmc " << l_Address << "\n"
             << "mc_enable " << l_Address << "\n";
    return l_Script.str();
}

} // namespace BLADESIM
