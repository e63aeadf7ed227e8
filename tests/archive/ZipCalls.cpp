#include "archive/ZipCalls.hpp"

#include <cstdlib>

namespace orv::test {
namespace {

std::string outcome_of(const std::function<void()>& request)
{
    static constexpr const char* cases[] = {"not found", "unzip", "zip", "cancelled"};
    try {
        request();
        return success;
    } catch (const Zip::Error& error) {
        return std::string(cases[static_cast<int>(error.kind())]) + ": " + error.cause().sentence();
    }
}

} // namespace

std::string zip(const std::vector<Url>& paths, const Url& archive, const ZipOptions& options)
{
    return outcome_of([&] {
        Zip::zipFiles(paths, archive, options.password, options.compression, options.canceller,
                      options.test_mode, options.progress);
    });
}

std::string unzip(const Url& archive, const Url& destination, const ZipOptions& options)
{
    return outcome_of([&] {
        Zip::unzipFile(archive, destination, options.password, options.canceller, options.test_mode,
                       options.progress);
    });
}

bool shell(const std::string& command)
{
    return std::system(("{ " + command + "; } >/dev/null 2>&1").c_str()) == 0;
}

} // namespace orv::test
