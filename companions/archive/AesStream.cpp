#include "archive/AesStream.hpp"

#include "archive/Libcrypto.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <new>

#include <openssl/core_names.h>

namespace orv::archive {
namespace {

constexpr std::size_t block_size = 16;

unsigned char* raw(std::byte* bytes)
{
    return reinterpret_cast<unsigned char*>(bytes);
}

const unsigned char* raw(const std::byte* bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes);
}

/// OpenSSL fails if a policy of the system forbids the algorithm.
void expect(bool success)
{
    if (!success)
        throw Error("The system's OpenSSL refuses the encryption of zip archives.")
            .known_as(Cause::unsupported);
}

const EVP_CIPHER* block_cipher(std::size_t key_size)
{
    switch (key_size) {
    case 16:
        return evp_aes_128_ecb();
    case 24:
        return evp_aes_192_ecb();
    default:
        return evp_aes_256_ecb();
    }
}

EVP_MAC_CTX* new_hmac()
{
    struct Free {
        void operator()(EVP_MAC* method) const noexcept { evp_mac_free(method); }
    };
    const std::unique_ptr<EVP_MAC, Free> method(evp_mac_fetch(nullptr, "HMAC", nullptr));
    expect(method != nullptr);
    return evp_mac_ctx_new(method.get());
}

} // namespace

AesStream::AesStream(const AesKeys& keys) : cipher_(evp_cipher_ctx_new()), mac_(new_hmac())
{
    if (!cipher_ || !mac_)
        throw std::bad_alloc();
    const ByteView cipher_key = keys.cipher_key();
    expect(evp_encryptinit_ex(cipher_.get(), block_cipher(cipher_key.size()), nullptr,
                              raw(cipher_key.data()), nullptr) == 1);
    char digest[] = "SHA1";
    const OSSL_PARAM parameters[] = {
        {OSSL_MAC_PARAM_DIGEST, OSSL_PARAM_UTF8_STRING, digest, sizeof digest - 1, 0},
        {nullptr, 0, nullptr, 0, 0}};
    const ByteView code_key = keys.code_key();
    expect(evp_mac_init(mac_.get(), raw(code_key.data()), code_key.size(), parameters) == 1);
}

void AesStream::FreeCipher::operator()(evp_cipher_ctx_st* cipher) const noexcept
{
    evp_cipher_ctx_free(cipher);
}

void AesStream::FreeMac::operator()(evp_mac_ctx_st* mac) const noexcept
{
    evp_mac_ctx_free(mac);
}

void AesStream::encrypt(ByteView part, std::span<std::byte> result)
{
    apply_key_stream(part, result.data());
    authenticate(result);
}

void AesStream::decrypt(std::span<std::byte> part)
{
    authenticate(part);
    apply_key_stream(part, part.data());
}

std::array<std::byte, AesStream::code_size> AesStream::code()
{
    std::array<std::byte, EVP_MAX_MD_SIZE> whole;
    std::size_t size = 0;
    expect(evp_mac_final(mac_.get(), raw(whole.data()), &size, whole.size()) == 1);
    std::array<std::byte, code_size> code;
    std::copy_n(whole.begin(), code.size(), code.begin());
    return code;
}

void AesStream::apply_key_stream(ByteView part, std::byte* result)
{
    while (!part.empty()) {
        if (key_stream_used_ == key_stream_.size())
            extend_key_stream();
        const std::size_t size = std::min(part.size(), key_stream_.size() - key_stream_used_);
        const std::byte* key_stream = &key_stream_[key_stream_used_];
        for (std::size_t i = 0; i < size; ++i)
            result[i] = part[i] ^ key_stream[i];
        key_stream_used_ += size;
        part = part.subspan(size);
        result += size;
    }
}

/// The format counts blocks from 1 on with the lowest byte first, unlike the CTR mode of OpenSSL.
/// One call for many counters is as fast as that mode.
void AesStream::extend_key_stream()
{
    std::array<std::byte, sizeof key_stream_> counters{};
    for (std::size_t at = 0; at < counters.size(); at += block_size) {
        ++counter_;
        for (std::size_t i = 0; i < sizeof counter_; ++i)
            counters[at + i] = static_cast<std::byte>(counter_ >> 8 * i);
    }
    int size = 0;
    expect(evp_encryptupdate(cipher_.get(), raw(key_stream_.data()), &size, raw(counters.data()),
                             static_cast<int>(counters.size())) == 1);
    key_stream_used_ = 0;
}

void AesStream::authenticate(ByteView encrypted)
{
    expect(evp_mac_update(mac_.get(), raw(encrypted.data()), encrypted.size()) == 1);
}

} // namespace orv::archive
