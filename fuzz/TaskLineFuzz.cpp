// A task line and the service's replies to it, both from the fuzzer: the print job must end in
// a message or a job, never in a fault. The input is the task line, a NUL, the printer reply,
// a NUL, the format reply, a NUL and the document.
#include "host/DocumentPrinting.h"
#include "host/TaskLine.h"
#include "service/Codec.h"

#include <array>
#include <cstdlib>

namespace {

using namespace station;

class Peers : public HttpClient, public Dialogs, public Spooler, public TextPrinter {
public:
    std::array<std::string, 4> parts;
    Response post(const std::string&, const std::string&, const std::string& body) override {
        return {true, 200, body.starts_with("prt=") ? parts[1] : parts[2], {}};
    }
    Response get(const std::string& url, const BasicAuth*, const Progress& progress) override {
        if (url.find("/../") != std::string::npos)
            std::abort();
        if (progress)
            progress(parts[3].size(), parts[3].size());
        return {true, 200, parts[3], {}};
    }
    Answer message(const std::string&, Icon, Buttons, const std::optional<std::string>&) override { return Answer::Ok; }
    std::string input(const std::string&) override { return {}; }
    std::string openFile(const std::string&, const std::string&) override { return {}; }
    std::string saveFile(const std::string&, const std::string&) override { return {}; }
    Result printRaw(const std::string&, const std::string&, const std::string& data) override {
        if (data != parts[3])
            std::abort();
        return Result::Done;
    }
    std::vector<std::string> printers() override { return {"Office", "reports"}; }
    void select(const std::string&) override {}
    std::string current() override { return "reports"; }
    void setFont(const std::string&, float) override {}
    void setOrientation(Orientation) override {}
    void print(const std::string& text) override { printed += text; }
    void endDocument() override {
        if (printed != parts[3])
            std::abort();
    }
    std::string printed;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view input(reinterpret_cast<const char*>(data), size);
    Peers peers;
    for (std::size_t i = 0; i < peers.parts.size(); ++i) {
        const auto nul = i + 1 < peers.parts.size() ? input.find('\0') : std::string_view::npos;
        peers.parts[i] = std::string(input.substr(0, nul));
        input = nul == std::string_view::npos ? std::string_view{} : input.substr(nul + 1);
    }
    IdentityCodec codec;
    ServiceClient service(peers, codec, "http://svc/terminal2secure.asp");
    DocumentPrinting printing({service, peers, peers, peers, peers}, "http://svc/Reports/");
    runPrintTask(parseTaskLine(peers.parts[0]), printing, service, "00-11-22", peers);
    return 0;
}
