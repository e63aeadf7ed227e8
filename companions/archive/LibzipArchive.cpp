#include "archive/LibzipArchive.hpp"

#include "archive/ReadAt.hpp"

#include <new>
#include <utility>

namespace orv::archive {

LibzipArchive::LibzipArchive(const ArchiveToRead& archive, const ArchiveDirectory& directory,
                             const std::optional<std::string>& password)
    : archive_(archive)
{
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* source = zip_source_function_create(&LibzipArchive::serve, this, nullptr);
    if (!source)
        throw std::bad_alloc();
    zip_.reset(zip_open_from_source(source, ZIP_RDONLY, &error));
    if (!zip_) {
        zip_source_free(source);
        fail(&error);
    }
    if (zip_get_num_entries(zip_.get(), 0) != static_cast<zip_int64_t>(directory.entries.size()))
        throw damaged(archive_.url);
    if (password && zip_set_default_password(zip_.get(), password->c_str()) != 0)
        fail(zip_get_error(zip_.get()));
}

LibzipArchive::~LibzipArchive() = default;

void LibzipArchive::open(const Entry& entry)
{
    entry_ = &entry;
    zip_stat_t facts;
    if (zip_stat_index(zip_.get(), entry.number, 0, &facts) != 0)
        fail(zip_get_error(zip_.get()));
    // From a directory of its own choice, libzip may have read other facts. Its files of an
    // encryption it does not know leak.
    const auto encryption = entry.is_encrypted() ? ZIP_EM_TRAD_PKWARE : ZIP_EM_NONE;
    if (facts.size != entry.size || facts.comp_size != entry.packed_size ||
        facts.comp_method != entry.method || facts.encryption_method != encryption)
        throw damaged(archive_.url, entry.name);
    file_.reset(zip_fopen_index(zip_.get(), entry.number,
                                entry.method == deflated_method ? ZIP_FL_COMPRESSED : 0));
    if (!file_)
        fail(zip_get_error(zip_.get()));
}

std::size_t LibzipArchive::read(std::span<std::byte> buffer)
{
    const zip_int64_t size = zip_fread(file_.get(), buffer.data(), buffer.size());
    if (size < 0)
        fail(zip_file_get_error(file_.get()));
    return static_cast<std::size_t>(size);
}

void LibzipArchive::close()
{
    file_.reset();
}

void LibzipArchive::fail(zip_error_t* error)
{
    file_.reset();
    if (failure_)
        std::rethrow_exception(std::exchange(failure_, nullptr));
    const std::string_view name = entry_ ? std::string_view(entry_->name) : std::string_view();
    switch (zip_error_code_zip(error)) {
    case ZIP_ER_MEMORY:
        throw std::bad_alloc();
    case ZIP_ER_NOPASSWD:
        throw archive_error("The archive needs a password.", archive_.url, name)
            .known_as(Cause::needs_password);
    case ZIP_ER_WRONGPASSWD:
        throw wrong_password(archive_.url, name);
    case ZIP_ER_COMPNOTSUPP:
    case ZIP_ER_ENCRNOTSUPP:
        throw archive_error("The archive is packed or encrypted in a way that is not known.",
                            archive_.url, name)
            .known_as(Cause::unsupported);
    default:
        if (entry_)
            throw DamagedContent();
        throw damaged(archive_.url);
    }
}

zip_int64_t LibzipArchive::serve(void* self, void* data, zip_uint64_t size,
                                 zip_source_cmd_t command)
{
    auto& archive = *static_cast<LibzipArchive*>(self);
    try {
        return archive.handle(data, size, command);
    } catch (...) {
        archive.failure_ = std::current_exception();
        return -1;
    }
}

zip_int64_t LibzipArchive::handle(void* data, zip_uint64_t size, zip_source_cmd_t command)
{
    switch (command) {
    case ZIP_SOURCE_SUPPORTS:
        return ZIP_SOURCE_SUPPORTS_SEEKABLE;
    case ZIP_SOURCE_OPEN:
        position_ = 0;
        return 0;
    case ZIP_SOURCE_READ: {
        const std::span<std::byte> part(static_cast<std::byte*>(data),
                                        static_cast<std::size_t>(size));
        const std::size_t bytes = read_at(archive_.file.get(), position_, part, archive_.url);
        position_ += bytes;
        return static_cast<zip_int64_t>(bytes);
    }
    case ZIP_SOURCE_SEEK: {
        const zip_int64_t to =
            zip_source_seek_compute_offset(position_, archive_.size, data, size, nullptr);
        if (to < 0)
            return -1;
        position_ = static_cast<std::uint64_t>(to);
        return 0;
    }
    case ZIP_SOURCE_TELL:
        return static_cast<zip_int64_t>(position_);
    case ZIP_SOURCE_STAT: {
        auto& facts = *static_cast<zip_stat_t*>(data);
        zip_stat_init(&facts);
        facts.size = archive_.size;
        facts.valid = ZIP_STAT_SIZE;
        return sizeof facts;
    }
    case ZIP_SOURCE_ERROR: {
        zip_error_t error{ZIP_ER_READ, 0, nullptr};
        return zip_error_to_data(&error, data, size);
    }
    case ZIP_SOURCE_CLOSE:
    case ZIP_SOURCE_FREE:
        return 0;
    default:
        return -1;
    }
}

} // namespace orv::archive
