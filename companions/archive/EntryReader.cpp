#include "archive/EntryReader.hpp"

#include "archive/ClassicKeys.hpp"
#include "archive/Libdeflate.hpp"

#include <algorithm>
#include <new>

#include <zlib.h>

namespace orv::archive {
namespace {

// Up to this size one call unpacks an entry, without a look for a cancel.
constexpr std::uint64_t max_size_at_once = 4 << 20;
constexpr std::size_t part_size = 256 * 1024;

class Inflater {
public:
    Inflater()
    {
        if (::inflateInit2(&stream_, -MAX_WBITS) != Z_OK)
            throw std::bad_alloc();
    }
    ~Inflater() { ::inflateEnd(&stream_); }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;

    void begin() { ::inflateReset(&stream_); }
    void feed(ByteView input)
    {
        stream_.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(input.data()));
        stream_.avail_in = static_cast<uInt>(input.size());
    }

    enum class Outcome { goes_on, wants_input, ended, failed };
    struct Step {
        Outcome outcome;
        std::size_t size; ///< of the output
    };
    Step unpack_into(Bytes& output)
    {
        stream_.next_out = reinterpret_cast<Bytef*>(output.data());
        stream_.avail_out = static_cast<uInt>(output.size());
        const int code = ::inflate(&stream_, Z_NO_FLUSH);
        const std::size_t size = output.size() - stream_.avail_out;
        if (code == Z_STREAM_END)
            return {Outcome::ended, size};
        if (code != Z_OK && code != Z_BUF_ERROR)
            return {Outcome::failed, size};
        return {stream_.avail_in == 0 && stream_.avail_out > 0 ? Outcome::wants_input
                                                               : Outcome::goes_on,
                size};
    }

private:
    z_stream stream_{};
};

struct FreeDecompressor {
    void operator()(libdeflate_decompressor* decompressor) const noexcept
    {
        libdeflate_free_decompressor(decompressor);
    }
};

} // namespace

struct EntryReader::Workspace {
    Workspace() : decompressor(libdeflate_alloc_decompressor())
    {
        if (!decompressor)
            throw std::bad_alloc();
    }

    Bytes input;
    Bytes output;
    Inflater inflater;
    const std::unique_ptr<libdeflate_decompressor, FreeDecompressor> decompressor;
};

/// An entry's output, measured on its way to the consumer.
class EntryReader::Content {
public:
    Content(const Entry& entry, const Job& job, Consumer consume)
        : entry_(entry), job_(job), consume_(consume)
    {
    }

    void add(ByteView part)
    {
        job_.check();
        const bool is_too_much = part.size() > entry_.size - size_;
        size_ += part.size();
        if (is_too_much)
            fail();
        crc_ = libdeflate_crc32(crc_, part.data(), part.size());
        consume_(part);
    }

    void check() const
    {
        if (size_ != entry_.size || (entry_.has_checksum && crc_ != entry_.crc))
            fail();
    }
    [[noreturn]] void fail() const { throw DamagedContent(); }

    /// Units: bytes.
    [[nodiscard]] std::uint64_t size() const { return size_; }

private:
    const Entry& entry_;
    const Job& job_;
    const Consumer consume_;
    std::uint64_t size_ = 0;
    std::uint32_t crc_ = 0;
};

EntryReader::EntryReader(const ArchiveToRead& archive, const ArchiveDirectory& directory,
                         const std::optional<std::string>& password, const Job& job)
    : archive_(archive), directory_(directory), password_(password), job_(job),
      libzip_archives_(
          [this] { return std::make_unique<LibzipArchive>(archive_, directory_, password_); })
{
}

EntryReader::~EntryReader() = default;

bool EntryReader::can_read(const Entry& entry)
{
    constexpr std::uint16_t strong_encryption = 1 << 6;
    if ((entry.flags & strong_encryption) != 0)
        return false;
    if (entry.method == aes_method && (!entry.is_encrypted() || entry.inner_method == aes_method))
        return false;
    if (entry.method == aes_method && entry.inner_method != stored_method)
        return entry.inner_method == deflated_method;
    return zip_compression_method_supported(entry.inner_method, 0) != 0;
}

void EntryReader::read(const Entry& entry, Consumer consume)
{
    Content content(entry, job_, consume);
    try {
        read(entry, content);
    } catch (const DamagedContent&) {
        throw is_password_right_for(entry, content) ? damaged(archive_.url, entry.name)
                                                    : wrong_password(archive_.url, entry.name);
    }
    if (entry.is_encrypted() && entry.size > 0)
        password_is_right_ = true;
}

void EntryReader::read(const Entry& entry, Content& content)
{
    const Lending<Workspace>::Loan workspace(workspaces_);
    if (is_for_libzip(entry)) {
        read_by_libzip(entry, *workspace, content);
    } else {
        PackedContent packed(archive_, directory_, entry, password_);
        unpack(entry, packed, *workspace, content);
        packed.finish(workspace->input);
    }
    content.check();
}

