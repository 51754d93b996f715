// Pictures for tests, and all that is in one as a text to compare.
#pragma once

#include "host/HostParams.h"
#include "host/output/TextOutput.h"
#include "host/picture/Picture.h"
#include "host/words/Names.h"

#include <map>
#include <sstream>
#include <string>

inline bmhost::WallTime TimeAt(int64_t milliseconds) {
    return bmhost::WallTime(std::chrono::milliseconds(1795339800000 + milliseconds));
}

/// With something in every member, and bytes of the hardware that are no UTF-8.
inline bmhost::Picture FullPicture() {
    using namespace bmhost;
    Picture picture;
    picture.m_revision = 18446744073709551615U;
    picture.m_time = TimeAt(2000);
    picture.m_source = {Source::Kind::NoPermission, "/dev/ipmi0: Permission denied"};
    picture.m_host = {4711,
                      TimeAt(1),
                      "1.0",
                      "/usr/lib/a.so",
                      1,
                      true,
                      CallOutcome{"init", 1, TimeAt(2), {}},
                      CallOutcome{"start", 0x30012, TimeAt(3), {"DSP 5 \xE9", "second"}},
                      CallOutcome{"stop", 1, TimeAt(4), {}},
                      "/var/lib/bmhost"};
    picture.m_inventory = {1,
                           {Row(Text(0x30001, "Board \xE9\x9F"), Int(0x30002, 5))},
                           {Row(Int(0x30201, 3, true), Text(0x30202, "QS"), Int(0x30208, 5)),
                            Row(Int(0x30201, 9, true), Text(0x30206, "UnKn"), Int(0x30209, -7))},
                           {Row(Int(0x301, 2), Int(0x302, 4), Int(0x303, 3, true)),
                            Row(Text(0x301, "2"), Text(0x302, "4"), Int(0x303, 4, true))},
                           {Row(Int(0x401, 1), Int(0x402, 2), Int(0x403, 4))}};
    picture.m_leds = {{0, 1, 1,
                       Row(Int(0x101, 1, true), Int(0x102, 1), Int(0x103, 0), Int(0x104, 0), Int(0x105, 0),
                           Bool(0x106, true), Int(0x10c, 4)),
                       TimeAt(500)},
                      {3, 3, 0,
                       Row(Int(0x201, 3, true), Int(0x202, 20), Int(0x203, 125), Int(0x204, 0), Int(0x205, 1),
                           Int(0x20c, 2), Int(0x20d, 3, true)),
                       TimeAt(600)},
                      {3, 4, -1, std::nullopt, {}}};
    picture.m_dsps = {{1, 3, 1, "02:4D:71:00:00:08", "192.168.0.23", true, false, ""},
                      {2, 3, 2, "02:4D:71:00:00:09", "", false, true, "FILE: Permission denied"}};
    picture.m_ports = {{1, "Fabric 1", "fabric", true, true, false, ""},
                       {2, "Fabric 2", "fabric", false, false, false, "state 7"},
                       {3, "RTM 1", "RTM", std::nullopt, std::nullopt, true, ""}};
    picture.m_health = {HealthState::Fault, TimeAt(5), {"temperature \xB0", "RTM"}};
    picture.m_controller = {Controller::State::Lost, TimeAt(6)};
    picture.m_upgrades = {
        {1, 3, 2, TimeAt(7), TimeAt(8), "ima\xC3\xA9ge.bin", "00ff", "1.\xE9", "1.2", "uid 0, process 12"},
        {0, 0, 0, TimeAt(9), std::nullopt, "", "", "", "", ""}};
    picture.m_calls = {{"start", TimeAt(10), ""},
                       {"led set 3 health on", TimeAt(11), "uid 0, process 4711", true, "`x` since then"}};
    picture.m_faults = {
        {"AMC bay 3", "run status failed (5)", "a cause", {"line \xE9", "reading"}, "a cure …", "run status failed"}};
    return picture;
}

