// `bmhost firmware`: an upgrade that is started and followed to its end.
#include "host/commands/Firmware.h"

#include "adaptor/IPMI_Adaptor_Groups.h"
#include "host/output/Redirect.h"
#include "host/output/TextOutput.h"
#include "host/resident/RunOutput.h"
#include "host/session/Session.h"
#include "host/views/Led.h"
#include "host/words/Error.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <unistd.h>

namespace BMHOST {

using namespace BM_ADAPTOR;

namespace {

constexpr const char* FIRMWARE_USAGE =
    "firmware update --target board|amc|rtm [--bay N] FILE [--dry-run], or firmware show";
constexpr std::chrono::seconds TICK(1);
constexpr int QUIET_SECONDS = 60; // between two lines where there is no terminal

[[noreturn]] void Refuse(const std::string& a_Reason) {
    throw USAGE_ERROR("firmware update: " + a_Reason);
}

UPGRADE_ROW PlaceOf(const std::string& a_Target, std::optional<int> a_Bay) {
    if (a_Target == "amc") {
        if (!a_Bay) Refuse("expected --bay N with --target amc, N from 1 to 8");
        return {UPGRADE_OF_MODULE, *a_Bay, UPGRADE_IS_RUNNING};
    }
    if (a_Bay) Refuse("--bay goes with --target amc only");
    if (a_Target == "rtm") return {UPGRADE_OF_MODULE, RTM_BAY, UPGRADE_IS_RUNNING};
    if (a_Target == "board") return {UPGRADE_OF_BASEBOARD, BASEBOARD_BAY, UPGRADE_IS_RUNNING};
    Refuse("--target '" + a_Target + "': expected board, amc or rtm");
}

// The firmware tool runs somewhere else: its file is told by an absolute path, which can look like no option either.
std::string CheckedFile(const std::string& a_File) {
    std::error_code l_Error;
    const auto l_Path = std::filesystem::absolute(a_File, l_Error);
    const std::string l_Name = PrintableText(l_Path.string());
    if (l_Error || a_File.empty()) Refuse("FILE '" + PrintableText(a_File) + "': no path can be made of it");
    std::string l_Text = l_Path.string();
    if (std::any_of(l_Text.begin(), l_Text.end(), [](unsigned char a_Char) { return iscntrl(a_Char); }))
        Refuse("FILE '" + l_Name + "': control characters in its path");
    const auto l_Status = std::filesystem::status(l_Path, l_Error);
    if (!std::filesystem::exists(l_Status)) Refuse("FILE " + l_Name + ": " + l_Error.message());
    if (!std::filesystem::is_regular_file(l_Status)) Refuse("FILE " + l_Name + ": no regular file");
    std::ifstream l_File(l_Path, std::ios::binary);
    if (!l_File) Refuse("FILE " + l_Name + ": " + std::strerror(errno));
    if (l_File.peek() == std::ifstream::traits_type::eof()) Refuse("FILE " + l_Name + ": it is empty");
    return l_Text;
}

CBMIParam Unsigned(unsigned a_Id, int a_Value) {
    CBMIParam l_Param(BMI_PARAM_UINT, a_Id, false);
    l_Param.SetInt(a_Value);
    return l_Param;
}

CBMIParams ValuesOf(const FIRMWARE_ORDER& a_Order) {
    CBMIParams l_Values;
    l_Values.Add(Unsigned(BMI_FW_UPDATE_TARGET, a_Order.m_Place.m_Target));
    l_Values.Add(Unsigned(BMI_FW_UPDATE_BAY, a_Order.m_Place.m_Bay));
    l_Values.Add(Unsigned(BMI_FW_UPDATE_STATE, UPGRADE_IS_RUNNING));
    CBMIParam l_File(BMI_PARAM_STRING, BMI_FW_UPDATE_FILE, false);
    l_File.SetString(a_Order.m_File);
    l_Values.Add(l_File);
    return l_Values;
}

/// What is shown while the upgrade runs.
class PROGRESS {
public:
    PROGRESS(std::string a_Place, int a_Output)
        : m_Place(std::move(a_Place)),
          m_Output(a_Output),
          m_Terminal(isatty(a_Output) == 1) {}

    void Tick() {
        const auto l_Seconds = Seconds();
        if (m_Terminal) {
            WriteAll(m_Output, "\r" + m_Place + ": upgrade in progress, " + std::to_string(l_Seconds) + " s");
        } else if (l_Seconds >= m_NextLine) {
            m_NextLine = l_Seconds + QUIET_SECONDS;
            WriteAll(m_Output, m_Place + ": upgrade in progress, " + std::to_string(l_Seconds) + " s\n");
        }
    }
    void Line(const std::string& a_Text) const {
        // The line of the progress is longer: what is left of it goes.
        WriteAll(m_Output, (m_Terminal ? "\r\033[K" : "") + a_Text + "\n");
    }
    void End(bool a_Good) const {
        Line(m_Place + (a_Good ? ": upgraded, " : ": the upgrade failed, ") + std::to_string(Seconds()) + " s");
    }

private:
    int64_t Seconds() const {
        return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - m_Begin).count();
    }

