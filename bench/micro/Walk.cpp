#include "Misc/FileItem.hpp"
#include "files/FolderReader.hpp"
#include "Tool/Tool.hpp"
#include "files/TreeWalk.hpp"
#include "micro/Micro.hpp"

#include <vector>

namespace orv::bench {
namespace {

constexpr int file_count = 10'000;

const std::string& folder_of_files()
{
    static const std::string path = make_folder_of_files("walked", file_count);
    return path;
}

/// Reading and describing the entries of one folder.
void walked_entry(benchmark::State& state)
{
    const Url folder(folder_of_files());
    std::int64_t count = 0;
    for ([[maybe_unused]] auto _ : state) {
        TreeWalk walk(folder);
        for (auto event = walk.next(); event != TreeWalk::Event::end; event = walk.next())
            count += event == TreeWalk::Event::item;
    }
    count_items(state, count);
}
BENCHMARK(walked_entry)->Unit(benchmark::kMillisecond);

/// The same, and making the items of a list from them.
void listed_entry(benchmark::State& state)
{
    const Url folder(folder_of_files());
    std::int64_t count = 0;
    for ([[maybe_unused]] auto _ : state) {
        std::vector<FileItem> items;
        orv::Tool::iterate_contents(folder, false, true, std::nullopt, true, [&](FileItem item) {
            items.push_back(std::move(item));
            return true;
        });
        count += static_cast<std::int64_t>(items.size());
    }
    count_items(state, count);
}
BENCHMARK(listed_entry)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace orv::bench
