#include "Facade/ExampleFiles.hpp"

#include "utility/WorkerPool.hpp"

#include <orv/Facade/OrvFileManager.hpp>
#include <orv/utility/MainQueue.hpp>

#include <iostream>
#include <memory>
#include <string>
#include <utility>

namespace orv {
namespace {

constexpr std::string_view folders[] = {
    "Music",
    "Pictures",
    "Books",
    "Experiments",
    "Notes/Personal/Decision",
    "Notes/Personal/Diary",
    "Notes/Personal/Hobbies",
    "Notes/Personal/Ideas",
    "Notes/Personal/Quotes",
    "Notes/Personal/Thoughts",
    "Notes/Work/Project_A",
    "Notes/Work/Project_B",
    "Notes/Work/Project_C",
};

struct ExampleFile {
    std::string_view resource;
    std::string_view folder;
    std::string_view name = resource;

    [[nodiscard]] Url in(const Url& at) const { return at.appending(folder).appending(name); }
};

constexpr std::string_view lorem = "lorem.txt";

constexpr ExampleFile files[] = {
    {"guitar.mp3", "Music"},
    {"harpsichord.mp3", "Music"},
    {"piano.mp3", "Music"},
    {"birds.jpg", "Pictures"},
    {"posing.jpg", "Pictures"},
    {"foxies.jpg", "Pictures"},
    {"colorful.jpg", "Pictures"},
    {"A-Room-with-a-View.pdf", "Books"},
    {"The-Prince.pdf", "Books"},
    {"The-Problems-of-Philosophy.pdf", "Books"},
    {lorem, "Notes", "notes.txt"},
    {lorem, "Notes/Personal/Decision", "decision_01.txt"},
    {lorem, "Notes/Personal/Decision", "decision_02.txt"},
    {lorem, "Notes/Personal/Decision", "decision_03.txt"},
    {lorem, "Notes/Personal/Diary", "diary_01.txt"},
    {lorem, "Notes/Personal/Diary", "diary_02.txt"},
    {lorem, "Notes/Personal/Hobbies", "hobby_01.txt"},
    {lorem, "Notes/Personal/Ideas", "idea_01.txt"},
    {lorem, "Notes/Personal/Ideas", "idea_02.txt"},
    {lorem, "Notes/Personal/Quotes", "quote_01.txt"},
    {lorem, "Notes/Personal/Quotes", "quote_02.txt"},
    {lorem, "Notes/Personal/Quotes", "quote_03.txt"},
    {lorem, "Notes/Personal/Quotes", "quote_04.txt"},
    {lorem, "Notes/Personal/Thoughts", "thought_01.txt"},
    {lorem, "Notes/Personal/Thoughts", "thought_02.txt"},
    {lorem, "Notes/Work/Project_A", "phase_01.txt"},
    {lorem, "Notes/Work/Project_A", "phase_02.txt"},
    {lorem, "Notes/Work/Project_A", "phase_03.txt"},
    {lorem, "Notes/Work/Project_B", "phase_01.txt"},
    {lorem, "Notes/Work/Project_B", "phase_02.txt"},
    {lorem, "Notes/Work/Project_B", "phase_03.txt"},
    {lorem, "Notes/Work/Project_B", "phase_04.txt"},
    {lorem, "Notes/Work/Project_C", "phase_01.txt"},
    {lorem, "Notes/Work/Project_C", "phase_02.txt"},
};

constexpr std::string_view warning_sign = "⚠️";

/// Prints a line in one piece, without another thread's output in between. Warnings go to standard
/// error.
void log(bool log_status, std::string_view text, std::string_view what = {})
{
    if (!log_status)
        return;
    std::ostream& output = text.starts_with(warning_sign) ? std::cerr : std::cout;
    output << std::string(text).append(what).append("\n") << std::flush;
}

void create_folder(const Url& at, std::string_view name, bool log_status)
{
    auto& manager = OrvFileManager::singleton();
    const Url folder = at.appending(name);
    if (manager.file_exists(folder))
        log(log_status, "⚠️ this item already exists: ", name);
    else if (manager.sync_create_new_folder(folder, true))
        log(log_status, "✅ created folder: ", name);
    else
        log(log_status, "⚠️ couldn't create folder: ", name);
}

void create_tree(const Url& at, bool log_status)
{
    log(log_status, "⏳ Creating Folders...");
    for (const std::string_view folder : folders)
        create_folder(at, folder, log_status);
    log(log_status, "⏳ Populating folders with resource files...");
    for (const ExampleFile& file : files)
        bg_copy_resource(file.resource, file.in(at), log_status);
}

} // namespace

void create_example_files(Url at, bool log_status, std::function<void()> completion)
{
    const auto at_end = std::make_shared<std::function<void()>>(std::move(completion));
    const auto end = [at_end] {
        main_async([completion = std::exchange(*at_end, nullptr)] {
            if (completion)
                completion();
        });
    };
    WorkerPool::instance().async(
        [at = std::move(at), log_status, end] {
            create_tree(at, log_status);
            end();
        },
        [log_status, end] {
            log(log_status, "⚠️ couldn't start a thread for the example files");
            end();
        });
}

std::vector<Url> missing_example_files(const Url& at)
{
    std::vector<Url> missing;
    const auto look_for = [&](Url item) {
        if (!OrvFileManager::singleton().file_exists(item))
            missing.push_back(std::move(item));
    };
    for (const std::string_view folder : folders)
        look_for(at.appending(folder));
    for (const ExampleFile& file : files)
        look_for(file.in(at));
    return missing;
}

void bg_copy_resource(std::string_view name, const Url& dest_url, bool log_status)
{
    assert_bg_thread("bg_copy_resource(name:dest_url:log_status:)");
    auto& manager = OrvFileManager::singleton();
    const Url resource = resource_dir().appending(name);
    if (!manager.file_exists(resource))
        log(log_status, "⚠️ couldn't find resource named: ", name);
    else if (manager.bg_copy(resource, dest_url, ConflictBehaviour::stop))
        log(log_status, "✅ copied resource to: ", dest_url.path());
    else
        log(log_status, "⚠️ couldn't copy resource to: ", dest_url.path());
}

} // namespace orv
