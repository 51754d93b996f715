// `bmhost metrics`: the blade's metrics for Prometheus, which another program writes.
#include "host/context/Context.h"
#include "host/context/OtherProgram.h"
#include "host/words/Commands.h"

#include <string>
#include <vector>

namespace bmhost {

namespace {

struct MetricsWords {
    std::string m_output;
    bool m_openMetrics = false;
};

[[noreturn]] void Become(const GlobalOptions& globals, const MetricsWords& own) {
    std::vector<std::string> words = {"metrics"};
    if (!own.m_output.empty()) words.push_back("--output=" + own.m_output);
    if (own.m_openMetrics) words.emplace_back("--openmetrics");
    if (globals.m_timeout) words.push_back("--timeout=" + std::to_string(TimeLimit(globals, true)->count()));
    BecomeProgram("bmhost-web", words);
}

} // namespace

void AddMetrics(Commands& commands) {
    Command& metrics = commands.Add("metrics", "print the metrics of the blade for Prometheus", OnCommandLine);
    const auto words = metrics.Own<MetricsWords>();
    metrics
        .Option({"--output", "FILE", "replace the file as a whole instead of printing", Choices::Kind::File},
                words->m_output)
        .Flag({"--openmetrics", "", "the format of OpenMetrics 1.0 instead of Prometheus' 0.0.4"}, words->m_openMetrics)
        .Details(
            "Of the picture that the resident host keeps and of what it has counted, so that the controller is not asked;\n"
            "the program bmhost-web writes them. For node_exporter's textfile collector use --output. Without a resident\n"
            "host bmhost_up is 0, nothing else is said, and the status is 0.\n")
        .Example("bmhost metrics")
        .OnlyHere()
        .Example("bmhost metrics --output bmhost.prom")
        .Run([words](Context& context) -> bool { Become(context.Globals(), *words); });
}

} // namespace bmhost
