#include "curves/Curve.hpp"

#include "CustomAttributes/RecCustomAttr.hpp"
#include "Database/DBManager.hpp"
#include "Files.hpp"
#include "utility/StopWatch.hpp"

#include <orv/Operations/FetchItemListOpr.hpp>
#include <orv/orv.hpp>

#include <algorithm>

#include <fmt/format.h>

namespace orv::bench {
namespace {

constexpr int files_per_folder = 1000;
constexpr int rows_per_folder = 10;

/// Makes the engine of a child process, which keeps its own database and files in `folder`.
OrvFileManager& engine(const std::string& folder)
{
    Locations locations;
    locations.home_dir = folder;
    locations.app_support_dir = folder + "/support";
    locations.temp_dir = folder + "/tmp";
    OrvFileManager::configure(locations);
    return OrvFileManager::singleton();
}

/// Starts a request with `start`, which is given the closure to pass on, waits for its end, and
/// returns the seconds from one to the other.
template <class Operation, class Start>
double seconds_of(Start start)
{
    const StopWatch watch;
    bool failed = false;
    const auto operation = start([&](const typename Operation::Status& status) {
        failed = failed || std::holds_alternative<status::error>(status);
    });
    MainQueue::instance().run_until([&] { return !operation->is_busy(); });
    if (failed)
        throw Error("The request failed.");
    return watch.elapsed_time();
}

void make_files(const std::string& path, int first, int count)
{
    const FileDescriptor folder = make_folder(path);
    for (int i = first; i < first + count; ++i)
        make_file(folder.get(),
                  fmt::format("File {:08x}.txt", 2654435761U * static_cast<unsigned>(i)))
            .reset();
}

void make_wide_folder(const std::string& folder, int count)
{
    make_files(folder + "/source", 0, count);
}

void make_tree(const std::string& folder, int count)
{
    make_folder(folder + "/source").reset();
    for (int first = 0; first < count; first += files_per_folder)
        make_files(fmt::format("{}/source/{}", folder, first), first,
                   std::min(files_per_folder, count - first));
}

double list(const std::string& folder, int)
{
    auto& manager = engine(folder);
    return seconds_of<FetchItemsOperation>([&](auto closure) {
        return manager.fetch_items(folder + "/source", true, SortType::by_name(SortOrder::asc),
                                   true, closure);
    });
}

double list_compactly(const std::string& folder, int)
{
    engine(folder);
    return seconds_of<FetchItemListOperation>([&](auto closure) {
        return fetch_item_list(folder + "/source", true, SortType::by_name(SortOrder::asc),
                                       true, closure);
    });
}

double measure_size(const std::string& folder, int)
{
    auto& manager = engine(folder);
    return seconds_of<FolderSizeOperation>(
        [&](auto closure) { return manager.calculate_folder_size(folder + "/source", closure); });
}

double copy(const std::string& folder, int)
{
    auto& manager = engine(folder);
    return seconds_of<CopyOperation>(
        [&](auto closure) { return manager.copy(folder + "/source", folder + "/copy", closure); });
}

double remove(const std::string& folder, int)
{
    auto& manager = engine(folder);
    return seconds_of<DeleteOperation>(
        [&](auto closure) { return manager.delete_item(folder + "/source", closure); });
}

std::string scan(const std::string& folder, int number)
{
    return fmt::format("{}/Scan {}.txt", folder, number);
}

/// Makes files to choose, and a folder to copy them to; `taken` says whether their names are taken
/// there.
void make_scans(const std::string& folder, int count, bool taken)
{
    const FileDescriptor source = make_folder(folder + "/source");
    const FileDescriptor destination = make_folder(folder + "/copy");
    for (int i = 1; i <= count; ++i) {
        make_file(source.get(), fmt::format("Scan {}.txt", i)).reset();
        if (taken)
            make_file(destination.get(), fmt::format("Scan {}.txt", i)).reset();
    }
}

void make_free_scans(const std::string& folder, int count)
{
    make_scans(folder, count, false);
}

void make_taken_scans(const std::string& folder, int count)
{
    make_scans(folder, count, true);
}

/// Copies chosen files as one request, and keeps both wherever a name is taken.
double copy_chosen(const std::string& folder, int count)
{
    auto& manager = engine(folder);
    if (count == 0)
        return 0;
    std::vector<Url> sources;
    for (int i = 1; i <= count; ++i)
        sources.emplace_back(scan(folder + "/source", i));
    return seconds_of<MultiCopyOperation>([&](auto closure) {
        return manager.copy(sources, folder + "/copy", [closure](const auto& status) {
            if (const auto* conflict = std::get_if<status::conflict_occured>(&status))
                conflict->resolver->resume(ConflictBehaviour::keep_both, true);
            closure(status);
        });
    });
}

RecordKey folder_key(int number)
{
    return RecordKey(fmt::format("Documents/folder {}", number));
}

/// Fills the table with rows of items in small folders.
void make_rows(const std::string& folder, int count)
{
    const auto fill = [&] {
        engine(folder);
        Database& database = shared_db_manager().db();
        database.save_point([&] {
            for (int i = 0; i < count; ++i)
                database.execute(
                    "INSERT INTO custom_attributes (relative_path, is_protected) VALUES (?, 1)",
                    {fmt::format("{}/item {}", folder_key(i / rows_per_folder).text(), i)});
        });
        return 0.0;
    };
    run_in_child(fill);
}

/// Has one folder's rows follow it to another place, as a move does.
double move_rows(const std::string& folder, int count)
{
    constexpr int moves = 100;
    engine(folder);
    const int folders = std::max(count / rows_per_folder, 1);
    const RecordKey other("Documents/another place");
    const auto move = [](const RecordKey& from, const RecordKey& to) {
        shared_db_manager().db().save_point([&] {
            RecCustomAttr::duplicate_records(from, to);
            RecCustomAttr::delete_records(from);
        });
    };
    const StopWatch watch;
    for (int i = 0; i < moves; ++i) {
        const RecordKey home = folder_key(folders * i / moves);
        move(home, other);
        move(other, home);
    }
    return watch.elapsed_time() / (2 * moves);
}

/// Asks whether anything is stored below a folder, as every copy does.
double find_rows(const std::string& folder, int count)
{
    constexpr int questions = 1000;
    engine(folder);
    const int folders = std::max(count / rows_per_folder, 1);
    const StopWatch watch;
    for (int i = 0; i < questions; ++i)
        if (RecCustomAttr::any_records_below(folder_key(i % folders)) != (count > 0))
            throw Error("The rows are not found.");
    return watch.elapsed_time() / questions;
}

/// The folders that a request is made for, evenly spread over those that have rows.
std::vector<int> chosen_folders(int count)
{
    constexpr int most = 100;
    const int folders = std::max(count / rows_per_folder, 1);
    const int chosen = std::min(folders, most);
    std::vector<int> numbers;
    for (int i = 0; i < chosen; ++i)
        numbers.push_back(static_cast<int>(std::int64_t{folders} * i / chosen));
    return numbers;
}

/// The rows, and those folders with their files.
void make_folders_with_rows(const std::string& folder, int count)
{
    make_rows(folder, count);
    make_folder(folder + "/Documents").reset();
    make_folder(folder + "/Elsewhere").reset();
    for (const int number : chosen_folders(count)) {
        const FileDescriptor made =
            make_folder(fmt::format("{}/{}", folder, folder_key(number).text()));
        for (int i = 0; i < rows_per_folder; ++i)
            make_file(made.get(), fmt::format("item {}", number * rows_per_folder + i)).reset();
    }
}

/// Makes a request for each of those folders, and returns the seconds that one takes.
template <class Operation, class Start>
double seconds_per_folder(const std::string& folder, int count, Start start)
{
    const std::vector<int> numbers = chosen_folders(count);
    double seconds = 0;
    for (const int number : numbers)
        seconds += seconds_of<Operation>([&](auto closure) {
            return start(Url(folder).appending(folder_key(number).text()), closure);
        });
    return seconds / static_cast<double>(numbers.size());
}

double move_folder(const std::string& folder, int count)
{
    auto& manager = engine(folder);
    return seconds_per_folder<MoveOperation>(folder, count, [&](const Url& url, auto closure) {
        const Url elsewhere(folder + "/Elsewhere");
        return manager.move(url, elsewhere.appending(url.last_path_component()), closure);
    });
}

double rename_folder(const std::string& folder, int count)
{
    auto& manager = engine(folder);
    return seconds_per_folder<RenameOperation>(folder, count, [&](const Url& url, auto closure) {
        return manager.rename(url, "new " + url.last_path_component(), closure);
    });
}

double delete_folder(const std::string& folder, int count)
{
    auto& manager = engine(folder);
    return seconds_per_folder<DeleteOperation>(folder, count, [&](const Url& url, auto closure) {
        return manager.delete_item(url, closure);
    });
}

} // namespace

std::vector<Curve> curves()
{
    return {{"listing", "List one folder, sorted by name", make_wide_folder, list},
            {"item-list", "List folders of 1000, sorted by name, in little memory", make_tree,
             list_compactly},
            {"size", "Size of a folder", make_wide_folder, measure_size},
            {"copy", "Copy empty files in folders of 1000", make_tree, copy},
            {"chosen", "Copy chosen empty files as one request", make_free_scans, copy_chosen},
            {"taken-names", "Copy chosen empty files whose names are taken, keeping both",
             make_taken_scans, copy_chosen},
            {"delete", "Delete empty files in folders of 1000", make_tree, remove},
            {"find-rows", "Ask for rows below one folder", make_rows, find_rows, true},
            {"move-rows", "Move the ten rows below one folder", make_rows, move_rows, true},
            {"move-folder", "Move a folder of ten items that have rows", make_folders_with_rows,
             move_folder, true},
            {"rename-folder", "Rename a folder of ten items that have rows", make_folders_with_rows,
             rename_folder, true},
            {"delete-folder", "Delete a folder of ten items that have rows", make_folders_with_rows,
             delete_folder, true}};
}

Usage run_at(const Curve& curve, int count, const std::string& folder)
{
    const std::string place = fmt::format("{}/{} {}", folder, curve.name, count);
    make_folder(place).reset();
    curve.prepare(place, count);
    settle(place);
    return run_in_child([&] { return curve.measure(place, count); });
}

} // namespace orv::bench
