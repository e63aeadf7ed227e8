#pragma once

namespace orv::internal {

/// Tells the library where the compiler of an application found its headers. A static library,
/// linked into a program elsewhere, has no other way to its installed programs and resources. No
/// application calls this.
class InstalledHeaders {
public:
    explicit InstalledHeaders(const char* header) noexcept;
};

inline const InstalledHeaders installed_headers(__FILE__);

} // namespace orv::internal
