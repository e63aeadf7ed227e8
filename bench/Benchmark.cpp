#include "Benchmark.hpp"

#include <fmt/format.h>

namespace orv::bench {
namespace {

using Kind = Benchmark::Kind;

const Tool orv_cp{"orv cp", "", {"{orv}", "--quiet", "cp", "{source}", "{destination}"}};
const Tool orv_mv{"orv mv", "", {"{orv}", "--quiet", "mv", "{source}", "{destination}"}};
const Tool mv{"mv", "mv", {"mv", "{source}", "{destination}"}};
const Tool cp_r{"cp -r", "cp", {"cp", "-r", "{source}", "{destination}"}};
const Tool cp_a{"cp -a", "cp", {"cp", "-a", "{source}", "{destination}"}};

Tool by_shell(std::string name, std::string program, std::string script)
{
    return {std::move(name),
            std::move(program),
            {"sh", "-c", std::move(script), "sh", "{source}", "{destination}"}};
}

/// The same with the command of `orv` as "$1", before the two places.
Tool orv_by_shell(std::string name, std::string script)
{
    return {std::move(name),
            "",
            {"sh", "-c", std::move(script), "sh", "{orv}", "{source}", "{destination}"}};
}

Benchmark small_tree(const Sizes& sizes)
{
    return {
        "small-tree",
        fmt::format("Copy {} files of {} bytes in {} folders",
                    sizes.small_folders * sizes.files_per_small_folder, sizes.small_file_bytes,
                    sizes.small_folders),
        Kind::copy,
        &Data::small_tree,
        {orv_cp,
         cp_r,
         cp_a,
         {"rsync -a", "rsync", {"rsync", "-a", "{source}/", "{destination}"}},
         by_shell("tar | tar", "tar", R"(mkdir "$2" && tar -C "$1" -cf - . | tar -C "$2" -xf -)")},
        {{"cp -r", 0.9}, {"tar | tar", 1.0}}};
}

Benchmark big_file(const Sizes& sizes)
{
    return {"big-file",
            fmt::format("Copy a file of {} MiB", sizes.big_file_bytes >> 20),
            Kind::copy,
            &Data::big_file,
            {orv_cp,
             {"cp", "cp", {"cp", "{source}", "{destination}"}},
             {"rsync -a", "rsync", {"rsync", "-a", "{source}", "{destination}"}},
             {"gio copy", "gio", {"gio", "copy", "{source}", "{destination}"}}},
            {{"cp", 1.05}}};
}

Benchmark sparse_file(const Sizes& sizes)
{
    return {"sparse-file",
            fmt::format("Copy a sparse file of {} MiB", sizes.big_file_bytes >> 20),
            Kind::copy,
            &Data::sparse_file,
            {orv_cp,
             {"cp", "cp", {"cp", "{source}", "{destination}"}},
             {"rsync -aS", "rsync", {"rsync", "-aS", "{source}", "{destination}"}},
             {"gio copy", "gio", {"gio", "copy", "{source}", "{destination}"}}},
            {{"cp", 1.05}}};
}

const char* const find_details = R"(find "$1" -mindepth 1 -printf '%f\t%M\t%s\t%T+\t%P\n')";

Benchmark listing(std::string name, std::string title, const std::string& (Data::*source)())
{
    return {std::move(name),
            std::move(title),
            Kind::read,
            source,
            {{"orv ls", "", {"{orv}", "ls", "-r", "-a", "--long", "--sort", "name", "{source}"}},
             by_shell("find | sort", "find", std::string(find_details) + " | sort"),
             by_shell("find | sort -f", "find", std::string(find_details) + " | sort -f"),
             {"ls -lR", "ls", {"ls", "-lAR", "{source}"}}},
            {{"find | sort", 0.85}, {"find | sort -f", 0.85}}};
}

/// The same as a request of an application, without a text to print.
Benchmark listing_request(std::string name, std::string title,
                          const std::string& (Data::*source)())
{
    return {std::move(name),
            std::move(title),
            Kind::read,
            source,
            {{"request", "", {ORV_BENCH_LISTING, "request", "{source}"}},
             {"nftw", "", {ORV_BENCH_LISTING, "nftw", "{source}"}}},
            {{"nftw", 1.1}}};
}

Benchmark name_search(const std::string& where)
{
    return {"find-names",
            "Find names with a word: " + where,
            Kind::read,
            &Data::deep_tree,
            {{"orv find", "", {"{orv}", "find", "-r", "-a", "{source}", "invoice 7"}},
             {"fdfind", "fdfind", {"fdfind", "-u", "-F", "-i", "invoice 7", "{source}"}},
             {"find -iname", "find", {"find", "{source}", "-iname", "*invoice 7*"}}},
            {{"fdfind", 1.0}, {"find -iname", 1.0}}};
}

Benchmark content_search(std::string name, const Sizes& sizes, const std::string& keyword)
{
    const auto rg = [&](std::vector<std::string> options) {
        options.insert(options.begin(), "rg");
        options.insert(options.end(), {"-uu", "-i", "-l", "-F", keyword, "{source}"});
        return options;
    };
    const int files = sizes.text_folders * sizes.texts_per_folder;
    return {std::move(name),
            fmt::format("Find {} in {} texts of {} kB", keyword, files, sizes.text_bytes / 1000),
            Kind::read,
            &Data::texts,
            {{"orv find", "", {"{orv}", "find", "-r", "-a", "--content", "{source}", keyword}},
             {"rg -i -l", "rg", rg({})},
             {"rg -j1 -i -l", "rg", rg({"-j1"})}},
            {{"rg -i -l", 1.0}, {"rg -j1 -i -l", 1.0}}};
}

Benchmark folder_size(std::string name, std::string title, const std::string& (Data::*source)())
{
    return {std::move(name),
            std::move(title),
            Kind::read,
            source,
            {{"orv du", "", {"{orv}", "du", "{source}"}},
             {"du -s", "du", {"du", "-s", "--apparent-size", "{source}"}}},
            {{"du -s", 0.9}}};
}

/// A copy that is there already, but for nothing, in a folder beside the source.
constexpr const char* unchanged_copy =
    R"(test -e "$2.kept" || { mkdir "$2.kept" && cp -a "$2" "$2.kept"; } && )";

Benchmark backup(const Sizes& sizes)
{
    const std::string made = unchanged_copy;
    return {"backup",
            fmt::format("Copy {} files in {} folders onto an unchanged copy",
                        sizes.small_folders * sizes.files_per_small_folder, sizes.small_folders),
            Kind::read,
            &Data::small_tree,
            {{"orv cp --on-conflict skip-equal",
              "",
              {"sh", "-c",
               made + R"(exec "$1" --quiet cp "$2" "$2.kept" --on-conflict skip-equal)", "sh",
               "{orv}", "{source}"}},
             {"rsync -a",
              "rsync",
              {"sh", "-c", made + R"(exec rsync -a "$2" "$2.kept/")", "sh", "{orv}", "{source}"}}},
            {{"rsync -a", 0.8}}};
}

Benchmark verified_copy(const Sizes& sizes)
{
    return {"copy-verified",
            fmt::format("Copy {} files in {} folders and read them back from the disk",
                        sizes.small_folders * sizes.files_per_small_folder, sizes.small_folders),
            Kind::copy,
            &Data::small_tree,
            {{"orv cp --verify",
              "",
              {"{orv}", "--quiet", "cp", "--verify", "{source}", "{destination}"}},
             by_shell("cp -r, sync, diff -r", "cp",
                      R"(cp -r "$1" "$2" && sync -f "$2" && diff -r "$1" "$2")")},
            {{"cp -r, sync, diff -r", 1.0}}};
}

Benchmark removal(const Sizes& sizes)
{
    return {"delete",
            fmt::format("Delete {} files in {} folders",
                        sizes.small_folders * sizes.files_per_small_folder, sizes.small_folders),
            Kind::remove,
            &Data::small_tree,
            {{"orv rm", "", {"{orv}", "--quiet", "rm", "{destination}"}},
             {"rm -rf", "rm", {"rm", "-rf", "{destination}"}}},
            {{"rm -rf", 0.8}}};
}

Benchmark move(const Sizes& sizes)
{
    return {"move",
            fmt::format("Move a folder of {} files within one volume",
                        sizes.small_folders * sizes.files_per_small_folder),
            Kind::move,
            &Data::small_tree,
            {orv_mv, mv}};
}

Benchmark move_between_volumes(const Sizes& sizes)
{
    return {"move-between-volumes",
            fmt::format("Move {} files in {} folders to another volume",
                        sizes.small_folders * sizes.files_per_small_folder, sizes.small_folders),
            Kind::move_between_volumes,
            &Data::small_tree,
            {orv_mv, mv, by_shell("mv, flushed", "mv", R"(mv "$1" "$2" && sync -f "$2")")}};
}

/// The files of a folder as many items of one request, beside the folder as one item.
std::vector<Benchmark> chosen_files(const Sizes& sizes)
{
    const auto benchmark = [&](std::string name, const char* verb, Kind kind,
                               std::vector<Tool> tools, std::vector<Bar> bars) {
        return Benchmark{std::move(name),
                         fmt::format("{} {} chosen files", verb, sizes.chosen_files),
                         kind,
                         &Data::chosen_files,
                         std::move(tools),
                         std::move(bars)};
    };
    const Bar as_fast_as_folder{"their folder", 1.3};
    return {
        benchmark("chosen-copy", "Copy", Kind::copy,
                  {orv_by_shell("orv cp", R"(mkdir "$3" && exec "$1" --quiet cp "$2"/* "$3")"),
                   orv_by_shell("their folder", R"(exec "$1" --quiet cp "$2" "$3")"),
                   by_shell("cp", "cp", R"(mkdir "$2" && exec cp "$1"/* "$2")")},
                  {as_fast_as_folder}),
        benchmark("chosen-zip", "Pack", Kind::pack,
                  {orv_by_shell("orv zip", R"(exec "$1" --quiet zip "$3" "$2"/*)"),
                   orv_by_shell("their folder", R"(exec "$1" --quiet zip "$3" "$2")")},
                  {as_fast_as_folder}),
        benchmark("chosen-move", "Move", Kind::move,
                  {orv_by_shell("orv mv",
                                R"(mkdir "$3" && "$1" --quiet mv "$2"/* "$3" && rmdir "$2")"),
                   by_shell("mv", "mv", R"(mkdir "$2" && mv "$1"/* "$2" && rmdir "$1")")},
                  {{"mv", 3.0}}),
        benchmark("chosen-delete", "Delete", Kind::remove,
                  {orv_by_shell("orv rm", R"("$1" --quiet rm "$3"/* && rmdir "$3")"),
                   orv_by_shell("their folder", R"(exec "$1" --quiet rm "$3")"),
                   by_shell("rm", "rm", R"(rm "$2"/* && rmdir "$2")")},
                  {as_fast_as_folder})};
}

Benchmark move_of_sparse_file(const Sizes& sizes)
{
    return {"move-file",
            fmt::format("Move a sparse file of {} MiB within one volume",
                        sizes.big_file_bytes >> 20),
            Kind::move,
            &Data::sparse_file,
            {orv_mv, mv},
            {{"mv", 1.8}}};
}

Tool packer(std::string name, std::string program, const std::string& command)
{
    return by_shell(std::move(name), std::move(program),
                    R"(cd "$1/.." && exec )" + command + R"( "$2" "${1##*/}")");
}

Benchmark packing(const Sizes& sizes)
{
    constexpr double most_memory = 256 * 1024 * 1024;
    return {"zip",
            fmt::format("Pack {} MB of mixed files", sizes.mixed_bytes / 1'000'000),
            Kind::pack,
            &Data::mixed_files,
            {{"orv zip", "", {"{orv}", "--quiet", "zip", "{destination}", "{source}"}},
             packer("zip -r", "zip", "zip -qr"),
             packer("7z a -tzip", "7z", "7z a -bd -tzip -mx=5"),
             packer("bsdtar", "bsdtar", "bsdtar --format zip -cf")},
            {{"zip -r", 1.0},
             {"zip -r", 1.02, Bar::Of::size},
             {"7z a -tzip", 1.0},
             {"", most_memory, Bar::Of::memory}}};
}

Benchmark unpacking(const Sizes& sizes)
{
    return {"unzip",
            fmt::format("Unpack {} MB of mixed files", sizes.mixed_bytes / 1'000'000),
            Kind::unpack,
            &Data::mixed_archive,
            {{"orv unzip",
              "",
              {"sh", "-c", R"(mkdir "$3" && exec "$1" --quiet unzip "$2" "$3")", "sh", "{orv}",
               "{source}", "{destination}"}},
             {"unzip", "unzip", {"unzip", "-q", "{source}", "-d", "{destination}"}},
             {"7z x", "7z", {"7z", "x", "-bd", "-y", "-o{destination}", "{source}"}},
             by_shell("bsdtar -x", "bsdtar", R"(mkdir "$2" && exec bsdtar -xf "$1" -C "$2")")},
            {{"unzip", 1.0}, {"7z x", 1.0}}};
}

Benchmark packing_with_password(const Sizes& sizes)
{
    const std::string password = Data::password;
    return {"zip-password",
            fmt::format("Pack {} MB of mixed files with a password, AES-256",
                        sizes.mixed_bytes / 1'000'000),
            Kind::pack,
            &Data::mixed_files,
            {orv_by_shell("orv zip",
                          "echo " + password +
                              R"( | "$1" --quiet zip --password-file /dev/stdin "$3" "$2")"),
             orv_by_shell("without", R"(exec "$1" --quiet zip "$3" "$2")"),
             packer("7z a -p", "7z", "7z a -bd -tzip -mx=5 -mem=AES256 -p" + password)},
            {{"without", 1.1}, {"7z a -p", 0.25}}};
}

Benchmark unpacking_with_password(const Sizes& sizes)
{
    const std::string password = Data::password;
    return {"unzip-password",
            fmt::format("Unpack {} MB of mixed files with a password, AES-256",
                        sizes.mixed_bytes / 1'000'000),
            Kind::unpack,
            &Data::locked_archive,
            {orv_by_shell("orv unzip", R"(mkdir "$3" && echo )" + password +
                                           R"( | "$1" --quiet unzip --password-file /dev/stdin )"
                                           R"("$2" "$3")"),
             {"7z x -p", "7z", {"7z", "x", "-bd", "-y", "-p" + password, "-o{destination}",
                                "{source}"}}},
            {{"7z x -p", 0.6}}};
}

const Tool orv_thumbs{"orv", "", {ORV_BENCH_THUMBS, "{source}", "240", "{destination}"}};

/// Runs `command` once for each file "$0" of the source, two at a time, with "$1" as the folder for
/// what it makes.
Tool thumbnailer(std::string name, std::string program, const std::string& command)
{
    return by_shell(std::move(name), std::move(program),
                    R"(mkdir "$2" && find "$1" -type f -print0 | xargs -0 -P2 -n1 sh -c ')" +
                        command + R"( >/dev/null 2>&1' "$2")");
}

Benchmark thumbnails_of_photographs(const Sizes& sizes)
{
    return {"thumbs-pictures",
            fmt::format("Thumbnails of {} pictures of 12 megapixels", sizes.photographs),
            Kind::copy,
            &Data::photographs,
            {orv_thumbs,
             by_shell("vipsthumbnail", "vipsthumbnail",
                      R"(mkdir "$2" && exec vipsthumbnail -s 240 -o "$2/%s.jpg" "$1"/*)")},
            {{"vipsthumbnail", 1.0}}};
}

Benchmark thumbnails_of_books(const Sizes& sizes)
{
    return {"thumbs-pages",
            fmt::format("Thumbnails of {} PDF pages", sizes.books),
            Kind::copy,
            &Data::books,
            {orv_thumbs,
             thumbnailer("pdftoppm", "pdftoppm",
                         R"(pdftoppm -f 1 -l 1 -scale-to-x 240 -scale-to-y -1 -jpeg "$1" )"
                         R"("$0/${1##*/}")")},
            {{"pdftoppm", 1.0}}};
}

Benchmark thumbnails_of_films(const Sizes& sizes)
{
    return {"thumbs-films",
            fmt::format("Thumbnails of {} films", sizes.films),
            Kind::copy,
            &Data::films,
            {orv_thumbs,
             thumbnailer("ffmpeg -ss", "ffmpeg",
                         R"(ffmpeg -ss 6.667 -i "$1" -frames:v 1 -vf scale=240:-1 )"
                         R"("$0/${1##*/}.jpg" </dev/null)"),
             thumbnailer("ffmpegthumbnailer", "ffmpegthumbnailer",
                         R"(ffmpegthumbnailer -t 33% -s 240 -i "$1" -o "$0/${1##*/}.jpg")")},
            {{"ffmpeg -ss", 1.0}}};
}

Benchmark start()
{
    return {"start",
            "Start and end",
            Kind::read,
            nullptr,
            {{"orv --version", "", {"{orv}", "--version"}},
             {"cp --version", "cp", {"cp", "--version"}}},
            {{"cp --version", 2.0}, {"", 0.003}}};
}

} // namespace

std::vector<Benchmark> benchmarks(const Sizes& sizes)
{
    const int deep_entries =
        sizes.deep_chains * sizes.folders_per_chain * (sizes.files_per_deep_folder + 1);
    const std::string small =
        fmt::format("{} entries in {} folders",
                    sizes.small_folders * (sizes.files_per_small_folder + 1), sizes.small_folders);
    const std::string many =
        fmt::format("{} entries in {} folders",
                    sizes.many_folders * (sizes.files_per_many_folder + 1), sizes.many_folders);
    const std::string wide = fmt::format("{} entries in one folder", sizes.wide_files);
    const std::string deep =
        fmt::format("{} entries, {} folders deep", deep_entries, sizes.folders_per_chain);
    std::vector<Benchmark> all{
            start(),
            listing("list-wide", "List by name: " + wide, &Data::wide_folder),
            listing("list-deep", "List by name: " + deep, &Data::deep_tree),
            listing("list-small", "List by name: " + small, &Data::small_tree),
            listing("list-many", "List by name: " + many, &Data::many_folders),
            listing_request("request-small", "Request for " + small, &Data::small_tree),
            listing_request("request-wide", "Request for " + wide, &Data::wide_folder),
            listing_request("request-many", "Request for " + many, &Data::many_folders),
            name_search(deep),
            content_search("find-ascii", sizes, Data::rare_word),
            content_search("find-umlauts", sizes, Data::rare_umlaut_word),
            folder_size("size-wide", "Size of " + wide, &Data::wide_folder),
            folder_size("size-small", "Size of " + small, &Data::small_tree),
            folder_size("size-deep", "Size of " + deep, &Data::deep_tree),
            small_tree(sizes),
            backup(sizes),
            verified_copy(sizes),
            big_file(sizes),
            sparse_file(sizes),
            packing(sizes),
            packing_with_password(sizes),
            unpacking(sizes),
            unpacking_with_password(sizes),
            thumbnails_of_photographs(sizes),
            thumbnails_of_books(sizes),
            thumbnails_of_films(sizes),
            move_of_sparse_file(sizes),
            move(sizes),
            move_between_volumes(sizes),
            removal(sizes)};
    for (Benchmark& benchmark : chosen_files(sizes))
        all.push_back(std::move(benchmark));
    return all;
}

} // namespace orv::bench
