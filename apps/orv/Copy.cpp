#include "Commands.hpp"
#include "Failure.hpp"
#include "ProgressBar.hpp"
#include "Question.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

#include <filesystem>
#include <system_error>

namespace orv::app {
namespace {

/// The name that a copy of the item has inside a folder.
std::string name_of(const Url& source)
{
    const std::string name = source.last_path_component();
    return name == "." || name == ".." ? source.resolving_symlinks().last_path_component() : name;
}

/// A destination that ends with a slash has to be a folder, or to become one.
void check_slash(const CopyCommand& command)
{
    const auto& manager = OrvFileManager::singleton();
    const Url destination(command.destination);
    if (!command.destination.ends_with('/') || manager.is_directory(destination))
        return;
    if (manager.file_exists(destination) || !manager.is_directory(command.source))
        throw Error("Destination is not a folder.").at(destination);
}

Url destination_of(const CopyCommand& command)
{
    const Url destination(command.destination);
    if (command.destination.empty() || !OrvFileManager::singleton().is_directory(destination))
        return destination;
    return destination.appending(name_of(command.source));
}

/// A copy as the person at the terminal takes part in it.
class Copying {
public:
    Copying(const CopyCommand& command, const Surroundings& surroundings)
        : source_(command.source), destination_(destination_of(command)),
          on_conflict_(command.on_conflict), surroundings_(surroundings),
          bar_(std::make_shared<ProgressBar>(surroundings.shows_progress))
    {
    }

    ~Copying()
    {
        if (measuring_)
            measuring_->cancel();
    }

    Copying(const Copying&) = delete;
    Copying& operator=(const Copying&) = delete;

    void run()
    {
        const auto start = [&](auto closure) {
            return OrvFileManager::singleton().copy(
                source_, destination_, [this, closure](const CopyOperation::Status& status) {
                    take(status);
                    closure(status);
                });
        };
        const auto status =
            final_status<CopyOperation>(start, {.tick = tick(), .question = &question_});
        if (const auto* failed = std::get_if<status::error>(&status))
            throw told_of(source_, failed->error);
        if (std::holds_alternative<status::cancelled>(status))
            throw_cancelled();
        // It began with the copy and has less to do, so this is no wait to speak of.
        if (measuring_)
            drive_until([this] { return !measuring_->is_busy(); }, {});
        bar_->finish();
    }

private:
    void take(const CopyOperation::Status& status)
    {
        match(
            status, [&](const status::progress<CopyProgress>& s) { bar_->set_progress(s.record); },
            [&](const status::conflict_occured& s) { settle(s.resolver); },
            [&](const status::preparing&) { start_bar(); }, [](const status::error&) {},
            [](const status::success&) {}, [](const status::cancelled&) {});
        bar_->draw_if_due();
    }

    [[noreturn]] void throw_cancelled() const
    {
        if (was_interrupted())
            throw Interrupted();
        throw stop_reason_;
    }

    [[nodiscard]] std::function<void()> tick() const
    {
        if (!surroundings_.shows_progress)
            return {};
        return [this] { bar_->draw_if_due(); };
    }

    void settle(const std::shared_ptr<ConflictResolver>& resolver)
    {
        stop_reason_ = Error("Destination item already exists.").at(resolver->destination_url());
        if (!on_conflict_ && surroundings_.can_ask)
            question_.ask(resolver);
        else
            resolver->resume(answer_for(*resolver), false);
    }

    ConflictBehaviour answer_for(const ConflictResolver& conflict)
    {
        const ConflictBehaviour answer = on_conflict_.value_or(ConflictBehaviour::stop);
        if (answer != ConflictBehaviour::merge || conflict.is_conflict_mergeable())
            return answer;
        stop_reason_ = Error("Only a folder can be merged, and only into another folder.")
                           .at(conflict.destination_url());
        return ConflictBehaviour::stop;
    }

    /// The copy measures its source but does not tell the bytes, so they are counted here as well.
    void start_bar()
    {
        if (!surroundings_.shows_progress)
            return;
        bar_->start();
        const Url source = source_.resolving_symlinks();
        std::error_code no_file;
        if (const auto size = std::filesystem::file_size(source, no_file); !no_file)
            bar_->set_total(static_cast<std::int64_t>(size));
        else
            measuring_ = OrvFileManager::singleton().calculate_folder_size(
                source, [bar = bar_](const FolderSizeOperation::Status& status) {
                    if (const auto* found = std::get_if<FolderSizeOperation::success>(&status))
                        bar->set_total(found->folder_size);
                });
    }

    Url source_;
    Url destination_;
    std::optional<ConflictBehaviour> on_conflict_;
    Surroundings surroundings_;
    std::shared_ptr<ProgressBar> bar_;
    std::shared_ptr<FolderSizeOperation> measuring_;
    Question question_;
    Error stop_reason_{"The copy was cancelled."};
};

} // namespace

void run(const CopyCommand& command, const Surroundings& surroundings)
{
    check_slash(command);
    Copying(command, surroundings).run();
}

} // namespace orv::app
