// Release signatures checked with OpenSSL 3: the installer's BLAKE2b-512 digest is taken as its
// bytes arrive, so only the 64-byte digest is ever signed or verified, never the file itself.
#include "platform/Adapters.h"
#include "platform/SignatureVerifier.h"

#include <openssl/evp.h>

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace station {

namespace {

using MdContext = std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)>;

/// BLAKE2b-512 taken on a thread of its own, so that a download does not wait for the digest of
/// each piece: `write` copies the piece into a ring the hashing thread works through, and waits
/// only while the ring is full. The memory it takes stays the ring's, whatever the file's size.
class Blake2bDigest final : public SignatureVerifier::Digest {
public:
    Blake2bDigest() {
        if (!m_ctx || EVP_DigestInit_ex(m_ctx.get(), EVP_blake2b512(), nullptr) != 1)
            throw std::runtime_error("BLAKE2b-512 is not available");
        m_hashing = std::thread([this] { hash(); });
    }
    ~Blake2bDigest() override { stop(); }
    Blake2bDigest(const Blake2bDigest&) = delete;
    Blake2bDigest& operator=(const Blake2bDigest&) = delete;

    void write(const char* data, std::size_t size) override {
        while (size > 0) {
            std::unique_lock lock(m_mutex);
            m_changed.wait(lock, [this] { return m_tail - m_head < m_ring.size() || m_closing; });
            if (m_closing)
                return;
            const auto at = static_cast<std::size_t>(m_tail % m_ring.size());
            const auto n =
                std::min({size, m_ring.size() - static_cast<std::size_t>(m_tail - m_head), m_ring.size() - at});
            lock.unlock();
            // The hashing thread reads only below the tail: this stretch is the writer's alone.
            std::memcpy(m_ring.data() + at, data, n);
            lock.lock();
            m_tail += n;
            lock.unlock();
            m_changed.notify_all();
            data += n;
            size -= n;
        }
    }

    std::string finish() override {
        if (!m_finished) {
            stop();
            unsigned char value[EVP_MAX_MD_SIZE];
            unsigned int length = 0;
            EVP_DigestFinal_ex(m_ctx.get(), value, &length);
            m_value.assign(reinterpret_cast<const char*>(value), length);
            m_finished = true;
        }
        return m_value;
    }

private:
    void hash() {
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_changed.wait(lock, [this] { return m_tail > m_head || m_closing; });
            if (m_tail == m_head)
                return; // closing, and everything written is taken
            const auto at = static_cast<std::size_t>(m_head % m_ring.size());
            const auto n = std::min(static_cast<std::size_t>(m_tail - m_head), m_ring.size() - at);
            lock.unlock();
            EVP_DigestUpdate(m_ctx.get(), m_ring.data() + at, n);
            lock.lock();
            m_head += n;
            m_changed.notify_all();
        }
    }

    /// Lets the hashing thread take what was written, then ends it.
    void stop() {
        {
            std::lock_guard lock(m_mutex);
            m_closing = true;
        }
        m_changed.notify_all();
        if (m_hashing.joinable())
            m_hashing.join();
    }

    MdContext m_ctx{EVP_MD_CTX_new(), &EVP_MD_CTX_free};
    std::vector<char> m_ring = std::vector<char>(4u << 20);
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::uint64_t m_head = 0; ///< bytes hashed
    std::uint64_t m_tail = 0; ///< bytes written
    bool m_closing = false;
    std::thread m_hashing;
    bool m_finished = false;
    std::string m_value;
};

const unsigned char* bytes(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

class OpenSslSignatureVerifier final : public SignatureVerifier {
public:
    std::shared_ptr<Digest> blake2b512() override { return std::make_shared<Blake2bDigest>(); }

    bool ed25519(std::string_view publicKey, std::string_view message, std::string_view signature) override {
        if (publicKey.size() != 32 || signature.size() != 64)
            return false;
        std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(
            EVP_PKEY_new_raw_public_key(EVP_PKEY_ED25519, nullptr, bytes(publicKey), publicKey.size()), &EVP_PKEY_free);
        MdContext ctx(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
        return key && ctx && EVP_DigestVerifyInit(ctx.get(), nullptr, nullptr, nullptr, key.get()) == 1 &&
               EVP_DigestVerify(ctx.get(), bytes(signature), signature.size(), bytes(message), message.size()) == 1;
    }
};

} // namespace

std::unique_ptr<SignatureVerifier> makeSignatureVerifier() {
    return std::make_unique<OpenSslSignatureVerifier>();
}

} // namespace station
