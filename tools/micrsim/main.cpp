// micrsim: a card and check reader on a pseudo-terminal, for tests and the demo. It makes the
// terminal itself, links it where asked (a "COMn" file in the station's STATION_SERIAL_DIR),
// logs every command line the station sends and plays a script of reads.
//
//   micrsim --link PATH [--link PATH...] [--script FILE] [--log FILE]
//
// Prints "pty DEVICE" once the terminal is ready. The reader answers as the family's readers
// do: a command with data is taken silently, "TI" sends the image of the last check (length in
// 16-bit words, MSB first, 2 bytes or 0x00 + 3 bytes, then the bytes) or "?" when there is none,
// a switch command without data answers its bits, anything it does not know "?".
// Script lines (empty lines and lines starting with "#" are skipped):
//   armed [MS]         wait until the station has sent its start command ("FC...", default 30000)
//   sleep MS           pause, still answering commands
//   card T1|T2|T3      a card swipe; an empty track is not sent, "E" marks a failed track
//   check MICR [SIZE]  a check: the MICR line, and an image of SIZE bytes (default none) that
//                      "TI" fetches
//   noread             a check the reader could not read (status 01, no MICR line)
//   cut TEXT           the start of a message that never ends
//   raw TEXT           bytes as they stand (escapes \xNN \r \n \\)
//   set OPTION on|off  framing (STX/ETX), header ("C"/"M"), status ("/00"), sentinels,
//                      split (one message per track); all on but split at the start
//   exit               end at once: the port goes away under the station
// At the end of the script micrsim keeps answering until it is stopped.
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <map>
#include <poll.h>
#include <sstream>
#include <string>
#include <termios.h>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

volatile std::sig_atomic_t stopRequested = 0;

class Reader {
public:
    explicit Reader(std::ostream& log) : m_log(log) {}

    bool openTerminal(const std::vector<std::string>& links) {
        m_master = posix_openpt(O_RDWR | O_NOCTTY);
        if (m_master < 0 || grantpt(m_master) != 0 || unlockpt(m_master) != 0)
            return false;
        const char* name = ptsname(m_master);
        if (!name)
            return false;
        m_device = name;
        // Holding the far end open keeps the terminal alive between the station's opens.
        m_slave = ::open(name, O_RDWR | O_NOCTTY);
        termios raw{};
        if (m_slave < 0 || tcgetattr(m_slave, &raw) != 0)
            return false;
        cfmakeraw(&raw);
        tcsetattr(m_slave, TCSANOW, &raw);
        for (const auto& link : links) {
            ::unlink(link.c_str());
            if (::symlink(name, link.c_str()) != 0)
                return false;
        }
        return true;
    }
    const std::string& device() const { return m_device; }

    /// Answers commands for `ms`, or until `done` says so.
    template <typename Done> bool pump(long ms, Done done) {
        const auto until = Clock::now() + std::chrono::milliseconds(ms);
        while (!stopRequested) {
            if (done())
                return true;
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
            if (left <= 0)
                return false;
            pollfd p{m_master, POLLIN, 0};
            const int n = ::poll(&p, 1, static_cast<int>(std::min<long>(left, 100)));
            if (n <= 0 || !(p.revents & POLLIN))
                continue;
            char buffer[512];
            const auto got = ::read(m_master, buffer, sizeof buffer);
            for (ssize_t i = 0; i < got; ++i)
                take(buffer[i]);
        }
        return false;
    }
    bool pump(long ms) {
        return pump(ms, [] { return false; });
    }

    bool armed() const { return m_armed; }
    void send(const std::string& bytes) {
        std::size_t at = 0;
        while (at < bytes.size()) {
            const auto n = ::write(m_master, bytes.data() + at, bytes.size() - at);
            if (n < 0) {
                if (errno == EAGAIN || errno == EINTR)
                    continue;
                return;
            }
            at += static_cast<std::size_t>(n);
        }
    }

