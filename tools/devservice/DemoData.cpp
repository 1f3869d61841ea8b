#include "tools/devservice/DemoData.h"

#include <fstream>
#include <stdexcept>
#include <string>

namespace devservice {

namespace {

std::string zeroPadded(int n, std::size_t width) {
    std::string digits = std::to_string(n);
    if (digits.size() < width)
        digits.insert(0, width - digits.size(), '0');
    return digits;
}

std::string twoDigits(int n) {
    return zeroPadded(n, 2);
}

std::string serialFor(int index, int count) {
    // The default set ends with a chain-level entry, which the uploader files under reports/.
    if (count == defaultStoreCount && index == count - 1)
        return "1234510000";
    return "12345" + zeroPadded(index + 1, 5);
}

void writeFile(const std::filesystem::path& path, const std::string& bytes) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out)
        throw std::runtime_error("cannot write " + path.string());
}

const std::string esc = "\x1b";

std::string sampleReport(const std::string& storeName) {
    return "Daily sales report - " + storeName + "\r\n\r\nDepartment        Sales\r\nGrocery         1,204.50\r\n" +
           "\f" + "Page 2\r\nTotal           1,204.50\r\n";
}

std::string sampleReceipt(const std::string& storeName) {
    // Initialise, bold on/off, a NUL, a 0xFF byte and a full cut: bytes a driver must not touch.
    return esc + "@" + esc + "E\x01" + storeName + "\r\n" + esc + "E" + '\0' + "Total 12.50\r\n" + '\xff' + "\x1dV" +
           '\0' + "\f";
}

std::string sampleLabel(const std::string& serial) {
    return "^XA^FO20,20^A0N,40,40^FD" + serial + "^FS^XZ" + '\0' + "\x1b\xff\r\n";
}

} // namespace

std::vector<StoreRecord> demoStores(int count) {
    std::vector<StoreRecord> stores;
    for (int i = 0; i < count; ++i) {
        const int n = i + 1;
        StoreRecord s;
        s.serialNumber = serialFor(i, count);
        s.terminalNumber = std::to_string(n);
        s.userName = "user" + twoDigits(n);
        s.password = "pass" + twoDigits(n);
        s.clusterAddress = "127.0." + std::to_string(i / 250) + "." + std::to_string(i % 250 + 1);
        s.hostPort = "23";
        // Two characters start one telnet client, three or more the other: the demo needs both.
        s.domainName = i % 2 == 0 ? "GS" : "GSV7";
        s.extra1 = "";
        s.storeName = "STORE" + twoDigits(n);
        s.displayUser = "Clerk " + twoDigits(n);
        stores.push_back(std::move(s));
    }
    return stores;
}

void seedReferenceRows(Database& db) {
    db.putReportFormat("dai", {"Arial", "12", "P"});
    db.putReportFormat("wkl", {"Courier New", "9", "L"});
    db.putReportFormat("inv", {"Times New Roman", "11", "P"});
    db.addOnCall("oncall1@vorne.example");
    db.addOnCall("oncall2@vorne.example");
}

void writeSampleFiles(const std::filesystem::path& filesRoot) {
    for (const auto& store : demoStores()) {
        const auto folder = filesRoot / "Reports" / store.serialNumber.substr(0, 5) / store.serialNumber;
        writeFile(folder / "daily.txt", sampleReport(store.storeName));
        writeFile(folder / "receipt.prn", sampleReceipt(store.storeName));
        writeFile(folder / "label.prn", sampleLabel(store.serialNumber));
    }
    // "{server}" is replaced by this service's own address when the file is served, so the
    // read-me address works whatever port the service was given. 2.01 is the running release:
    // a demo station does not update itself.
    // The installer is a script that notes beside itself that it ran; `publish` with a higher
    // version makes the demo station take it.
    const std::string installer =
        "#!/bin/sh\necho \"installer ran $(date)\" >> \"$(dirname \"$0\")/installer-ran.txt\"\n";
    writeFile(filesRoot / "rdp" / "rdpupdate.ini",
              "[Update]\r\nVersion =2.01\r\nReadMe={server}/rdp/readme.txt\r\nSize=" +
                  std::to_string(installer.size()) + "\r\n");
    writeFile(filesRoot / "rdp" / "readme.txt", "VORNE Terminal release notes\r\n");
    writeFile(filesRoot / "rdp" / "setup.exe", installer);
}

} // namespace devservice
