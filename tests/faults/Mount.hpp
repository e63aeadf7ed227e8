#pragma once

#include <orv/utility/Url.hpp>

#include <optional>
#include <string>

namespace orv::test {

/// A mounted volume, unmounted at the end.
class Mount {
public:
    /// Errors: `std::runtime_error`, telling why it can't be mounted.
    static Mount tmpfs(const Url& at, const std::string& options = {});
    static Mount bound(const Url& folder, const Url& at);
    static Mount image(const Url& file, const Url& at, const std::string& type);

    /// Why nothing can be mounted here; none when it can.
    [[nodiscard]] static std::optional<std::string> obstacle();

    Mount(Mount&& other) noexcept;
    Mount& operator=(Mount&&) = delete;
    ~Mount();

    void make_read_only() const;

private:
    explicit Mount(const Url& at) : at_(at.path()) {}

    std::string at_;
};

} // namespace orv::test
