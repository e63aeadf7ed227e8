#include "files/ReadBack.hpp"

#include <orv/utility/Error.hpp>

#include <fcntl.h>

namespace orv {

void check_reads_back(const OpenFile& original, const OpenFile& copy, FunctionRef<void()> poll)
{
    // Only data on the medium can be dropped from memory.
    ::posix_fadvise(copy.fd, 0, 0, POSIX_FADV_DONTNEED);
    ::posix_fadvise(copy.fd, 0, 0, POSIX_FADV_SEQUENTIAL);
    if (!has_same_content(original, copy, poll))
        throw Error("The copy differs from its original.").at(copy.url);
}

} // namespace orv
