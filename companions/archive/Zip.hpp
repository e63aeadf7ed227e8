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

/// How hard an archive is packed.
enum class ZipCompression { no_compression, best_speed, default_compression, best_compression };

/// Packs items into zip archives, and unpacks such archives.
///
/// Threading: each call works on the thread that makes it, with help from the worker pool. Several
/// may run at the same time.
class Zip {
public:
    /// How much is done.
    struct Amount {
        std::uint64_t bytes_done, bytes_total, items_done, items_total;
    };

    /// Calls to whoever watches a packing or an unpacking. Each may be empty.
    struct Watch {
        /// Called before each part of the work; waits for as long as that is to pause.
        ///
        /// Threading: any, several at once.
        std::function<void()> wait_while_paused = {};
        /// Called just before each progress, and when all is done.
        ///
        /// Threading: that of the call.
        std::function<void(const Amount&)> counted = {};
        /// Told of each item that is left out, and why.
        ///
        /// Threading: that of the call.
        std::function<void(const orv::Error&)> left_out = {};
    };

    /// Stops what it was handed to, and has it watched.
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

    /// Why packing or unpacking failed. `cause()` says it in words, with the path and the
    /// platform's code where they are known.
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

    /// Told how much is done, from 0 to 1 and never less than before, and with which item. Called
    /// on the thread that made the request, at least once for each item and several times a second
    /// during a big one. What it throws ends the request and is thrown on unchanged.
    using Progress = std::function<void(float fraction, const Url& item)>;

    /// The limits of every unpacking that begins from now on.
    ///
    /// Threading: any.
    static void set_expansion_limits(const ExpansionLimits& limits);
    [[nodiscard]] static ExpansionLimits expansion_limits();

    /// Packs `paths` in this order, folders with everything in them and symbolic links as links,
    /// into a new archive at `zipFilePath`. A file that already stands there has to be empty and is
    /// written into: a place that the caller keeps. Of several items of one name, the later ones
    /// get a free one. Sockets and pipes are left out, but refused among `paths`. With a password,
    /// the content of files and links is encrypted (AES-256); an empty password protects nothing
    /// and counts as none.
    ///
    /// A file that changes meanwhile is packed as it was read. In test mode all work is done on the
    /// calling thread, and each item is followed by a pause of 0.2 s.
    ///
    /// Cancel: ends within a fraction of a second.
    /// Errors: `file_not_found` when one of `paths` does not exist; `zip_failed` for everything
    /// else, also for what cannot be read and for devices, which an archive cannot keep;
    /// `cancelled`. Whenever it throws, the new archive is gone, or empty again.
    static void zipFiles(const std::vector<Url>& paths, const Url& zipFilePath,
                         const std::optional<std::string>& password, ZipCompression compression,
                         const std::shared_ptr<Canceller>& canceller, bool test_mode,
                         const Progress& progress);

    /// Unpacks the archive into the existing folder `destination`. Nothing is ever created outside
    /// it, nothing in it is replaced, and no file stands under its name before it is complete; of
    /// several items of one name, the later ones get a free one. Permissions, times and links are
    /// kept; the set-user and set-group bits are not. Links are made after everything else, and
    /// nothing is written through one. `ExpansionLimits::links_outside` decides on links that lead
    /// outside.
    ///
    /// The names and sizes of all items are judged before the first is created: an archive with a
    /// name that leads outside, an item inside a link or a file, a device, items that share their
    /// content, or more than fits the limits or the volume is refused as a whole, and so is one
    /// whose directory holds another number of items than it says. The test mode is that of
    /// `zipFiles`.
    ///
    /// Cancel: ends within a fraction of a second.
    /// Errors: `file_not_found` when there is no archive; `unzip_failed` for everything else, also
    /// for a password that is wrong or missing; `cancelled`. What was complete by then stays in
    /// `destination`.
    static void unzipFile(const Url& archive, const Url& destination,
                          const std::optional<std::string>& password,
                          const std::shared_ptr<Canceller>& canceller, bool test_mode,
                          const Progress& progress);

    /// The same into a folder that is open, wherever it is meanwhile.
    static void unzipFile(const Url& archive, const DestinationFolder& destination,
                          const std::optional<std::string>& password,
                          const std::shared_ptr<Canceller>& canceller, bool test_mode,
                          const Progress& progress);
};

} // namespace orv
