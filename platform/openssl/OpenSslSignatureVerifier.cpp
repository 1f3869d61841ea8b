// Ed25519 signatures of downloaded files, checked with OpenSSL 3. Ed25519 signs the message as a
// whole (no streaming), so the file is mapped into memory rather than read into a copy.
#include "platform/Adapters.h"
#include "platform/SignatureVerifier.h"

#include <openssl/evp.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace station {

namespace {

/// The bytes of base64 `text`; nothing when it is not base64 of `expected` bytes.
std::optional<std::string> decodeBase64(std::string_view text, std::size_t expected) {
    std::string clean;
    for (const char c : text)
        if (c != ' ' && c != '\t' && c != '\r' && c != '\n')
            clean += c;
    if (clean.empty() || clean.size() % 4 != 0)
        return std::nullopt;
    std::string bytes(clean.size() / 4 * 3, '\0');
    const int n = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                                  reinterpret_cast<const unsigned char*>(clean.data()), static_cast<int>(clean.size()));
    if (n < 0)
        return std::nullopt;
    // EVP_DecodeBlock counts the padding as zero bytes.
    std::size_t size = static_cast<std::size_t>(n);
    for (std::size_t i = clean.size(); i > 0 && clean[i - 1] == '='; --i)
        --size;
    if (size != expected)
        return std::nullopt;
    bytes.resize(size);
    return bytes;
}

/// A file's bytes mapped read-only; empty view for an empty file; !ok when it cannot be read.
class MappedFile {
public:
    explicit MappedFile(const std::string& path) {
#ifdef _WIN32
        const int wide = MultiByteToWideChar(CP_UTF8, 0, path.c_str(), -1, nullptr, 0);
        std::wstring name(static_cast<std::size_t>(wide > 0 ? wide : 1), L'\0');
        MultiByteToWideChar(CP_UTF8, 0, path.c_str(), -1, name.data(), wide);
        m_file = CreateFileW(name.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
        if (m_file == INVALID_HANDLE_VALUE)
            return;
        LARGE_INTEGER size{};
        if (!GetFileSizeEx(m_file, &size))
            return;
        m_size = static_cast<std::size_t>(size.QuadPart);
        m_ok = true;
        if (m_size == 0)
            return;
        m_mapping = CreateFileMappingW(m_file, nullptr, PAGE_READONLY, 0, 0, nullptr);
        if (!m_mapping) {
            m_ok = false;
            return;
        }
        m_data = MapViewOfFile(m_mapping, FILE_MAP_READ, 0, 0, 0);
        m_ok = m_data != nullptr;
#else
        m_fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (m_fd < 0)
            return;
        struct stat info {};
        if (::fstat(m_fd, &info) != 0 || !S_ISREG(info.st_mode))
            return;
        m_size = static_cast<std::size_t>(info.st_size);
        m_ok = true;
        if (m_size == 0)
            return;
        m_data = ::mmap(nullptr, m_size, PROT_READ, MAP_PRIVATE, m_fd, 0);
        if (m_data == MAP_FAILED) {
            m_data = nullptr;
            m_ok = false;
        }
#endif
    }
    ~MappedFile() {
#ifdef _WIN32
        if (m_data)
            UnmapViewOfFile(m_data);
        if (m_mapping)
            CloseHandle(m_mapping);
        if (m_file != INVALID_HANDLE_VALUE)
            CloseHandle(m_file);
#else
        if (m_data)
            ::munmap(m_data, m_size);
        if (m_fd >= 0)
            ::close(m_fd);
#endif
    }
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    bool ok() const {
        return m_ok;
    }
    const unsigned char* data() const {
        static const unsigned char none = 0;
        return m_data ? static_cast<const unsigned char*>(m_data) : &none;
    }
    std::size_t size() const {
        return m_size;
    }

private:
    bool m_ok = false;
    void* m_data = nullptr;
    std::size_t m_size = 0;
#ifdef _WIN32
    HANDLE m_file = INVALID_HANDLE_VALUE;
    HANDLE m_mapping = nullptr;
#else
    int m_fd = -1;
#endif
};

class OpenSslSignatureVerifier final : public SignatureVerifier {
public:
    Result verifyFile(const std::string& path, const std::string& signatureBase64,
                      const std::string& publicKeyBase64) override {
        const auto key = decodeBase64(publicKeyBase64, 32);
        if (!key)
            return {false, "the built-in update key is not a base64 Ed25519 public key"};
        const auto signature = decodeBase64(signatureBase64, 64);
        if (!signature)
            return {false, "the signature is not a base64 Ed25519 signature"};
        const MappedFile file(path);
        if (!file.ok())
            return {false, "the installer cannot be read"};

        std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> pkey(
            EVP_PKEY_new_raw_public_key(EVP_PKEY_ED25519, nullptr, reinterpret_cast<const unsigned char*>(key->data()),
                                        key->size()),
            &EVP_PKEY_free);
        if (!pkey)
            return {false, "the built-in update key is not a valid Ed25519 public key"};
        std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> ctx(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
        if (!ctx || EVP_DigestVerifyInit(ctx.get(), nullptr, nullptr, nullptr, pkey.get()) != 1)
            return {false, "the signature check cannot start"};
        const int verdict = EVP_DigestVerify(ctx.get(), reinterpret_cast<const unsigned char*>(signature->data()),
                                             signature->size(), file.data(), file.size());
        if (verdict != 1)
            return {false, "the signature does not match the installer"};
        return {true, {}};
    }
};

} // namespace

std::unique_ptr<SignatureVerifier> makeSignatureVerifier() {
    return std::make_unique<OpenSslSignatureVerifier>();
}

} // namespace station
