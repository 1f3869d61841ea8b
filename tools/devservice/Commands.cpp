#include "tools/devservice/Commands.h"

#include "tools/devservice/Database.h"
#include "tools/devservice/DemoData.h"
#include "tools/devservice/HttpServer.h"
#include "tools/devservice/Releases.h"
#include "tools/devservice/WireText.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <thread>

namespace devservice {

namespace {

constexpr const char* usage = R"(usage:
  devservice serve --port N --db FILE [--files DIR] [--bind ADDRESS]
  devservice seed --db FILE [--station ID] [--stores N] [--files DIR]
  devservice shutdown --db FILE STOREKEY
  devservice reopen --db FILE STOREKEY
  devservice set-update --db FILE [--station ID] URL      (URL "" removes it)
  devservice set-reply --db FILE [--station ID] TEXT      (fixed "mac=" reply)
  devservice clear-reply --db FILE [--station ID]
  devservice set-report --db FILE PREFIX FONT SIZE P|L
  devservice stores --db FILE [--station ID]
  devservice settings --db FILE [--station ID]
  devservice tickets --db FILE
  devservice alerts --db FILE
  devservice oncall --db FILE
  devservice set-oncall --db FILE [EMAIL ...]            (replaces the on-call list)
  devservice uploads --db FILE
  devservice versions --db FILE
  devservice requests --db FILE [--key KEY]
  devservice publish --db FILE --version V --installer FILE [--readme FILE] [--sign KEY.sec]
                                                          (a release under rdp/; with --sign also
                                                          rdp/setup.exe.minisig, made with a minisign
                                                          secret key without password, minisign -G -W)
  devservice cut-download --db FILE BYTES                 (the next update download breaks off
                                                          after BYTES bytes, once)
)";

constexpr int exitOk = 0;
constexpr int exitFailed = 1;
constexpr int exitUsage = 2;
constexpr int maxDemoStores = 99999; // serial numbers keep five digits for the store

class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct Arguments {
    std::string command;
    std::map<std::string, std::string> options;
    std::vector<std::string> positional;

    std::optional<std::string> option(const std::string& name) const {
        const auto it = options.find(name);
        if (it == options.end())
            return std::nullopt;
        return it->second;
    }
    std::string required(const std::string& name) const {
        auto value = option(name);
        if (!value)
            throw UsageError(command + " needs " + name);
        return *value;
    }
    /// Station ids are keyed as the station sends them, without dashes.
    std::optional<std::string> station() const {
        auto value = option("--station");
        if (!value)
            return std::nullopt;
        return stripDashes(*value);
    }
    void expectPositional(std::size_t count) const {
        if (positional.size() != count)
            throw UsageError(command + " takes " + std::to_string(count) + " argument(s)");
    }
};

Arguments parse(const std::vector<std::string>& args) {
    static const std::vector<std::string> valued = {"--port",      "--db",     "--files", "--bind",
                                                    "--station",   "--stores", "--key",   "--version",
                                                    "--installer", "--readme", "--sign"};
    if (args.empty())
        throw UsageError("no command");
    Arguments parsed;
    parsed.command = args[0];
    bool optionsEnded = false;
    for (std::size_t i = 1; i < args.size(); ++i) {
        const auto& arg = args[i];
        if (!optionsEnded && arg == "--") {
            optionsEnded = true;
        } else if (!optionsEnded && arg.starts_with("--")) {
            if (std::find(valued.begin(), valued.end(), arg) == valued.end())
                throw UsageError("unknown option " + arg);
            if (i + 1 >= args.size())
                throw UsageError(arg + " needs a value");
            parsed.options[arg] = args[++i];
        } else {
            parsed.positional.push_back(arg);
        }
    }
    return parsed;
}

int toNumber(const std::string& text, const std::string& what, int low, int high) {
    int value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec != std::errc() || end != text.data() + text.size() || value < low || value > high)
        throw UsageError(what + " must be a number from " + std::to_string(low) + " to " + std::to_string(high));
    return value;
}

std::filesystem::path filesFolder(const Arguments& a) {
    return a.option("--files").value_or(defaultFilesFolder(a.required("--db")));
}

