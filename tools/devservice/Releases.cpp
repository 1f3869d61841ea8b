#include "tools/devservice/Releases.h"

#include "tools/devservice/FileAccess.h"

#include <openssl/evp.h>
#include <openssl/pem.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <mutex>
#include <stdexcept>

namespace devservice {

namespace fs = std::filesystem;

namespace {

constexpr const char* cutFile = ".cut-next-download";

void writeText(const fs::path& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    if (!out)
        throw std::runtime_error("cannot write " + path.string());
}

} // namespace

std::string signBytes(const std::string& bytes, const fs::path& keyFile) {
    std::unique_ptr<std::FILE, decltype(&std::fclose)> file(std::fopen(keyFile.string().c_str(), "rb"), &std::fclose);
    if (!file)
        throw std::runtime_error("cannot read the key " + keyFile.string());
    std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(PEM_read_PrivateKey(file.get(), nullptr, nullptr, nullptr),
                                                            &EVP_PKEY_free);
    if (!key || EVP_PKEY_get_id(key.get()) != EVP_PKEY_ED25519)
        throw std::runtime_error(keyFile.string() + " is not a PEM Ed25519 private key");
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> ctx(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    unsigned char signature[64];
    std::size_t length = sizeof signature;
    if (!ctx || EVP_DigestSignInit(ctx.get(), nullptr, nullptr, nullptr, key.get()) != 1 ||
        EVP_DigestSign(ctx.get(), signature, &length, reinterpret_cast<const unsigned char*>(bytes.data()),
                       bytes.size()) != 1)
        throw std::runtime_error("cannot sign with " + keyFile.string());
    return base64Encode(std::string_view(reinterpret_cast<const char*>(signature), length));
}

void publishRelease(const fs::path& filesRoot, const Release& release) {
    const auto folder = filesRoot / "rdp";
    fs::create_directories(folder);
    const auto installer = readWholeFile(release.installer);
    if (!installer)
        throw std::runtime_error("cannot read the installer " + release.installer.string());
    // Replaced, not rewritten in place: a download running now keeps the file it started with.
    const auto staged = folder / "setup.exe.new";
    fs::copy_file(release.installer, staged, fs::copy_options::overwrite_existing);
    fs::rename(staged, folder / "setup.exe");
    if (release.readMe)
        fs::copy_file(*release.readMe, folder / "readme.txt", fs::copy_options::overwrite_existing);
    else
        writeText(folder / "readme.txt", "VORNE Terminal " + release.version + "\r\n");

    // "{server}" becomes this service's own address when the file is served.
    std::string description = "[Update]\r\nVersion =" + release.version +
                              "\r\nReadMe={server}/rdp/readme.txt\r\nSize=" + std::to_string(installer->size()) +
                              "\r\n";
    if (release.signingKey)
        description += "Signature=" + signBytes(*installer, *release.signingKey) + "\r\n";
    writeText(folder / "rdpupdate.ini", description);
}

std::string entityTag(const fs::path& file) {
    std::error_code ec;
    const auto size = fs::file_size(file, ec);
    const auto time = fs::last_write_time(file, ec).time_since_epoch().count();
    char tag[64];
    std::snprintf(tag, sizeof tag, "\"%llx-%llx\"", static_cast<unsigned long long>(size),
                  static_cast<unsigned long long>(time));
    return tag;
}

void cutNextDownload(const fs::path& filesRoot, std::uint64_t bytes) {
    fs::create_directories(filesRoot / "rdp");
    writeText(filesRoot / "rdp" / cutFile, std::to_string(bytes));
}

std::optional<std::uint64_t> takeDownloadCut(const fs::path& filesRoot) {
    static std::mutex taking;
    std::lock_guard lock(taking);
    const auto path = filesRoot / "rdp" / cutFile;
    const auto text = readWholeFile(path);
    if (!text)
        return std::nullopt;
    std::error_code ec;
    fs::remove(path, ec);
    try {
        return std::stoull(*text);
    } catch (...) {
        return std::nullopt;
    }
}

} // namespace devservice
