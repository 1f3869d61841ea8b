#include "tools/devservice/Releases.h"

#include "tools/devservice/FileAccess.h"

#include <openssl/evp.h>

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

namespace {

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

std::string ed25519Sign(EVP_PKEY* key, std::string_view message) {
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> ctx(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    unsigned char signature[64];
    std::size_t length = sizeof signature;
    if (!ctx || EVP_DigestSignInit(ctx.get(), nullptr, nullptr, nullptr, key) != 1 ||
        EVP_DigestSign(ctx.get(), signature, &length, reinterpret_cast<const unsigned char*>(message.data()),
                       message.size()) != 1)
        throw std::runtime_error("cannot sign");
    return {reinterpret_cast<const char*>(signature), length};
}

std::string blake2b512(const std::string& bytes) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_Digest(bytes.data(), bytes.size(), digest, &length, EVP_blake2b512(), nullptr) != 1)
        throw std::runtime_error("cannot take the BLAKE2b-512 digest");
    return {reinterpret_cast<const char*>(digest), length};
}

} // namespace

std::string minisignature(const std::string& bytes, const fs::path& keyFile, const std::string& comment) {
    const auto text = readWholeFile(keyFile);
    if (!text)
        throw std::runtime_error("cannot read the key " + keyFile.string());
    // Line 2: base64 of "Ed", the key derivation ("\0\0" = none, no password), the checksum kind,
    // 32 + 8 + 8 bytes of derivation parameters, the key id (8), the secret key (64: the seed,
    // then the public key) and a checksum (32).
    const auto firstEnd = text->find('\n');
    std::string line = firstEnd == std::string::npos ? "" : text->substr(firstEnd + 1);
    line = line.substr(0, line.find_first_of("\r\n"));
    std::string raw(line.size() / 4 * 3 + 3, '\0');
    const int decoded =
        EVP_DecodeBlock(reinterpret_cast<unsigned char*>(raw.data()),
                        reinterpret_cast<const unsigned char*>(line.data()), static_cast<int>(line.size()));
    if (decoded < 158 || raw.compare(0, 2, "Ed") != 0)
        throw std::runtime_error(keyFile.string() + " is not a minisign secret key");
    if (raw[2] != '\0' || raw[3] != '\0')
        throw std::runtime_error(keyFile.string() + " is protected by a password: make the key with minisign -G -W");
    const auto keyId = raw.substr(54, 8);
    Key key(
        EVP_PKEY_new_raw_private_key(EVP_PKEY_ED25519, nullptr, reinterpret_cast<const unsigned char*>(&raw[62]), 32),
        &EVP_PKEY_free);
    if (!key)
        throw std::runtime_error(keyFile.string() + " holds no usable Ed25519 key");
    const auto signature = ed25519Sign(key.get(), blake2b512(bytes));
    const auto global = ed25519Sign(key.get(), signature + comment);
    return "untrusted comment: signature from devservice\n" + base64Encode("ED" + keyId + signature) +
           "\ntrusted comment: " + comment + "\n" + base64Encode(global) + "\n";
}

void publishRelease(const fs::path& filesRoot, const Release& release) {
    const auto folder = filesRoot / "rdp";
    fs::create_directories(folder);
    const auto installer = readWholeFile(release.installer);
    if (!installer)
        throw std::runtime_error("cannot read the installer " + release.installer.string());
    // A key that cannot sign stops the publishing before any file changes.
    std::optional<std::string> signature;
    if (release.signingKey)
        signature = minisignature(*installer, *release.signingKey, "version=" + release.version);
    // Replaced, not rewritten in place: a download running now keeps the file it started with.
    const auto staged = folder / "setup.exe.new";
    fs::copy_file(release.installer, staged, fs::copy_options::overwrite_existing);
    fs::rename(staged, folder / "setup.exe");
    if (release.readMe)
        fs::copy_file(*release.readMe, folder / "readme.txt", fs::copy_options::overwrite_existing);
    else
        writeText(folder / "readme.txt", "VORNE Terminal " + release.version + "\r\n");

    // The signature goes before the description that offers the release.
    std::error_code ignored;
    if (signature)
        writeText(folder / "setup.exe.minisig", *signature);
    else
        fs::remove(folder / "setup.exe.minisig", ignored);

    // "{server}" becomes this service's own address when the file is served.
    std::string description = "[Update]\r\nVersion =" + release.version +
                              "\r\nReadMe={server}/rdp/readme.txt\r\nSize=" + std::to_string(installer->size()) +
                              "\r\n";
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
