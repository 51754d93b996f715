// What is known of a blade at one moment, for views, programs and the socket.
#pragma once

#include "host/output/Time.h"

#include "bm/Params.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace bmhost {

/// Where the inventory comes from: the controller, or the adaptor's simulated one where there is no controller.
struct Source {
    enum class Kind { Hardware, Missing, NoPermission, NoController };

    Kind m_kind = Kind::Hardware;
    std::string m_reason; ///< "/dev/ipmi0: Permission denied"; empty for the hardware

    bool IsSimulated() const { return m_kind != Kind::Hardware; }
};

/// What a lifecycle call returned, and the errors that the adaptor logged in it.
struct CallOutcome {
    std::string m_operation; ///< "init", "start", "stop", "fin"
    int32_t m_result = 0;
    WallTime m_time{};
    std::vector<std::string> m_reasons;
};

/// A call of the adaptor that has not returned yet, or that waits for its turn.
struct CallInProgress {
    std::string m_operation; ///< "start", "read 0x30200", "led set, AMC bay 3, LED 3, on green"
    WallTime m_since{};      ///< of its beginning; while it waits, of the asking
    std::string m_asker;     ///< "uid 0, process 4711"; empty for the resident host itself
    bool m_waiting = false;
    std::string m_waitsFor = {}; ///< while it waits: "reading LED 2 of AMC bay 3 since 2026-11-22T09:30:00.125Z"
    uint64_t m_number = 0;       ///< from 1 in the resident host, which tells nobody
};

/// The process that holds the adaptor.
struct HostFacts {
    int32_t m_process = 0;
    WallTime m_started{};
    std::string m_version;
    std::string m_adaptor; ///< its file
    int32_t m_mode = 1;
    bool m_resident = false; ///< false for a command's own adaptor
    std::optional<CallOutcome> m_init;
    std::optional<CallOutcome> m_start; ///< none until the first start; gone again with a stop
    std::optional<CallOutcome> m_stop;
    std::string m_storage{}; ///< the folder of a resident host's storage
};

/// The adaptor's tables as they were read; rows are the adaptor's own.
struct Inventory {
    int32_t m_result = 0;                          ///< of reading the board's table
    std::vector<BM_ADAPTOR::CBMIParams> m_board;   ///< 0x30000
    std::vector<BM_ADAPTOR::CBMIParams> m_modules; ///< 0x30200, with the run status
    std::vector<BM_ADAPTOR::CBMIParams> m_amcs;    ///< 0x300
    std::vector<BM_ADAPTOR::CBMIParams> m_rtms;    ///< 0x400
};

/// The last reading of one LED. A LED that cannot be read any more keeps the state of its last good reading.
struct LedReading {
    int32_t m_bay = 0;                             ///< 0 is the baseboard
    int32_t m_led = 0;                             ///< as the adaptor counts, from 1
    int32_t m_result = 0;                          ///< of the last try
    std::optional<BM_ADAPTOR::CBMIParams> m_state; ///< the row of the last good reading
    WallTime m_read{};                             ///< of the last good reading
};

struct DspFacts {
    int32_t m_number = 0;
    int32_t m_bay = 0;
    int32_t m_dspOfAmc = 0;
    std::string m_mac;
    std::string m_ip;      ///< empty: it has none
    bool m_read = true;    ///< false: the address could not be read, m_note says why
    bool m_stored = false; ///< from the storage, not read from the adaptor
    std::string m_note;
};

struct PortFacts {
    int32_t m_port = 0;
    std::string m_name;
    std::string m_leadsTo;
    std::optional<bool> m_enabled;
    std::optional<bool> m_linkUp; ///< none: not known
    bool m_stored = false;
    std::string m_note;
};

enum class HealthState { NotMonitored, Monitored, Fault, Ended };

/// What the adaptor's monitor says. Only a start begins it again.
struct Health {
    HealthState m_state = HealthState::NotMonitored;
    WallTime m_since{};
    std::vector<std::string> m_reasons; ///< of a fault, as in the log
};

/// Whether the controller answers.
struct Controller {
    enum class State { Unknown, Answers, Lost };

    State m_state = State::Unknown;
    WallTime m_since{};
    uint64_t m_sweeps = 0; ///< how often the resident host has tried every LED
};

struct UpgradeFacts {
    int32_t m_target = 0; ///< as in 0x601
    int32_t m_bay = 0;
    int32_t m_state = 0; ///< as in 0x602
    WallTime m_begun{};
    std::optional<WallTime> m_ended;
    std::string m_file;          ///< as the client named it
    std::string m_sha256;        ///< in hexadecimal
    std::string m_versionBefore; ///< the module's, as far as the inventory tells it
    std::string m_versionAfter;
    std::string m_asker;
};

/// Something that is wrong, what it means, and what to do.
struct Fault {
    std::string m_place; ///< "AMC bay 3", "baseboard", "controller"
    std::string m_what;  ///< "run status failed (5)", "controller lost since 2026-11-22T09:30:00.125Z"
    std::string m_cause;
    std::vector<std::string> m_evidence; ///< log lines, readings
    std::string m_cure;
    std::string m_kind; ///< m_what without its time, for whoever counts faults: "controller lost"
};

/// Made by the resident host for everybody, or by a command of its own adaptor.
struct Picture {
    uint64_t m_revision = 0; ///< grows with each change; 0 for a command's own
    WallTime m_time{};       ///< when it was made
    Source m_source;
    HostFacts m_host;
    Inventory m_inventory;
    std::vector<LedReading> m_leds;
    std::vector<DspFacts> m_dsps;
    std::vector<PortFacts> m_ports;
    Health m_health;
    Controller m_controller;
    std::vector<UpgradeFacts> m_upgrades; ///< the history, oldest first; empty: no upgrade yet
    std::vector<CallInProgress> m_calls;
    std::vector<Fault> m_faults;
};

} // namespace bmhost
