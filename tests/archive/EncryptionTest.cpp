#include "archive/ArchiveDirectory.hpp"
#include "archive/ClassicKeys.hpp"
#include "archive/Deflate.hpp"
#include "archive/EntryEncryption.hpp"
#include "archive/RawZip.hpp"
#include "archive/ZipCalls.hpp"
#include "support/Scratch.hpp"
#include "support/Tree.hpp"

#include <filesystem>
#include <set>

#include <gtest/gtest.h>
#include <openssl/evp.h>

namespace orv::test {
namespace {

using archive::AesKeys;
using archive::AesStrength;

const char* const damaged = "unzip: The archive is damaged.";
const char* const wrong = "unzip: The password is wrong.";

/// The keys as OpenSSL derives them, one entry at a time.
std::string expected_keys(const std::string& password, archive::ByteView salt)
{
    std::string keys(4 * salt.size() + AesKeys::check_size, '\0');
    ::PKCS5_PBKDF2_HMAC_SHA1(password.data(), static_cast<int>(password.size()),
                             reinterpret_cast<const unsigned char*>(salt.data()),
                             static_cast<int>(salt.size()), 1000, static_cast<int>(keys.size()),
                             reinterpret_cast<unsigned char*>(keys.data()));
    return keys;
}

std::string found_keys(const AesKeys& keys)
{
    std::string text;
    for (const archive::ByteView part : {keys.cipher_key(), keys.code_key(), keys.password_check()})
        text.append(reinterpret_cast<const char*>(part.data()), part.size());
    return text;
}

TEST(Encryption, keys_are_derived_as_the_format_says)
{
    for (const std::size_t length : {1U, 63U, 64U, 65U, 300U})
        for (const AesStrength strength :
             {AesStrength::aes_128, AesStrength::aes_192, AesStrength::aes_256}) {
            const std::string password(length, 'p');
            std::vector<AesKeys> keys;
            for (std::size_t count = 1; count <= AesKeys::at_once + 1; ++count) {
                archive::Bytes salt(AesKeys::salt_size(strength), std::byte(0xF0 + count));
                keys.emplace_back(strength, salt);
                AesKeys::derive(password, keys);
                for (const AesKeys& derived : keys)
                    ASSERT_EQ(found_keys(derived), expected_keys(password, derived.salt()))
                        << length << " " << count;
            }
        }
}

archive::ArchiveDirectory directory_of(const Url& archive)
{
    return archive::read_directory(archive::open_archive(archive), 1000,
                                   archive::Job({}, false, {}));
}

/// Where in the archive the entry's salt stands.
std::size_t content_position(const std::string& bytes, const archive::Entry& entry)
{
    const auto number = [&](std::size_t at) {
        return std::size_t{static_cast<unsigned char>(bytes[at])} +
               std::size_t{static_cast<unsigned char>(bytes[at + 1])} * 256;
    };
    return static_cast<std::size_t>(entry.offset) + archive::entry_header_size +
           number(entry.offset + 26) + number(entry.offset + 28);
}

TEST(Encryption, everything_but_folders_has_the_longest_key_and_a_salt_of_its_own)
{
    const Scratch root;
    make_tree(root.url(), {"d/l->f", "d/f=text", "d/g=text", "d/empty=", "d/e/h=text",
                           "d/deflated=" + std::string(3'000'000, 'x')});
    ASSERT_EQ(zip({root / "d"}, root / "a.zip", {"secret"}), success);
    const std::string bytes = read_file(root / "a.zip");
    std::set<std::string> salts;
    for (const archive::Entry& entry : directory_of(root / "a.zip").entries) {
        if (entry.name.ends_with('/'))
            continue;
        EXPECT_EQ(entry.aes_strength, AesStrength::aes_256) << entry.name;
        EXPECT_FALSE(entry.has_checksum) << entry.name;
        EXPECT_EQ(entry.crc, 0U) << entry.name << ": the checksum tells of the content";
        EXPECT_EQ(entry.inner_method,
                  entry.name == "d/deflated" ? archive::deflated_method : archive::stored_method)
            << entry.name;
        salts.insert(bytes.substr(content_position(bytes, entry), 16));
    }
    EXPECT_EQ(salts.size(), 6U);
}

TEST(Encryption, a_changed_byte_is_told_wherever_it_is)
{
    const struct {
        const char* name;
        const char* entry;
        std::size_t at; ///< in the content, or
        std::size_t before_end;
        const char* outcome;
    } rows[] = {
        {"salt", "a", 15, 0, wrong},
        {"password check", "a", 17, 0, wrong},
        {"first byte", "a", 18, 0, damaged},
        {"last byte", "a", 0, 11, damaged},
        {"code", "a", 0, 10, damaged},
        {"last of the code", "a", 0, 1, damaged},
        {"code of nothing", "b", 0, 1, damaged},
        {"middle of much", "c", 5'000'000, 0, damaged},
        {"code of a link", "d", 0, 1, damaged},
    };
    const Scratch root;
    make_tree(root.url(), {"a=" + std::string(300, 'a'), "b=", "c=", "d->a", "out/"});
    std::string noise(6'000'000, '\0');
    for (std::uint32_t i = 0, random = 1; i < noise.size(); ++i, random = random * 1664525 + 1)
        noise[i] = static_cast<char>(random >> 24);
    write_file(root / "c", noise);
    ASSERT_EQ(zip({root / "a", root / "b", root / "c", root / "d"}, root / "a.zip", {"right"}),
              success);
    const std::string bytes = read_file(root / "a.zip");
    const archive::ArchiveDirectory directory = directory_of(root / "a.zip");
    for (const auto& row : rows) {
        std::string changed = bytes;
        for (const archive::Entry& entry : directory.entries)
            if (entry.name == row.entry)
                changed[content_position(bytes, entry) +
                        (row.before_end > 0 ? entry.packed_size - row.before_end : row.at)] ^= 1;
        write_file(root / "a.zip", changed);
        EXPECT_EQ(unzip(root / "a.zip", root / "out", {"right"}), row.outcome) << row.name;
        std::filesystem::remove_all(root / "out");
        std::filesystem::create_directory(root / "out");
    }
}

/// "x", encrypted with the password "p".
std::string encrypted()
{
    AesKeys keys(AesStrength::aes_256, archive::Bytes(16));
    AesKeys::derive("p", {&keys, 1});
    const std::byte text[] = {std::byte('x')};
    archive::Bytes result;
    archive::EntryEncryption(keys).encrypt(text, true, result);
    return {reinterpret_cast<const char*>(result.data()), result.size()};
}

TEST(Encryption, entries_of_other_makers_are_read_by_what_they_say)
{
    const char* const unknown =
        "unzip: The archive is packed or encrypted in a way that is not known.";
    const struct {
        const char* name;
        std::string field;
        std::string content;
        std::uint32_t crc;
        const char* outcome;
    } rows[] = {
        {"with a checksum", little_endian(1, 2) + "AE\3", encrypted(), crc_of("x"), success},
        {"with a wrong checksum", little_endian(1, 2) + "AE\3", encrypted(), 1, damaged},
        {"without a checksum", little_endian(2, 2) + "AE\3", encrypted(), 1, success},
        {"a key of another length", little_endian(2, 2) + "AE\2", encrypted(), 0, wrong},
        {"a key that is longer", little_endian(2, 2) + "AE\4", encrypted(), 0, unknown},
        {"a key that is shorter", little_endian(2, 2) + std::string("AE\0", 3), encrypted(), 0,
         unknown},
        {"a version to come", little_endian(3, 2) + "AE\3", encrypted(), 0, unknown},
        {"another vendor", little_endian(2, 2) + "XY\3", encrypted(), 0, unknown},
        {"less than salt and code", little_endian(2, 2) + "AE\3", std::string(27, 'x'), 0, damaged},
        {"nothing", little_endian(2, 2) + "AE\3", "", 0, damaged},
        {"more than it says", little_endian(2, 2) + "AE\3", encrypted() + "y", 0, damaged},
    };
    for (const auto& row : rows) {
        const Scratch root;
        make_tree(root.url(), {"out/"});
        RawEntry entry{"f", row.content, 0100644, 3, 0x801, 99, 1, {}, row.crc};
        entry.fields = extra_field(0x9901, row.field + little_endian(0, 2));
        write_file(root / "a.zip", raw_zip({entry}));
        EXPECT_EQ(unzip(root / "a.zip", root / "out", {"p"}), row.outcome) << row.name;
        EXPECT_EQ(tree(root / "out").size(), row.outcome == success ? 1U : 0U) << row.name;
    }
}

/// Unpacks with a hundred wrong passwords. Returns how many were called wrong.
int wrong_of_a_hundred(const Scratch& root)
{
    int count = 0;
    for (int i = 0; i < 100; ++i)
        count += unzip(root / "a.zip", root / "out", {"wrong" + std::to_string(i)}) == wrong;
    return count;
}

TEST(Encryption, of_the_old_way_tells_damage_from_a_wrong_password)
{
    const Scratch root;
    make_tree(root.url(), {"a=" + std::string(300, 'a'), "out/"});
    const auto zipped = [&](const std::string& options) {
        return shell("cd " + root.url().path() + " && rm -f a.zip && zip -q" + options +
                     "P right a.zip a");
    };
    if (!zipped("0"))
        GTEST_SKIP() << "zip is not installed";
    for (const std::string options : {"0", "9", "0fd"}) {
        SCOPED_TRACE(options);
        ASSERT_TRUE(zipped(options));
        EXPECT_GE(wrong_of_a_hundred(root), 99); // one in 65,536 finds both check bytes
        std::string bytes = read_file(root / "a.zip");
        bytes[75] = static_cast<char>(bytes[75] ^ 1); // in the content
        write_file(root / "a.zip", bytes);
        EXPECT_EQ(unzip(root / "a.zip", root / "out", {"right"}), damaged);
        EXPECT_GE(wrong_of_a_hundred(root), 99);
    }
}

/// The deflated text as a program encrypts it that writes one check byte.
RawEntry encrypted_text(const std::string& text)
{
    archive::Deflater deflater(ZipCompression::default_compression);
    archive::Bytes packed;
    deflater.compress(std::as_bytes(std::span(text)), packed);
    archive::Bytes plain(archive::ClassicKeys::header_size);
    plain.back() = std::byte(crc_of(text) >> 24);
    plain.insert(plain.end(), packed.begin(), packed.end());
    archive::ClassicKeys keys("right");
    std::string content;
    for (const std::byte byte : plain)
        content += static_cast<char>(keys.encrypt(byte));
    return {"a", content, 0100644, 3, 0x801, 8, text.size(), {}, crc_of(text)};
}

TEST(Encryption, of_the_old_way_with_one_check_byte_is_judged_by_the_content)
{
    const Scratch root;
    make_tree(root.url(), {"out/"});
    std::string text;
    for (int i = 0; text.size() < 20'000; ++i)
        text += std::to_string(i * 7919) + (i % 3 ? " " : "\n");
    const RawEntry whole = encrypted_text(text);
    write_file(root / "a.zip", raw_zip({whole}));
    EXPECT_EQ(wrong_of_a_hundred(root), 100);
    EXPECT_EQ(unzip(root / "a.zip", root / "out", {"right"}), success);
    for (const std::size_t at : {whole.content.size() / 2, whole.content.size() - 1}) {
        RawEntry changed = whole;
        changed.content[at] = static_cast<char>(changed.content[at] ^ 1);
        write_file(root / "a.zip", raw_zip({changed}));
        EXPECT_EQ(unzip(root / "a.zip", root / "out", {"right"}), damaged) << at;
        EXPECT_EQ(wrong_of_a_hundred(root), 100);
    }
    RawEntry with_other_checksum = whole;
    with_other_checksum.crc = *whole.crc ^ 1;
    write_file(root / "a.zip", raw_zip({with_other_checksum}));
    EXPECT_EQ(unzip(root / "a.zip", root / "out", {"right"}), damaged);
}

} // namespace
} // namespace orv::test
