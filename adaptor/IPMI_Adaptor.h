// The adaptor object: lifecycle, dispatch of parameter groups, and the table handlers that answer them.
#pragma once

#include "adaptor/IPMI_Adaptor_Frame.h"
#include "adaptor/dsp/IPMI_DSPInfo.h"
#include "adaptor/startup/IPMI_RTMValues.h"
#include "adaptor/switch/IPMI_SwitchPorts.h"
#include "adaptor/upgrade/IPMI_UpgradeRecord.h"
#include "bm/BaseAdaptor.h"
#include "bm/OSAL.h"
#include "common/veldo_common_protocol.h"
#include "common/veldo_common_snapshot.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class CBaseOsLog;
class IPMI_ENTITY;
struct IPMI_CONTROL;
struct IPMI_LED;
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
struct MAC_ADDRESS;
class UPGRADE_STATUS;

class IPMIAdaptor : public CBaseAdaptor {
public:
    /// On the board that the process runs on, or on another one, which must outlive the adaptor and its threads.
    IPMIAdaptor();
    explicit IPMIAdaptor(BOARD& a_Board);
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

    // Handlers of the LED tables. They block while a reply is awaited, without a time-out. Besides HANDLER_RESULT_e
    // they return what the probe's LED commands return: a refused write its completion code, a taken one 0; a read 1,
    // or 0.
    int Baseboard_LED_Internal_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row);
    int Baseboard_LED_Internal_ReadTable(CBMITable*& a_Table);
    int Baseboard_LED_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row);
    int Baseboard_LED_ReadTable(CBMITable*& a_Table);
    int AMC_LED_Internal_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row);
    int AMC_LED_Internal_ReadTable(CBMITable*& a_Table);
    int AMC_LED_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row);
    int AMC_LED_ReadTable(CBMITable*& a_Table);
    /// Both take keys and values of the internal rows, whichever group they are written through.
    int Baseboard_LED_WriteParams(CBMIKeys* a_Keys, CBMIParams* a_Values);
    int AMC_LED_WriteParams(CBMIKeys* a_Keys, CBMIParams* a_Values);

    // Handlers of the firmware upgrade. None of them waits for an upgrade; a write starts one.
    int Firmware_Update_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row);
    int Firmware_Update_ReadTable(CBMITable*& a_Table);
    int Firmware_Update_WriteParams(CBMIKeys* a_Keys, CBMIParams* a_Values);
    /// For an upgrade's thread: the status that it shares with the adaptor.
    std::shared_ptr<UPGRADE_STATUS> ShareUpgrade();

    // Handlers of the DSP tables: 0x1200 by bay and DSP, 0x30d10 by DSP number. The storage is waited for.
    int AMC_DSP_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row);
    int AMC_DSP_ReadTable(CBMITable*& a_Table);
    int AMC_DSP_ReadParamsEx(const CBMIKeys* a_Keys, CBMIParams* a_Row);
    int AMC_DSP_ReadTableEx(CBMITable*& a_Table);
    /// Stores the DSP's IP address. Besides HANDLER_RESULT_e it returns the storage's result.
    int AMC_DSP_WriteParams(CBMIKeys* a_Keys, CBMIParams* a_Values);

    // Handlers of the switch ports. The board driver is waited for, by a write the storage as well.
    int AMC_SwitchPort_ReadParams(const CBMIKeys* a_Keys, CBMIParams* a_Row);
    int AMC_SwitchPort_ReadTable(CBMITable*& a_Table);
    int AMC_SwitchPort_WriteParams(CBMIKeys* a_Keys, CBMIParams* a_Values);

    // Look-ups in the model, null when there is no such record. Each takes the model's lock for itself, shared; a
    // record is never removed, and what it says is read under the lock.
    IPMI_ENTITY* FindEntitybyEntityID(int a_EntityID) const;
    IPMI_ENTITY* FindEntitybyEntityIDBayLocation(int a_EntityID, int a_Location) const;
    /// @param a_LEDID  the host's LED id: 1 hot swap, 2 out of service, 3 health; others have no control
    IPMI_CONTROL* FindControlbyLEDID(IPMI_ENTITY* a_Entity, int a_LEDID) const;
    /// @param a_LEDID  the PICMG LED id, one less than the host's
    IPMI_LED* FindLEDbyLEDID(IPMI_ENTITY* a_Entity, int a_LEDID) const;

    /// Reads the RTM override of the environment variable MAVK_RTM; see PSTN_MODE_e for the result. The outputs are
    /// set only for a complete simulated RTM.
    int ReadRTMConfig(int* a_FramerType, int* a_NumFramers, int* a_TrunksPerFramer);
    /// The same override as a file of four lines; nothing uses it. An output without a line is -1.
    /// @return the mode, the first line; 0 when there are fewer than four, -1 without the file
    int ReadRTMConfigFile(int* a_FramerType, int* a_NumFramers, int* a_TrunksPerFramer);
    /// Tells the board's PCI driver of the RTM.
    /// @return 1; 0 when the driver's file could not be opened or written; 12 when there is no RTM, which it was told
    int WriteProcFile();

    /// The Ethernet address of the host's interface to the DSPs, in small letters. 1; 0 when there is none.
    int GetAMCFirstMac(std::string& a_Mac);
    /// The addresses of `a_Count` DSPs, in capital letters: the base counted on by 2, 3 … in its last four bytes.
    /// @param a_Macs  room for `a_Count` texts
    /// @return false, and nothing is written, when the base is no address
    static bool CalculateDspMacAddr(const std::string& a_BaseMac, int a_Count, std::string* a_Macs);
    /// The addresses of both CPUs, which are the two before the smallest of a DSP; zeros when that is no address.
    static void CalculateCPUMacAddr(const std::string& a_SmallestMac, MAC_ADDRESS& a_CPU1, MAC_ADDRESS& a_CPU2);

    BOARD& GetBoard() const { return m_Board; }
    /// The host's as the last Init got it, null before the first one.
    QUB_STORAGE::CDataStorage* GetStorage() const { return m_Storage; }

