#include "Commands.hpp"
#include "Failure.hpp"
#include "Password.hpp"
#include "ProgressBar.hpp"
#include "Terminal.hpp"
#include "Text.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

namespace orv::app {
namespace {

/// The unpacking of an archive as the person at the terminal takes part in it.
class Unpacking {
public:
    Unpacking(const UnzipCommand& command, const Surroundings& surroundings)
        : archive_(command.archive), folder_(command.folder),
          password_(password_from(command.password,
                                  "Password for " + printable(archive_.last_path_component()),
                                  false)),
          bar_(surroundings.shows_progress), is_quiet_(surroundings.is_quiet)
    {
    }

    void run()
    {
        bar_.start();
        const auto start = [&](auto closure) {
            return OrvFileManager::singleton().unzip(
                archive_, folder_, password_,
                [this, closure](const UnzipOperation::Status& status) {
                    if (const auto* s = std::get_if<status::progress<GeneralProgress>>(&status))
                        take(s->record);
                    closure(status);
                });
        };
        const auto status = final_status<UnzipOperation>(start, {.tick = bar_.ticker()});
        if (const auto* failed = std::get_if<status::error>(&status))
            throw failure(failed->error);
        if (std::holds_alternative<status::cancelled>(status))
            throw Interrupted();
        bar_.finish();
        tell_other_name();
    }

private:
    void take(const GeneralProgress& progress)
    {
        const Url& item = progress.current_item;
        const std::string way = relative_path(item, folder_).value_or("");
        container_ = way.substr(0, way.find('/'));
        bar_.set_progress({item.last_path_component(), false, progress.value});
    }

    [[nodiscard]] Error failure(const Error& error) const
    {
        if (!password_ && error.reason().starts_with("The archive needs a password."))
            return Error("The archive needs a password; --ask-password asks for it, "
                         "--password-file takes it from a file.")
                .at(archive_);
        return told_of(archive_, error);
    }

    /// The place to look, if it is an unexpected one.
    void tell_other_name() const
    {
        const std::string expected = archive_.deleting_path_extension().last_path_component();
        if (!is_quiet_ && !container_.empty() && container_ != expected)
            write_message("Unpacked into \"" + printable(container_) + "\", since \"" +
                          printable(expected) + "\" exists.\n");
    }

    Url archive_;
    Url folder_;
    std::optional<std::string> password_;
    ProgressBar bar_;
    bool is_quiet_;
    std::string container_; // its name
};

} // namespace

void run(const UnzipCommand& command, const Surroundings& surroundings)
{
    Unpacking(command, surroundings).run();
}

} // namespace orv::app
