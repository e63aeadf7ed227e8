#include "Commands.hpp"
#include "Failure.hpp"
#include "NewFile.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <string>

#include <unistd.h>

namespace orv::app {
namespace {

/// What keeps a file from having a thumbnail, as far as it can be told before one is made.
void check_file(const Url& file)
{
    if (::access(file.path().c_str(), R_OK) != 0)
        throw Error("The file can't be read.").because_of(platform_error(errno, file));
    if (OrvFileManager::singleton().is_directory(file))
        throw Error("A folder has no thumbnail.").at(file);
}

/// Why there is only the placeholder for the file.
Error no_picture_of(const Url& file)
{
    std::string extension = file.path_extension();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    std::string known;
    bool is_known = false;
    for (const auto& [kind, generator] : OrvThumbnail::singleton().supportedFiletypes()) {
        known += (known.empty() ? "" : ", ") + kind;
        is_known = is_known || kind == extension;
    }
    if (!is_known)
        return Error("Only files named as one of these kinds have thumbnails: " + known + ".")
            .at(file);
    if (!OrvFileManager::singleton().is_directory(helper_dir()))
        return Error("What makes pictures of files was not installed together with the library.")
            .at(helper_dir());
    return Error("No picture can be made of the file: it is not what its name says, damaged, "
                 "encrypted, without a picture, or too large.")
        .at(file);
}

Picture thumbnail_of(const ThumbCommand& command, const Surroundings& surroundings)
{
    const Url file(command.file);
    const auto status = final_status<ThumbGenerateOpr>(
        [&](auto closure) {
            return OrvFileManager::singleton().generate_thumb(file, command.width, command.height,
                                                              std::move(closure));
        },
        show_activity("Making the thumbnail", surroundings.shows_progress));
    return match(
        status,
        [&](const ThumbGenerateOpr::success& made) {
            if (made.is_placeholder)
                throw no_picture_of(file);
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