inline std::string RowText(const BM_ADAPTOR::CBMIParams& row) {
    std::map<unsigned, std::string> columns;
    for (int i = 0; i < row.GetSize(); ++i) {
        const BM_ADAPTOR::CBMIParam& param = *row.Get(i);
        const bool isText = param.GetType() == BM_ADAPTOR::BMI_PARAM_STRING;
        columns[param.GetId()] = " " + bmhost::Hex(param.GetId()) + (param.IsKey() ? " key " : " ") +
                                 std::to_string(param.GetType()) + ":" +
                                 (isText ? param.GetString() : bmhost::ValueText(param));
    }
    std::string text;
    for (const auto& [id, column] : columns)
        text += column;
    return text + "\n";
}

/// Every member of the picture. The columns of a row are in the order of their numbers.
inline std::string Everything(const bmhost::Picture& picture) {
    using namespace bmhost;
    std::ostringstream out;
    const auto lines = [&](const std::vector<std::string>& texts) {
        for (const std::string& text : texts)
            out << "[" << text << "]";
        out << "\n";
    };
    const auto call = [&](const std::optional<CallOutcome>& made) {
        if (!made) {
            out << "no call\n";
            return;
        }
        out << made->m_operation << "|" << made->m_result << "|" << Rfc3339(made->m_time);
        lines(made->m_reasons);
    };
    const auto rows = [&](const std::vector<BM_ADAPTOR::CBMIParams>& table) {
        for (const auto& row : table)
            out << RowText(row);
        out << "--\n";
    };
    const auto flag = [](std::optional<bool> value) { return value ? static_cast<int>(*value) : -1; };
    out << picture.m_revision << "|" << Rfc3339(picture.m_time) << "\n"
        << static_cast<int>(picture.m_source.m_kind) << picture.m_source.m_reason << "\n";
    const HostFacts& host = picture.m_host;
    out << host.m_process << "|" << Rfc3339(host.m_started) << "|" << host.m_version << "|" << host.m_adaptor << "|"
        << host.m_mode << host.m_resident << host.m_storage << "\n";
    call(host.m_init);
    call(host.m_start);
    call(host.m_stop);
    out << picture.m_inventory.m_result << "\n";
    rows(picture.m_inventory.m_board);
    rows(picture.m_inventory.m_modules);
    rows(picture.m_inventory.m_amcs);
    rows(picture.m_inventory.m_rtms);
    for (const LedReading& led : picture.m_leds) {
        out << led.m_bay << "|" << led.m_led << "|" << led.m_result << "|" << Rfc3339(led.m_read)
            << (led.m_state ? RowText(*led.m_state) : "|never\n");
    }
    for (const DspFacts& dsp : picture.m_dsps) {
        out << dsp.m_number << "|" << dsp.m_bay << "|" << dsp.m_dspOfAmc << "|" << dsp.m_mac << "|" << dsp.m_ip << "|"
            << dsp.m_read << dsp.m_stored << dsp.m_note << "\n";
    }
    for (const PortFacts& port : picture.m_ports) {
        out << port.m_port << "|" << port.m_name << "|" << port.m_leadsTo << "|" << flag(port.m_enabled) << "|"
            << flag(port.m_linkUp) << port.m_stored << port.m_note << "\n";
    }
    out << static_cast<int>(picture.m_health.m_state) << Rfc3339(picture.m_health.m_since);
    lines(picture.m_health.m_reasons);
    out << static_cast<int>(picture.m_controller.m_state) << Rfc3339(picture.m_controller.m_since) << "\n";
    for (const UpgradeFacts& upgrade : picture.m_upgrades) {
        out << upgrade.m_target << "|" << upgrade.m_bay << "|" << upgrade.m_state << "|" << Rfc3339(upgrade.m_begun)
            << "|" << (upgrade.m_ended ? Rfc3339(*upgrade.m_ended) : "-") << "|" << upgrade.m_file << "|"
            << upgrade.m_sha256 << "|" << upgrade.m_versionBefore << "|" << upgrade.m_versionAfter << "|"
            << upgrade.m_asker << "\n";
    }
    for (const CallInProgress& under : picture.m_calls)
        out << under.m_operation << "|" << Rfc3339(under.m_since) << "|" << under.m_asker << "|" << under.m_waiting
            << under.m_waitsFor << "\n";
    for (const Fault& fault : picture.m_faults) {
        out << fault.m_place << "|" << fault.m_what << "|" << fault.m_cause << "|" << fault.m_cure;
        lines(fault.m_evidence);
    }
    return out.str();
}
