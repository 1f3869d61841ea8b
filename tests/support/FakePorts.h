#pragma once
// Scripted stand-ins for the platform ports, for logic and form tests.
#include "platform/Ports.h"

#include <array>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace station::test {

class FakeHttp : public HttpClient {
public:
    struct Call {
        std::string method;
        std::string url;
        std::string contentType;
        std::string body;
    };
    /// Answers a POST; by default with the next queued reply, else an empty 200.
    std::function<Response(const Call&)> handler;
    std::deque<Response> replies;
    std::vector<Call> calls;

    Response post(const std::string& url, const std::string& contentType, const std::string& body) override;
    Response get(const std::string& url, const BasicAuth* auth, const Progress& progress) override;
    /// Bodies of the POSTs so far.
    std::vector<std::string> bodies() const;

    static Response ok(std::string body) { return {true, 200, std::move(body), {}}; }
    static Response failed() { return {false, 0, {}, "connection refused"}; }
};

class FakeAdapters : public NetworkAdapters {
public:
    std::vector<Adapter> adapters;
    std::vector<Adapter> list() override { return adapters; }
};

class FakeSingleInstance : public SingleInstance {
public:
    bool free = true;
    bool acquire() override { return free; }
};

class FakeBrowser : public Browser {
public:
    std::vector<std::string> opened;
    bool open(const std::string& url) override {
        opened.push_back(url);
        return true;
    }
};

class FakeDialogs : public Dialogs {
public:
    struct Shown {
        std::string text;
        Icon icon;
        Buttons buttons;
        std::optional<std::string> title;
    };
    std::vector<Shown> shown;
    Answer answer = Answer::Ok;
    std::string inputAnswer;
    std::string fileAnswer;
    /// Runs while a message box is "open", as events run under a real modal box.
    std::function<void(const std::string& text)> whileShown;

    Answer message(const std::string& text, Icon icon, Buttons buttons,
                   const std::optional<std::string>& title) override {
        shown.push_back({text, icon, buttons, title});
        if (whileShown)
            whileShown(text);
        return answer;
    }
    /// The texts of the boxes shown so far, in order.
    std::vector<std::string> texts() const {
        std::vector<std::string> out;
        for (const auto& m : shown)
            out.push_back(m.text);
        return out;
    }
    std::string input(const std::string&) override { return inputAnswer; }
    std::string openFile(const std::string&, const std::string&) override { return fileAnswer; }
    std::string saveFile(const std::string&, const std::string&) override { return fileAnswer; }
};

class CountingYield : public Yield {
public:
    int count = 0;
    std::vector<std::chrono::milliseconds> pauses;
    void yield() override { ++count; }
    void pause(std::chrono::milliseconds duration) override { pauses.push_back(duration); }
};

class FakeClock : public Clock {
public:
    std::chrono::system_clock::time_point time{std::chrono::sys_days{std::chrono::year{2026} / 11 / 22}};
    std::chrono::system_clock::time_point now() override { return time; }
};

/// Windows by title from a settable map; records what was done to them.
class FakeClientWindows : public ClientWindows {
public:
    std::map<std::string, Handle> windows;
    std::vector<Handle> shown, broughtForward;
    std::vector<std::pair<Handle, int>> fonts;
    Handle findByTitle(const std::string& title) override {
        auto it = windows.find(title);
        return it == windows.end() ? 0 : it->second;
    }
    void show(Handle w) override { shown.push_back(w); }
    void bringForward(Handle w) override { broughtForward.push_back(w); }
    void setConsoleFont(Handle w, int index) override { fonts.emplace_back(w, index); }
};

class FakeProcessLauncher : public ProcessLauncher {
public:
    std::vector<std::pair<std::string, Show>> started;
    bool succeed = true;
    bool start(const std::string& commandLine, Show show) override {
        started.emplace_back(commandLine, show);
        return succeed;
    }
};

/// A host line driven by the test: it records what the station did and lets the test raise the
/// socket's events.
class FakeHostSocket : public HostSocket {
public:
    Events events;
    bool connected = false;
    std::string host;
    std::vector<std::string> dials, sent;
    int closes = 0;
    void setEvents(Events e) override { events = std::move(e); }
    void connectTo(const std::string& h, std::uint16_t) override {
        host = h;
        dials.push_back(h);
    }
    void close() override {
        ++closes;
        connected = false;
    }
    bool isConnected() const override { return connected; }
    void send(const std::string& data) override { sent.push_back(data); }
    std::string remoteHost() const override { return host; }
};

