#include "folders/Visible.hpp"

#include "Measure.hpp"
#include "Media.hpp"
#include "folders/Figures.hpp"

#include <orv/orv.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <vector>

#include <fmt/format.h>
#include <time.h>
#include <sys/types.h>

namespace orv::bench {
namespace {

constexpr int visible_count = 48;
constexpr std::uint32_t edge = 128;

std::vector<Url> files_of(const std::string& folder)
{
    std::vector<Url> files;
    for (const auto& file : std::filesystem::directory_iterator(folder))
        files.emplace_back(file.path());
    std::ranges::sort(files, {}, &Url::path);
    return files;
}

/// The processor time of this process and its helpers so far.
double processor_ms_with_helpers()
{
    double ms = processor_ms(CLOCK_PROCESS_CPUTIME_ID);
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream children(thread.path() / "children");
        for (pid_t id = 0; children >> id;) {
            clockid_t clock = 0;
            if (::clock_getcpuclockid(id, &clock) == 0)
                ms += processor_ms(clock);
        }
    }
    return ms;
}

/// When the first and the last thumbnail of the files were there, and what they took.
struct Arrival {
    double first_ms = 0;
    double all_ms = 0;
    double processor_ms = 0;
};

Arrival arrival_of(const std::vector<Url>& files, bool uses_shared_folder)
{
    Arrival arrival;
    std::size_t count = 0;
    const double used_before = processor_ms_with_helpers();
    const auto start = Clock::now();
    ThumbnailQueue queue({edge, edge}, {.use_shared_folder = uses_shared_folder},
                         [&](const ThumbnailQueue::Made&) {
                             if (++count == 1)
                                 arrival.first_ms = ms_since(start);
                         });
    queue.set_wishes(files);
    MainQueue::instance().run_until([&] { return count == files.size(); });
    arrival.all_ms = ms_since(start);
    arrival.processor_ms = processor_ms_with_helpers() - used_before;
    return arrival;
}

Usage usage_of_vipsthumbnail(const std::string& folder, const std::string& destination)
{
    std::filesystem::create_directory(destination);
    const std::string command = fmt::format(
        "ls '{0}'/* | tr '\\n' '\\0' | xargs -0 -P2 -n{1} vipsthumbnail -s {2} -o '{3}/%s.jpg'",
        folder, visible_count / 2, edge, destination);
    return run_program({"sh", "-c", command});
}

void measure_window(const std::string& place)
{
    const std::string folder = place + "/visible";
    make_photographs(folder, visible_count);
    const std::vector<Url> files = files_of(folder);
    const Usage usage = usage_of_vipsthumbnail(folder, place + "/vipsthumbnail");
    const double beside = usage.seconds * 1e3;
    OrvThumbnail::singleton().set_cache_size(0);
    const Arrival cold = arrival_of(files, false);
    const Arrival warm = arrival_of(files, false);
    const Arrival sharing = arrival_of(files, true);
    const Arrival shared = arrival_of(files, true);
    print_row("first thumbnail of 48 pictures of 12 megapixels", warm.first_ms, "ms", 40);
    print_row("the same, decoders started for it", cold.first_ms, "ms", 200);
    print_row("all 48, beside vipsthumbnail on two cores", warm.all_ms / beside, "", 1);
    print_row("the same, processor time", warm.processor_ms / usage.cpu_seconds / 1e3, "", 1);
    print_row("processor time of a picture", warm.processor_ms / visible_count, "ms", 40);
    print_row("all 48, decoders started for them", cold.all_ms / beside, "", 1);
    print_row("all 48, put into the shared folder", sharing.all_ms / beside, "", 1);
    print_row("all 48 from the shared folder", shared.all_ms, "ms", 100);
}

/// `count` names of a few small pictures.
std::vector<Url> many_pictures(const std::string& folder, int count)
{
    std::filesystem::create_directory(folder);
    const std::vector<std::byte> jpeg =
        Picture(640, 480, std::vector<std::uint8_t>(std::size_t{4} * 640 * 480, 90)).jpeg(0.9);
    const Url first = Url(folder).appending("0.jpg");
    std::ofstream(first.path(), std::ios::binary)
        .write(reinterpret_cast<const char*>(jpeg.data()),
               static_cast<std::streamsize>(jpeg.size()));
    std::vector<Url> files{first};
    for (int i = 1; i < count; ++i) {
        files.push_back(Url(folder).appending(fmt::format("{}.jpg", i)));
        std::filesystem::create_hard_link(first.path(), files.back().path());
    }
    return files;
}

void measure_scroll(const std::string& place, int count)
{
    const std::vector<Url> files = many_pictures(place + "/scroll", count);
    std::size_t last_wish = 0;
    bool is_done = false; // thumbnails come in order
    ThumbnailQueue queue(
        {edge, edge}, {.use_shared_folder = false},
        [&](const ThumbnailQueue::Made& made) { is_done = made.url == files.back(); });
    const std::function<void()> scroll_on = [&] {
        constexpr std::size_t rows = 8;
        last_wish = std::min(last_wish + rows, files.size());
        const auto end = files.begin() + static_cast<std::ptrdiff_t>(last_wish);
        const auto first = end - std::min<std::ptrdiff_t>(visible_count, end - files.begin());
        queue.set_wishes({first, end});
        if (last_wish < files.size())
            main_async(scroll_on);
    };
    main_async(scroll_on);
    const double busiest = busiest_turn_ms([&] { return is_done; });
    print_row(fmt::format("scroll through {} pictures, longest turn of the main thread", count),
              busiest, "ms", 8);
}

} // namespace

void measure_visible_pictures(const std::string& place, int count)
{
    measure_window(place);
    measure_scroll(place, count);
}

} // namespace orv::bench
