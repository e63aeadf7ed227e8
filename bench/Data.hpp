#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace orv::bench {

/// How much is measured on.
struct Sizes {
    int small_folders = 1000;
    int files_per_small_folder = 20;
    int small_file_bytes = 4096;
    std::int64_t big_file_bytes = std::int64_t{1} << 30;
    int chosen_files = 4000;
    int wide_files = 100'000;
    int many_folders = 1000;
    int files_per_many_folder = 999;
    int deep_chains = 100;
    int folders_per_chain = 50;
    int files_per_deep_folder = 19;
    int text_folders = 100;
    int texts_per_folder = 100;
    int text_bytes = 30'000;
    std::int64_t mixed_bytes = 500'000'000;
    int photographs = 40;
    int books = 10;
    int films = 5;

    /// Little enough for a test of the program itself.
    static Sizes quick();
};

/// The files that the tools work on, below one folder. Each is made when it is first asked for, by
/// fixed rules, so that it is the same in every run; all functions return its path.
class Data {
public:
    /// `folder` must exist and be empty.
    Data(std::string folder, const Sizes& sizes) : folder_(std::move(folder)), sizes_(sizes) {}

    /// Many small files of random content in many folders.
    const std::string& small_tree();
    /// One folder with small files of random content.
    const std::string& chosen_files();
    /// One large file of random content.
    const std::string& big_file();
    /// A file of the same size of which nearly all is holes.
    const std::string& sparse_file();
    /// One folder with many files, of various sizes without content.
    const std::string& wide_folder();
    /// Many folders with many files each, of various sizes without content.
    const std::string& many_folders();
    /// As many entries as in the wide folder in chains of folders, one inside the other.
    const std::string& deep_tree();
    /// Many texts in English, German and Russian. One in a hundred has the words `rare_word` and
    /// `rare_umlaut_word`.
    const std::string& texts();
    static constexpr const char* rare_word = "Needlework";
    static constexpr const char* rare_umlaut_word = "Übergrößenträger";

    /// A folder of texts, pictures and programs, small and large.
    const std::string& mixed_files();
    /// Zip archives of them; the second one takes `password`.
    const std::string& mixed_archive();
    const std::string& locked_archive();
    static constexpr const char* password = "secret";

    /// Folders of what there are thumbnails of.
    const std::string& photographs();
    const std::string& books();
    const std::string& films();

    [[nodiscard]] const Sizes& sizes() const { return sizes_; }

private:
    [[nodiscard]] std::string path_of(const char* name) const;
    void pack_mixed_files(const std::string& archive, const std::optional<std::string>& secret);

    std::string folder_;
    Sizes sizes_;
    std::string small_tree_, chosen_files_, big_file_, sparse_file_, wide_folder_, many_folders_,
        deep_tree_, texts_, mixed_files_, mixed_archive_, locked_archive_, photographs_, books_,
        films_;
};

} // namespace orv::bench