class FakeSpooler : public Spooler {
public:
    std::vector<std::string> installed;
    struct Job {
        std::string printer, document, data;
    };
    std::vector<Job> jobs;
    Result result = Result::Done;
    /// When set, the spooler cannot be asked: every call throws it.
    std::optional<SpoolerUnavailable> unavailable;
    std::vector<std::string> printers() override {
        if (unavailable)
            throw *unavailable;
        return installed;
    }
    Result printRaw(const std::string& printer, const std::string& document, const std::string& data) override {
        if (unavailable)
            throw *unavailable;
        if (result == Result::Done)
            jobs.push_back({printer, document, data});
        return result;
    }
};

/// Records the printer object's calls in order as readable lines. `fault`, when set, sees each
/// call first and may throw for it, as a failing printer or spooler would.
class FakeTextPrinter : public TextPrinter {
public:
    std::vector<std::string> installed;
    std::vector<std::string> calls;
    /// Starts as the system's default printer; empty: there is none.
    std::string currentPrinter = "Default";
    std::function<void(const std::string& call)> fault;

    std::vector<std::string> printers() override {
        check("printers");
        return installed;
    }
    void select(const std::string& name) override {
        record("select " + name);
        for (const auto& p : installed)
            if (p == name)
                currentPrinter = name;
    }
    std::string current() override { return currentPrinter; }
    void setFont(const std::string& family, float size) override {
        record("font " + family + " " + std::to_string(size));
    }
    void setOrientation(Orientation o) override { record("orientation " + std::to_string(static_cast<int>(o))); }
    void print(const std::string& text) override { record("print " + text); }
    void endDocument() override { record("end"); }

private:
    void check(const std::string& call) {
        if (fault)
            fault(call);
    }
    void record(const std::string& call) {
        check(call);
        calls.push_back(call);
    }
};

/// Libraries by path from a settable map of their functions.
class FakeLibraries : public SharedLibraries {
public:
    std::map<std::string, std::map<std::string, Function>> libraries;
    std::unique_ptr<Library> load(const std::string& path) override;
};

/// A reader whose calls are recorded in order as readable lines ("setting CommPort=7", "open",
/// "command SWA 00100010", "start 0002", "save PATH", "close"); the test plays the reader's side
/// with complete() and fail().
class FakeMicrReader : public MicrReader {
public:
    std::vector<std::string> calls;
    bool opens = true;
    std::string openError = "COM1 (/dev/ttyS0): No such file or directory";
    std::array<std::string, 3> tracks;
    std::string micr;
    /// The check image the reader holds; none: saveImage() answers 1 and writes nothing.
    std::optional<std::string> image;
    std::function<void()> completeHandler;
    std::function<void(const std::string&)> faultHandler;

    void setSetting(const std::string& name, const std::string& value) override {
        calls.push_back("setting " + name + "=" + value);
    }
    bool open() override {
        calls.emplace_back("open");
        return opens;
    }
    std::string error() const override { return openError; }
    void command(const std::string& text) override { calls.push_back("command " + text); }
    void start(const std::string& argument) override { calls.push_back("start " + argument); }
    void onReadComplete(std::function<void()> handler) override { completeHandler = std::move(handler); }
    void onFault(std::function<void(const std::string&)> handler) override { faultHandler = std::move(handler); }
    std::string track(int number) override { return tracks.at(static_cast<std::size_t>(number - 1)); }
    std::string micrLine() override { return micr; }
    int saveImage(const std::string& path) override;
    void close() override { calls.emplace_back("close"); }

    /// The reader has read a card (tracks) or a check (micr, image).
    void complete() { completeHandler(); }
    void fail(const std::string& reason) { faultHandler(reason); }
};

/// A server's file fetched to disk: the whole file or, asked for the rest under the current
/// validator, the rest appended; optionally broken off after a number of bytes of the file.
class FakeDownloader : public FileDownloader {
public:
    std::string file;                     ///< what the server holds
    std::string validator = "\"v1\"";     ///< its ETag
    std::optional<std::uint64_t> breakAt; ///< the transfer fails once the file has this many bytes
    bool refuse = false;                  ///< no answer at all
    std::vector<Request> requests;
    Result download(const Request& request, const Progress& progress) override;
};

/// Signatures that verify while `valid` holds; the digest is the bytes it was given.
class FakeSignatures : public SignatureVerifier {
public:
    bool valid = true;
    std::shared_ptr<Digest> blake2b512() override;
    bool ed25519(std::string_view, std::string_view, std::string_view) override { return valid; }
};

