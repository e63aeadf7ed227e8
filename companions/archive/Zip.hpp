#pragma once

#include "files/PartialFile.hpp"

#include <orv/archive/ExpansionLimits.hpp>
#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

#include <atomic>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orv {

/// The effort of packing.
enum class ZipCompression { no_compression, best_speed, default_compression, best_compression };

/// Packs items into zip archives, and unpacks such archives.
///
/// Threading: each call works on its own thread, with help from the worker pool. Several may run at
/// the same time.
class Zip {
public:
    /// The finished part.
    struct Amount {
        std::uint64_t bytes_done, bytes_total, items_done, items_total;
    };

    /// Calls to whoever watches a packing or an unpacking. Each may be empty.
    struct Watch {
        /// Called before each part of the work; waits during a pause.
        ///
        /// Threading: any, several at once.
        std::function<void()> wait_while_paused = {};
        /// Called just before each progress, and at the end.
        ///
        /// Threading: that of the call.
        std::function<void(const Amount&)> counted = {};
        /// Receives each left-out item, and the reason.
        ///
        /// Threading: that of the call.
        std::function<void(const orv::Error&)> left_out = {};
    };

    /// Stops the call it belongs to, and watches it.
    ///
    /// Threading: any.
    class Canceller {
    public:
        Canceller() = default;
        explicit Canceller(Watch watch) : watch_(std::move(watch)) {}

        [[nodiscard]] const Watch& watch() const noexcept { return watch_; }
        void cancel() noexcept { cancelled_.store(true); }
        [[nodiscard]] bool is_cancelled() const noexcept { return cancelled_.load(); }

    private:
        std::atomic<bool> cancelled_ = false;
        Watch watch_;
    };

    /// The failure of packing or unpacking. `cause()` explains it, with the path and the platform's
    /// code if known.
    class Error : public std::exception {
    public:
        enum class Case { file_not_found, unzip_failed, zip_failed, cancelled };

        // NOLINTNEXTLINE(bugprone-throw-keyword-missing): the cause is a part of it
        Error(Case kind, orv::Error cause) : case_(kind), cause_(std::move(cause)) {}

        [[nodiscard]] Case kind() const noexcept { return case_; }
        [[nodiscard]] const orv::Error& cause() const noexcept { return cause_; }
        [[nodiscard]] const char* what() const noexcept override { return cause_.what(); }

    private:
        Case case_;
        orv::Error cause_;
    };

    /// Receives the finished part, from 0 to 1, never less than before, and the current item.
    /// Called on the thread of the request, at least once for each item and several times a second
    /// during a big one. An exception from it ends the request and passes through.
    using Progress = std::function<void(float fraction, const Url& item)>;

    /// The limits of every later unpacking.
    ///
    /// Threading: any.
    static void set_expansion_limits(const ExpansionLimits& limits);
    [[nodiscard]] static ExpansionLimits expansion_limits();

    /// Packs `paths` in this order, folders with all their contents and symbolic links as links,
    /// into a new archive at `zipFilePath`. An existing file there must be empty: it is the
    /// caller's reserved place, and gets the archive. Of several items with one name, the later
    /// ones get a free one. Leaves sockets and pipes out, but refuses them among `paths`. A
    /// password encrypts the content of files and links (AES-256); an empty password protects
    /// nothing and counts as none.
    ///
    /// A file that changes meanwhile is packed as it was read. In test mode all work happens on the
    /// calling thread, with a pause of 0.2 s after each item.
    ///
    /// Cancel: ends within a fraction of a second.
    /// Errors: `file_not_found` if one of `paths` does not exist; `zip_failed` for everything else,
    /// also for unreadable items and for devices, impossible in an archive; `cancelled`. After an
    /// error the new archive is gone, or empty again.
    static void zipFiles(const std::vector<Url>& paths, const Url& zipFilePath,
                         const std::optional<std::string>& password, ZipCompression compression,
                         const std::shared_ptr<Canceller>& canceller, bool test_mode,
                         const Progress& progress);

    /// Unpacks the archive into the existing folder `destination`. Creates nothing outside it,
    /// replaces nothing in it, and shows no file under its name before it is complete. Of several
    /// items with one name, the later ones get a free one. Keeps permissions, times and links, but
    /// not the set-user and set-group bits. Makes links after everything else, and writes nothing
    /// through one. `ExpansionLimits::links_outside` decides on links that lead outside.
    ///
    /// Judges the names and sizes of all items before it creates the first. Refuses as a whole: an
    /// archive with a name that leads outside, an item inside a link or a file, a device, items
    /// that share their content, more than fits the limits or the volume, or a directory with a
    /// count other than its own. The test mode is that of `zipFiles`.
    ///
    /// Cancel: ends within a fraction of a second.
    /// Errors: `file_not_found` if there is no archive; `unzip_failed` for everything else, also
    /// for a wrong or missing password; `cancelled`. Complete items stay in `destination`.
    static void unzipFile(const Url& archive, const Url& destination,
                          const std::optional<std::string>& password,
                          const std::shared_ptr<Canceller>& canceller, bool test_mode,
                          const Progress& progress);

    /// The same into an open folder, wherever it is meanwhile.
    static void unzipFile(const Url& archive, const DestinationFolder& destination,
                          const std::optional<std::string>& password,
                          const std::shared_ptr<Canceller>& canceller, bool test_mode,
                          const Progress& progress);
};

} // namespace orv
