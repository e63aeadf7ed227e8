#pragma once

#include "files/HiddenName.hpp"
#include "files/Identity.hpp"
#include "files/NoReplaceRename.hpp"
#include "files/Place.hpp"
#include "files/TransferItems.hpp"

#include <orv/utility/Url.hpp>

#include <optional>

namespace orv {

/// An item under construction, hidden beside its destination. Unless it is published, nothing of it
/// remains.
///
/// Threading: one thread.
class HiddenItem {
public:
    /// Opens the folder of `destination`, without a link on the way, and announces a hidden name in
    /// it.
    ///
    /// Errors: the platform's; an error if a link has taken the place of a folder.
    explicit HiddenItem(const Url& destination);
    ~HiddenItem();
    HiddenItem(const HiddenItem&) = delete;
    HiddenItem& operator=(const HiddenItem&) = delete;

    /// The place to build the item at. Errors show the destination instead.
    [[nodiscard]] DestinationItem item() const;

    /// True if an item has the destination's name.
    [[nodiscard]] bool is_taken() const;

    /// Gives the complete item the destination's name. It replaces nothing.
    ///
    /// Errors: those of `naming_error`; EEXIST if the name is taken.
    void publish();

    /// Gives the complete item the destination's name and removes the old item. At every moment,
    /// also after a kill or a power cut and the next start, one of the two has the name and is
    /// complete. In the end the new item is on the disk with its name.
    ///
    /// Errors: the platform's; then the old item stays, unless only the flush of the new name
    /// failed. If the old item cannot be removed in the end, the next start tries again.
    void publish_replacing();

    /// Flushes the folder to its disk: no power cut takes the name back.
    ///
    /// Errors: the platform's.
    void flush_folder() const;

    /// Gives an item that replaced nothing its hidden name back, if it still has the other one.
    void withdraw();

private:
    [[nodiscard]] int folder() const { return name_.folder().fd; }
    [[nodiscard]] const char* hidden() const { return name_.text().c_str(); }
    [[nodiscard]] const char* final_name() const { return place_.path.c_str(); }
    void flush_item() const;
    void remove_hidden() noexcept;
    void replace_by_setting_aside();
    [[nodiscard]] bool exchange() const;

    Place place_;
    Url url_;
    HiddenName name_;
    NoReplaceRename rename_;
    std::optional<Identity> published_;
};

} // namespace orv
