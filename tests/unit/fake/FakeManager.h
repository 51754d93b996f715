// The host's manager as tests play it: scripted answers, everything that the adaptor asked is kept.
#pragma once

#include "bm/BaseAdaptor.h"

#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

class FAKE_MANAGER : public BM_ADAPTOR::IBMAdaptorMgr {
public:
    virtual ~FAKE_MANAGER() = default;

    struct EVENT {
        unsigned m_Event = 0;
        unsigned m_Number = 0;
        BM_ADAPTOR::CBMIEvParams m_Params; ///< a copy
    };

    // Answers; set them before the adaptor runs.
    int m_Mode = 0;
    CBaseOsLog* m_Logger = nullptr;
    QUB_STORAGE::CDataStorage* m_Storage = nullptr;
    int m_RegisterResult = 1;
    std::set<unsigned> m_RefusedGroups{};  ///< registering these answers 0
    std::set<unsigned> m_RefusedClasses{}; ///< event classes likewise
    int m_UnregisterResult = 1;

    // What was asked, in order; read it when no adaptor thread runs, or use Events().
    std::vector<unsigned> m_Registered{}; ///< every group asked for, refused ones too
    std::vector<unsigned> m_Unregistered{};
    std::vector<unsigned> m_RegisteredClasses{};
    std::vector<unsigned> m_UnregisteredClasses{};
    std::vector<std::string> m_Calls{}; ///< "RegisterGroup 0x300", "GetMode" …
    std::set<BM_ADAPTOR::CBaseAdaptor*> m_Adaptors{};
    std::vector<EVENT> Events() const;

    int RegisterGroup(unsigned a_Group, BM_ADAPTOR::CBaseAdaptor* a_Adaptor) override;
    int UnregisterGroup(unsigned a_Group) override;
    int RegisterEventClass(unsigned a_Class, BM_ADAPTOR::CBaseAdaptor* a_Adaptor) override;
    int UnregisterEventClass(unsigned a_Class) override;
    QUB_STORAGE::CDataStorage* GetStorage() override;
    CBaseOsLog* GetLogger() override;
    int GetMode() override;
    int SendEvent(unsigned a_Event, unsigned a_Number, BM_ADAPTOR::CBMIEvParams* a_Params) override;

private:
    void Note(const char* a_Name);
    void Note(const char* a_Name, unsigned a_Number);

    mutable std::mutex m_Guard;
    std::vector<EVENT> m_Events{};
};
