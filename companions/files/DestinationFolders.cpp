#include "files/DestinationFolders.hpp"

#include "files/Flush.hpp"
#include "files/OpenFolder.hpp"

#include <orv/utility/Error.hpp>

#include <utility>

namespace orv {
namespace {

OpenFolder opened(int parent, const std::string& name, const Url& url)
{
    OpenFolder folder = open_folder(parent, name.c_str());
    if (folder.error != 0)
        throw platform_error(folder.error, url);
    return folder;
}

} // namespace

DestinationFolders::DestinationFolders(const DestinationFolder& parent, const std::string& name,
                                       Url url, const Kept& kept)
    : stack_(opened(parent.fd, name, url)), kept_{kept}, url_(std::move(url))
{
}

void DestinationFolders::enter(const std::string& name, const Kept& kept,
                               const std::string& shown_name)
{
    Url url = url_.appending(shown_name.empty() ? name : shown_name);
    stack_.enter(opened(stack_.folder(), name, url));
    kept_.push_back(kept);
    url_ = std::move(url);
}

void DestinationFolders::leave(int source, bool flushes)
{
    if (const Kept& kept = kept_.back()) {
        keep_extended_attributes(source, stack_.folder(), url_);
        keep_mode_and_times(stack_.folder(), *kept, url_);
    }
    if (flushes)
        flush(stack_.folder(), url_);
    if (stack_.depth() > 0)
        go_up();
    else
        kept_.pop_back();
}

void DestinationFolders::abandon() noexcept
{
    try {
        while (!kept_.empty()) {
            if (const Kept& kept = kept_.back())
                keep_mode_and_times(stack_.folder(), *kept, url_);
            if (stack_.depth() == 0)
                return;
            go_up();
        }
    } catch (const std::exception&) {
        return; // the copy has failed anyway; its folders stay accessible to their owner
    }
}

void DestinationFolders::go_up()
{
    kept_.pop_back();
    const Url above = url_.deleting_last_path_component();
    if (const int code = stack_.leave())
        throw platform_error(code, above);
    url_ = above;
}

} // namespace orv
