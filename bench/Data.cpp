#include "Data.hpp"

#include "Files.hpp"
#include "Measure.hpp"
#include "Media.hpp"
#include "MixedFiles.hpp"
#include "archive/Zip.hpp"

#include <array>
#include <random>
#include <string_view>

#include <fmt/format.h>

namespace orv::bench {
namespace {

constexpr std::int64_t mebibyte = std::int64_t{1} << 20;

/// The name of the `number`th file, such as "Report 9e3779b1.pdf": neighbours in the order of
/// creation are none in the order of names.
std::string file_name(int number)
{
    static constexpr const char* words[] = {"Report", "photo", "Notes", "invoice", "übersicht"};
    static constexpr const char* extensions[] = {"pdf", "JPG", "txt", "jpg", "tar.gz"};
    const std::uint32_t mixed = static_cast<std::uint32_t>(number) * 2654435761U;
    return fmt::format("{} {:08x}.{}", words[mixed % 5], mixed, extensions[mixed / 5 % 5]);
}

/// Makes `count` files without content in the folder at `path`, each of a size of its own.
void fill_with_names(const std::string& path, int count)
{
    const FileDescriptor folder = make_folder(path);
    for (int i = 0; i < count; ++i)
        make_sparse_file(folder.get(), file_name(i), i % 10'000);
}

void fill_with_content(const std::string& path, int files, RandomBytes& bytes)
{
    const FileDescriptor folder = make_folder(path);
    for (int i = 0; i < files; ++i)
        write_all(make_file(folder.get(), file_name(i)).get(), bytes.next());
}

/// Words of a language, the same ones in every run of the program.
class RandomWords {
public:
    /// About `size` bytes of the language number `language`.
    std::string text(std::size_t language, std::size_t size)
    {
        const auto& words = languages[language % languages.size()];
        std::string text;
        while (text.size() < size) {
            text += words[random_() % words.size()];
            text += random_() % 12 == 0 ? ".\n" : " ";
        }
        return text;
    }

private:
    using Words = std::array<std::string_view, 24>;
    static constexpr std::array<Words, 3> languages{
        {{"the",   "of",   "and",  "folder", "needs",  "working", "between", "Sunday",
          "under", "over", "with", "people", "thing",  "without", "letter",  "answer",
          "large", "home", "each", "school", "number", "believe", "nothing", "weather"},
         {"der",   "die",  "und",    "über",  "größer",   "Straße",  "möglich", "Sonntag",
          "unter", "mit",  "Träger", "Menge", "zwischen", "ohne",    "Antwort", "Wetter",
          "schön", "fünf", "Schule", "für",   "nichts",   "glauben", "Fläche",  "heißt"},
         {"и",      "в",     "не",    "папка",  "большой", "между",  "воскресенье", "под",
          "над",    "с",     "люди",  "вещь",   "без",     "письмо", "ответ",       "дом",
          "каждый", "школа", "число", "верить", "ничего",  "погода", "это",         "год"}}};

    std::mt19937 random_;
};

} // namespace

Sizes Sizes::quick()
{
    Sizes sizes;
    sizes.small_folders = 5;
    sizes.big_file_bytes = 16 * mebibyte;
    sizes.chosen_files = 20;
    sizes.wide_files = 1000;
    sizes.many_folders = 5;
    sizes.deep_chains = 2;
    sizes.folders_per_chain = 10;
    sizes.text_folders = 2;
    sizes.mixed_bytes = 4'000'000;
    sizes.photographs = 2;
    sizes.books = 2;
    sizes.films = 1;
    return sizes;
}

std::string Data::path_of(const char* name) const
{
    return folder_ + "/" + name;
}

const std::string& Data::small_tree()
{
    if (!small_tree_.empty())
        return small_tree_;
    small_tree_ = path_of("small tree");
    make_folder(small_tree_).reset();
    RandomBytes bytes(static_cast<std::size_t>(sizes_.small_file_bytes));
    for (int i = 0; i < sizes_.small_folders; ++i)
        fill_with_content(fmt::format("{}/folder {}", small_tree_, i),
                          sizes_.files_per_small_folder, bytes);
    return small_tree_;
}

const std::string& Data::chosen_files()
{
    if (!chosen_files_.empty())
        return chosen_files_;
    chosen_files_ = path_of("chosen files");
    RandomBytes bytes(static_cast<std::size_t>(sizes_.small_file_bytes));
    fill_with_content(chosen_files_, sizes_.chosen_files, bytes);
    return chosen_files_;
}

const std::string& Data::big_file()
{
    if (!big_file_.empty())
        return big_file_;
    big_file_ = path_of("big file.bin");
    RandomBytes bytes(mebibyte);
    const FileDescriptor file = make_file(AT_FDCWD, big_file_);
    for (std::int64_t done = 0; done < sizes_.big_file_bytes; done += mebibyte)
        write_all(file.get(), bytes.next());
    return big_file_;
}

const std::string& Data::sparse_file()
{
    if (!sparse_file_.empty())
        return sparse_file_;
    sparse_file_ = path_of("sparse file.bin");
    make_sparse_file(AT_FDCWD, sparse_file_, sizes_.big_file_bytes);
    const FileDescriptor file(::open(sparse_file_.c_str(), O_WRONLY | O_CLOEXEC));
    RandomBytes bytes(65'536);
    for (std::int64_t at = 0; at < sizes_.big_file_bytes; at += sizes_.big_file_bytes / 16)
        write_all_at(file.get(), bytes.next(), at);
    return sparse_file_;
}

const std::string& Data::wide_folder()
{
    if (!wide_folder_.empty())
        return wide_folder_;
    wide_folder_ = path_of("wide folder");
    fill_with_names(wide_folder_, sizes_.wide_files);
    return wide_folder_;
}

const std::string& Data::many_folders()
{
    if (!many_folders_.empty())
        return many_folders_;
    many_folders_ = path_of("many folders");
    make_folder(many_folders_).reset();
    for (int i = 0; i < sizes_.many_folders; ++i)
        fill_with_names(fmt::format("{}/folder {}", many_folders_, i),
                        sizes_.files_per_many_folder);
    return many_folders_;
}

const std::string& Data::deep_tree()
{
    if (!deep_tree_.empty())
        return deep_tree_;
    deep_tree_ = path_of("deep tree");
    make_folder(deep_tree_).reset();
    for (int chain = 0; chain < sizes_.deep_chains; ++chain) {
        std::string path = fmt::format("{}/chain {}", deep_tree_, chain);
        for (int i = 0; i < sizes_.folders_per_chain; ++i) {
            fill_with_names(path, sizes_.files_per_deep_folder);
            path += "/folder";
        }
    }
    return deep_tree_;
}

const std::string& Data::texts()
{
    if (!texts_.empty())
        return texts_;
    texts_ = path_of("texts");
    make_folder(texts_).reset();
    RandomWords words;
    for (int i = 0; i < sizes_.text_folders; ++i) {
        const FileDescriptor folder = make_folder(fmt::format("{}/folder {}", texts_, i));
        for (int j = 0; j < sizes_.texts_per_folder; ++j) {
            std::string text = words.text(static_cast<std::size_t>(j),
                                          static_cast<std::size_t>(sizes_.text_bytes));
            if (j == 0)
                text += fmt::format("{} {}\n", rare_word, rare_umlaut_word);
            write_all(make_file(folder.get(), file_name(j)).get(), text);
        }
    }
    return texts_;
}

const std::string& Data::mixed_files()
{
    if (mixed_files_.empty())
        make_mixed_files(mixed_files_ = path_of("mixed files"), sizes_.mixed_bytes);
    return mixed_files_;
}

// What this process holds in memory is counted with that of every program it starts; so what needs
// much is made in a child.

const std::string& Data::mixed_archive()
{
    if (!mixed_archive_.empty())
        return mixed_archive_;
    pack_mixed_files(mixed_archive_ = path_of("mixed files.zip"), std::nullopt);
    return mixed_archive_;
}

const std::string& Data::locked_archive()
{
    if (locked_archive_.empty())
        pack_mixed_files(locked_archive_ = path_of("locked files.zip"), password);
    return locked_archive_;
}

void Data::pack_mixed_files(const std::string& archive, const std::optional<std::string>& secret)
{
    const std::string& files = mixed_files();
    run_in_child([&] {
        Zip::zipFiles({files}, archive, secret, ZipCompression::default_compression, nullptr,
                      false, nullptr);
        return 0.0;
    });
}

const std::string& Data::photographs()
{
    if (!photographs_.empty())
        return photographs_;
    photographs_ = path_of("photographs");
    run_in_child([&] {
        make_photographs(photographs_, sizes_.photographs);
        return 0.0;
    });
    return photographs_;
}

const std::string& Data::books()
{
    if (books_.empty())
        make_books(books_ = path_of("books"), sizes_.books);
    return books_;
}

const std::string& Data::films()
{
    if (films_.empty())
        make_films(films_ = path_of("films"), sizes_.films);
    return films_;
}

} // namespace orv::bench
