// Any bytes the store host may send: the channel must run or ignore them without a fault, and
// answer only "/R=" (with "/L=" and the identity).
#include "host/HostChannel.h"
#include "host/HostCommands.h"

#include <cstdlib>

namespace {

using namespace station;

class Socket : public HostSocket {
public:
    std::size_t answers = 0;
    void setEvents(Events) override {}
    void connectTo(const std::string&, std::uint16_t) override {}
    void close() override {}
    bool isConnected() const override { return true; }
    void send(const std::string& data) override {
        if (data != "/L=00-11-22")
            std::abort();
        ++answers;
    }
    std::string remoteHost() const override { return "127.0.0.2"; }
};

class Quiet : public Dialogs, public Yield, public ChannelView {
public:
    Answer message(const std::string&, Icon, Buttons, const std::optional<std::string>&) override { return Answer::Ok; }
    std::string input(const std::string&) override { return {}; }
    std::string openFile(const std::string&, const std::string&) override { return {}; }
    std::string saveFile(const std::string&, const std::string&) override { return {}; }
    void yield() override {}
    void pause(std::chrono::milliseconds) override {}
    std::string panelText() const override { return text; }
    void setPanelText(const std::string& t) override { text = t; }
    void setPanelToolTip(const std::string&) override {}
    void showPanel() override {}
    void showPole() override {}
    void setPoleLine(int index, const std::string&) override {
        if (index != 0 && index != 1)
            std::abort();
    }
    std::string text = "Open";
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view read(reinterpret_cast<const char*>(data), size);
    StationState state;
    state.stationId = "00-11-22";
    state.settings.open();
    state.settings.addRow();
    state.settings.set("prt3", "Test Pole");
    Socket socket;
    Quiet quiet;
    HostChannel channel(state, socket, quiet, quiet, quiet, [](const std::string& storeId, const std::string&) {
        if (storeId.size() > 10)
            std::abort();
    });
    channel.received(read);
    if (quiet.text != "Open")
        std::abort();
    std::size_t requests = 0;
    for (const auto command : splitCommands(read))
        requests += commandKind(command) == HostCommandKind::Request;
    if (requests != socket.answers)
        std::abort();
    return 0;
}
