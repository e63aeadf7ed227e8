#include "ThumbGenerator/FileUri.hpp"

namespace orv {

std::string file_uri(const Url& file)
{
    // GLib's form counts. It also escapes the semicolon, once a separator of parameters.
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
