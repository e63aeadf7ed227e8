#include "picture/Media.hpp"
#include "support/Engine.hpp"
#include "thumbnails/DrawnPicture.hpp"

#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <set>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>

namespace orv::test {
namespace {

using Names = std::vector<std::string>;

const std::size_t cores = std::max(std::thread::hardware_concurrency(), 1U);

/// Draws only while its gate is open, and notes whose turn has come.
class GatedGenerator : public OrvThumbnailGenerator {
public:
    [[nodiscard]] std::vector<std::string> supportedExtensions() const override
    {
        return {"gated"};
    }
    [[nodiscard]] Picture getThumbnail(const Url& url) const override
    {
        std::unique_lock lock(mutex_);
        begun_.insert(url.last_path_component());
        opened_.wait(lock, [&] { return is_open_; });
        return drawn(40, 20);
    }
    void open()
    {
        const std::lock_guard lock(mutex_);
        is_open_ = true;
        opened_.notify_all();
    }
    [[nodiscard]] std::set<std::string> begun() const
    {
        const std::lock_guard lock(mutex_);
        return begun_;
    }

private:
    mutable std::mutex mutex_;
    mutable std::condition_variable opened_;
    mutable std::set<std::string> begun_;
    bool is_open_ = false;
};

class ThumbnailQueueTest : public EngineTest {
protected:
    ThumbnailQueueTest()
    {
        ::setenv("XDG_CACHE_HOME", at("cache").path().c_str(), 1);
        OrvThumbnail::singleton().addThumbnailGenerator(generator);
    }
    ~ThumbnailQueueTest() override { ::unsetenv("XDG_CACHE_HOME"); }

    /// The files `first` to before `end`.
    static Names numbered(int first, int end)
    {
        Names names;
        for (int i = first; i < end; ++i)
            names.push_back(std::to_string(i) + ".gated");
        return names;
    }

    [[nodiscard]] std::vector<Url> urls_of(const Names& names) const
    {
        std::vector<Url> urls;
        for (const std::string& name : names)
            urls.push_back(at(name));
        return urls;
    }

    ThumbnailQueue::Closure note()
    {
        return [this](const ThumbnailQueue::Made& made) {
            delivered.push_back(made.url.last_path_component());
            EXPECT_EQ(made.is_placeholder, made.failure.has_value());
            thumb = made.thumb;
        };
    }

    void expect_delivered(const Names& names)
    {
        pump_until([&] { return delivered.size() >= names.size(); });
        MainQueue::instance().drain();
        EXPECT_EQ(std::exchange(delivered, {}), names);
    }

    std::shared_ptr<GatedGenerator> generator = std::make_shared<GatedGenerator>();
    Names delivered;
    Picture thumb;
};

struct ScrollCase {
    const char* name;
    Names wishes;
    Names delivered;
};

TEST_F(ThumbnailQueueTest, serves_the_wishes_of_the_moment_in_their_order)
{
    const int many = static_cast<int>(cores) + 12;
    const auto numbers = [](int first, int end) { return numbered(first, end); };
    Names backwards = numbers(0, many);
    std::ranges::reverse(backwards);
    Names repeated = numbers(4, 8);
    repeated.insert(repeated.begin(), {"6.gated", "6.gated"});
    const ScrollCase cases[] = {
        {"the same", numbers(0, many), numbers(0, many)},
        {"scrolled on", numbers(4, many + 4), numbers(4, many + 4)},
        {"scrolled far", numbers(1000, 1008), numbers(1000, 1008)},
        {"backwards", backwards, backwards},
        {"repeated", repeated, {"6.gated", "4.gated", "5.gated", "7.gated"}},
        {"nothing", {}, {}},
    };
    for (const auto& [name, wishes, result] : cases) {
        SCOPED_TRACE(name);
        generator = std::make_shared<GatedGenerator>();
        OrvThumbnail::singleton().addThumbnailGenerator(generator);
        ThumbnailQueue queue({}, {}, note());
        queue.set_wishes(urls_of(numbers(0, many)));
        pump_until([&] { return generator->begun().size() == cores; });
        queue.set_wishes(urls_of(wishes));
        std::set<std::string> turns = generator->begun();
        turns.insert(result.begin(), result.end());
        generator->open();
        expect_delivered(result);
        EXPECT_EQ(generator->begun(), turns);
    }
}

TEST_F(ThumbnailQueueTest, delivers_each_once_until_it_changes_and_the_rest_after_a_fault)
{
    generator->open();
    ThumbnailQueue queue({}, {}, note());
    queue.set_wishes(urls_of(numbered(0, 8)));
    expect_delivered(numbered(0, 8));
    queue.set_wishes(urls_of(numbered(6, 10)));
    expect_delivered(numbered(8, 10));
    queue.renew(at("7.gated"));
    queue.renew(at("0.gated")); // not in the list
    expect_delivered(numbered(7, 8));

    bool has_thrown = false;
    ThumbnailQueue throwing({}, {}, [&](const ThumbnailQueue::Made& made) {
        note()(made);
        if (!std::exchange(has_thrown, true))
            throw std::runtime_error("thrown on purpose");
    });
    throwing.set_wishes(urls_of(numbered(0, 3)));
    EXPECT_THROW(pump_until([] { return false; }), std::runtime_error);
    expect_delivered(numbered(0, 3));
}

TEST_F(ThumbnailQueueTest, may_end_inside_its_closure)
{
    generator->open();
    const auto kept = std::make_shared<int>();
    std::optional<ThumbnailQueue> queue;
    queue.emplace(ThumbnailQueue::Box(), ThumbnailQueue::Options(),
                  [&, kept](const ThumbnailQueue::Made& made) {
                      queue.reset();
                      note()(made);
                  });
    queue->set_wishes(urls_of(numbered(0, 8)));
    expect_delivered(numbered(0, 1));
    EXPECT_EQ(kept.use_count(), 1);
}

TEST_F(ThumbnailQueueTest, fits_files_into_its_box_and_shares_them_with_the_desktop)
{
    if (lacks_tools())
        GTEST_SKIP();
    const auto png = drawn(400, 300).png();
    write_file(at("a.png"), text_of(png));
    write_file(at("b.webp"), text_of(png)); // the content counts
    write_file(at("page.pdf"), pdf_page("100", "50"));
    const timespec long_ago[2] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, at("a.png").path().c_str(), long_ago, 0), 0);
    struct {
        const char* file;
        std::uint32_t width, height;
    } const rows[] = {{"a.png", 120, 90},
                      {"b.webp", 120, 90},
                      {"page.pdf", 120, 60},
                      {"1.gated", 40, 20},
                      {"unknown.x-y", 100, 100}};
    generator->open();
    ThumbnailQueue queue({.width = 120, .height = 100}, {}, note());
    for (const auto& [file, width, height] : rows) {
        queue.set_wishes({at(file)});
        expect_delivered({file});
        EXPECT_EQ(thumb.width(), width) << file;
        EXPECT_EQ(thumb.height(), height) << file;
    }
    EXPECT_FALSE(std::filesystem::is_empty(at("cache/thumbnails/normal").path()));

    OrvThumbnail& registry = OrvThumbnail::singleton();
    EXPECT_TRUE(registry.getThumbnail(at("b.webp"), 9, 9).is_placeholder);
    registry.add_further_formats();
    EXPECT_FALSE(registry.getThumbnail(at("b.webp"), 9, 9).is_placeholder);
    EXPECT_EQ(registry.supportedFiletypes()["gated"], generator);
}

} // namespace
} // namespace orv::test
