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

/// Describes the device that is started or stopped. The host defines it; null is allowed.
struct structBmiDeviceInfoType;

/// The manager: what a host offers to its adaptors. The host owns manager, storage and logger and keeps them until it
/// has destroyed the adaptor and every event has returned; the logger must live longer, see CBaseOsLog. The adaptor
/// calls these operations on host threads, within a call to the adaptor, and SendEvent also on its own threads. It
/// holds no lock meanwhile, so they may call any operation of the adaptor, or wait for another thread that does. There
/// are two exceptions, in which the call would wait for its own caller: a second LED command from within a log line of
/// an LED command, and Init from within a line that is written while the inventory is taken. Inside a transaction of
/// the calling host thread, the storage refuses the adaptor's own transactions.
class IBMAdaptorMgr {
public:
    /// Announces that `adaptor` serves `group`. 1 on success.
    virtual int RegisterGroup(unsigned group, CBaseAdaptor* adaptor) = 0;
    virtual int UnregisterGroup(unsigned group) = 0;
    /// Announces that `adaptor` takes events of class `cls`. 1 on success.
    virtual int RegisterEventClass(unsigned cls, CBaseAdaptor* adaptor) = 0;
    virtual int UnregisterEventClass(unsigned cls) = 0;
    /// The host's storage and logger. The host owns both; either may be null.
    virtual QUB_STORAGE::CDataStorage* GetStorage() = 0;
    virtual CBaseOsLog* GetLogger() = 0;
    /// The host's mode. The adaptor drives the board in modes 1 and 3 only.
    virtual int GetMode() = 0;
    /// Hands an event to the host, which copies the parameters: the caller keeps and deletes `params`. Thread-safe.
    virtual int SendEvent(unsigned event, unsigned number, CBMIEvParams* params) = 0;

protected:
    ~IBMAdaptorMgr() = default;
};

/// The operations of an adaptor. After Init has returned, several host threads may call ReadParams, WriteParams and
/// GetParamTable at once; the host makes the lifecycle calls (Init, Start, Stop, Fin) one at a time. If it does not,
/// none of them waits for another's tool, reply or event, and nothing is freed under a running thread, but the adaptor
/// does not promise which state the blade ends up in. 1 means success.
class CBaseAdaptor {
public:
    /// Takes the inventory and registers the groups. May block until the hardware has answered.
    virtual int Init(IBMAdaptorMgr* manager) = 0;
    /// Removes the groups, deletes the switch ports and closes the board driver. Returns 1, whatever the manager
    /// throws. An upgrade in progress goes on, but sends no event unless there is another Init. Does not wait for
    /// events.
    virtual int Fin() = 0;
    virtual int Start(structBmiDeviceInfoType* device) = 0;
    virtual int Stop(structBmiDeviceInfoType* device) = 0;
    /// Reads one row. `row` is replaced: null, or a new row that the caller owns and deletes, whatever the result.
    virtual int ReadParams(unsigned group, const CBMIKeys* keys, CBMIParams*& row) = 0;
    /// Writes one row. The caller owns keys and values; the adaptor does not keep them.
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
