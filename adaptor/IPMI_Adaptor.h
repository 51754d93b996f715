// The adaptor object: lifecycle, dispatch of parameter groups, and the table handlers that answer them.
#pragma once

#include "bm/BaseAdaptor.h"
#include "bm/OSAL.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <string>

class CBaseOsLog;
class IPMI_ENTITY;
struct IPMI_TEST_ACCESS;

extern "C" {

/// Makes one adaptor, a BM_ADAPTOR::CBaseAdaptor*. When the constructor throws, the memory is released and the
/// exception passes to the host.
[[gnu::visibility("default")]] void* CreateAdaptor();
/// Releases the object's memory, without its destructor: all clean-up that matters is Fin's. Null is ignored.
[[gnu::visibility("default")]] void DestroyAdaptor(void* a_Adaptor);
}

namespace BM_ADAPTOR {

class IPMI_MonitorThread;
class IPMITHREAD;

/// Root of the board's tools and files: the environment variable TARSK_KORVEL_DIR, or its default.
std::string InstallDir();

/// Results of the handlers, as the host reads them.
enum HANDLER_RESULT_e : int {
    RESULT_NOTHING_DONE = 0, ///< group not served, or the operation did nothing
    RESULT_OK = 1,           ///< also for an empty table
    RESULT_NO_ARGUMENT = 2,  ///< keys or values are null (LED writes)
    RESULT_NOT_FOUND = 12,   ///< not found or failed (hardware tables)
    RESULT_NO_STATUS = 16    ///< an AMC write without a run status
};

/// Results of the start-up operations.
enum STARTUP_RESULT_e : int { STARTUP_MEDIA_START_FAILED = 0x30004, STARTUP_MEDIA_STOP_FAILED = 0x30005 };

enum ADAPTOR_STATE_e : int32_t { ADAPTOR_CREATED = 0, ADAPTOR_INITIALISING = 1, ADAPTOR_STARTED = 2 };

class IPMIAdaptor : public CBaseAdaptor {
public:
    IPMIAdaptor();
    IPMIAdaptor(const IPMIAdaptor&) = delete;
    IPMIAdaptor& operator=(const IPMIAdaptor&) = delete;

    // The host's interface; see bm/BaseAdaptor.h.
    int Init(IBMAdaptorMgr* a_Manager) override;
    int Fin() override;
    int Start(structBmiDeviceInfoType* a_Device) override;
    int Stop(structBmiDeviceInfoType* a_Device) override;
    int ReadParams(unsigned a_Group, const CBMIKeys* a_Keys, CBMIParams*& a_Row) override;
    int WriteParams(unsigned a_Group, CBMIKeys* a_Keys, CBMIParams* a_Values) override;
    int CreateParams(unsigned a_Group, const CBMIKeys* a_Keys, CBMIParams* a_Values) override;
    int DeleteParams(unsigned a_Group, const CBMIKeys* a_Keys) override;
    int GetParamTable(unsigned a_Group, CBMITable*& a_Table) override;
    int ProcessEvent(unsigned a_Event, CBMIEvParams* a_Params) override;
    ~IPMIAdaptor() override;

    // Handlers of the hardware tables. ReadParams fills the row for one key, ReadTable allocates the table into its
    // argument first; both return a HANDLER_RESULT_e. Any host thread, several at once.
    int AMC_FRU_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row);
    int AMC_FRU_ReadTable(CBMITable*& a_Table);
    int RTM_FRU_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row);
    int RTM_FRU_ReadTable(CBMITable*& a_Table);
    int Board_Hardware_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row);
    int Board_Hardware_ReadTable(CBMITable*& a_Table);
    int Board_Hardware_WriteParams(CBMIKeys* a_Keys, CBMIParams* a_Values);
    int AMC_HW_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row);
    int AMC_HW_ReadTable(CBMITable*& a_Table);
    int AMC_HW_WriteParams(CBMIKeys* a_Keys, CBMIParams* a_Values);

    /// Writes one baseboard LED; so far only the complete simulation answers, which changes nothing. Other results are
    /// RESULT_NO_ARGUMENT, RESULT_NOT_FOUND without the LED id, and 0 on a real blade.
    int Baseboard_LED_WriteParams(CBMIKeys* a_Keys, CBMIParams* a_Values);

    /// Reads the RTM override of the environment variable MAVK_RTM; see PSTN_MODE_e for the result. The outputs are
    /// set only for a complete simulated RTM.
    int ReadRTMConfig(int* a_FramerType, int* a_NumFramers, int* a_TrunksPerFramer);

private:
    friend struct ::IPMI_TEST_ACCESS;

    bool mTouchesBoard() const;
    int mRegister();
    void mWaitForModel();
    int mInitBoard(int a_Result);
    void mClosePCIHandle();
    void mForgetBoard();
    int mStartAMC();
    int mSetVXP(bool a_Start);
    int32_t mRunStatus(int a_Bay) const;

    std::atomic<int32_t> m_State = ADAPTOR_CREATED;
    // Reserved values of the object's layout; nothing reads them.
    int32_t m_ReservedCounter = 0;
    int32_t m_ReservedId = -1;
    int32_t m_Reserved1 = 0;
    std::string m_ReservedName;
    int32_t m_Reserved2 = 2;
    IBMAdaptorMgr* m_Manager = nullptr;
    CBaseOsLog* m_Logger = nullptr;
    OSAL::OSALMutex m_Mutex;
    static IPMITHREAD* s_DomainThread;      ///< the process's one; never deleted
    std::map<int, std::string> m_DspMacMap; ///< DSP number, from 1, to its MAC; its size is the number of DSPs known
    int32_t m_RTMPresent = 0;               ///< the two start-up values
    int32_t m_NumFramers = 0;
    int32_t m_Reserved3 = 4;
    void* m_PCIHandle = nullptr; ///< 8 zeroed bytes, the board driver's PCI memory handle
    QUB_STORAGE::CDataStorage* m_Storage = nullptr;
    std::string m_InstallDir; ///< root of the board's tools and files
    IPMI_MonitorThread* m_Monitor = nullptr;
};

} // namespace BM_ADAPTOR
