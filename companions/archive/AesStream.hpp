#pragma once

#include "archive/AesKeys.hpp"
#include "archive/Bytes.hpp"

#include <array>
#include <cstdint>
#include <memory>

struct evp_cipher_ctx_st;
struct evp_mac_ctx_st;

namespace orv::archive {

/// Encrypts or decrypts the content of an entry, part by part, and computes its authentication
/// code.
///
/// Threading: one thread at a time.
class AesStream {
public:
    explicit AesStream(const AesKeys& keys);

    /// Puts the encrypted part into `result`; both have the same size.
    void encrypt(ByteView part, std::span<std::byte> result);
    void decrypt(std::span<std::byte> part);

    static constexpr std::size_t code_size = 10;
    /// The code of all parts, after the last one.
    [[nodiscard]] std::array<std::byte, code_size> code();

private:
    struct FreeCipher {
        void operator()(evp_cipher_ctx_st* cipher) const noexcept;
    };
    struct FreeMac {
        void operator()(evp_mac_ctx_st* mac) const noexcept;
    };

    void apply_key_stream(ByteView part, std::byte* result);
    void extend_key_stream();
    void authenticate(ByteView encrypted);

    std::unique_ptr<evp_cipher_ctx_st, FreeCipher> cipher_;
    std::unique_ptr<evp_mac_ctx_st, FreeMac> mac_;
    std::uint64_t counter_ = 0; // of the last block of the key stream
    std::array<std::byte, 4096> key_stream_;
    std::size_t key_stream_used_ = sizeof key_stream_;
};

} // namespace orv::archive
