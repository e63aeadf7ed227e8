// Makes every request of both facades once, in the folder that is given, which is empty.

#include <orv/orv.hpp>

#include <iostream>
#include <thread>

namespace {

using namespace orv;

int failures = 0;

void expect(bool holds, const char* what)
{
    if (holds)
        return;
    ++failures;
    std::cerr << "every_request: " << what << '\n';
}

/// Makes a request and waits for its end: `start` is given the closure to pass on. The final status
/// must be `Final`.
template <class Final = status::success, class Start>
void ends(const char* what, Start start)
{
    bool has_ended_well = false;
    const std::shared_ptr<OrvOperation> operation =
        start([&](const auto& status) { has_ended_well = std::holds_alternative<Final>(status); });
    MainQueue::instance().run_until([&] { return !operation->is_busy(); });
    expect(has_ended_well, what);
}

/// What both facades have. `at` makes locations in a folder of its own.
template <class Facade, class At>
void common_requests(Facade& facade, const At& at)
{
    ends("create_new_folder", [&](auto c) { return facade.create_new_folder(at("d/e"), true, c); });
    ends("generate_file",
         [&](auto c) { return facade.generate_file({std::byte('x')}, at("a"), c); });
    ends("copy", [&](auto c) { return facade.copy(at("a"), at("b"), c); });
    ends("copy of several", [&](auto c) { return facade.copy({at("a"), at("b")}, at("d"), c); });
    ends("move", [&](auto c) { return facade.move(at("a"), at("d/c"), c); });
    ends("move of several", [&](auto c) { return facade.move({at("b")}, at("d/e"), c); });
    ends("rename", [&](auto c) { return facade.rename(at("d/c"), "f", c); });
    ends<FolderSizeOperation::success>(
        "calculate_folder_size", [&](auto c) { return facade.calculate_folder_size(at("d"), c); });
    ends<SearchItemsOperation::completed>("search_items", [&](auto c) {
        return facade.search_items(at("d"), "X", true, false,
                                   {SearchItemsOperation::Criteria::file_content}, c);
    });
    ends<FetchByAttrOperation::success>("fetch_items_by_attribute", [&](auto c) {
        return facade.fetch_items_by_attribute(FetchByAttrOperation::Attribute::is_protected,
                                               SortType::by_name(SortOrder::asc), c);
    });
    ends<ThumbGenerateOpr::success>(
        "generate_thumb", [&](auto c) { return facade.generate_thumb(at("d/f"), 16, {}, c); });
    std::shared_ptr<ReserveFileUrlOpr::Ticket> ticket;
    ends<ReserveFileUrlOpr::success>("reserve_file_url", [&](auto c) {
        return facade.reserve_file_url(at("r"), [&ticket, c](const auto& status) {
            if (const auto* success = std::get_if<ReserveFileUrlOpr::success>(&status))
                ticket = success->reservation_ticket;
            c(status);
        });
    });
    facade.release_file_url(ticket);
    expect(ticket->is_used(), "release_file_url");
    ends("delete_item", [&](auto c) { return facade.delete_item(at("d/a"), c); });
    ends("delete_items", [&](auto c) { return facade.delete_items({at("d/b"), at("d/f")}, c); });
}

bool copied_in_background(const Url& from, const Url& to)
{
    std::optional<bool> is_copied;
    std::thread background([&] {
        const bool result =
            OrvFileManager::singleton().bg_copy(from, to, ConflictBehaviour::keep_both);
        main_async([&, result] { is_copied = result; });
    });
    MainQueue::instance().run_until([&] { return is_copied.has_value(); });
    background.join();
    return *is_copied;
}

void manager_alone(OrvFileManager& manager, const Url& folder)
{
    const Url file = folder.appending("d/e/b");
    ends<FetchItemsOperation::success>("fetch_items", [&](auto c) {
        return manager.fetch_items(folder, true, SortType::by_name(SortOrder::desc), true, c);
    });
    expect(copied_in_background(file, folder.appending("k")), "bg_copy");
    expect(manager.sync_create_new_folder(folder.appending("s/t"), true), "sync_create_new_folder");
    expect(manager.is_directory(folder.appending("s")), "is_directory");
    expect(manager.sync_delete_item(folder.appending("s")), "sync_delete_item");
    expect(!manager.file_exists(folder.appending("s")), "file_exists");
    OrvFileManager::set_test_mode(true);
    ends("single_copy",
         [&](auto c) { return manager.single_copy(file, folder.appending("l"), false, c); });
    OrvFileManager::set_test_mode(false);
    OrvFileManager::set_expansion_limits({.max_items = 7});
    expect(OrvFileManager::expansion_limits().max_items == 7, "set_expansion_limits");
    ends("zip", [&](auto c) {
        return manager.zip({file}, folder.appending("z.zip"), "word", ConflictBehaviour::stop, c);
    });
    ends("unzip",
         [&](auto c) { return manager.unzip(folder.appending("z.zip"), folder, "word", c); });
}

void make_examples(const Url& in)
{
    bool is_done = false;
    OrvFileBrowser::create_example_files(in, false, [&] { is_done = true; });
    MainQueue::instance().run_until([&] { return is_done; });
    expect(OrvFileManager::singleton().file_exists(in.appending("Books/The-Prince.pdf")),
           "create_example_files");
    expect(OrvFileBrowser::missing_example_files(in).empty(), "missing_example_files");
}

void browser_alone(OrvFileBrowser& browser, const Url& folder)
{
    ends<FetchItemsOperation::success>("fetch_curr_dir_items", [&](auto c) {
        return browser.fetch_curr_dir_items(std::nullopt, true, c);
    });
    ends("zip", [&](auto c) { return browser.zip({folder.appending("d")}, "d", {}, c); });
    ends("unzip", [&](auto c) { return browser.unzip(folder.appending("d.zip"), {}, c); });
    expect(!browser.thumb_placeholder().is_empty(), "thumb_placeholder");
    make_examples(folder.appending("x"));
    browser.change_dir("d 2");
    expect(browser.curr_dir() == folder.appending("d 2").resolving_symlinks(), "change_dir");
}

} // namespace

int main(int, char** argv)
{
    OrvFileManager::create_singleton();
    auto& manager = OrvFileManager::singleton();
    const Url one = Url(argv[1]).appending("manager");
    manager.sync_create_new_folder(one, true);
    common_requests(manager, [&](const char* name) { return one.appending(name); });
    manager_alone(manager, one);

    OrvFileBrowser browser;
    const Url other = Url(argv[1]).appending("browser");
    manager.sync_create_new_folder(other, true);
    browser.change_dir(other);
    common_requests(browser, [&](const char* name) { return browser.curr_dir().appending(name); });
    browser_alone(browser, other);
    return failures == 0 ? 0 : 1;
}
