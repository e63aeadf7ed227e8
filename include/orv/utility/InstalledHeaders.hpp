#pragma once

namespace orv::internal {

/// Tells the library where an application's compiler found its headers. A static library, which the
/// application carries elsewhere, has no other way to its installed programs and resources. No
/// application calls this.
class InstalledHeaders {
public:
    explicit InstalledHeaders(const char* header) noexcept;
};

inline const InstalledHeaders installed_headers(__FILE__);

} // namespace orv::internal
