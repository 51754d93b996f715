// What a report has of the machine: its software, the kernel's IPMI, the network, the storage's files.
#include "host/commands/ReportMachine.h"

#include "common/veldo_common_protocol.h"
#include "host/words/Names.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>
#include <vector>

namespace bmhost {

namespace {

// The names of a folder's entries that begin so, in their order.
std::vector<std::string> NamesIn(const std::string& folder, const std::string& begin) {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        std::string name = entry.path().filename();
        if (name.starts_with(begin)) names.push_back(std::move(name));
    }
    std::sort(names.begin(), names.end());
    return names;
}

// The lines that name IPMI, in whatever case.
std::string IpmiLines(const std::string& text) {
    std::string lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::string line = text.substr(begin, end - begin);
        if (LowerCase(line).find("ipmi") != std::string::npos) lines += line + "\n";
        begin = end + 1;
    }
    return lines;
}

void CopyAll(ReportFolder& folder, const std::string& to, const std::string& from) {
    for (const std::string& name : NamesIn(from, "")) {
        const std::string part = std::string(to).append("/").append(name);
        const std::string file = std::string(from).append("/").append(name);
        folder.OfController(part, [&] { return folder.Copy(part, file); }); // a driver may ask it
    }
}

} // namespace

void PutKernel(ReportFolder& folder) {
    const auto interfaces = NamesIn("/proc/ipmi", "");
    if (interfaces.empty()) folder.Miss("ipmi/proc", "/proc/ipmi: not there, or empty");
    for (const std::string& number : interfaces)
        CopyAll(folder, "ipmi/proc/" + number, "/proc/ipmi/" + number);
    const auto modules = NamesIn("/sys/module", "ipmi");
    if (modules.empty()) folder.Miss("ipmi/sys", "/sys/module: no module whose name begins with ipmi");
    for (const std::string& module : modules)
        CopyAll(folder, "ipmi/sys/" + module, "/sys/module/" + module + "/parameters");
    struct stat device {};
    const bool there = stat("/dev/ipmi0", &device) == 0;
    folder.Put("ipmi/device.txt",
               "/dev/ipmi0: " +
                   (there ? "mode " + std::to_string(device.st_mode & 07777U) + ", user " +
                                std::to_string(device.st_uid) + ", group " + std::to_string(device.st_gid)
                          : std::string(strerror(errno))) +
                   "\n");
    folder.Put("ipmi/dmesg.txt", IpmiLines(folder.OutputOf("ipmi/dmesg.txt", {"dmesg"})));
}

void PutMachine(ReportFolder& folder) {
    folder.Put("versions.txt", "bmhost " BMHOST_VERSION "\n" + folder.OutputOf("versions.txt", {"uname", "-a"}));
    folder.Copy("os-release",
                std::filesystem::exists("/usr/lib/os-release") ? "/usr/lib/os-release" : "/etc/os-release");
    folder.Program("packages.txt", {"dpkg-query", "--show",
                                    "--showformat=${Package} ${Version} ${Architecture} "
                                    "${db:Status-Abbrev}\n"});
    folder.Program("interfaces.json", {"ip", "-j", "addr"});
    std::string interfaces;
    for (const std::string& name : NamesIn("/sys/class/net", ""))
        interfaces += name + "\n";
    folder.Put("interfaces.txt", interfaces);
}

void PutStorage(ReportFolder& folder, const std::string& storage) {
    const std::filesystem::path path(storage);
    for (const std::string file : {BM_ADAPTOR::DSP_IP_FILE, BM_ADAPTOR::SWITCH_PORT_FILE})
        folder.Copy("storage/" + file, path / file);
}

} // namespace bmhost
