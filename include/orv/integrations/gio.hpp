#pragma once

#include <orv/utility/Url.hpp>

#include <memory>
#include <optional>
#include <utility>

#include <gio/gio.h>

namespace orv {

/// The location as a GFile, a reference for the caller to own.
///
/// Threading: any.
inline GFile* to_gfile(const Url& url)
{
    return g_file_new_for_path(url.path().c_str());
}

/// The location of a file of this computer, including GIO's own views of one; no value for any
/// other.
///
/// Threading: any.
inline std::optional<Url> from_gfile(GFile* file)
{
    const std::unique_ptr<char, decltype(&g_free)> path(g_file_get_path(file), &g_free);
    return path ? std::optional<Url>(path.get()) : std::nullopt;
}

/// `closure`, without effect after the end of `owner`, any GObject.
///
/// Threading: the main thread calls the closure, and the owner ends there.
template <class Closure>
auto while_alive(GObject* owner, Closure closure)
{
    struct Guard {
        GWeakRef reference{};
        explicit Guard(GObject* object) { g_weak_ref_init(&reference, object); }
        ~Guard() { g_weak_ref_clear(&reference); }
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;
    };
    return [guard = std::make_shared<Guard>(owner),
            closure = std::move(closure)](auto&&... arguments) mutable {
        const std::unique_ptr<void, decltype(&g_object_unref)> alive(
            g_weak_ref_get(&guard->reference), &g_object_unref);
        if (alive)
            closure(std::forward<decltype(arguments)>(arguments)...);
    };
}

} // namespace orv
