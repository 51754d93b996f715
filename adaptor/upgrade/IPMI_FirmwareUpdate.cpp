// The thread of one firmware upgrade: the firmware tool's command line, its run, its outcome.
#include "adaptor/IPMI_FirmwareUpdate.h"

#include "adaptor/IPMI_Adaptor.h"
#include "adaptor/board/IPMI_Board.h"
#include "adaptor/upgrade/IPMI_UpgradeStatus.h"
#include "common/veldo_common_exit.h"
#include "common/veldo_common_guard.h"
#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"
#include "ipmi/model/IPMI_Model.h"

#include <sys/wait.h>

#include <string_view>

namespace BM_ADAPTOR {

namespace {

constexpr std::string_view PLAIN_CHARACTERS =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._/+,:=@%-";

// One word of a shell's command line that stands for exactly this text. A plain text stays as it is.
std::string ShellWord(const std::string& a_Text) {
    if (a_Text.find_first_not_of(PLAIN_CHARACTERS) == std::string::npos) return a_Text;
    std::string l_Word = "'";
    for (const char l_Character : a_Text)
        l_Character == '\'' ? l_Word += "'\\''" : l_Word += l_Character;
    return l_Word + "'";
}

} // namespace

UPGRADETHREAD::UPGRADETHREAD(IPMIAdaptor* a_Adaptor, CBaseOsLog* a_Logger, UPGRADETARGET a_Target, int a_Bay,
                             const char* a_ImagePath)
    : m_Status(a_Adaptor != nullptr ? a_Adaptor->ShareUpgrade() : std::make_shared<UPGRADE_STATUS>()),
      m_Board(a_Adaptor != nullptr ? a_Adaptor->GetBoard() : TheBoard()),
      m_Logger(a_Logger),
      m_Target(a_Target),
      m_Bay(a_Bay),
      m_ImagePath(a_ImagePath) {}

// The outcome is entered before the event is announced, so that anyone who sees that line or takes the event can read
// it. The next upgrade can begin when the event has come back.
void UPGRADETHREAD::run() {
    const UPGRADE_END l_End(*m_Status);
    LogTrace(m_Logger, "UPGRADE THREAD STARTING\n");
    const int l_Outcome = Guarded("Firmware_Update", [&] { return mRunTool(); });
    m_Status->SetOutcome(l_Outcome == UPGRADE_DONE ? UPGRADE_DONE : UPGRADE_FAILED);
    LogTrace(m_Logger, "UPGRADETHEAD :: run - sending event");
    m_Status->SendEvent();
}

// A tool that a signal ended has exit status 0 but has failed. The line of one that passed is a trace.
int UPGRADETHREAD::mRunTool() const {
    const int l_Result = m_Board.RunTool(mCommand());
    const int l_ExitStatus = ExitStatusOf(l_Result);
    const bool l_bExited = WIFEXITED(l_Result);
    const bool l_bPassed = l_bExited && l_ExitStatus == 0;
    const auto l_Write = l_bPassed ? LogTrace : LogError;
    l_Write(m_Logger, "UPGRADETHEAD :: run - update returned %i WEXITSTATUS=%i WIFEXITED=%i", l_ExitStatus, l_Result,
            l_bExited ? 1 : 0);
    return l_bPassed ? UPGRADE_DONE : UPGRADE_FAILED;
}

std::string UPGRADETHREAD::mCommand() const {
    const std::string l_Image = ShellWord(m_ImagePath);
    if (m_Target != UPGRADETARGET_MODULE) return FormatText("fwburn -i KCS -M direct %s", l_Image.c_str());
    if (m_Bay == RTM_BAY) {
        LogTrace(m_Logger, "UPGRADETHREAD :: run - upgrading RTM");
        return FormatText("fwburn -i KCS -M direct --target rtm %s", l_Image.c_str());
    }
    LogTrace(m_Logger, "UPGRADETHREAD :: run - upgrading AMC %i", m_Bay);
    return FormatText("fwburn -i KCS -M direct --target amc%i %s", m_Bay, l_Image.c_str());
}

} // namespace BM_ADAPTOR
