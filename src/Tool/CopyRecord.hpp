#pragma once

#include "files/ItemVersion.hpp"
#include "utility/FileDescriptor.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

/// The copied items of a tree, one after the other, a folder around its contents. A long record
/// lies in a file in the processed-files folder, so memory does not grow with the tree.
///
/// Errors: the platform's, of that file.
class CopyRecord {
public:
    enum class Step : std::uint8_t { item, entered, left };

    void add_item(std::string_view name, const ItemVersion& version);
    /// A folder, whose contents follow until `add_left`.
    void add_entered(std::string_view name, const ItemVersion& version);
    void add_left();

    /// Reads a finished record from its beginning. The record must outlive it.
    class Reader {
    public:
        explicit Reader(const CopyRecord& record) : record_(record) {}

        /// Goes on to the next step; false at the end.
        bool next();

        [[nodiscard]] Step step() const { return step_; }
        [[nodiscard]] const std::string& name() const { return name_; }
        [[nodiscard]] const ItemVersion& version() const { return version_; }

    private:
        const std::byte* bytes(std::size_t count);

        const CopyRecord& record_;
        std::size_t position_ = 0;
        std::vector<std::byte> window_; // the latest part of the file
        std::size_t window_start_ = 0;
        Step step_ = Step::item;
        std::string name_;
        ItemVersion version_;
    };

private:
    void add(Step step, std::string_view name, const ItemVersion& version);
    void spill();

    std::vector<std::byte> bytes_; // the end of the record
    std::size_t spilled_ = 0;      // bytes of its beginning already in the file
    FileDescriptor file_;
};

} // namespace orv
