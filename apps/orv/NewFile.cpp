#include "NewFile.hpp"

#include "Conflicts.hpp"
#include "Failure.hpp"
#include "Placement.hpp"
#include "ProgressBar.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

#include <utility>

namespace orv::app {
namespace {

/// The writing of a file as the person at the terminal takes part in it.
class Writing {
public:
    Writing(Url file, std::optional<ConflictBehaviour> on_conflict,
            const Surroundings& surroundings)
        : file_(std::move(file)), conflicts_(on_conflict, surroundings.can_ask),
          bar_(surroundings.shows_progress)
    {
    }

    void run(std::vector<std::byte> data)
    {
        bar_.set_total(static_cast<std::int64_t>(data.size()));
        const auto start = [&](auto closure) {
            return OrvFileManager::singleton().generate_file(
                std::move(data), file_, [this, closure](const DataToFileOpr::Status& status) {
                    take(status);
                    closure(status);
                });
        };
        const auto status = final_status<DataToFileOpr>(
            start, {.tick = bar_.ticker(), .question = &conflicts_.question()});
        if (const auto* failed = std::get_if<status::error>(&status))
            throw told_of(file_, failed->error);
        if (std::holds_alternative<status::cancelled>(status))
            conflicts_.throw_cancelled();
        bar_.finish();
    }

private:
    void take(const DataToFileOpr::Status& status)
    {
        match(
            status,
            [&](const status::progress<GeneralProgress>& s) { show_progress(s.record.value); },
            [&](const status::conflict_occured& s) { conflicts_.settle(s.resolver); },
            [](const status::error&) {}, [](const status::success&) {},
            [](const status::cancelled&) {});
    }

    void show_progress(float value)
    {
        if (value == 0)
            bar_.start();
        bar_.set_progress({file_.last_path_component(), false, value});
    }

    Url file_;
    Conflicts conflicts_;
    ProgressBar bar_;
};

} // namespace

void check_is_no_folder(const std::string& path)
{
    const Url file(path);
    if (path.ends_with('/') || OrvFileManager::singleton().is_directory(file))
        throw Error("Data can't be written to a folder.").at(file);
}

void write_new_file(const Url& file, std::vector<std::byte> data,
                    std::optional<ConflictBehaviour> on_conflict, const Surroundings& surroundings)
{
    check_folder_of(file);
    Writing(file, on_conflict, surroundings).run(std::move(data));
}

} // namespace orv::app