    void card(const std::string& line) {
        std::vector<std::string> tracks;
        std::stringstream in(line);
        for (std::string t; std::getline(in, t, '|');)
            tracks.push_back(t);
        tracks.resize(3);
        std::vector<std::string> parts;
        for (std::size_t i = 0; i < 3; ++i) {
            if (tracks[i].empty())
                continue;
            parts.push_back(option("sentinels") ? std::string(i == 0 ? "%" : ";") + tracks[i] + "?" : tracks[i]);
        }
        if (option("split")) {
            for (const auto& p : parts)
                message("M", p, "00");
        } else {
            std::string all;
            for (const auto& p : parts)
                all += p;
            message("M", all, "00");
        }
        m_log << "* card " << line << std::endl;
        m_armed = false;
    }
    void check(const std::string& micr, std::size_t imageSize) {
        m_image = imageSize ? tiffOf(imageSize) : std::string();
        message("C", micr, micr.empty() ? "01" : "00");
        m_log << "* check " << micr << " image " << imageSize << std::endl;
        m_armed = false;
    }
    void setOption(const std::string& name, bool on) { m_options[name] = on; }

private:
    bool option(const std::string& name) const {
        const auto it = m_options.find(name);
        return it != m_options.end() && it->second;
    }
    void message(const std::string& header, const std::string& data, const std::string& status) {
        std::string m;
        if (option("framing"))
            m += "\x02";
        if (option("header"))
            m += header;
        m += data;
        if (option("status"))
            m += "/" + status;
        m += option("framing") ? "\x03\r\n" : "\r\n";
        send(m);
    }
    // A little-endian TIFF header followed by filler: the station keeps the bytes as they come.
    static std::string tiffOf(std::size_t size) {
        std::string image("II*\0\x08\0\0\0", 8);
        for (std::size_t i = image.size(); i < size; ++i)
            image.push_back(static_cast<char>(i * 31 % 251));
        image.resize(size);
        return image;
    }
    void take(char c) {
        if (c != '\r' && c != '\n') {
            m_line.push_back(c);
            return;
        }
        if (m_line.empty())
            return;
        const std::string line = m_line;
        m_line.clear();
        m_log << "< " << line << std::endl;
        answer(line);
    }
    void answer(const std::string& line) {
        if (line.rfind("FC", 0) == 0) {
            m_armed = true;
            return;
        }
        if (line == "TI") {
            if (m_image.empty()) {
                send("?\r");
                return;
            }
            std::string image = m_image;
            if (image.size() % 2)
                image.push_back('\0');
            const auto words = image.size() / 2;
            std::string length;
            if (words > 0xFFFF)
                length = std::string(1, '\0') + static_cast<char>(words >> 16) + static_cast<char>(words >> 8) +
                         static_cast<char>(words);
            else
                length = std::string(1, static_cast<char>(words >> 8)) + static_cast<char>(words);
            send(length + image);
            m_log << "* image " << image.size() << " bytes" << std::endl;
            return;
        }
        const auto blank = line.find(' ');
        const auto command = line.substr(0, blank);
        static const char* known[] = {"SWA", "SWB", "SWC", "SWD", "SWE", "SWI", "HW"};
        for (const char* k : known) {
            if (command != k)
                continue;
            if (blank == std::string::npos)
                send(m_switches.count(command) ? m_switches[command] + "\r" : "00000000\r");
            else
                m_switches[command] = line.substr(blank + 1);
            return;
        }
        send("?\r");
    }

    std::ostream& m_log;
    int m_master = -1, m_slave = -1;
    std::string m_device, m_line, m_image;
    bool m_armed = false;
    std::map<std::string, std::string> m_switches;
    std::map<std::string, bool> m_options{
        {"framing", true}, {"header", true}, {"status", true}, {"sentinels", true}, {"split", false}};
};

std::string unescape(const std::string& s) {
    std::string out;
    for (std::size_t i = 0; i < s.size(); ++i) {
        if (s[i] != '\\' || i + 1 == s.size()) {
            out.push_back(s[i]);
            continue;
        }
        const char e = s[++i];
        if (e == 'r')
            out.push_back('\r');
        else if (e == 'n')
            out.push_back('\n');
        else if (e == 'x' && i + 2 < s.size()) {
            out.push_back(static_cast<char>(std::stoi(s.substr(i + 1, 2), nullptr, 16)));
            i += 2;
        } else
            out.push_back(e);
    }
    return out;
}

int run(Reader& reader, std::istream& script, std::ostream& log) {
    for (std::string line; !stopRequested && std::getline(script, line);) {
        if (line.empty() || line[0] == '#')
            continue;
        const auto blank = line.find(' ');
        const auto verb = line.substr(0, blank);
        const auto rest = blank == std::string::npos ? std::string() : line.substr(blank + 1);
        if (verb == "armed") {
            if (!reader.pump(rest.empty() ? 30000 : std::stol(rest), [&] { return reader.armed(); }))
                log << "* not armed in time" << std::endl;
        } else if (verb == "sleep") {
            reader.pump(std::stol(rest));
        } else if (verb == "card") {
            reader.card(rest);
        } else if (verb == "check") {
            const auto space = rest.find(' ');
            reader.check(rest.substr(0, space), space == std::string::npos ? 0 : std::stoul(rest.substr(space + 1)));
        } else if (verb == "noread") {
            reader.check("", 0);
        } else if (verb == "cut") {
            reader.send("\x02" + rest);
        } else if (verb == "raw") {
            reader.send(unescape(rest));
        } else if (verb == "set") {
            const auto space = rest.find(' ');
            reader.setOption(rest.substr(0, space), rest.substr(space + 1) == "on");
        } else if (verb == "exit") {
            log << "* exit" << std::endl;
            return 0;
        } else {
            std::cerr << "micrsim: unknown script line: " << line << "\n";
            return 2;
        }
    }
    while (!stopRequested)
        reader.pump(1000);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    std::vector<std::string> links;
    std::string scriptPath, logPath;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string flag = argv[i];
        if (flag == "--link")
            links.emplace_back(argv[i + 1]);
        else if (flag == "--script")
            scriptPath = argv[i + 1];
        else if (flag == "--log")
            logPath = argv[i + 1];
    }
    std::signal(SIGTERM, [](int) { stopRequested = 1; });
    std::signal(SIGINT, [](int) { stopRequested = 1; });
    std::ofstream logFile;
    if (!logPath.empty())
        logFile.open(logPath, std::ios::app);
    std::ostream& log = logPath.empty() ? std::cerr : logFile;

    Reader reader(log);
    if (!reader.openTerminal(links)) {
        std::cerr << "micrsim: no pseudo-terminal: " << std::strerror(errno) << "\n";
        return 1;
    }
    std::cout << "pty " << reader.device() << std::endl;
    if (scriptPath.empty())
        return run(reader, std::cin, log);
    std::ifstream script(scriptPath);
    if (!script) {
        std::cerr << "micrsim: cannot read " << scriptPath << "\n";
        return 1;
    }
    return run(reader, script, log);
}
