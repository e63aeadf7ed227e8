#include "utility/StopWatch.hpp"

#include <orv/orv.hpp>

#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <string_view>

#include <ftw.h>

namespace orv::bench {
namespace {

/// Lists a tree with size and dates, sorted by name, as an application does.
void make_request(const std::string& folder)
{
    std::optional<Error> failure;
    const auto operation = OrvFileManager::singleton().fetch_items(
        folder, true, SortType::by_name(SortOrder::asc), true,
        [&](FetchItemsOperation::Status status) {
            if (const auto* error = std::get_if<status::error>(&status))
                failure = error->error;
        });
    MainQueue::instance().run_until([&] { return !operation->is_busy(); });
    if (failure)
        throw *failure;
}

/// Describes every item of a tree with the C library, and keeps nothing.
void walk_with_nftw(const std::string& folder)
{
    constexpr int open_folders = 12;
    const auto pass = [](const char*, const struct stat*, int, struct FTW*) { return 0; };
    if (::nftw(folder.c_str(), pass, open_folders, FTW_PHYS) != 0)
        throw Error("The tree cannot be walked.");
}

int main(int argc, char** argv)
try {
    if (argc != 3)
        throw Error("Usage: orv_listing request|nftw FOLDER");
    if (argv[1] == std::string_view("nftw"))
        walk_with_nftw(argv[2]);
    else
        make_request(argv[2]);
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "orv_listing: %s\n", error.what());
    return 1;
}

} // namespace
} // namespace orv::bench

int main(int argc, char** argv)
{
    return orv::bench::main(argc, argv);
}
