// `bmhost report`: everything that somebody far away needs to see of a blade, in one archive.
#include "common/veldo_common_protocol.h"
#include "host/client/ClientSession.h"
#include "host/client/HostClient.h"
#include "host/commands/CommandList.h"
#include "host/commands/ReportFolder.h"
#include "host/commands/ReportMachine.h"
#include "host/context/ChosenLine.h"
#include "host/output/Output.h"
#include "host/output/Redirect.h"
#include "host/picture/Led.h"
#include "host/picture/PictureJson.h"
#include "host/session/Session.h"
#include "host/words/Commands.h"
#include "host/words/Error.h"
#include "host/words/Names.h"

#include "bm_dev/ByteText.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace bmhost {

namespace {

using nlohmann::ordered_json;

constexpr int LookOnly = 2;
constexpr const char* LogLines = "10000";
constexpr std::chrono::milliseconds ReportTime(15'000);

constexpr const char* OnBlade = "it is on the blade's machine: `bmhost report` there has it";

struct ReportWords {
    std::string m_file;
    bool m_force = false;
};

// A context refers to its options: they have to outlive it.
GlobalOptions Within(const GlobalOptions& globals, ReportFolder::Time time) {
    GlobalOptions options = globals;
    options.m_timeout = std::chrono::duration<double>(time).count();
    return options;
}

/// For a look at a picture that was taken before.
class Taken final : public Context {
public:
    Taken(const GlobalOptions& globals, Picture picture) : Context(globals), m_picture(std::move(picture)) {}

    Picture Look() override { return m_picture; }
    int Output() const override { return STDOUT_FILENO; }
    void Answer(const std::string& text) override { WriteAll(STDOUT_FILENO, text); }
    bool Make(Call&) override { throw std::logic_error("a picture makes no call"); }
    bool WithSession(const Work&) override { throw std::logic_error("a picture has no session"); }

private:
    Picture m_picture;
};

// The resident host has it; an adaptor of its own asks the controller for it.
std::string PutPicture(ReportFolder& folder, const GlobalOptions& globals, bool hasHost) {
    std::string text;
    const auto take = [&](ReportFolder::Time time) {
        const GlobalOptions options = Within(globals, time);
        ChosenLine line(options);
        HostClient* const host = line.Host();
        const ordered_json picture =
            host != nullptr ? GoodBody(host->Get("/v1/blade"), "GET /v1/blade") : PictureJson(line.Look());
        WriteAll(line.Output(), picture.dump(2, ' ', true, ordered_json::error_handler_t::replace) + "\n");
    };
    const auto put = [&] {
        auto output =
            folder.OutputOfWork("picture.json", take, hasHost ? ReportFolder::Share::Third : ReportFolder::Share::Rest);
        text = std::move(output.m_text);
        return output.m_end;
    };
    if (hasHost) {
        put();
    } else {
        folder.OfController("picture.json", put);
    }
    if (!text.empty()) folder.Put("picture.json", text);
    return text;
}

// The host's own; by default where its picture cannot be had.
std::string StorageIn(const std::string& picture, const GlobalOptions& globals) {
    const std::string storage = picture.empty() ? "" : PictureOf(ordered_json::parse(picture)).m_host.m_storage;
    return storage.empty() ? globals.m_storage : storage;
}

// What people see.
void PutLooks(ReportFolder& folder, const GlobalOptions& globals, const std::string& picture) {
    for (const std::string look : {"inventory", "leds", "status", "dsp", "switch"}) {
        if (picture.empty()) {
            folder.Miss(look + ".txt", "there is no picture of the blade");
            continue;
        }
        folder.Work(look + ".txt", [&](ReportFolder::Time) {
            const auto commands = MakeCommands(OnCommandLine);
            Taken taken(globals, PictureOf(ordered_json::parse(picture)));
            Do(*commands->Read({look}).m_command, taken);
        });
    }
}

void ShowTable(Session& session, int descriptor, unsigned group) {
    Call call;
    call.m_operation = Operation::Table;
    call.m_group = group;
    MakeCall(session, call, *MakeJsonOutput(descriptor));
}

// Those that ask the controller come last: one that hangs costs no other.
std::vector<unsigned> GroupsInOrder() {
    std::vector<unsigned> groups;
    groups.reserve(BM_ADAPTOR::g_GroupNames.size());
    for (const auto& group : BM_ADAPTOR::g_GroupNames)
        groups.push_back(group.m_Group);
    std::stable_partition(groups.begin(), groups.end(), [](unsigned group) { return !AsksController(group); });
    return groups;
}

ReportFolder::Worker ShowsTable(const GlobalOptions& globals, unsigned group) {
    return [&globals, group](ReportFolder::Time time) {
        const GlobalOptions options = Within(globals, time);
        ChosenLine line(options);
        line.WithSession([group](Session& session, int descriptor) {
            ShowTable(session, descriptor, group);
            return true;
        });
    };
}

// One call after the other, each with its own time.
std::string TablesOfHost(ReportFolder& folder, const GlobalOptions& globals) {
    std::string text;
    for (const unsigned group : GroupsInOrder()) {
        const std::string part = "tables.jsonl: table " + Hex(group);
        const auto put = [&] {
            const auto output = folder.OutputOfWork(part, ShowsTable(globals, group));
            text += output.m_text;
            return output.m_end;
        };
        if (AsksController(group)) {
            folder.OfController(part, put);
        } else {
            put();
        }
    }
    return text;
}

// With an adaptor of its own each beginning asks the controller for the whole inventory: all calls have one.
std::string TablesOfAdaptor(ReportFolder& folder, const GlobalOptions& globals) {
    std::string text;
    folder.OfController("tables.jsonl", [&] {
        const auto show = [&](ReportFolder::Time time) {
            const GlobalOptions options = Within(globals, time);
            ChosenLine line(options);
            line.WithSession([](Session& session, int descriptor) {
                for (const unsigned group : GroupsInOrder())
                    ShowTable(session, descriptor, group);
                return true;
            });
        };
        auto output = folder.OutputOfWork("tables.jsonl", show, ReportFolder::Share::Rest);
        text = std::move(output.m_text);
        return output.m_end;
    });
    return text;
}

void PutTables(ReportFolder& folder, const GlobalOptions& globals, bool hasHost) {
    const std::string text = hasHost ? TablesOfHost(folder, globals) : TablesOfAdaptor(folder, globals);
    if (!text.empty()) folder.Put("tables.jsonl", text);
}

void PutLog(ReportFolder& folder, const GlobalOptions& globals, bool hasHost) {
    if (!hasHost) {
        folder.Program("log.txt", {"journalctl", "--quiet", "--no-pager", "--unit=bmhost", "--output=short-iso",
                                   std::string("--lines=") + LogLines});
        return;
    }
    folder.Work("log.txt", [&](ReportFolder::Time time) {
        const auto commands = MakeCommands(OnCommandLine);
        const GlobalOptions options = Within(globals, time);
        ChosenLine line(options);
        Do(*commands->Read({"log", "-n", LogLines}).m_command, line);
    });
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
    globals.m_simulated = true;
    if (!globals.m_forOwnAdaptor.empty() && globals.m_elsewhere == nullptr) globals.m_direct = true;
    // Asked once here: whether there is one, and whether it may be asked, is the same for all parts.
    const auto time = TimeLimit(globals, false).value_or(ReportTime);
    const bool elsewhere = globals.m_elsewhere != nullptr;
    const bool hasHost = !globals.m_direct && HostClient::ConnectAt(PlaceOf(globals), time) != nullptr;
    if (!hasHost) globals.m_mode = LookOnly;
    const auto progress = [&context](const char* what) {
        if (!context.Globals().m_json && !context.Globals().m_quiet) fprintf(stderr, "bmhost: report: %s\n", what);
    };
    ReportFolder folder(time);
    if (elsewhere) {
        for (const char* const part : {"versions.txt", "packages.txt", "interfaces.json", "ipmi", "storage"})
            folder.Miss(part, OnBlade);
    } else {
        progress("versions, packages, network");
        PutMachine(folder);
    }
    progress("the log");
    PutLog(folder, globals, hasHost);
    if (!elsewhere) {
        progress("the kernel's IPMI");
        PutKernel(folder);
    }
    progress("the picture, the looks, the storage");
    const std::string picture = PutPicture(folder, globals, hasHost);
    PutLooks(folder, globals, picture);
    if (!elsewhere) PutStorage(folder, hasHost ? StorageIn(picture, globals) : globals.m_storage);
    progress("the tables");
    PutTables(folder, globals, hasHost);
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
            "owner may read it. Without a resident host the blade is looked at in mode 2. What cannot be had within 15\n"
            "seconds (--timeout) is missing, and once the controller does not answer it is asked no more.\n")
        .Example("bmhost report /tmp/blade.tar.zst")
        .Run([words](Context& context) { return RunReport(*words, context); });
}

} // namespace bmhost
