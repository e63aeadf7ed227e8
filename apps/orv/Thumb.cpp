#include "Commands.hpp"
#include "Failure.hpp"
#include "NewFile.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

#include <cerrno>
#include <iostream>
#include <memory>

#include <unistd.h>

namespace orv::app {
namespace {

/// The reason a file has no thumbnail, as far as it is known beforehand.
void check_file(const Url& file)
{
    if (::access(file.path().c_str(), R_OK) != 0)
        throw Error("The file can't be read.").because_of(platform_error(errno, file));
    if (OrvFileManager::singleton().is_directory(file))
        throw Error("A folder has no thumbnail.").at(file);
}

/// Keeps the library from printing why there is no picture: the command says it itself.
class QuietOutput {
public:
    QuietOutput() : output_(std::cout.rdbuf(nullptr)), errors_(std::cerr.rdbuf(nullptr)) {}
    ~QuietOutput()
    {
        std::cout.rdbuf(output_);
        std::cerr.rdbuf(errors_);
    }
    QuietOutput(const QuietOutput&) = delete;
    QuietOutput& operator=(const QuietOutput&) = delete;

private:
    std::streambuf* output_;
    std::streambuf* errors_;
};

/// Why there is only the placeholder for a file.
Error told(const Error& failure)
{
    const bool has_decoders = OrvFileManager::singleton().is_directory(helper_dir());
    if (failure.code() == ENOENT && !has_decoders)
        return Error("What makes pictures of files was not installed together with the library.")
            .at(helper_dir());
    return failure;
}

Picture thumbnail_of(const ThumbCommand& command, const Surroundings& surroundings)
{
    const QuietOutput quiet;
    OrvThumbnail::singleton().add_further_formats();
    std::shared_ptr<ThumbGenerateOpr> operation;
    const auto status = final_status<ThumbGenerateOpr>(
        [&](auto closure) {
            return operation = OrvFileManager::singleton().generate_thumb(
                       command.file, command.width, command.height, std::move(closure));
        },
        show_activity("Making the thumbnail", surroundings.shows_progress));
    return match(
        status,
        [&](const ThumbGenerateOpr::success& made) {
            if (const auto& failure = operation->failure())
                throw told(*failure);
            return made.thumb;
        },
        [](const status::cancelled&) -> Picture { throw Interrupted(); });
}

std::vector<std::byte> encoded(const Picture& picture, const ThumbCommand& command)
{
    switch (command.form) {
    case ThumbCommand::Form::png:
        return picture.png();
    case ThumbCommand::Form::jpeg:
        break;
    }
    return picture.jpeg(command.quality);
}

} // namespace

void run(const ThumbCommand& command, const Surroundings& surroundings)
{
    check_file(command.file);
    check_is_no_folder(command.output);
    const Picture thumb = thumbnail_of(command, surroundings);
    write_new_file(command.output, encoded(thumb, command), command.on_conflict, surroundings);
}

} // namespace orv::app
