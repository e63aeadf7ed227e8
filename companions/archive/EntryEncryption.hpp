#pragma once

#include "archive/AesStream.hpp"
#include "archive/Bytes.hpp"

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace orv::archive {

/// Keys for new entries, each with a random salt.
///
/// Threading: any.
class NewAesKeys {
public:
    explicit NewAesKeys(std::string password) : password_(std::move(password)) {}

    [[nodiscard]] AesKeys take();

private:
    const std::string password_;
    std::mutex mutex_;
    std::vector<AesKeys> ready_;
};

/// Encrypts the content of one entry, piece by piece.
///
/// Threading: one thread at a time.
class EntryEncryption {
public:
    explicit EntryEncryption(const AesKeys& keys) : keys_(keys), stream_(keys) {}

    /// Puts the archive's bytes for the next piece into `result`: before the first one the data for
    /// decryption, after the last one the authentication code of all.
    void encrypt(ByteView piece, bool is_last, Bytes& result);

private:
    AesKeys keys_;
    AesStream stream_;
    bool is_begun_ = false;
};

} // namespace orv::archive