private:
    friend struct ::IPMI_TEST_ACCESS;

    ADAPTOR_FRAME mFrame() const { return {m_Board, m_State, m_Logger, m_Storage}; }

    int mInitRTMInfo();
    int mSetDepop(int a_Count);
    int mInitDSPInfo();
    int mInitIPInfo();
    int mGetDspIpAddrDB(int a_Dsp, std::string& a_IP);
    int mSetDspIpAddrDB(int a_Dsp, const std::string& a_IP, bool a_Create);
    int mFillDSPInfo(int a_Index, int a_Dsp, IPMI_DSP_Info_S* a_Table);
    int mGetIPAddrByName(const std::string& a_Interface, std::string& a_IP);
    static bool mIsOnSameSubnet(const std::string& a_First, const std::string& a_Second, const std::string& a_Mask);
    int mInitSwitchInfo();
    void mCreateSwitchPortObjects();
    static int mFindSmallestMac(const IPMI_DSP_Info_S* a_Table, int a_Count);
    static int mTeachSwitch(const IPMI_DSP_Info_S* a_Table, int a_Count);
    int mStartAMC(DSP_TABLE& a_DSPs);
    int mSetVXP(bool a_Start) const;
    int mSetAmcRTMStatus(int a_Status);

    BOARD& m_Board;
    std::atomic<int32_t> m_State = ADAPTOR_CREATED;
    // Reserved values of the object's layout; nothing reads them.
    int32_t m_ReservedCounter = 0;
    int32_t m_ReservedId = -1;
    int32_t m_Reserved1 = 0;
    std::string m_ReservedName;
    int32_t m_Reserved2 = 2;
    // What an Init writes while other host threads read is atomic, or m_Mutex is held for as long as a copy takes:
    // never while the host, the board driver or a tool is called, nor while anything is waited for.
    std::atomic<IBMAdaptorMgr*> m_Manager = nullptr;
    std::atomic<CBaseOsLog*> m_Logger = nullptr;
    OSAL::OSALMutex m_Mutex;        ///< of what belongs to upgrades
    SNAPSHOT<DSP_MACS> m_DspMacMap; ///< as the last Init found them
    RTM_VALUES m_RTM;               ///< with the two start-up values, presence and framers
    SNAPSHOT<DSP_TABLE> m_DspInfo;  ///< the DSPs as the last Start found them
    int32_t m_Reserved3 = 4;
    std::atomic<void*> m_PCIHandle = nullptr; ///< 8 zeroed bytes, the board driver's PCI memory handle
    SNAPSHOT<SWITCH_PORTS> m_SwitchPortMap;   ///< until Fin; who uses a port keeps it
    std::atomic<QUB_STORAGE::CDataStorage*> m_Storage = nullptr;
    std::string m_InstallDir; ///< root of the board's tools and files
    std::atomic<IPMI_MonitorThread*> m_Monitor = nullptr;
    UPGRADE_RECORD m_Upgrades;
};

} // namespace BM_ADAPTOR
