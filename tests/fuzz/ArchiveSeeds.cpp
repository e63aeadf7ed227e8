#include "archive/RawZip.hpp"
#include "archive/Zip.hpp"
#include "support/Scratch.hpp"
#include "support/Tree.hpp"

#include <iostream>

// Writes archives of every kind for a fuzzer to begin with.

namespace orv::test {
namespace {

void write_raw_archives(const Url& folder)
{
    const std::string unicode = "\1" + little_endian(crc_of("n"), 4) + "name";
    const std::string aes = little_endian(2, 2) + "AE\3" + little_endian(0, 2);
    const std::string large = little_endian(1, 8) + little_endian(1, 8);
    const std::vector<RawEntry> entries[] = {
        {},
        {{"a/b/../c", "x"}, {"d\\e", "y", 0, 0}},
        {{"f", "x"}, {"f", "y"}, {"l", "f", 0120777}, {"d/l", "../l", 0120777}},
        {{"\x83\x65\x83\x58\x83\x67", "x", 0, 0, 0},
         {"n", "x", 0, 0, 0, 0, {}, {}, {}, extra_field(0x7075, unicode)}},
        {{"z", "x", 0100644, 3, 0, 0, 0xFFFFFFFF, 0xFFFFFFFF, {}, extra_field(1, large)}},
        {{"k", std::string(40, 'x'), 0100644, 3, 1, 99, 12, {}, {}, extra_field(0x9901, aes)}},
        {{"o", std::string(20, 'x'), 0100644, 3, 1, 0, 8}},
        {{"p", "\3", 0100644, 3, 0, 8, 0}, {"q", "BZh9", 0100644, 3, 0, 12, 9}},
    };
    int number = 0;
    for (const auto& archive : entries)
        write_file(folder.appending("raw " + std::to_string(number++)),
                   raw_zip(archive, "comment"));
}

void write_own_archives(const Url& folder)
{
    const Scratch root;
    make_tree(root.url(), {"d/.hidden=h", "d/empty/", "d/ünïcode=u", "d/\xFF=b", "d/l->ünïcode",
                           "d/text=" + std::string(3000, 'x')});
    int number = 0;
    for (const char* password : {"", "secret"})
        for (const ZipCompression compression :
             {ZipCompression::no_compression, ZipCompression::default_compression})
            Zip::zipFiles({root / "d"}, folder.appending("own " + std::to_string(number++)),
                          std::string(password), compression, {}, false, {});
}

} // namespace
} // namespace orv::test

int main(int count, char** arguments)
{
    if (count != 2) {
        std::cerr << "archive_seeds FOLDER: writes archives into an empty folder\n";
        return 2;
    }
    orv::test::write_raw_archives(arguments[1]);
    orv::test::write_own_archives(arguments[1]);
    return 0;
}
