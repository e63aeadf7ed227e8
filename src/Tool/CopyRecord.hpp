#pragma once

#include "files/ItemVersion.hpp"
#include "utility/FileDescriptor.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

/// What of a tree was copied, item after item, a folder around its contents. A long record lies in
/// a file in the processed-files folder, so that memory does not grow with the tree.
///
/// Errors: the platform's, of that file.
class CopyRecord {
public:
    enum class Step : std::uint8_t { item, entered, left };

    void add_item(std::string_view name, const ItemVersion& version);
    /// A folder, whose contents follow until `add_left`.
    void add_entered(std::string_view name, const ItemVersion& version);
    void add_left();

    /// Reads a finished record, which has to outlive it, from its beginning.
    class Reader {
    public:
        explicit Reader(const CopyRecord& record) : record_(record) {}

        /// Goes on to the next step and says whether there is one.
        bool next();

        [[nodiscard]] Step step() const { return step_; }
        [[nodiscard]] const std::string& name() const { return name_; }
        [[nodiscard]] const ItemVersion& version() const { return version_; }

    private:
        const std::byte* bytes(std::size_t count);

        const CopyRecord& record_;
        std::size_t position_ = 0;
        std::vector<std::byte> window_; // the part of the file that was read last
        std::size_t window_start_ = 0;
        Step step_ = Step::item;
        std::string name_;
        ItemVersion version_;
    };

private:
    void add(Step step, std::string_view name, const ItemVersion& version);
    void spill();

    std::vector<std::byte> bytes_; // the end of the record
    std::size_t spilled_ = 0;      // bytes of its beginning that are in the file
    FileDescriptor file_;
};

} // namespace orv
