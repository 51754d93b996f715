// The two sides of a plug-in: CBaseAdaptor, which the adaptor implements, and IBMAdaptorMgr, which the host does.
//
// The plug-in exports `void* CreateAdaptor()`, whose result is a CBaseAdaptor*, and `void DestroyAdaptor(void*)`.
// The order of the virtual operations is part of the interface.
#pragma once

#include "bm/Params.h"

class CBaseOsLog;

namespace QUB_STORAGE {
class CDataStorage;
}

namespace BM_ADAPTOR {

class CBaseAdaptor;

/// Describes the device that is started or stopped; the host's own, null is allowed.
struct structBmiDeviceInfoType;

/// The manager: what a host offers to its adaptors. The host owns manager, storage and logger and keeps them until it
/// has destroyed the adaptor and every event has returned; the logger, see there, for longer. The operations are called
/// from host threads within a call to the adaptor, SendEvent from the adaptor's own threads as well. No lock of the
/// adaptor is held meanwhile: they may call any operation of the adaptor, or wait for another thread that does. Two
/// such calls do not come through: a second LED command out of a log line of an LED command, and Init out of a line
/// that is written while the inventory is taken; both would wait for the caller. The storage refuses the adaptor inside
/// a transaction of the host's own thread.
class IBMAdaptorMgr {
public:
    /// Announces that `adaptor` serves `group`. 1 on success.
    virtual int RegisterGroup(unsigned group, CBaseAdaptor* adaptor) = 0;
    virtual int UnregisterGroup(unsigned group) = 0;
    /// Announces that `adaptor` takes events of class `cls`. 1 on success.
    virtual int RegisterEventClass(unsigned cls, CBaseAdaptor* adaptor) = 0;
    virtual int UnregisterEventClass(unsigned cls) = 0;
    /// The host's storage and logger; both stay the host's, either may be null.
    virtual QUB_STORAGE::CDataStorage* GetStorage() = 0;
    virtual CBaseOsLog* GetLogger() = 0;
    /// The host's mode. An adaptor touches the board in modes 1 and 3 only.
    virtual int GetMode() = 0;
    /// Hands an event to the host. Copies the parameters: the caller keeps and deletes `params`. Thread-safe.
    virtual int SendEvent(unsigned event, unsigned number, CBMIEvParams* params) = 0;

protected:
    ~IBMAdaptorMgr() = default;
};

/// The operations of an adaptor. ReadParams, WriteParams and GetParamTable may be called by several host threads at
/// once after Init has returned; the lifecycle calls (Init, Start, Stop, Fin) come one at a time. Where a host does not
/// keep to that, none of them waits for a tool, a reply or an event of another one, and nothing is freed under a
/// running thread; what the blade ends up as is then the host's to know. 1 means success.
class CBaseAdaptor {
public:
    /// Learns the hardware and registers the groups. May block until the hardware has answered.
    virtual int Init(IBMAdaptorMgr* manager) = 0;
    /// Removes the groups, deletes the switch ports and closes the board driver; 1, whatever the manager throws. An
    /// upgrade under way goes on, and begins no event any more unless there is another Init. Waits for no event.
    virtual int Fin() = 0;
    virtual int Start(structBmiDeviceInfoType* device) = 0;
    virtual int Stop(structBmiDeviceInfoType* device) = 0;
    /// Reads one row. `row` is replaced: null, or a new row that the caller owns and deletes, whatever the result.
    virtual int ReadParams(unsigned group, const CBMIKeys* keys, CBMIParams*& row) = 0;
    /// Writes one row. Keys and values stay the caller's and are not kept.
    virtual int WriteParams(unsigned group, CBMIKeys* keys, CBMIParams* values) = 0;
    virtual int CreateParams(unsigned group, const CBMIKeys* keys, CBMIParams* values) = 0;
    virtual int DeleteParams(unsigned group, const CBMIKeys* keys) = 0;
    /// Reads a whole table. For a served group `table` becomes a new table that the caller owns and deletes, whatever
    /// the result; for any other it is left as it was.
    virtual int GetParamTable(unsigned group, CBMITable*& table) = 0;
    virtual int ProcessEvent(unsigned event, CBMIEvParams* params) = 0;
    virtual ~CBaseAdaptor() = default;
};

} // namespace BM_ADAPTOR
