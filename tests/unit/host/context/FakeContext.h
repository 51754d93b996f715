// A command's surroundings without an adaptor: what is asked of them is kept.
#pragma once

#include "host/commands/CommandList.h"
#include "host/context/Context.h"
#include "host/session/Session.h"
#include "host/words/Names.h"

#include "bm/Params.h"

#include <string>
#include <unistd.h>
#include <vector>

/// Keeps what is written, "0x30d10 0x30d12=5 -> 0x30d14=192.168.0.25", and has nothing to read.
class FakeSession final : public bmhost::Session {
public:
    int Lifecycle(bmhost::Operation) override { return bmhost::Success; }
    std::unique_ptr<BM_ADAPTOR::CBMITable> Table(unsigned, int& result) override {
        result = bmhost::NotFound;
        return nullptr;
    }
    std::unique_ptr<BM_ADAPTOR::CBMIParams> Row(unsigned, const BM_ADAPTOR::CBMIKeys&, int& result) override {
        result = bmhost::NotFound;
        return nullptr;
    }
    int WriteRow(unsigned group, BM_ADAPTOR::CBMIKeys& keys, BM_ADAPTOR::CBMIParams& values) override {
        m_written.push_back(bmhost::Hex(group) + Text(keys) + " ->" + Text(values));
        return bmhost::Success;
    }
    std::optional<bmhost::AdaptorEvent> TakeEvent(std::chrono::milliseconds) override { return std::nullopt; }
    bmhost::StorageComplaints Complaints() const override { return {}; }

    std::vector<std::string> m_written;

private:
    static std::string Text(const BM_ADAPTOR::CBMIParams& row) {
        std::string text;
        for (int i = 0; i < row.GetSize(); ++i) {
            const BM_ADAPTOR::CBMIParam& param = *row.Get(i);
            const bool isText = param.GetType() == BM_ADAPTOR::BMI_PARAM_STRING;
            text +=
                " " + bmhost::Hex(param.GetId()) + "=" + (isText ? param.GetString() : std::to_string(param.GetInt()));
        }
        return text;
    }
};

class FakeContext final : public bmhost::Context {
public:
    explicit FakeContext(const bmhost::GlobalOptions& globals = Defaults()) : Context(globals) {}

    bool Make(bmhost::Call& call) override {
        m_calls.push_back(call);
        return true;
    }
    bool WithSession(const Work& work) override {
        ++m_sessions;
        return work(m_session, Output());
    }
    bmhost::OrderOutcome Give(const bmhost::Order& order) override {
        ++m_sessions;
        m_orders.push_back(order);
        return CarryOut(order, m_session, {});
    }
    bmhost::Picture Look() override { return m_picture; }
    bmhost::Source SourceNow() override { return m_picture.m_source; }
    int Output() const override { return STDOUT_FILENO; }
    std::optional<int> Terminal() const override { return m_terminal; }
    void Answer(const std::string& text) override { m_answer += text; }

    FakeSession m_session;
    int m_sessions = 0;
    bmhost::Picture m_picture;
    std::vector<bmhost::Call> m_calls;
    std::string m_answer;
    std::vector<bmhost::Order> m_orders;
    std::optional<int> m_terminal;

private:
    static const bmhost::GlobalOptions& Defaults() {
        static const bmhost::GlobalOptions defaults;
        return defaults;
    }
};

/// Reads a line as bmhost's command line does, and runs it. Throws UsageError.
inline bool RunWords(FakeContext& context, const std::vector<std::string>& words) {
    const auto commands = bmhost::MakeCommands(bmhost::OnCommandLine);
    bmhost::GlobalOptions globals;
    AddGlobalOptions(commands->Root(), globals);
    const bmhost::Line line = commands->Read(words);
    if (line.m_command != nullptr) return Do(*line.m_command, context);
    context.Answer(line.m_answer);
    return true;
}
