// Prints what the library finds of its own: how two thumbnails of a picture come out, and whether
// there are example files to put into a folder.
//
// find_own_files PICTURE FOLDER

#include <orv/orv.hpp>

#include <iostream>

namespace {

const char* thumbnail_of(const char* picture)
{
    const char* outcome = "";
    const auto thumbnail =
        orv::OrvFileManager::singleton().generate_thumb(picture, 16, {}, [&](const auto& status) {
            const auto* made = std::get_if<orv::ThumbGenerateOpr::success>(&status);
            outcome = made && !made->is_placeholder ? "picture" : "placeholder";
        });
    orv::MainQueue::instance().run_until([&] { return !thumbnail->is_busy(); });
    return outcome;
}

} // namespace

int main(int, char** argv)
{
    std::cout << thumbnail_of(argv[1]) << ' ' << thumbnail_of(argv[1]);
    bool is_done = false;
    orv::OrvFileBrowser::create_example_files(argv[2], false, [&] { is_done = true; });
    orv::MainQueue::instance().run_until([&] { return is_done; });
    const bool has_all = orv::OrvFileBrowser::missing_example_files(argv[2]).empty();
    std::cout << (has_all ? " examples\n" : " no examples\n");
}
