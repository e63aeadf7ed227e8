#include "ThumbGenerator/FileUri.hpp"

namespace orv {

std::string file_uri(const Url& file)
{
    // GLib, whose form counts, also escapes the semicolon, which once set off parameters.
    std::string uri;
    for (const char c : file.description()) {
        if (c == ';')
            uri += "%3B";
        else
            uri += c;
    }
    return uri;
}

} // namespace orv
