#include "archive/Pieces.hpp"

#include "archive/Libdeflate.hpp"
#include "archive/ReadAt.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <string>
#include <thread>

#include <sys/stat.h>

namespace orv::archive {
namespace {

// A call of the compressor cannot be interrupted, so a cancel waits for a piece.
constexpr std::uint64_t max_piece_size = 1 << 20;
constexpr std::size_t max_pieces_ahead = 32;

} // namespace

struct Pieces::OpenFile {
    FileDescriptor descriptor;
    Url url;
    std::size_t item = 0;
    std::uint64_t size = 0;
    bool is_unsized = false; // it states no size but may have content, as those of /proc do
    bool is_deflated = false;
};

struct Pieces::Buffers {
    Bytes input;
    Bytes output;
};

struct Pieces::Draft {
    Piece piece{};
    std::shared_ptr<const OpenFile> file;
    std::uint64_t position = 0;
    std::string text; // of a link
    std::optional<Lending<Buffers>::Loan> buffers;
    Ahead::Handle task; // none for a piece made at once
};

Pieces::Pieces(SourceTree& tree, const PackingStyle& style, const Job& job)
    : tree_(tree), compression_(style.compression), job_(job),
      deflaters_(
          [compression = style.compression] { return std::make_unique<Deflater>(compression); }),
      ahead_(job.test_mode() ? 0 : std::max(1U, std::thread::hardware_concurrency()))
{
    if (style.password)
        keys_.emplace(*style.password);
}

Pieces::~Pieces() = default;

const Piece* Pieces::front()
{
    begin_more();
    Draft& draft = *drafts_.front();
    if (draft.task && !ahead_.done_in_a_moment(draft.task))
        return nullptr;
    if (keys_ && !draft.piece.is_encrypted &&
        tree_.items()[draft.piece.item].kind != ItemKind::folder)
        encrypt_in_order(draft);
    return &draft.piece;
}

void Pieces::pop_front()
{
    drafts_.pop_front();
}

void Pieces::begin_more()
{
    const std::size_t wanted = job_.test_mode() ? 1 : max_pieces_ahead;
    while (drafts_.size() < wanted && (file_ || next_item_ < tree_.items().size())) {
        if (!file_)
            begin_item();
        if (file_)
            begin_piece();
    }
}

void Pieces::begin_item()
{
    const SourceItem& item = tree_.items()[next_item_];
    if (item.kind == ItemKind::file) {
        begin_file();
    } else {
        auto draft = std::make_shared<Draft>();
        if (item.kind == ItemKind::link)
            draft->text = tree_.link_target(item);
        draft->piece = {
            next_item_, draft->text.size(), true, false,
            false,      draft->text.size(), 0,    std::as_bytes(std::span(draft->text))};
        drafts_.push_back(std::move(draft));
    }
    ++next_item_;
}

void Pieces::begin_file()
{
    const SourceItem& item = tree_.items()[next_item_];
    auto file = std::make_shared<OpenFile>();
    file->descriptor = tree_.open_file(item);
    file->url = tree_.url_of(item);
    file->item = next_item_;
    struct stat facts {};
    if (::fstat(file->descriptor.get(), &facts) != 0)
        throw platform_error(errno, file->url);
    file->size = static_cast<std::uint64_t>(facts.st_size);
    file->is_unsized = facts.st_size == 0;
    file->is_deflated = file->size > max_piece_size && is_worth_deflating(*file);
    file_ = std::move(file);
    file_position_ = 0;
}

/// Judges a file of several pieces by samples from all over it.
bool Pieces::is_worth_deflating(const OpenFile& file)
{
    if (compression_ == ZipCompression::no_compression)
        return false;
    constexpr std::uint64_t samples = 4;
    std::array<std::byte, 16 * 1024> buffer;
    for (std::uint64_t i = 0; i < samples; ++i) {
        const std::uint64_t position = (file.size - buffer.size()) / (samples - 1) * i;
        const std::size_t size = read_at(file.descriptor.get(), position, buffer, file.url);
        if (!looks_compressed(ByteView(buffer).first(size)))
            return true;
    }
    return false;
}

void Pieces::begin_piece()
{
    auto draft = std::make_shared<Draft>();
    draft->file = file_;
    draft->position = file_position_;
    draft->piece.item = file_->item;
    draft->piece.is_deflated = file_->is_deflated;
    if (file_->is_unsized) {
        read_unsized(*draft);
    } else {
        file_position_ += std::min(max_piece_size, file_->size - file_position_);
        draft->piece.item_size = file_->size;
        draft->piece.is_last = file_position_ == file_->size;
        draft->piece.size = file_position_ - draft->position;
    }
    if (draft->piece.is_last)
        file_.reset();
    if (draft->piece.size > 0)
        draft->task = ahead_.add([this, draft] { build(*draft); });
    drafts_.push_back(std::move(draft));
}

/// Only reading shows the end of such a file. Most are empty, and one byte shows it.
void Pieces::read_unsized(Draft& draft)
{
    job_.check();
    std::array<std::byte, 1> first{};
    draft.piece.is_last = read_at(file_->descriptor.get(), file_position_, first, file_->url) == 0;
    if (draft.piece.is_last)
        return;
    Bytes& input = draft.buffers.emplace(buffers_)->input;
    input.resize(static_cast<std::size_t>(max_piece_size));
    const std::size_t size = read_at(file_->descriptor.get(), file_position_, input, file_->url);
    input.resize(size);
    file_position_ += size;
    draft.piece.size = size;
    draft.piece.is_last = size < max_piece_size;
    const bool is_whole = draft.position == 0 && draft.piece.is_last;
    draft.piece.item_size = is_whole ? size : std::numeric_limits<std::uint64_t>::max();
}

void Pieces::build(Draft& draft)
{
    job_.check();
    if (!draft.buffers) {
        Bytes& input = draft.buffers.emplace(buffers_)->input;
        input.resize(static_cast<std::size_t>(draft.piece.size));
        const OpenFile& file = *draft.file;
        input.resize(read_at(file.descriptor.get(), draft.position, input, file.url));
        draft.piece.size = input.size();
    }
    pack(draft, (*draft.buffers)->input);
    draft.file.reset();
}

void Pieces::pack(Draft& draft, ByteView input)
{
    Piece& piece = draft.piece;
    Bytes& output = (*draft.buffers)->output;
    const bool is_whole = draft.position == 0 && piece.is_last;
    if (is_whole && compression_ != ZipCompression::no_compression && !looks_compressed(input)) {
        const Lending<Deflater>::Loan deflater(deflaters_);
        piece.is_deflated = deflater->compress(input, output);
    } else if (piece.is_deflated) {
        const Lending<Deflater>::Loan deflater(deflaters_);
        deflater->compress_part(input, piece.is_last, output);
    }
    if (piece.is_deflated)
        piece.crc = libdeflate_crc32(0, input.data(), input.size());
    piece.content = piece.is_deflated ? ByteView(output) : input;
    if (is_whole && keys_) {
        EntryEncryption encryption(keys_->take());
        encrypt(draft, encryption);
    }
}

/// The pieces before it decide where in the key stream a piece of a larger item begins.
void Pieces::encrypt_in_order(Draft& draft)
{
    if (!encryption_)
        encryption_.emplace(keys_->take());
    encrypt(draft, *encryption_);
    if (draft.piece.is_last)
        encryption_.reset();
}

void Pieces::encrypt(Draft& draft, EntryEncryption& encryption)
{
    if (!draft.buffers)
        draft.buffers.emplace(buffers_);
    Buffers& buffers = **draft.buffers;
    Bytes& encrypted = draft.piece.is_deflated ? buffers.input : buffers.output;
    encryption.encrypt(draft.piece.content, draft.piece.is_last, encrypted);
    draft.piece.content = encrypted;
    draft.piece.is_encrypted = true;
}

} // namespace orv::archive
