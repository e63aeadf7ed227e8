#include "archive/Packing.hpp"

#include "archive/EntryNames.hpp"
#include "archive/FormatFields.hpp"
#include "archive/Libzip.hpp"
#include "archive/Pieces.hpp"
#include "archive/ReadAt.hpp"
#include "archive/SourceTree.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <limits>
#include <memory>
#include <new>

#include <zlib.h>

namespace orv::archive {
namespace {

// Above it, encryption could push a size over the limit of the old format. libzip must know that
// before it writes an entry's header; without a size it assumes the worst.
constexpr std::uint64_t max_told_size = 4'000'000'000;

constexpr std::array<std::byte, 22> empty_archive{std::byte{'P'}, std::byte{'K'}, std::byte{5},
                                                  std::byte{6}};

struct Discard {
    void operator()(zip_t* archive) const noexcept { zip_discard(archive); }
};
using NewArchive = std::unique_ptr<zip_t, Discard>;

Error libzip_error(zip_error_t* error, const Url& url)
{
    if (zip_error_system_type(error) == ZIP_ET_SYS && zip_error_code_system(error) != 0)
        return platform_error(zip_error_code_system(error), url);
    return Error("The archive couldn't be written: " + std::string(zip_error_strerror(error)) + ".")
        .at(url);
}

bool has_control_characters(std::string_view name)
{
    return std::any_of(name.begin(), name.end(), [](char c) { return c >= 0 && c < ' '; });
}

/// Writes the items of a tree into an archive. libzip asks for the content of each entry while it
/// writes, in their order.
class Packing {
public:
    Packing(SourceTree& tree, ArchiveFile& archive, const PackingStyle& style, Job& job)
        : tree_(tree), archive_(archive), style_(style), job_(job), pieces_(tree, style, job),
          sources_(tree.items().size())
    {
    }

    void run()
    {
        open();
        for (std::size_t i = 0; i < tree_.items().size(); ++i)
            add_entry(i);
        write();
        if (has_odd_names_)
            correct_flags();
    }

private:
    struct Source {
        Packing* packing;
        std::size_t item;
    };

    /// The finished part of the current item.
    struct Current {
        std::size_t item = std::numeric_limits<std::size_t>::max();
        std::uint64_t size = 0;
        std::uint32_t crc = 0;
        std::size_t piece_position = 0;
        bool is_deflated = false;
        bool is_finished = false;
    };

    void open()
    {
        zip_error_t error;
        zip_error_init(&error);
        zip_source_t* file = archive_.as_zip_source();
        zip_.reset(zip_open_from_source(file, ZIP_CREATE | ZIP_TRUNCATE, &error));
        if (!zip_) {
            zip_source_free(file);
            throw libzip_error(&error, archive_.url());
        }
    }

    [[nodiscard]] bool is_encrypted(const SourceItem& item) const
    {
        return style_.password && item.kind != ItemKind::folder;
    }

    [[noreturn]] void fail() { throw libzip_error(zip_get_error(zip_.get()), archive_.url()); }

    void add_entry(std::size_t index)
    {
        const SourceItem& item = tree_.items()[index];
        sources_[index] = {this, index};
        zip_source_t* source = zip_source_function(zip_.get(), &Packing::serve, &sources_[index]);
        if (!source)
            fail();
        const std::string name = item.kind == ItemKind::folder ? item.name + "/" : item.name;
        const bool is_odd = !is_utf8(name) || has_control_characters(name);
        has_odd_names_ = has_odd_names_ || is_odd;
        const zip_int64_t added = zip_file_add(zip_.get(), name.c_str(), source,
                                               is_odd ? ZIP_FL_ENC_GUESS : ZIP_FL_ENC_UTF_8);
        if (added < 0) {
            zip_source_free(source);
            fail();
        }
        describe_entry(static_cast<zip_uint64_t>(added), item);
    }

    void describe_entry(zip_uint64_t entry, const SourceItem& item)
    {
        constexpr std::uint32_t dos_folder = 0x10;
        const std::uint32_t attributes =
            std::uint32_t{item.mode} << 16 | (item.kind == ItemKind::folder ? dos_folder : 0);
        if (zip_file_set_external_attributes(zip_.get(), entry, 0, ZIP_OPSYS_UNIX, attributes) != 0)
            fail();
        for (const ExtraField& field : extra_fields_of(item.name, item.time))
            if (zip_file_extra_field_set(
                    zip_.get(), entry, field.id, ZIP_EXTRA_FIELD_NEW, field.data.data(),
                    static_cast<zip_uint16_t>(field.data.size()),
                    field.is_local ? ZIP_FL_LOCAL | ZIP_FL_CENTRAL : ZIP_FL_CENTRAL) != 0)
                fail();
        if (is_encrypted(item) &&
            zip_file_set_encryption(zip_.get(), entry, ZIP_EM_AES_256, nullptr) != 0)
            fail();
    }

    void write()
    {
        if (zip_close(zip_.get()) == 0) {
            static_cast<void>(zip_.release());
            return;
        }
        if (failure_)
            std::rethrow_exception(failure_);
        archive_.rethrow_failure();
        fail();
    }

    /// libzip takes look-alikes for UTF-8, and doubts true UTF-8 with control characters.
    void correct_flags()
    {
        const ArchiveToRead written = archive_.to_read();
        for (const std::uint64_t position :
             read_directory(written, std::numeric_limits<std::uint64_t>::max(), job_)
                 .wrong_utf8_flags) {
            std::array<std::byte, sizeof utf8_flag> flags{};
            read_at(written.file.get(), position, flags, written.url);
            flags[1] ^= std::byte{utf8_flag >> 8};
            archive_.seek(position);
            archive_.write(flags);
        }
    }

