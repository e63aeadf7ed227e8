#pragma once

#include "archive/Zip.hpp"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orv::test {

/// What a request is made with beside its items.
struct ZipOptions {
    std::optional<std::string> password = {};
    ZipCompression compression = ZipCompression::default_compression;
    std::shared_ptr<Zip::Canceller> canceller = {};
    Zip::Progress progress = {};
    bool test_mode = false;
};

inline constexpr const char* success = "success";

/// Packs or unpacks and says how that ended: "success", or the error's case and sentence.
[[nodiscard]] std::string zip(const std::vector<Url>& paths, const Url& archive,
                              const ZipOptions& options = {});
[[nodiscard]] std::string unzip(const Url& archive, const Url& destination,
                                const ZipOptions& options = {});

/// Whether a command of the shell ends well. What it prints is thrown away.
[[nodiscard]] bool shell(const std::string& command);

} // namespace orv::test
