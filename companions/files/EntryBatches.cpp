#include "files/EntryBatches.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <cstring>

#include <fcntl.h>

namespace orv {
namespace {

// Looking at so many takes some 100 microseconds, long enough to be worth a hand-over.
constexpr std::size_t most_items = 128;

} // namespace

const struct statx* EntryBatch::Entry::facts(unsigned mask)
{
    if (facts_.stx_mask != 0)
        return &facts_;
    if (::statx(folder_.descriptor.get(), name_, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, mask,
                &facts_) == 0)
        return &facts_;
    const Error error = platform_error(errno, folder_.path + "/" + name_);
    if (error.code() == ENOMEM)
        throw error;
    if (error.code() != ENOENT && batch_.on_passed_over_)
        batch_.on_passed_over_(error);
    return nullptr;
}

void EntryBatch::for_each(FunctionRef<void(Entry&)> take) const
{
    auto folder = folders_.begin();
    for (std::size_t i = 0; i < items_.size(); ++i) {
        while (i == folder->end)
            ++folder;
        const Item& item = items_[i];
        struct statx facts {};
        facts.stx_mode = item.mode;
        Entry entry(*this, *folder, names_.c_str() + item.name,
                    item.facts ? facts_[*item.facts] : facts);
        take(entry);
    }
}

std::shared_ptr<const EntryBatch> EntryBatches::next()
{
    const auto batch = std::make_shared<EntryBatch>();
    batch->on_passed_over_ = on_passed_over_;
    bool is_same_folder = false;
    while (batch->items_.size() < most_items &&
           (is_same_folder || batch->folders_.size() < most_folders)) {
        switch (walk_.next()) {
        case TreeWalk::Event::item:
            add_item(*batch, is_same_folder);
            is_same_folder = true;
            break;
        case TreeWalk::Event::entered:
        case TreeWalk::Event::left:
            is_same_folder = false;
            break;
        case TreeWalk::Event::end:
            return batch->items_.empty() ? nullptr : batch;
        }
    }
    return batch;
}

void EntryBatches::add_item(EntryBatch& batch, bool is_same_folder)
{
    if (!is_same_folder)
        batch.folders_.push_back(
            {walk_.folder_path(), walk_.relative_folder_path(), walk_.level(), {}, 0});
    EntryBatch::Folder& folder = batch.folders_.back();
    EntryBatch::Item item{batch.names_.size(), walk_.facts().stx_mode, {}};
    if (walk_.facts().stx_mask != 0) {
        item.facts = batch.facts_.size();
        batch.facts_.push_back(walk_.facts());
    } else if (!folder.descriptor) {
        folder.descriptor = FileDescriptor(::fcntl(walk_.folder(), F_DUPFD_CLOEXEC, 0));
        if (!folder.descriptor)
            throw platform_error(errno, folder.path);
    }
    batch.names_.append(walk_.name(), std::strlen(walk_.name()) + 1);
    batch.items_.push_back(item);
    folder.end = batch.items_.size();
}

} // namespace orv
