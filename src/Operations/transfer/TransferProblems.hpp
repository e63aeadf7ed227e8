#pragma once

#include "Operations/transfer/Standing.hpp"
#include "files/VolumeTraits.hpp"

#include <orv/Operations/TransferOpr.hpp>
#include <orv/utility/Error.hpp>
#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace orv {

/// The problems of a transfer, found while its sources are measured.
class TransferProblems {
public:
    explicit TransferProblems(const VolumeTraits& traits) : traits_(traits) {}

    /// The item at the result of `url` is to get the name in the walk's folder.
    ///
    /// Problems: a name or a size beyond the volume's limits; two names that are one there.
    void look_at(std::string_view name, const ItemFacts& facts, FunctionRef<Url()> url);

    /// The walk goes into a folder and leaves it.
    void enter() { names_.emplace_back(); }
    void leave() { names_.pop_back(); }

    /// The new items need so many bytes in `folder`.
    ///
    /// Problems: fewer free bytes.
    void check_room(const Url& folder, std::int64_t needed);

    /// The item cannot be transferred.
    void add(const Url& item, const Error& error) { found_.push_back({item, error}); }

    [[nodiscard]] const std::vector<TransferProblem>& found() const { return found_; }

private:
    const VolumeTraits& traits_;
    /// For each folder around the walk, the names in it without their case.
    std::vector<std::unordered_set<std::string>> names_{1};
    std::vector<TransferProblem> found_;
};

} // namespace orv
