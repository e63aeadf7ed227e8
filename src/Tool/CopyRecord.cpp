#include "Tool/CopyRecord.hpp"

#include "files/ProcessedFiles.hpp"
#include "files/ReadWrite.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <type_traits>

namespace orv {
namespace {

constexpr std::size_t max_bytes_in_memory = 1 << 20;

struct Header {
    ItemVersion version;
    std::uint32_t name_size;
    CopyRecord::Step step;
};
static_assert(std::is_trivially_copyable_v<Header>);

} // namespace

void CopyRecord::add_item(std::string_view name, const ItemVersion& version)
{
    add(Step::item, name, version);
}

void CopyRecord::add_entered(std::string_view name, const ItemVersion& version)
{
    add(Step::entered, name, version);
}

void CopyRecord::add_left()
{
    add(Step::left, {}, {});
}

void CopyRecord::add(Step step, std::string_view name, const ItemVersion& version)
{
    const Header header{version, static_cast<std::uint32_t>(name.size()), step};
    const std::size_t end = bytes_.size();
    bytes_.resize(end + sizeof header + name.size());
    std::memcpy(&bytes_[end], &header, sizeof header);
    std::copy(name.begin(), name.end(),
              static_cast<char*>(static_cast<void*>(&bytes_[end] + sizeof header)));
    if (bytes_.size() >= max_bytes_in_memory)
        spill();
}

void CopyRecord::spill()
{
    if (!file_)
        file_ = create_nameless_file();
    write_all({file_.get(), processed_files_folder()}, bytes_, static_cast<std::int64_t>(spilled_));
    spilled_ += bytes_.size();
    bytes_.clear();
}

bool CopyRecord::Reader::next()
{
    if (position_ == record_.spilled_ + record_.bytes_.size())
        return false;
    Header header{};
    std::memcpy(&header, bytes(sizeof header), sizeof header);
    position_ += sizeof header;
    name_.clear();
    if (header.name_size > 0)
        name_.assign(static_cast<const char*>(static_cast<const void*>(bytes(header.name_size))),
                     header.name_size);
    position_ += header.name_size;
    step_ = header.step;
    version_ = header.version;
    return true;
}

/// The next `count` bytes. No step lies partly in the file and partly in memory.
const std::byte* CopyRecord::Reader::bytes(std::size_t count)
{
    if (position_ >= record_.spilled_)
        return &record_.bytes_[position_ - record_.spilled_];
    if (position_ + count > window_start_ + window_.size()) {
        window_start_ = position_;
        window_.resize(std::min(max_bytes_in_memory, record_.spilled_ - position_));
        const OpenFile file{record_.file_.get(), processed_files_folder()};
        const std::size_t got = read_some(file, window_, static_cast<std::int64_t>(position_));
        if (got < count)
            throw platform_error(EIO, file.url);
        window_.resize(got);
    }
    return &window_[position_ - window_start_];
}

} // namespace orv