/// libzip checks a password of the old encryption by a single byte, so a wrong one may get as far
/// as garbled content.
bool EntryReader::is_password_right_for(const Entry& entry, const Content& content)
{
    if (!entry.is_encrypted() || entry.method == aes_method || password_is_right_)
        return true;
    // Of 200,000 random streams, one unpacked to this size before it failed.
    constexpr std::uint64_t convincing_size = 1024;
    const bool unpacks =
        entry.method == deflated_method && content.size() >= std::min(convincing_size, entry.size);
    return unpacks || is_check_number_right(entry) || do_others_accept_password(entry);
}

/// True if the password finds both check bytes, from the checksum or the time. Some programs write
/// only the second one.
bool EntryReader::is_check_number_right(const Entry& entry)
{
    PackedContent packed(archive_, directory_, entry, password_);
    Bytes header;
    const std::uint16_t number =
        check_number(packed.next(ClassicKeys::header_size, header), *password_);
    constexpr std::uint16_t checksum_follows = 1 << 3;
    return number == entry.crc >> 16 ||
           ((entry.flags & checksum_follows) != 0 && number == entry.packed_time);
}

/// Other entries have other check bytes.
bool EntryReader::do_others_accept_password(const Entry& entry)
{
    constexpr int bytes_that_convince = 2;
    int accepted = 0;
    for (const Entry& other : directory_.entries) {
        if (&other == &entry || !other.is_encrypted() || other.method == aes_method)
            continue;
        if (!is_password_accepted(other))
            return false;
        if (++accepted == bytes_that_convince)
            return true;
    }
    return false;
}

bool EntryReader::is_password_accepted(const Entry& entry)
try {
    check_password(entry);
    return true;
} catch (const Error&) {
    return false;
}

void EntryReader::check_password(const Entry& entry)
try {
    if (!is_for_libzip(entry)) {
        const PackedContent packed(archive_, directory_, entry, password_);
        return;
    }
    const Lending<LibzipArchive>::Loan archive(libzip_archives_);
    archive->open(entry);
    archive->close();
} catch (const DamagedContent&) {
    return; // reported when the entry is read
}

bool EntryReader::is_for_libzip(const Entry& entry)
{
    if (entry.method == aes_method)
        return false;
    return entry.is_encrypted() ||
           (entry.method != stored_method && entry.method != deflated_method);
}

void EntryReader::read_by_libzip(const Entry& entry, Workspace& workspace, Content& content)
{
    const Lending<LibzipArchive>::Loan archive(libzip_archives_);
    const bool is_deflated = entry.method == deflated_method;
    Bytes& buffer = is_deflated ? workspace.input : workspace.output;
    buffer.resize(part_size);
    const auto next_part = [&] { return ByteView(buffer).first(archive->read(buffer)); };
    archive->open(entry);
    try {
        if (is_deflated)
            inflate(next_part, workspace, content);
        for (ByteView part = next_part(); !part.empty(); part = next_part())
            content.add(part);
    } catch (...) {
        archive->close();
        throw;
    }
    archive->close();
}

void EntryReader::unpack(const Entry& entry, PackedContent& packed, Workspace& workspace,
                         Content& content)
{
    if (entry.inner_method == stored_method) {
        if (packed.left() != entry.size)
            content.fail();
        while (packed.left() > 0)
            content.add(packed.next(part_size, workspace.output));
    } else if (std::max(entry.size, entry.packed_size) <= max_size_at_once) {
        inflate_at_once(entry, packed, workspace, content);
    } else {
        inflate([&] { return packed.next(part_size, workspace.input); }, workspace, content);
    }
}

void EntryReader::inflate_at_once(const Entry& entry, PackedContent& packed, Workspace& workspace,
                                  Content& content)
{
    const ByteView input = packed.next(max_size_at_once, workspace.input);
    workspace.output.resize(static_cast<std::size_t>(entry.size));
    if (libdeflate_deflate_decompress(workspace.decompressor.get(), input.data(), input.size(),
                                      workspace.output.data(), workspace.output.size(),
                                      nullptr) != LIBDEFLATE_SUCCESS)
        content.fail();
    content.add(workspace.output);
}

/// Inflates all input; empty input is the end.
void EntryReader::inflate(FunctionRef<ByteView()> next_input, Workspace& workspace,
                          Content& content)
{
    Inflater& inflater = workspace.inflater;
    inflater.begin();
    inflater.feed({});
    workspace.output.resize(part_size);
    for (;;) {
        const Inflater::Step step = inflater.unpack_into(workspace.output);
        content.add(ByteView(workspace.output).first(step.size));
        if (step.outcome == Inflater::Outcome::failed)
            content.fail();
        if (step.outcome == Inflater::Outcome::ended)
            return;
        if (step.outcome == Inflater::Outcome::goes_on)
            continue;
        const ByteView input = next_input();
        if (input.empty())
            content.fail();
        inflater.feed(input);
    }
}

} // namespace orv::archive