    static zip_int64_t serve(void* source, void* data, zip_uint64_t size, zip_source_cmd_t command)
    {
        const auto [packing, item] = *static_cast<Source*>(source);
        try {
            return packing->handle(item, data, size, command);
        } catch (...) {
            packing->failure_ = std::current_exception();
            return -1;
        }
    }

    zip_int64_t handle(std::size_t item, void* data, zip_uint64_t size, zip_source_cmd_t command)
    {
        switch (command) {
        case ZIP_SOURCE_SUPPORTS:
            return ZIP_SOURCE_SUPPORTS_READABLE;
        case ZIP_SOURCE_STAT: {
            auto& facts = *static_cast<zip_stat_t*>(data);
            tell_facts(item, facts);
            return 0;
        }
        case ZIP_SOURCE_READ:
            return static_cast<zip_int64_t>(
                read({static_cast<std::byte*>(data), static_cast<std::size_t>(size)}));
        case ZIP_SOURCE_ERROR: {
            zip_error_t error{ZIP_ER_CANCELLED, 0, nullptr};
            return zip_error_to_data(&error, data, size);
        }
        case ZIP_SOURCE_OPEN:
        case ZIP_SOURCE_CLOSE:
        case ZIP_SOURCE_FREE:
            return 0;
        default:
            return -1;
        }
    }

    /// Asked before and after each entry.
    void tell_facts(std::size_t item, zip_stat_t& facts)
    {
        zip_stat_init(&facts);
        if (current_.item != item)
            begin(item);
        facts.mtime = tree_.items()[item].time.tv_sec;
        facts.comp_method = current_.is_deflated ? ZIP_CM_DEFLATE : ZIP_CM_STORE;
        facts.valid = ZIP_STAT_MTIME | ZIP_STAT_COMP_METHOD;
        const bool encrypted = is_encrypted(tree_.items()[item]);
        if (encrypted)
            tell_of_encryption(facts);
        if (current_.is_finished) {
            facts.size = current_.size;
            facts.crc = encrypted ? 0 : current_.crc;
            facts.valid |= ZIP_STAT_SIZE | (encrypted || current_.is_deflated ? ZIP_STAT_CRC : 0U);
        } else if (const std::uint64_t size = next_piece().item_size; size <= max_told_size) {
            facts.size = size;
            facts.valid |= ZIP_STAT_SIZE;
        }
    }

    /// libzip takes encrypted content unchanged. For a stored entry it would compute the checksum
    /// of the encrypted bytes, and take their size for the item's. So every entry counts as
    /// deflated until it is written.
    void tell_of_encryption(zip_stat_t& facts) const
    {
        facts.encryption_method = ZIP_EM_AES_256;
        facts.valid |= ZIP_STAT_ENCRYPTION_METHOD;
        if (!current_.is_finished)
            facts.comp_method = ZIP_CM_DEFLATE;
    }

    /// A stored entry must say so, or libzip would deflate it. The choice is known only now, and
    /// now is early enough.
    void begin(std::size_t item)
    {
        const Piece& piece = next_piece();
        current_ = {};
        current_.item = item;
        current_.is_deflated = piece.is_deflated;
        if (!piece.is_deflated && !piece.is_encrypted &&
            zip_set_file_compression(zip_.get(), item, ZIP_CM_STORE, 0) != 0)
            fail();
    }

    const Piece& next_piece()
    {
        for (;;) {
            job_.check();
            if (const Piece* piece = pieces_.front())
                return *piece;
            job_.report_if_due(current_url());
        }
    }

    std::size_t read(std::span<std::byte> buffer)
    {
        while (!current_.is_finished) {
            const Piece& piece = next_piece();
            const ByteView left = piece.content.subspan(current_.piece_position);
            if (left.empty()) {
                finish_piece(piece);
                continue;
            }
            const std::size_t size = std::min(left.size(), buffer.size());
            std::memcpy(buffer.data(), left.data(), size);
            current_.piece_position += size;
            return size;
        }
        return 0;
    }

    void finish_piece(const Piece& piece)
    {
        const bool was_last = piece.is_last;
        current_.crc = static_cast<std::uint32_t>(
            ::crc32_combine(current_.crc, piece.crc, static_cast<z_off_t>(piece.size)));
        current_.size += piece.size;
        current_.piece_position = 0;
        job_.add_bytes(piece.size);
        if (was_last)
            job_.add_item();
        pieces_.pop_front();
        if (!was_last)
            return job_.report_if_due(current_url());
        current_.is_finished = true;
        job_.report(current_url());
        job_.pause();
    }

    [[nodiscard]] Url current_url() const
    {
        const auto& items = tree_.items();
        return tree_.url_of(items[std::min(current_.item, items.size() - 1)]);
    }

    SourceTree& tree_;
    ArchiveFile& archive_;
    const PackingStyle& style_;
    Job& job_;
    Pieces pieces_;
    std::vector<Source> sources_;
    Current current_;
    bool has_odd_names_ = false;
    std::exception_ptr failure_;
    NewArchive zip_; // last, since it asks the others
};

std::uint64_t bytes_of(const SourceTree& tree)
{
    std::uint64_t bytes = 0;
    for (const SourceItem& item : tree.items())
        bytes += item.size;
    return bytes;
}

} // namespace

void pack(const std::vector<Url>& paths, ArchiveFile& archive, const PackingStyle& style, Job& job)
{
    SourceTree tree(paths, archive.identity(), job);
    job.set_total(bytes_of(tree), tree.items().size());
    job.expect_end();
    if (tree.items().empty())
        archive.write(empty_archive);
    else
        Packing(tree, archive, style, job).run();
    job.check();
    archive.finish();
    job.add_end();
    job.report(tree.items().empty() ? archive.url() : tree.url_of(tree.items().back()));
}

} // namespace orv::archive
