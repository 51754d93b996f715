// `bmhost report`: everything that somebody far away needs to see of a blade, in one archive.
#include "common/veldo_common_protocol.h"
#include "host/client/ClientSession.h"
#include "host/client/HostClient.h"
#include "host/commands/CommandList.h"
#include "host/commands/ReportFolder.h"
#include "host/context/ChosenLine.h"
#include "host/output/Output.h"
#include "host/output/Redirect.h"
#include "host/picture/PictureJson.h"
#include "host/session/Session.h"
#include "host/words/Commands.h"
#include "host/words/Error.h"
#include "host/words/Names.h"

#include "bm_dev/ByteText.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace bmhost {

namespace {

using nlohmann::ordered_json;

constexpr int LookOnly = 2;
constexpr const char* LogLines = "10000";

struct ReportWords {
    std::string m_file;
    bool m_force = false;
};

// What people see. Each look is the command's own, in a process that asks or loads for itself.
void PutLooks(ReportFolder& folder, const GlobalOptions& globals) {
    const char* const looks[] = {"inventory", "leds", "status", "dsp", "switch"};
    for (const std::string look : looks) {
        folder.Work(look + ".txt", [&] {
            const auto commands = MakeCommands(OnCommandLine);
            ChosenLine line(globals);
            Do(*commands->Read({look}).m_command, line);
        });
    }
}

void PutPicture(ReportFolder& folder, const GlobalOptions& globals) {
    folder.Work("picture.json", [&] {
        ChosenLine line(globals);
        HostClient* const host = line.Host();
        const ordered_json picture =
            host != nullptr ? GoodBody(host->Get("/v1/blade"), "GET /v1/blade") : PictureJson(line.Look());
        WriteAll(line.Output(), picture.dump(2, ' ', true, ordered_json::error_handler_t::replace) + "\n");
    });
}

void PutTables(ReportFolder& folder, const GlobalOptions& globals) {
    folder.Work("tables.jsonl", [&] {
        ChosenLine line(globals);
        line.WithSession([&](Session& session, int descriptor) {
            const auto output = MakeJsonOutput(descriptor);
            for (const auto& group : BM_ADAPTOR::g_GroupNames) {
                Call call;
                call.m_operation = Operation::Table;
                call.m_group = group.m_Group;
                MakeCall(session, call, *output);
            }
            return true;
        });
    });
}

void PutLog(ReportFolder& folder, const GlobalOptions& globals, bool hasHost) {
    if (!hasHost) {
        folder.Program("log.txt", {"journalctl", "--quiet", "--no-pager", "--unit=bmhost", "--output=short-iso",
                                   std::string("--lines=") + LogLines});
        return;
    }
    folder.Work("log.txt", [&] {
        const auto commands = MakeCommands(OnCommandLine);
        ChosenLine line(globals);
        Do(*commands->Read({"log", "-n", LogLines}).m_command, line);
    });
}

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

void PutKernel(ReportFolder& folder) {
    const auto interfaces = NamesIn("/proc/ipmi", "");
    if (interfaces.empty()) folder.Miss("ipmi/proc", "/proc/ipmi: not there, or empty");
    for (const std::string& number : interfaces) {
        for (const std::string& file : NamesIn("/proc/ipmi/" + number, ""))
            folder.Copy("ipmi/proc/" + number + "/" + file, "/proc/ipmi/" + number + "/" + file);
    }
    const auto modules = NamesIn("/sys/module", "ipmi");
    if (modules.empty()) folder.Miss("ipmi/sys", "/sys/module: no module whose name begins with ipmi");
    for (const std::string& module : modules) {
        const std::string path = "/sys/module/" + module + "/parameters";
        for (const std::string& file : NamesIn(path, ""))
            folder.Copy("ipmi/sys/" + module + "/" + file, path + "/" + file);
    }
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

void PutStorage(ReportFolder& folder, const GlobalOptions& globals) {
    for (const std::string file : {BM_ADAPTOR::DSP_IP_FILE, BM_ADAPTOR::SWITCH_PORT_FILE})
        folder.Copy("storage/" + file, globals.m_storage + "/" + file);
}

/// The archive while it is made: beside the file, whose name it gets at the end.
class Emerging {
public:
    explicit Emerging(const std::string& file) : m_file(file), m_path(file + ".XXXXXX") {
        m_descriptor = bm_dev::UniqueFd(mkostemp(m_path.data(), O_CLOEXEC)); // 0600
        if (!m_descriptor) throw UsageError("report: " + file + ": " + strerror(errno));
    }
    Emerging(const Emerging&) = delete;
    Emerging& operator=(const Emerging&) = delete;
    ~Emerging() {
        if (!m_path.empty()) unlink(m_path.c_str());
    }

    int Descriptor() const { return m_descriptor.Get(); }

    void Finish(bool force) {
        if (fsync(m_descriptor.Get()) != 0) throw std::runtime_error(m_path + ": " + strerror(errno));
        const unsigned flags = force ? 0 : RENAME_NOREPLACE;
        if (renameat2(AT_FDCWD, m_path.c_str(), AT_FDCWD, m_file.c_str(), flags) != 0)
            throw std::runtime_error(m_file + ": " + strerror(errno));
        m_path.clear();
    }

private:
    std::string m_file;
    std::string m_path;
    bm_dev::UniqueFd m_descriptor;
};

void ShowReport(const std::string& file, const ReportFolder& folder, Context& context) {
    std::string text;
    if (context.Globals().m_json) {
        ordered_json missing = ordered_json::array();
        for (const auto& [part, reason] : folder.Missing())
            missing.push_back({{"part", part}, {"reason", reason}});
        const ordered_json line = {{"op", "report"}, {"file", file}, {"parts", folder.Parts()}, {"missing", missing}};
        text = bm_dev::EscapedJson(line.dump(-1, ' ', false, ordered_json::error_handler_t::replace)) + "\n";
    } else {
        text = file + ": " + std::to_string(folder.Parts().size()) + " parts\n";
    }
    WriteAll(context.Output(), text);
    if (context.Globals().m_json || context.Globals().m_quiet) return;
    for (const auto& [part, reason] : folder.Missing())
        fprintf(stderr, "bmhost: missing: %s: %s\n", part.c_str(), bm_dev::Printable(reason).c_str());
}

bool RunReport(const ReportWords& words, Context& context) {
    struct stat there {};
    if (!words.m_force && lstat(words.m_file.c_str(), &there) == 0)
        throw UsageError("report: " + words.m_file + " is there already; --force replaces it");
    Emerging archive(words.m_file);
    GlobalOptions globals = context.Globals();
    globals.m_json = false;
    globals.m_lasts = false;
    globals.m_simulated = true;
    if (!globals.m_forOwnAdaptor.empty()) globals.m_direct = true;
    // Asked once here: whether there is one, and whether it may be asked, is the same for all parts.
    const bool hasHost = !globals.m_direct && HostClient::Connect(TimeLimit(globals, true)) != nullptr;
    if (!hasHost) globals.m_mode = LookOnly;
    ReportFolder folder;
    PutMachine(folder);
    PutPicture(folder, globals);
    PutLooks(folder, globals);
    PutTables(folder, globals);
    PutStorage(folder, globals);
    PutLog(folder, globals, hasHost);
    PutKernel(folder);
    folder.Archive(archive.Descriptor());
    archive.Finish(words.m_force);
    ShowReport(words.m_file, folder, context);
    return true;
}

} // namespace

void AddReport(Commands& commands) {
    Command& command = commands.Add("report", "write all that support needs to see into one file", OnCommandLine);
    const auto words = command.Own<ReportWords>();
    command.WithoutTimeLimit()
        .Word("FILE", words->m_file, Choices::Kind::File)
        .Flag({"--force", "", "replace FILE"}, words->m_force)
        .Details(
            "FILE becomes a tar archive, compressed with zstd: versions, packages, the picture, the looks for people, every\n"
            "table, the storage's files, the last 10,000 log lines, the kernel's IPMI state, the network interfaces, and in\n"
            "missing.txt what is missing and why. Nothing of the environment and no other file is in it; only its\n"
            "owner may read it. Without a resident host the blade is looked at in mode 2.\n")
        .Example("bmhost report /tmp/blade.tar.zst")
        .Run([words](Context& context) { return RunReport(*words, context); });
}

} // namespace bmhost
