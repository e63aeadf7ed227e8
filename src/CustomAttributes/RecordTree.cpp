#include "CustomAttributes/RecordTree.hpp"

#include <string_view>

namespace orv {
namespace {

constexpr std::string_view after_slash = "0";

} // namespace

RecordTree::RecordTree(const RecordKey& key) : item_(key.text())
{
    if (item_.empty()) {
        first_end_ = "/";
        second_begin_ = after_slash;
        return;
    }
    below_ = item_ == "/" ? item_ : item_ + "/";
    first_begin_ = item_;
    first_end_ = item_ + '\0';
    second_begin_ = below_;
    second_end_ = below_.substr(0, below_.size() - 1).append(after_slash);
}

std::array<Argument, 4> RecordTree::ranges() const
{
    // Every text is less than any blob.
    const Argument end = second_end_.empty() ? Argument(Blob{}) : Argument(second_end_);
    return {first_begin_, first_end_, second_begin_, end};
}

std::array<Argument, 4> RecordTree::replacement(const RecordTree& other) const
{
    return {item_, other.item_, other.below_, below_start()};
}

std::array<Argument, 2> RecordTree::direct() const
{
    return {item_, below_start()};
}

std::int64_t RecordTree::below_start() const
{
    return static_cast<std::int64_t>(below_.size()) + 1;
}

} // namespace orv
