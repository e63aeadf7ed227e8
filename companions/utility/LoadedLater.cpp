#include "utility/LoadedLater.hpp"

#include <orv/utility/Error.hpp>

#include <string>

#include <dlfcn.h>

namespace orv {
namespace {

Error cannot_be_loaded(const char* library)
{
    const char* reason = ::dlerror();
    return Error("The library " + std::string(library) +
                 " can't be loaded: " + (reason ? reason : "it lacks what is needed") + ".");
}

} // namespace

void* loaded_function(const char* library, const char* function)
{
    // The loader counts the uses of a library. This one stays open, and so it stays loaded.
    void* loaded = ::dlopen(library, RTLD_LAZY | RTLD_LOCAL);
    void* address = loaded ? ::dlsym(loaded, function) : nullptr;
    if (!address)
        throw cannot_be_loaded(library);
    return address;
}

} // namespace orv
