#include "support/Engine.hpp"

#include "Operations/frame/UrlLocker.hpp"
#include "utility/StopWatch.hpp"

#include <chrono>
#include <filesystem>
#include <stdexcept>

namespace orv::test {
namespace {

/// The places of the one engine that a test process can have.
struct Places {
    Scratch root;
    Url home = root / "home";
    Url temp = root / "tmp";

    Places()
    {
        std::filesystem::create_directories(home);
        Locations locations;
        locations.home_dir = home;
        locations.docs_dir = home.appending("Documents");
        locations.app_support_dir = root / "support";
        locations.temp_dir = temp;
        locations.trash_dir = root / "Trash";
        locations.volumes_dir = std::filesystem::temp_directory_path(); // where tests mount theirs
        OrvFileManager::configure(locations);
        OrvFileManager::create_singleton();
    }
};

Places& places()
{
    static Places the_places;
    return the_places;
}

} // namespace

void pump_until(const std::function<bool()>& predicate)
{
    // A request takes its locks without a word to the main loop, so it is looked at now and then.
    const StopWatch watch;
    while (!MainQueue::instance().run_until(predicate, std::chrono::milliseconds(5)))
        if (watch.elapsed_time() > 30)
            throw std::runtime_error("nothing happened for half a minute");
}

void expect_no_locks()
{
    EXPECT_FALSE(UrlLocker::is_read_locked("/"));
    EXPECT_FALSE(UrlLocker::is_write_locked("/"));
}

EngineTest::EngineTest()
{
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(test->test_suite_name()) + "." + test->name();
    for (char& c : name)
        if (c == '/')
            c = '-';
    folder_ = places().home.appending(name);
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
}

EngineTest::~EngineTest()
{
    OrvFileManager::set_test_mode(false);
}

void EngineTest::TearDown()
{
    EXPECT_EQ(tree(processed_files_folder()), std::vector<std::string>{});
    expect_no_locks();
}

const Url& EngineTest::root()
{
    return places().root.url();
}

Url EngineTest::processed_files_folder()
{
    return places().temp.appending("__orv_proc_files__");
}

} // namespace orv::test