/// An FTP server in memory: folders of named files, the sessions' calls in order, and faults on
/// demand. Every session the fake opens works on the same server.
class FakeFtpSessions : public FtpSessions {
public:
    std::map<std::string, std::map<std::string, std::string>> folders;
    std::vector<std::string> calls;
    int logins = 0;
    /// When set, the next call fails with this description (and, if `dropLine`, disconnects).
    std::optional<std::string> failNext;
    bool dropLine = false;
    /// When set, the next call that begins with this text fails with `failNext`.
    std::string failWhen;
    /// Calls the server always refuses (with a 550), the line staying good: "list -lr *.*", say.
    std::set<std::string> refused;
    /// Called as a file is stored, with (busy, done, total) steps of the fake's own choosing.
    std::vector<std::uint64_t> progressSteps;

    std::unique_ptr<FtpClient> open() override;
};

/// Registry values by key and name.
class FakeRegistry : public Registry {
public:
    bool exists = true;
    std::map<std::pair<std::string, std::string>, std::string> values;
    bool present() const override { return exists; }
    std::optional<std::string> localMachineValue(const std::string& key, const std::string& name) override {
        const auto it = values.find({key, name});
        if (it == values.end())
            return std::nullopt;
        return it->second;
    }
};

/// One of each fake, with the Ports view over them.
struct FakePorts {
    FakeHttp http;
    FakeAdapters adapters;
    FakeSingleInstance singleInstance;
    FakeBrowser browser;
    FakeDialogs dialogs;
    CountingYield yield;
    FakeClock clock;
    FakeClientWindows clientWindows;
    FakeProcessLauncher processLauncher;
    FakeHostSocket hostSocket;
    FakeSpooler spooler;
    FakeTextPrinter textPrinter;
    FakeLibraries libraries;
    FakeMicrReader micrReader;
    FakeFtpSessions ftp;
    FakeRegistry registry;
    FakeDownloader downloader;
    FakeSignatures signatures;
    Ports ports{.http = http,
                .adapters = adapters,
                .singleInstance = singleInstance,
                .browser = browser,
                .dialogs = dialogs,
                .yield = yield,
                .clock = clock,
                .clientWindows = clientWindows,
                .processLauncher = processLauncher,
                .hostSocket = hostSocket,
                .spooler = spooler,
                .textPrinter = textPrinter,
                .libraries = libraries,
                .micrReader = micrReader,
                .ftp = ftp,
                .registry = registry,
                .downloader = downloader,
                .signatures = signatures};
};

/// The real adapters a test brings; every port left null is the fake's.
struct RealPorts {
    HttpClient* http = nullptr;
    NetworkAdapters* adapters = nullptr;
    Yield* yield = nullptr;
    ClientWindows* clientWindows = nullptr;
    ProcessLauncher* processLauncher = nullptr;
    HostSocket* hostSocket = nullptr;
    Spooler* spooler = nullptr;
    TextPrinter* textPrinter = nullptr;
    MicrReader* micrReader = nullptr;
    FtpSessions* ftp = nullptr;
    Registry* registry = nullptr;
    FileDownloader* downloader = nullptr;
    SignatureVerifier* signatures = nullptr;
};

/// A port bundle with the given real adapters over the fakes.
inline Ports portsOver(FakePorts& fake, const RealPorts& real) {
    const auto pick = [](auto* chosen, auto& otherwise) -> auto& {
        return chosen ? *chosen : otherwise;
    };
    return Ports{.http = pick(real.http, fake.http),
                 .adapters = pick(real.adapters, fake.adapters),
                 .singleInstance = fake.singleInstance,
                 .browser = fake.browser,
                 .dialogs = fake.dialogs,
                 .yield = pick(real.yield, fake.yield),
                 .clock = fake.clock,
                 .clientWindows = pick(real.clientWindows, fake.clientWindows),
                 .processLauncher = pick(real.processLauncher, fake.processLauncher),
                 .hostSocket = pick(real.hostSocket, fake.hostSocket),
                 .spooler = pick(real.spooler, fake.spooler),
                 .textPrinter = pick(real.textPrinter, fake.textPrinter),
                 .libraries = fake.libraries,
                 .micrReader = pick(real.micrReader, fake.micrReader),
                 .ftp = pick(real.ftp, fake.ftp),
                 .registry = pick(real.registry, fake.registry),
                 .downloader = pick(real.downloader, fake.downloader),
                 .signatures = pick(real.signatures, fake.signatures)};
}

/// A service reply of `count` store records for station `station`, each field ended by "|".
std::string storeListReply(std::size_t count, const std::string& station = "001122334455");

} // namespace station::test
