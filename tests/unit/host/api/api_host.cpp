// Serves a small blade at a socket until its standard input ends: the test of the document asks it.
//
// usage: api_host SOCKET IMAGES    IMAGES: a folder for firmware images
//        api_host --routes         prints the route table, a JSON object a line
#include "ServedHost.h"

#include "host/api/Routes.h"

#include <cstdio>
#include <iostream>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <unistd.h>

using namespace bmhost;
using nlohmann::json;
using nlohmann::ordered_json;

namespace {

constexpr unsigned PretendGroup = 0x90000; // a call on this group plus a status is answered with the status

ordered_json LineOf(const std::string& op) {
    const ordered_json value = {{"id", "0x303"}, {"type", 1}, {"key", true}, {"value", 3}};
    const ordered_json row = ordered_json::array({value});
    if (op == "read") return {{"op", op}, {"group", "0x300"}, {"result", 1}, {"row", row}};
    if (op == "table") return {{"op", op}, {"group", "0x300"}, {"result", 1}, {"rows", ordered_json::array({row})}};
    if (op == "write") return {{"op", op}, {"group", "0x300"}, {"result", 0}};
    return {{"op", op}, {"result", 1}};
}

// What a test wants to be answered: the group of a call says it, "pretend" in an order, or the name of an image.
unsigned WantedStatus(const json& values) {
    if (values.contains("group")) {
        const unsigned group = values.at("group");
        return group > PretendGroup ? group - PretendGroup : 200;
    }
    if (values.contains("name") && values.at("name") == "409") return 409;
    if (values.contains("name") && values.at("name") == "500") return 500;
    return values.value("pretend", 200U);
}

Answer AnswerTo(const std::string& name, const json& values) {
    const unsigned status = WantedStatus(values);
    if (status == 500) throw std::runtime_error("the test wants it");
    if (status != 200) {
        return {status, {{"error", {{"operation", name}, {"value", "pretend"}, {"reason", "the test wants it"}}}}};
    }
    if (values.contains("group") || values.empty()) return {200, LineOf(name)};
    return {200,
            {{"order", name},
             {"result", 1},
             {"good", true},
             {"changed", false},
             {"text", "nothing to do\n"},
             {"remarks", ordered_json::array()},
             {"reasons", ordered_json::array()},
             {"cure", ""}}};
}

void PrintRoutes() {
    for (const Route& route : Routes()) {
        const ordered_json row = {{"method", route.m_method}, {"path", route.m_path}, {"query", route.m_query}};
        std::cout << row.dump() << "\n";
    }
}

} // namespace

int main(int count, char** words) {
    if (count == 2 && std::string_view(words[1]) == "--routes") {
        PrintRoutes();
        return 0;
    }
    if (count != 3) return 2;
    ApiLimits limits;
    limits.m_bodySize = 4096;
    limits.m_connections = 8;
    limits.m_imageFolder = words[2];
    limits.m_imageSize = 1'000'000'000'000'000'000;
    FakeHost host;
    host.AnswerWith(AnswerTo);
    host.SetLog({{{"time", "2026-11-22T09:30:00.125Z"}, {"level", 3}, {"component", "IPMI"}, {"text", "a line"}}});
    host.Tell("event", R"({"op":"event","event":"0x600","number":0,"params":[],"time":"2026-11-22T09:30:00.125Z"})");
    host.Tell("picture", R"({"revision":8,"parts":["leds"]})");
    const int socket = ListenAt(words[1]);
    ApiServer server(socket, host, limits, FilesIn(words[2]));
    std::thread thread([&] { server.Run([] {}); });
    puts("serving");
    fflush(stdout);
    while (getchar() != EOF) {
    }
    server.Stop();
    thread.join();
    close(socket);
    return 0;
}
