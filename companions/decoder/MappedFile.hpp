#pragma once

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <span>

#include <sys/mman.h>
#include <sys/stat.h>

namespace orv::decoder {

/// The content of an open file. If another program truncates the file, the process ends.
class MappedFile {
public:
    explicit MappedFile(int file)
    {
        struct stat facts {};
        if (::fstat(file, &facts) != 0)
            throw platform_error(errno, {});
        size_ = static_cast<std::size_t>(facts.st_size);
        start_ = ::mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, file, 0);
        if (start_ == MAP_FAILED)
            throw platform_error(errno, {});
    }
    ~MappedFile() { ::munmap(start_, size_); }
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    [[nodiscard]] std::span<const std::uint8_t> bytes() const
    {
        return {static_cast<const std::uint8_t*>(start_), size_};
    }

private:
    void* start_ = nullptr;
    std::size_t size_ = 0;
};

} // namespace orv::decoder