/// Opens the database; a new file gets its reference rows (report formats, on-call list).
std::unique_ptr<Database> openDatabase(const Arguments& a) {
    auto db = std::make_unique<Database>(a.required("--db"));
    if (db->claimFirstUse())
        seedReferenceRows(*db);
    return db;
}

std::string settingsText(const SettingsRow& row) {
    return joinEnded(std::vector<std::string>(row.begin(), row.end()));
}

std::string tabbed(const std::vector<std::string>& columns) {
    std::string line;
    for (std::size_t k = 0; k < columns.size(); ++k)
        line += (k ? "\t" : "") + escapeForLine(columns[k]);
    return line;
}

} // namespace

std::string defaultFilesFolder(const std::string& dbPath) {
    const std::filesystem::path db(dbPath);
    return (db.parent_path() / (db.stem().string() + "-files")).string();
}

namespace {

int serve(const Arguments& a, std::ostream& out, std::ostream& err, const std::function<bool()>& stopRequested) {
    const std::string host = a.option("--bind").value_or("127.0.0.1");
    const int port = toNumber(a.option("--port").value_or("0"), "--port", 0, 65535);
    const auto files = filesFolder(a);
    std::filesystem::create_directories(files);

    auto db = openDatabase(a);
    HttpServer server(*db, files);
    const int bound = server.bind(host, port);
    if (bound < 0) {
        err << "devservice: cannot listen on " << host << ":" << port << '\n';
        return exitFailed;
    }
    std::thread worker([&server] { server.run(); });
    if (!server.waitUntilRunning(std::chrono::seconds(10))) {
        err << "devservice: server did not start\n";
        server.stop();
        worker.join();
        return exitFailed;
    }
    // Scripts wait for this line: it comes only once connections are really accepted.
    out << "listening on " << host << ":" << bound << std::endl;
    while (!stopRequested() && server.isRunning())
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    server.stop();
    worker.join();
    return exitOk;
}

int seed(const Arguments& a, std::ostream& out) {
    a.expectPositional(0);
    const auto station = a.station();
    const auto count = a.option("--stores");
    const int n = count ? toNumber(*count, "--stores", 0, maxDemoStores) : 0;

    auto db = openDatabase(a);
    seedReferenceRows(*db);
    const auto files = filesFolder(a);
    writeSampleFiles(files);
    out << "sample files in " << files.string() << '\n';

    if (count) {
        if (station) {
            db->replaceStores(*station, demoStores(n));
            out << "station " << *station << ": " << n << " stores\n";
        } else {
            // Every station, known or still to come, gets the new count.
            db->setDemoStoreCount(n);
            for (const auto& known : db->stations())
                db->replaceStores(known, demoStores(n));
            out << "every station: " << n << " stores\n";
        }
    } else if (station) {
        db->replaceStores(*station, demoStores(db->demoStoreCount().value_or(defaultStoreCount)));
        out << "station " << *station << ": demo stores\n";
    }
    return exitOk;
}

int setShutDown(const Arguments& a, std::ostream& out, std::ostream& err, bool shutDown) {
    a.expectPositional(1);
    const auto& key = a.positional[0];
    auto db = openDatabase(a);
    if (!db->storeKeyKnown(key))
        err << "devservice: note: no station has a store named " << key << '\n';
    db->setShutDown(key, shutDown);
    out << key << (shutDown ? " shut down for maintenance\n" : " reopened\n");
    return exitOk;
}

int listStores(const Arguments& a, std::ostream& out) {
    auto db = openDatabase(a);
    const auto only = a.station();
    for (const auto& station : only ? std::vector<std::string>{*only} : db->stations())
        for (const auto& s : db->stores(station))
            out << tabbed({station, s.serialNumber, s.terminalNumber, s.userName, s.password, s.clusterAddress,
                           s.hostPort, s.domainName, s.extra1, s.storeName, s.displayUser})
                << '\n';
    return exitOk;
}

int listSettings(const Arguments& a, std::ostream& out, std::ostream& err) {
    auto db = openDatabase(a);
    if (const auto station = a.station()) {
        const auto row = db->settings(*station);
        if (!row) {
            err << "devservice: station " << *station << " has no settings row\n";
            return exitFailed;
        }
        out << tabbed({*station, settingsText(*row)}) << '\n';
        return exitOk;
    }
    for (const auto& [station, row] : db->allSettings())
        out << tabbed({station, settingsText(row)}) << '\n';
    return exitOk;
}

int dispatch(const Arguments& a, std::ostream& out, std::ostream& err, const std::function<bool()>& stopRequested) {
    const auto& c = a.command;
    if (c == "serve")
        return serve(a, out, err, stopRequested);
    if (c == "seed")
        return seed(a, out);
    if (c == "shutdown" || c == "reopen")
        return setShutDown(a, out, err, c == "shutdown");
    if (c == "set-update") {
        a.expectPositional(1);
        openDatabase(a)->setUpdateBase(a.station().value_or(""), a.positional[0]);
        return exitOk;
    }
    if (c == "publish") {
        a.expectPositional(0);
        Release release{a.required("--version"), a.required("--installer"), std::nullopt, std::nullopt};
        if (const auto readMe = a.option("--readme"))
            release.readMe = *readMe;
        if (const auto key = a.option("--sign"))
            release.signingKey = *key;
        publishRelease(filesFolder(a), release);
        out << "release " << release.version << (release.signingKey ? " (signed)" : "") << " published\n";
        return exitOk;
    }
    if (c == "cut-download") {
        a.expectPositional(1);
        cutNextDownload(filesFolder(a), static_cast<std::uint64_t>(toNumber(a.positional[0], "BYTES", 1, 1 << 30)));
        return exitOk;
    }
    if (c == "set-reply") {
        a.expectPositional(1);
        openDatabase(a)->setStoreListOverride(a.station(), a.positional[0]);
        return exitOk;
    }
    if (c == "clear-reply") {
        a.expectPositional(0);
        openDatabase(a)->setStoreListOverride(a.station(), std::nullopt);
        return exitOk;
    }
    if (c == "set-report") {
        a.expectPositional(4);
        const auto& p = a.positional;
        openDatabase(a)->putReportFormat(p[0], {p[1], p[2], p[3]});
        return exitOk;
    }
    if (c == "stores")
        return listStores(a, out);
    if (c == "settings")
        return listSettings(a, out, err);
    if (c == "tickets") {
        for (const auto& t : openDatabase(a)->tickets()) {
            const auto& f = t.fields;
            out << tabbed({std::to_string(t.number), t.dateCreated, f.email, f.contactName, f.productCode, f.chain,
                           f.serial, f.summary, f.problem, f.phone, f.status, f.locationName, f.priority})
                << '\n';
        }
        return exitOk;
    }
    if (c == "alerts") {
        for (const auto& text : openDatabase(a)->alerts())
            out << escapeForLine(text) << '\n';
        return exitOk;
    }
    if (c == "oncall") {
        for (const auto& email : openDatabase(a)->onCall())
            out << email << '\n';
        return exitOk;
    }
    if (c == "set-oncall") {
        openDatabase(a)->replaceOnCall(a.positional);
        return exitOk;
    }
    if (c == "uploads") {
        for (const auto& [station, saved] : openDatabase(a)->uploadFolders())
            out << tabbed({std::to_string(saved.record), station, saved.folder}) << '\n';
        return exitOk;
    }
    if (c == "versions") {
        for (const auto& v : openDatabase(a)->versions())
            out << tabbed({v[0], v[1], v[2]}) << '\n';
        return exitOk;
    }
    if (c == "requests") {
        for (const auto& r : openDatabase(a)->requests(a.option("--key").value_or("")))
            out << tabbed({std::to_string(r.id), r.method, r.path, std::to_string(r.status), r.key, r.value, r.reply,
                           r.contentType})
                << '\n';
        return exitOk;
    }
    throw UsageError("unknown command " + c);
}

} // namespace

int runCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
               const std::function<bool()>& stopRequested) {
    try {
        return dispatch(parse(args), out, err, stopRequested);
    } catch (const UsageError& e) {
        err << "devservice: " << e.what() << "\n" << usage;
        return exitUsage;
    } catch (const std::exception& e) {
        err << "devservice: " << e.what() << '\n';
        return exitFailed;
    }
}

} // namespace devservice
