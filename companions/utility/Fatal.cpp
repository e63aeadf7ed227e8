#include <orv/utility/Fatal.hpp>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace orv {
namespace {

// Never destroyed: a background thread may meet a fatal error while the process ends.
FatalHandler& fatal_handler()
{
    static auto* handler = new FatalHandler;
    return *handler;
}

} // namespace

void set_fatal_handler(FatalHandler handler)
{
    fatal_handler() = std::move(handler);
}

void fatal(std::string_view text) noexcept
{
    std::string line = "orv: ";
    for (const char c : text)
        line += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
    line += '\n';
    std::fputs(line.c_str(), stderr);
    if (fatal_handler())
        fatal_handler()(text);
    std::abort();
}

} // namespace orv
