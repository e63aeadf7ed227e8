#include "support/Scratch.hpp"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace orv::test {
namespace fs = std::filesystem;

Scratch::Scratch(const Url& in)
{
    const fs::path folder = in.empty() ? fs::temp_directory_path() : fs::path(in);
    std::string path = (folder / "orv-test-XXXXXX").string();
    if (!::mkdtemp(path.data()))
        throw std::runtime_error("no scratch folder could be made");
    url_ = Url(path).resolving_symlinks();
}

Scratch::~Scratch()
{
    std::error_code ignored;
    for (fs::recursive_directory_iterator item(url_, ignored), end; item != end;
         item.increment(ignored))
        if (item->is_directory(ignored) && !item->is_symlink(ignored))
            fs::permissions(item->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
    fs::remove_all(url_, ignored);
}

} // namespace orv::test
