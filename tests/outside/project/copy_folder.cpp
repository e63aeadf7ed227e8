#include <orv/orv.hpp>

int main(int, char** argv)
{
    orv::OrvFileManager::configure({.app_id = "copy_folder"});
    bool copied = false;
    const auto copy =
        orv::OrvFileManager::singleton().copy(argv[1], argv[2], [&](const auto& status) {
            copied = std::holds_alternative<orv::status::success>(status);
        });
    orv::MainQueue::instance().run_until([&] { return !copy->is_busy(); });
    return copied ? 0 : 1;
}
