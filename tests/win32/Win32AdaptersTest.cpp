// The Win32 adapters against the real system calls: run under Wine on every build, and on a
// Windows PC as they are. Everything text-shaped goes through letters beyond ASCII, because the
// station's strings are UTF-8 and the system's are UTF-16.
#include "platform/win32/WideText.h"

#include "platform/Adapters.h"
#include "platform/CommandLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <stdexcept>
#include <thread>

namespace station {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

std::string unique(const char* stem) {
    return std::string(stem) + "-" + std::to_string(GetCurrentProcessId());
}

fs::path programFolder() {
    std::wstring path(MAX_PATH, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return fs::path(path).parent_path();
}

/// A copy of the child program in a folder whose name has a blank and letters beyond ASCII,
/// as a store's program folder may.
class ChildProgram {
public:
    // A folder of its own for every case: a child that is still ending keeps its program file
    // and its report from being replaced.
    ChildProgram()
        : m_folder(fs::temp_directory_path() /
                   wide("Filiale \xC3\x9C\xC3\xA9 " + unique("k") + "-" + std::to_string(++s_count))) {
        fs::create_directories(m_folder);
        fs::copy_file(programFolder() / L"win32_test_child.exe", path(), fs::copy_options::overwrite_existing);
    }
    ~ChildProgram() {
        // The child may still be ending and hold its program file for a moment.
        std::error_code error;
        for (int attempt = 0; attempt < 50 && (fs::remove_all(m_folder, error), error); ++attempt)
            std::this_thread::sleep_for(50ms);
    }
    ChildProgram(const ChildProgram&) = delete;
    ChildProgram& operator=(const ChildProgram&) = delete;

    fs::path path() const { return m_folder / L"gs_clnt.exe"; }
    fs::path report() const { return m_folder / L"report.txt"; }
    /// The program as the first element of a command line.
    std::string quoted() const { return "\"" + narrow(path().wstring()) + "\""; }

private:
    static inline int s_count = 0;
    fs::path m_folder;
};

struct Received {
    std::string show;
    std::vector<std::string> argv;
};

/// Waits for the child's report; what it received, or nothing after a few seconds.
std::optional<Received> awaitReport(const fs::path& report) {
    for (auto waited = 0ms; waited < 10s; waited += 20ms) {
        if (fs::exists(report)) {
            std::ifstream in(report, std::ios::binary);
            const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            Received received;
            const auto lineEnd = text.find('\n');
            received.show = text.substr(0, lineEnd);
            for (auto start = lineEnd + 1; start < text.size();) {
                const auto end = text.find('\0', start);
                received.argv.push_back(text.substr(start, end - start));
                start = end + 1;
            }
            return received;
        }
        std::this_thread::sleep_for(20ms);
    }
    return std::nullopt;
}

// --- Process launch ---------------------------------------------------------------------------

struct LaunchCase {
    const char* name;
    std::string arguments;
    ProcessLauncher::Show show;
};
void PrintTo(const LaunchCase& c, std::ostream* out) {
    *out << c.name;
}

class ProcessLaunch : public testing::TestWithParam<LaunchCase> {};

// The client receives the argv that splitCommandLine predicts (the station builds the line by
// those rules), and is asked to show itself in the chosen way.
TEST_P(ProcessLaunch, ChildReceivesTheArgvTheLineStandsFor) {
    const ChildProgram child;
    ASSERT_TRUE(SetEnvironmentVariableW(L"STATION_CHILD_REPORT", child.report().c_str()));
    const std::string line = child.quoted() + " " + GetParam().arguments;

    ASSERT_TRUE(makeProcessLauncher()->start(line, GetParam().show));

    const auto received = awaitReport(child.report());
    ASSERT_TRUE(received) << "the child did not report";
    EXPECT_EQ(received->argv, splitCommandLine(line));
    const int expectedShow = GetParam().show == ProcessLauncher::Show::Maximized ? SW_SHOWMAXIMIZED : SW_SHOWNORMAL;
    EXPECT_EQ(received->show, std::to_string(expectedShow));
}

const std::string clientLine = "-b12 -uuser -P23 -ppw -h127.0.0.1 -dDOM -H180 -z -r1=ABP1 -x1234500001";

INSTANTIATE_TEST_SUITE_P(
    Table, ProcessLaunch,
    testing::Values(
        LaunchCase{"ClientArguments", clientLine, ProcessLauncher::Show::Normal},
        LaunchCase{"ClientArgumentsMaximized", clientLine, ProcessLauncher::Show::Maximized},
        LaunchCase{"Blanks", "a  \"b c\"   d \"\" e", ProcessLauncher::Show::Normal},
        LaunchCase{"Tabs", "a\t\"b\tc\"\t\td", ProcessLauncher::Show::Maximized},
        LaunchCase{"Quotes", "-r1=\"AB P1\"x \"say \\\"hi\\\"\" q\\\"", ProcessLauncher::Show::Normal},
        LaunchCase{"BackslashesBeforeQuotes", "a\\\\\"b c\" d\\\\\\\"e \"C:\\Program Files\\\\\" \\\\srv\\share\\",
                   ProcessLauncher::Show::Maximized},
        LaunchCase{"UnclosedQuote", "-pPass \"word with blanks", ProcessLauncher::Show::Normal},
        LaunchCase{"ShellCharacters", "%PATH% ^& | < > ! \"%^&|<>!\" a&&b", ProcessLauncher::Show::Maximized},
        LaunchCase{"LettersBeyondAscii",
                   "-u\xC3\x9C"
                   "bergabe \"Caf\xC3\xA9 Stra\xC3\x9F"
                   "e\" \xE6\x9D\xB1\xE4\xBA\xAC \xF0\x9F\x96\xA8",
                   ProcessLauncher::Show::Normal}),
    [](const auto& p) { return std::string(p.param.name); });

TEST(ProcessLaunchFailure, AProgramThatIsNotThereIsNotStarted) {
    const auto missing = fs::temp_directory_path() / wide(unique("nicht-da-\xC3\x9C") + ".exe");
    EXPECT_FALSE(
        makeProcessLauncher()->start("\"" + narrow(missing.wstring()) + "\" -x", ProcessLauncher::Show::Normal));
}

// --- Window search ----------------------------------------------------------------------------

/// Top-level windows made by the test, hidden until shown, gone at the end.
class TestWindows : public testing::Test {
protected:
    static void SetUpTestSuite() {
        WNDCLASSW windowClass{};
        windowClass.lpfnWndProc = DefWindowProcW;
        windowClass.hInstance = GetModuleHandleW(nullptr);
        windowClass.lpszClassName = L"StationTestWindow";
        RegisterClassW(&windowClass);
    }

    void TearDown() override {
        for (HWND window : m_windows)
            DestroyWindow(window);
    }

    ClientWindows::Handle make(const std::string& title) {
        HWND window = CreateWindowExW(0, L"StationTestWindow", wide(title).c_str(), WS_OVERLAPPEDWINDOW, 0, 0, 320, 200,
                                      nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
        EXPECT_TRUE(window) << "no window: " << systemMessage(GetLastError()) << " (is there a display?)";
        m_windows.push_back(window);
        return reinterpret_cast<ClientWindows::Handle>(window);
    }

    std::unique_ptr<ClientWindows> windows = makeClientWindows();

private:
    std::vector<HWND> m_windows;
};

// Two blanks between the name and the address, as the client titles its window.
const std::string clientTitle = "GS Telnet Client \xC3\x9C"
                                "bergabe  10.0.0.5";

struct TitleCase {
    const char* name;
    std::string searched;
};
void PrintTo(const TitleCase& c, std::ostream* out) {
    *out << c.name;
}

class WindowSearchMisses : public TestWindows, public testing::WithParamInterface<TitleCase> {};

TEST_P(WindowSearchMisses, AnyOtherTitleFindsNoWindow) {
    ASSERT_TRUE(make(clientTitle));
    ASSERT_NE(windows->findByTitle(clientTitle), 0u) << "the exact title must be found for the miss to mean anything";
    EXPECT_EQ(windows->findByTitle(GetParam().searched), 0u);
}

INSTANTIATE_TEST_SUITE_P(Table, WindowSearchMisses,
                         testing::Values(TitleCase{"LowerCase", "gs telnet client \xC3\xBC"
                                                                "bergabe  10.0.0.5"},
                                         TitleCase{"UpperCaseAscii", "GS TELNET CLIENT \xC3\x9C"
                                                                     "BERGABE  10.0.0.5"},
                                         TitleCase{"OneBlank", "GS Telnet Client \xC3\x9C"
                                                               "bergabe 10.0.0.5"},
                                         TitleCase{"TrailingBlank", clientTitle + " "},
                                         TitleCase{"Prefix", "GS Telnet Client \xC3\x9C"
                                                             "bergabe"},
                                         TitleCase{"Empty", ""}),
                         [](const auto& p) { return std::string(p.param.name); });

TEST_F(TestWindows, TitlesThatDifferOnlyInLetterCaseAreDifferentWindows) {
    const auto lower = make("gs telnet client \xC3\xBC"
                            "bergabe  10.0.0.5");
    const auto exact = make(clientTitle);
    EXPECT_EQ(windows->findByTitle(clientTitle), exact);
    EXPECT_EQ(windows->findByTitle("gs telnet client \xC3\xBC"
                                   "bergabe  10.0.0.5"),
              lower);
}

TEST_F(TestWindows, AFoundHiddenWindowIsShown) {
    const auto window = make(clientTitle);
    ASSERT_EQ(windows->findByTitle(clientTitle), window);
    EXPECT_FALSE(IsWindowVisible(reinterpret_cast<HWND>(window)));
    windows->show(window);
    EXPECT_TRUE(IsWindowVisible(reinterpret_cast<HWND>(window)));
}

// --- Single-instance guard --------------------------------------------------------------------

enum class Guard { Free, Held };

/// Asks a second process whether it can take the guard `name`.
Guard askSecondProcess(const std::string& name) {
    SetEnvironmentVariableW(L"STATION_CHILD_MODE", L"guard");
    SetEnvironmentVariableW(L"STATION_CHILD_GUARD", wide(name).c_str());
    std::wstring line = L"\"" + (programFolder() / L"win32_test_child.exe").wstring() + L"\"";
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    const bool started =
        CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process);
    SetEnvironmentVariableW(L"STATION_CHILD_MODE", nullptr);
    if (!started)
        throw std::runtime_error("child not started: " + systemMessage(GetLastError()));
    WaitForSingleObject(process.hProcess, 10'000);
    DWORD code = STILL_ACTIVE;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    if (code != 0 && code != 3)
        throw std::runtime_error("child ended with " + std::to_string(code));
    return code == 0 ? Guard::Free : Guard::Held;
}

TEST(Win32SingleInstance, AHeldGuardKeepsOutASecondProcessUntilItIsReleased) {
    const std::string name = unique("VORNE Terminal \xC3\x9C");
    auto guard = makeSingleInstance(name);
    ASSERT_TRUE(guard->acquire());
    EXPECT_EQ(askSecondProcess(name), Guard::Held);
    guard.reset();
    EXPECT_EQ(askSecondProcess(name), Guard::Free);
}

struct NamePair {
    const char* name;
    std::string held;
    std::string other;
};
void PrintTo(const NamePair& c, std::ostream* out) {
    *out << c.name;
}

class GuardNames : public testing::TestWithParam<NamePair> {};

// Names that a careless mapping to kernel object names would make equal.
TEST_P(GuardNames, DifferentNamesAreDifferentGuards) {
    const std::string stem = unique("vorne");
    auto guard = makeSingleInstance(stem + GetParam().held);
    ASSERT_TRUE(guard->acquire());
    EXPECT_EQ(askSecondProcess(stem + GetParam().held), Guard::Held);
    EXPECT_EQ(askSecondProcess(stem + GetParam().other), Guard::Free);
}

INSTANTIATE_TEST_SUITE_P(Table, GuardNames,
                         testing::Values(NamePair{"BackslashAndUnderscore", "a\\b", "a_b"},
                                         NamePair{"BackslashAndItsEscape", "a\\b", "a%5Cb"},
                                         NamePair{"PercentAndItsEscape", "a%b", "a%25b"},
                                         NamePair{"BackslashAndSlash", "a\\b", "a/b"}),
                         [](const auto& p) { return std::string(p.param.name); });

// --- Network adapters -------------------------------------------------------------------------

// Under Wine the adapters are the Linux machine's: the list must show exactly the hardware
// addresses its interfaces have (the loopback and address-less ones left out).
TEST(Win32NetworkAdapters, ListsTheMachinesHardwareAddresses) {
    const fs::path linuxInterfaces = L"Z:\\sys\\class\\net";
    std::error_code error;
    if (!fs::is_directory(linuxInterfaces, error))
        GTEST_SKIP() << "not under Wine: the machine's interfaces cannot be read from outside";

    std::set<std::string> expected;
    for (const auto& entry : fs::directory_iterator(linuxInterfaces, error)) {
        if (entry.path().filename() == L"lo")
            continue;
        std::ifstream in(entry.path() / L"address");
        std::string address;
        std::getline(in, address);
        if (address.empty() || address.find_first_not_of("0:") == std::string::npos)
            continue;
        for (auto& c : address)
            c = c == ':' ? '-' : static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        expected.insert(address);
    }

    std::set<std::string> listed;
    for (const auto& adapter : makeNetworkAdapters()->list()) {
        EXPECT_FALSE(adapter.name.empty());
        listed.insert(formatPhysicalAddress(adapter.address));
    }
    EXPECT_EQ(listed, expected);
}

// --- Spooler ----------------------------------------------------------------------------------

TEST(WinspoolSpooler, ARawJobToAPrinterThatDoesNotExistIsRefusedClearly) {
    const auto spooler = makeSpooler();
    const std::string printer = unique("Etiketten \xC3\x9C kein Drucker");
    try {
        EXPECT_EQ(spooler->printRaw(printer, "AAAAAA", "\x1B@label\f"), Spooler::Result::UnknownPrinter);
    } catch (const SpoolerUnavailable& e) {
        EXPECT_THAT(e.what(), testing::HasSubstr("print spooler"));
    }
    try {
        EXPECT_THAT(spooler->printers(), testing::Not(testing::Contains(printer)));
    } catch (const SpoolerUnavailable& e) {
        EXPECT_THAT(e.what(), testing::HasSubstr("print spooler"));
    }
}

} // namespace
} // namespace station
