// The RTM's PSTN configuration: the overrides that replace its FRU data, and its export to the board's PCI driver.
#include "adaptor/hardware/IPMI_HardwareFacts.h"

#include "adaptor/IPMI_Adaptor.h"
#include "common/veldo_common_text.h"
#include "common/veldo_common_trace.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace BM_ADAPTOR {

namespace {

constexpr const char* DRIVER_FILE = "/proc/mavkpcidrv/pstn.cfg";
constexpr const char* OVERRIDE_FILE = "/usr/korvel/cfg/rtmdata.cfg";

// One record for the driver, and what is logged when it does not take it.
struct PSTN_RECORD {
    std::string m_Text;
    const char* m_Failure;
};

// The driver's control file, open for one pass of records.
class PSTN_FILE {
public:
    PSTN_FILE() : m_Descriptor(open(DRIVER_FILE, O_RDWR | O_CLOEXEC)), m_Error(errno) {}
    PSTN_FILE(const PSTN_FILE&) = delete;
    PSTN_FILE& operator=(const PSTN_FILE&) = delete;
    ~PSTN_FILE() {
        if (IsOpen()) close(m_Descriptor);
    }

    bool IsOpen() const { return m_Descriptor >= 0; }
    int Error() const { return m_Error; }

    // The driver takes one write for one record, without a line end: a part of it is none.
    bool Write(const std::string& a_Record) const {
        return write(m_Descriptor, a_Record.data(), a_Record.size()) == static_cast<ssize_t>(a_Record.size());
    }

private:
    int m_Descriptor;
    int m_Error; // of the open
};

PSTN_RECORD DataValid() {
    return {FormatText("DataValid=%i", 1), "IPMIAdaptor :: WriteProcFile - error - Can't write DataValid"};
}

PSTN_RECORD RtmDetected(int a_Detected) {
    return {FormatText("RtmDetected=%i", a_Detected), "IPMIAdaptor :: WriteProcFile - error - Can't write RtmDetected"};
}

// One pass: the file opened, the records one after the other until one is not taken.
template <std::size_t COUNT>
bool WritePass(CBaseOsLog* a_Logger, const char* a_OpenFailure, const std::array<PSTN_RECORD, COUNT>& a_Records) {
    const PSTN_FILE l_File;
    if (!l_File.IsOpen()) {
        LogError(a_Logger, "OS Error ID = %d OS Error String=%s", l_File.Error(),
                 std::generic_category().message(l_File.Error()).c_str());
        LogError(a_Logger, "%s", a_OpenFailure);
        return false;
    }
    for (const auto& [l_Text, l_Failure] : a_Records) {
        if (l_File.Write(l_Text)) continue;
        LogError(a_Logger, "%s", l_Failure);
        return false;
    }
    return true;
}

} // namespace

int IPMIAdaptor::ReadRTMConfig(int* a_FramerType, int* a_NumFramers, int* a_TrunksPerFramer) {
    const char* l_Value = getenv("MAVK_RTM");
    if (l_Value == nullptr) return PSTN_MODE_FRU_DATA;
    const int l_Mode = DigitValue(l_Value[0]); // an empty value is mode 0 too
    if (l_Mode != PSTN_MODE_SIMULATED) return l_Mode;
    if (std::string_view(l_Value).size() < 4) {
        LogError(m_Logger, "Invalid simuation data = %s", l_Value);
        return PSTN_MODE_SIMULATED; // all the same: the caller goes on with the values it has
    }
    *a_FramerType = DigitValue(l_Value[1]);
    *a_NumFramers = DigitValue(l_Value[2]);
    *a_TrunksPerFramer = DigitValue(l_Value[3]);
    return PSTN_MODE_SIMULATED;
}

