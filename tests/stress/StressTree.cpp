#include "stress/StressTree.hpp"

#include "CustomAttributes/CustomAttributes.hpp"
#include "support/Tree.hpp"

#include <algorithm>
#include <charconv>
#include <filesystem>

namespace orv::test {
namespace {

/// Makes items with ever new identities, and their rows.
class Maker {
public:
    explicit Maker(const Url& root) : root_(root) {}

    void file(const std::string& folder, char kind)
    {
        const std::int64_t identity = ++last_;
        const Url url = root_.appending(folder + kind + std::to_string(identity));
        write_file(url, content_of(identity));
        note_row(url, identity);
    }

    /// A folder's identity is the one before that of the first file in it.
    void folder_of_files(const std::string& folder, char kind, int fixed_files, int originals)
    {
        const std::int64_t identity = ++last_;
        const std::string name = folder + kind + std::to_string(identity);
        std::filesystem::create_directories(root_.appending(name).path());
        note_row(root_.appending(name), identity);
        for (int i = 0; i < fixed_files; ++i)
            file(name + "/", letter::fixed);
        for (int i = 0; i < originals; ++i)
            file(name + "/", letter::original);
    }

    void save_rows() { save_all(rows_, false); }

private:
    void note_row(const Url& url, std::int64_t identity)
    {
        if (has_row(identity))
            rows_.push_back({.url = url, .order_no = identity});
    }

    const Url& root_;
    std::int64_t last_ = 0;
    std::vector<CustomAttributes> rows_;
};

std::optional<std::int64_t> identity_of(const std::string& content)
{
    std::int64_t identity = -1;
    std::from_chars(content.data(), content.data() + content.size(), identity);
    if (content != content_of(identity))
        return std::nullopt;
    return identity;
}

/// What lies in a box tells which one it is, whatever its name is now.
void note_identity_of_folder(StressState& state, const std::string& path, std::int64_t of_file)
{
    std::optional<std::int64_t>& known = state.items[path].identity;
    known = std::min(known.value_or(of_file), of_file - 1);
}

} // namespace

std::string content_of(std::int64_t identity)
{
    const std::string number = std::to_string(identity) + ' ';
    const auto size = static_cast<std::size_t>(20 + identity * 7'919 % 20'000);
    std::string content;
    while (content.size() < size)
        content += number;
    return content;
}

bool has_row(std::int64_t identity)
{
    return identity % 3 != 0;
}

void make_stress_tree(const Url& root)
{
    Maker maker(root);
    std::vector<std::string> folders{"bystander/s1/b", "bystander/s1", "bystander/s1 "};
    for (int i = 0; i < shelves; ++i)
        folders.push_back(letter::shelf + std::to_string(i));
    for (std::string folder : folders) {
        std::filesystem::create_directories(root.appending(folder).path());
        folder += '/';
        for (int i = 0; i < 10; ++i) {
            maker.file(folder, letter::original);
            maker.file(folder, letter::expendable);
        }
        for (int i = 0; i < 3; ++i) {
            maker.folder_of_files(folder, letter::box, box_size, 2);
            maker.folder_of_files(folder, letter::parcel, parcel_size, 0);
        }
    }
    maker.save_rows();
}

StressState stress_state_of(const Url& root)
{
    StressState state;
    const std::size_t start = root.path().size() + 1;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root.path())) {
        const std::string path = entry.path().string().substr(start);
        StressState::Item& item = state.items[path];
        item.is_folder = entry.is_directory();
        if (item.is_folder)
            continue;
        item.identity = identity_of(read_file(entry.path()));
        if (entry.path().filename().string().starts_with(letter::fixed) && item.identity)
            note_identity_of_folder(state, std::filesystem::path(path).parent_path(),
                                    *item.identity);
    }
    const std::string key = record_key(root).text() + "/";
    for (const RecCustomAttr& row :
         RecCustomAttr::fetch_all("substr(relative_path, 1, length(?1)) = ?1", {key}))
        state.rows[row.relative_path.substr(key.size())] = row.order_no.value_or(-1);
    return state;
}

bool is_in_copy(std::string_view path)
{
    for (std::size_t at = 0; at != std::string_view::npos; at = path.find('/', at)) {
        if (path[at] == '/')
            ++at;
        if (path[at] == letter::copy || path[at] == letter::replaced)
            return true;
    }
    return false;
}

} // namespace orv::test
