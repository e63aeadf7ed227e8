#include "DryRun.hpp"

#include "LargeOutput.hpp"
#include "Text.hpp"

#include <orv/orv.hpp>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace orv::app {
namespace {

namespace fs = std::filesystem;
using OnConflict = TransferPolicy::OnConflict;

bool is_folder(const Url& url)
{
    std::error_code unknown;
    return fs::symlink_status(url, unknown).type() == fs::file_type::directory;
}

bool merges_folders(const TransferPolicy& policy)
{
    return policy.merges_folders || policy.on_conflict == OnConflict::merge ||
           policy.on_conflict == OnConflict::replace_if_older ||
           policy.on_conflict == OnConflict::skip_if_equal;
}

/// The outcome for a file whose name another file has.
std::string action_on_file(OnConflict policy, const FileItem& source, const FileItem& there)
{
    switch (policy) {
    case OnConflict::ask:
        return "ask";
    case OnConflict::merge:
    case OnConflict::skip:
        return "leave";
    case OnConflict::replace:
        return "replace";
    case OnConflict::keep_both:
        return "keep both";
    case OnConflict::stop:
        return "stop";
    case OnConflict::replace_if_older:
        return there.modification_date < source.modification_date ? "replace" : "leave";
    case OnConflict::skip_if_equal:
        break;
    }
    const bool is_equal =
        there.size == source.size && there.modification_date == source.modification_date;
    return is_equal ? "leave" : "replace";
}

class DryRun {
public:
    explicit DryRun(const TransferPlan& plan) : plan_(plan) {}

    void run()
    {
        for (const Url& source : plan_.sources)
            show(source, plan_.folder.appending(plan_.name.value_or(source.last_path_component())));
        output_.finish();
    }

private:
    void show(const Url& source, const Url& destination)
    {
        const auto& manager = OrvFileManager::singleton();
        if (!manager.file_exists(source))
            return write("missing", source);
        if (!manager.file_exists(destination))
            return write("new", destination);
        const bool are_folders = is_folder(source) && is_folder(destination);
        if (!are_folders || !merges_folders(plan_.policy))
            return write(
                action_on_file(plan_.policy.on_conflict, FileItem(source), FileItem(destination)),
                destination);
        write("merge", destination);
        for (const auto& entry : fs::directory_iterator(source))
            show(entry.path(), destination.appending(entry.path().filename().native()));
    }

    void write(const std::string& action, const Url& url)
    {
        output_.write(action + "  " + printable(url.path()) + "\n");
    }

    const TransferPlan& plan_;
    LargeOutput output_;
};

} // namespace

void show_dry_run(const TransferPlan& plan)
{
    DryRun(plan).run();
}

} // namespace orv::app
