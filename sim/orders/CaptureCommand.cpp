// bladesim's command that makes a blade file of a real blade.
#include "sim/orders/CaptureCommand.h"

#include "sim/capture/Anonymise.h"
#include "sim/capture/CaptureFile.h"
#include "sim/capture/ComposeBlade.h"
#include "sim/capture/IpmiDevice.h"
#include "sim/capture/LocalBoard.h"
#include "sim/orders/OrderCommand.h"

#include <cstdio>
#include <random>

namespace bladesim {
namespace {

constexpr char CaptureFooter[] =
    "It reads only: nothing that it asks changes the blade. When it is ended, or the controller goes away, there is no FILE.\n"
    "Progress is on standard error.\n\n"
    "Example: bladesim capture slot7.json; bladesim --blade ./slot7.json -- bmhost inventory";

void TellPerson(const std::string& line) {
    std::fprintf(stderr, "bladesim: %s\n", bm_dev::Printable(line, "").c_str());
}

class CaptureCommand : public OrderCommand {
public:
    CaptureCommand() {
        CLI::App& capture = AddCommand(
            "capture", "Reads the blade behind this machine's /dev/ipmi0, and writes a blade file that is that blade.");
        capture.footer(CaptureFooter);
        capture.add_option("FILE", m_file, "The blade file; one that is there is replaced")->required()->type_name("");
        capture.add_flag("--anonymise", m_anonymise, "Replace serial numbers and MAC addresses, the same by the same");
        Does(capture, [this] { Capture(); });
    }

private:
    void Capture() const {
        CheckWritable(m_file);
        IpmiDevice device;
        Conversation conversation([&](const Bytes& request) { return device.Ask(request); }, TellPerson);
        CapturedController captured = ReadController(conversation);
        Board board = ReadLocalBoard();
        if (m_anonymise) Anonymise(captured, board, std::random_device()());
        Blade blade = ComposeBlade(captured, TellPerson);
        blade.m_board = board;
        WriteCaptured(m_file, blade, captured);
        TellPerson(m_file + ": " + std::to_string(captured.m_replies.size()) + " replies, " +
                   std::to_string(blade.m_replies.size()) + " of them kept as they are, " +
                   std::to_string(blade.m_faults.size()) + " faults");
    }

    std::string m_file;
    bool m_anonymise = false;
};

} // namespace

int RunCaptureCommand(int count, char** arguments) {
    return CaptureCommand().Run(count, arguments);
}

} // namespace bladesim
