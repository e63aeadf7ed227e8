#pragma once

#include "utility/LoadedLater.hpp"

#include <openssl/evp.h>

namespace orv::archive {

/// The file name of the OpenSSL libcrypto this library was built for.
extern const char libcrypto_file[];

// libcrypto comes with libzip and loads as late, with the first encrypted entry.
template <class Function>
class OfLibcrypto : public LoadedLater<Function> {
public:
    constexpr explicit OfLibcrypto(const char* name) noexcept
        : LoadedLater<Function>(libcrypto_file, name)
    {
    }
};

inline constinit const OfLibcrypto<decltype(::EVP_CIPHER_CTX_free)> evp_cipher_ctx_free{
    "EVP_CIPHER_CTX_free"};
inline constinit const OfLibcrypto<decltype(::EVP_CIPHER_CTX_new)> evp_cipher_ctx_new{
    "EVP_CIPHER_CTX_new"};
inline constinit const OfLibcrypto<decltype(::EVP_Digest)> evp_digest{"EVP_Digest"};
inline constinit const OfLibcrypto<decltype(::EVP_EncryptInit_ex)> evp_encryptinit_ex{
    "EVP_EncryptInit_ex"};
inline constinit const OfLibcrypto<decltype(::EVP_EncryptUpdate)> evp_encryptupdate{
    "EVP_EncryptUpdate"};
inline constinit const OfLibcrypto<decltype(::EVP_MAC_CTX_free)> evp_mac_ctx_free{
    "EVP_MAC_CTX_free"};
inline constinit const OfLibcrypto<decltype(::EVP_MAC_CTX_new)> evp_mac_ctx_new{"EVP_MAC_CTX_new"};
inline constinit const OfLibcrypto<decltype(::EVP_MAC_fetch)> evp_mac_fetch{"EVP_MAC_fetch"};
inline constinit const OfLibcrypto<decltype(::EVP_MAC_final)> evp_mac_final{"EVP_MAC_final"};
inline constinit const OfLibcrypto<decltype(::EVP_MAC_free)> evp_mac_free{"EVP_MAC_free"};
inline constinit const OfLibcrypto<decltype(::EVP_MAC_init)> evp_mac_init{"EVP_MAC_init"};
inline constinit const OfLibcrypto<decltype(::EVP_MAC_update)> evp_mac_update{"EVP_MAC_update"};
inline constinit const OfLibcrypto<decltype(::EVP_aes_128_ecb)> evp_aes_128_ecb{"EVP_aes_128_ecb"};
inline constinit const OfLibcrypto<decltype(::EVP_aes_192_ecb)> evp_aes_192_ecb{"EVP_aes_192_ecb"};
inline constinit const OfLibcrypto<decltype(::EVP_aes_256_ecb)> evp_aes_256_ecb{"EVP_aes_256_ecb"};
inline constinit const OfLibcrypto<decltype(::EVP_sha1)> evp_sha1{"EVP_sha1"};

} // namespace orv::archive