int IPMIAdaptor::ReadRTMConfigFile(int* a_FramerType, int* a_NumFramers, int* a_TrunksPerFramer) {
    *a_FramerType = *a_NumFramers = *a_TrunksPerFramer = -1;
    const std::unique_ptr<FILE, int (*)(FILE*)> l_File(fopen(OVERRIDE_FILE, "re"), fclose);
    if (!l_File) return -1;
    int l_Mode = 0;
    for (int* l_Value : {&l_Mode, a_FramerType, a_NumFramers, a_TrunksPerFramer}) {
        std::array<char, 1024> l_Line{};
        if (fgets(l_Line.data(), static_cast<int>(l_Line.size()), l_File.get()) == nullptr) return 0;
        *l_Value = static_cast<int>(strtol(l_Line.data(), nullptr, 10)); // a line without a number is 0
    }
    return l_Mode;
}

int IPMIAdaptor::WriteProcFile() {
    if (!WritePass(m_Logger, "IPMIAdaptor :: WriteProcFile - error - Can't open pci Driver for initial write",
                   std::array{DataValid(), RtmDetected(0)})) {
        return RESULT_NOTHING_DONE;
    }
    PSTN_DATA l_Data;
    const int l_Mode = ReadRTMConfig(&l_Data.m_FramerType, &l_Data.m_NumFramers, &l_Data.m_TrunksPerFramer);
    LogTrace(m_Logger,
             "IPMIAdaptor :: WriteProcFile - file read rc=%i l_FramerType=%i l_NumFramers=%i l_NumTrunksPerFramer=%i",
             l_Mode, l_Data.m_FramerType, l_Data.m_NumFramers, l_Data.m_TrunksPerFramer);
    if (l_Mode == PSTN_MODE_SIMULATED) {
        LogTrace(m_Logger, "IPMIAdaptor :: WriteProcFile - Using simulated data");
    } else if (l_Mode == PSTN_MODE_NO_RTM) {
        LogTrace(m_Logger, "IPMIAdaptor :: WriteProcFile - returning simulated no RTM");
        return RESULT_NOT_FOUND;
    } else if (l_Mode == PSTN_MODE_FRU_DATA && !mReadPSTNData(l_Data)) {
        return RESULT_NOT_FOUND;
    }
    const bool l_Written =
        WritePass(m_Logger, "IPMIAdaptor::WriteProcFile - error - Can't open pci Driver",
                  std::array{PSTN_RECORD{FormatText("FramerType=%i", l_Data.m_FramerType),
                                         "IPMIAdaptor :: WriteProcFile - error - Can't write FramerType"},
                             PSTN_RECORD{FormatText("NumberOfFramers=%i", l_Data.m_NumFramers),
                                         "IPMIAdaptor :: WriteProcFile - error - Can't write NumberOfFramers"},
                             PSTN_RECORD{FormatText("TrunksPerFramer=%i", l_Data.m_TrunksPerFramer),
                                         "IPMIAdaptor :: WriteProcFile - error - Can't write TrunksPerFramer"},
                             DataValid(), RtmDetected(1)});
    return l_Written ? RESULT_OK : RESULT_NOTHING_DONE;
}

// True for any RTM with a FRU: without the vendor record the data stay as they are.
bool IPMIAdaptor::mReadPSTNData(PSTN_DATA& a_Data) const {
    LogTrace(m_Logger, "IPMIAdaptor :: WriteProcFile - Using FRU data (no override)");
    LogTrace(m_Logger, "IPMIAdaptor :: WriteProcFile");
    const auto l_RTM = FindHardware(ENTITY_ID_RTM);
    if (!l_RTM) {
        LogError(m_Logger, "IPMIAdaptor :: WriteProcFile - NO AMC INSTALLED "); // no RTM, that is
        return false;
    }
    if (!l_RTM->m_FRU) {
        LogError(m_Logger, "IPMIAdaptor :: WriteProcFile - No RTM data ");
        return false;
    }
    if (const auto& l_Record = l_RTM->m_FRU->m_RTM) {
        a_Data = *l_Record;
        LogTrace(m_Logger, "IPMIAdaptor :: WriteProcFile - returning OK ");
    }
    return true;
}

} // namespace BM_ADAPTOR