    std::string m_Place;
    int m_Output;
    bool m_Terminal;
    int64_t m_NextLine = 0;
    std::chrono::steady_clock::time_point m_Begin = std::chrono::steady_clock::now();
};

// The upgrade's event, or without one what the adaptor's row says: nothing while it is in progress.
std::optional<int> Outcome(SESSION& a_Session, const PROGRESS& a_Progress) {
    while (const auto l_Event = a_Session.Manager().TakeEvent(TICK)) {
        if (l_Event->m_Event == BMI_GROUP_FIRMWARE_UPDATE) return UpgradeOf(l_Event->m_Params).m_State;
        a_Progress.Line(EventLine(*l_Event));
    }
    int l_Result = 0;
    const auto l_Row = a_Session.Row(BMI_GROUP_FIRMWARE_UPDATE, {}, l_Result);
    if (l_Row == nullptr) return UPGRADE_HAS_FAILED;
    const int l_State = UpgradeOf(*l_Row).m_State;
    if (l_State == UPGRADE_IS_RUNNING) return std::nullopt;
    a_Session.Manager().TakeEvent(std::chrono::milliseconds(0)); // it may have come in between
    return l_State;
}

} // namespace

FIRMWARE_ORDER ParseFirmwareOrder(const std::vector<std::string>& a_Words) {
    CLI::App l_App("", "firmware");
    std::vector<std::string> l_Words;
    std::string l_Target;
    int l_Bay = 0;
    FIRMWARE_ORDER l_Order;
    l_App.set_help_flag();
    l_App.add_option("WORDS", l_Words);
    l_App.add_option("--target", l_Target);
    l_App.add_option("--bay", l_Bay)->check(CLI::Range(FIRST_AMC_BAY, LAST_AMC_BAY));
    l_App.add_flag("--dry-run", l_Order.m_DryRun);
    try {
        l_App.parse(std::vector<std::string>(a_Words.rbegin(), a_Words.rend())); // as the library wants them
    } catch (const CLI::ParseError& l_Error) {
        throw USAGE_ERROR(std::string("firmware: ") + l_Error.what());
    }
    if (l_Words.size() == 2 && l_Words[1] == "show" && a_Words.size() == 2) {
        l_Order.m_Show = true;
        return l_Order;
    }
    if (l_Words.size() != 3 || l_Words[1] != "update" || l_App.count("--target") == 0)
        throw USAGE_ERROR(std::string("firmware: expected ") + FIRMWARE_USAGE);
    l_Order.m_Place = PlaceOf(l_Target, l_App.count("--bay") > 0 ? std::optional(l_Bay) : std::nullopt);
    l_Order.m_File = CheckedFile(l_Words[2]);
    return l_Order;
}

std::string FirmwareDryRun(const FIRMWARE_ORDER& a_Order) {
    CBMITable l_Table;
    CBMIParams l_Values = ValuesOf(a_Order);
    l_Table.AddRow(l_Values);
    return UpgradeTargetText(a_Order.m_Place) + ": nothing is written; an upgrade would write to 0x600\n" +
           AlignedTable(TableLines(l_Table), false);
}

bool ShowFirmware(SESSION& a_Session, std::string& a_Text) {
    int l_Result = 0;
    const auto l_Row = a_Session.Row(BMI_GROUP_FIRMWARE_UPDATE, {}, l_Result);
    if (l_Result != SUCCESS || l_Row == nullptr) {
        a_Text += "the state of firmware upgrades cannot be read: " + ResultText(l_Result) + "\n";
        return false;
    }
    const UPGRADE_ROW l_Upgrade = UpgradeOf(*l_Row);
    a_Text += UpgradeTargetText(l_Upgrade) + ": " + std::string(UpgradeStateName(l_Upgrade.m_State)) + "\n";
    return l_Upgrade.m_State != UPGRADE_HAS_FAILED;
}

bool UpdateFirmware(SESSION& a_Session, const FIRMWARE_ORDER& a_Order, int a_Output) {
    const std::string l_Place = UpgradeTargetText(a_Order.m_Place);
    CBMIKeys l_Keys;
    CBMIParams l_Values = ValuesOf(a_Order);
    fflush(stdout);
    ForgetWithheld(); // what init printed is not the tool's
    if (const int l_Result = a_Session.WriteRow(BMI_GROUP_FIRMWARE_UPDATE, l_Keys, l_Values); l_Result != SUCCESS) {
        WriteAll(a_Output, l_Place + ": the adaptor did not begin the upgrade: " + ResultText(l_Result) + "\n");
        return false;
    }
    PROGRESS l_Progress(l_Place, a_Output);
    std::optional<int> l_State;
    for (l_Progress.Tick(); !(l_State = Outcome(a_Session, l_Progress));)
        l_Progress.Tick();
    l_Progress.End(l_State == UPGRADE_IS_DONE);
    fflush(stdout);
    if (l_State != UPGRADE_IS_DONE) ShowWithheld(); // the tool's report
    return l_State == UPGRADE_IS_DONE;
}

} // namespace BMHOST
