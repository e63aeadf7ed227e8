#include "archive/EntryEncryption.hpp"

#include "utility/RandomBytes.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace orv::archive {

AesKeys NewAesKeys::take()
{
    {
        const std::lock_guard lock(mutex_);
        if (!ready_.empty()) {
            const AesKeys keys = ready_.back();
            ready_.pop_back();
            return keys;
        }
    }
    std::array<std::array<std::byte, 16>, AesKeys::at_once> salts{};
    std::vector<AesKeys> keys;
    for (auto& salt : salts) {
        fill_randomly(salt);
        keys.emplace_back(AesStrength::aes_256, salt);
    }
    AesKeys::derive(password_, keys);
    const std::lock_guard lock(mutex_);
    ready_.insert(ready_.end(), keys.begin() + 1, keys.end());
    return keys.front();
}

void EntryEncryption::encrypt(ByteView piece, bool is_last, Bytes& result)
{
    const bool is_first = !std::exchange(is_begun_, true);
    const std::size_t before = is_first ? keys_.salt().size() + AesKeys::check_size : 0;
    result.resize(before + piece.size() + (is_last ? AesStream::code_size : 0));
    if (is_first) {
        std::ranges::copy(keys_.salt(), result.begin());
        std::ranges::copy(keys_.password_check(), &result[keys_.salt().size()]);
    }
    stream_.encrypt(piece, std::span(result).subspan(before, piece.size()));
    if (is_last)
        std::ranges::copy(stream_.code(), result.end() - AesStream::code_size);
}

} // namespace orv::archive
