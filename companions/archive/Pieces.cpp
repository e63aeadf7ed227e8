#include "archive/Pieces.hpp"

#include "archive/ReadAt.hpp"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <thread>

#include <libdeflate.h>
#include <sys/stat.h>

namespace orv::archive {
namespace {

// A compressor's call is not interrupted, so a piece is what a cancel waits for.
constexpr std::uint64_t max_piece_size = 1 << 20;
constexpr std::size_t max_pieces_ahead = 32;

} // namespace

struct Pieces::OpenFile {
    FileDescriptor descriptor;
    Url url;
    std::size_t item = 0;
    std::uint64_t size = 0;
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
    Ahead::Handle task; // none for what is made at once
};

Pieces::Pieces(SourceTree& tree, ZipCompression compression, const Job& job)
    : tree_(tree), compression_(compression), job_(job),
      deflaters_([compression] { return std::make_unique<Deflater>(compression); }),
      ahead_(job.test_mode() ? 0 : std::max(1U, std::thread::hardware_concurrency()))
{
}

Pieces::~Pieces() = default;

const Piece* Pieces::front()
{
    begin_more();
    const Draft& draft = *drafts_.front();
    if (draft.task && !ahead_.done_in_a_moment(draft.task))
        return nullptr;
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
        draft->piece = {next_item_,
                        draft->text.size(),
                        true,
                        false,
                        draft->text.size(),
                        0,
                        std::as_bytes(std::span(draft->text))};
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
    file_position_ += std::min(max_piece_size, file_->size - file_position_);
    draft->piece.item = file_->item;
    draft->piece.item_size = file_->size;
    draft->piece.is_last = file_position_ == file_->size;
    draft->piece.is_deflated = file_->is_deflated;
    draft->piece.size = file_position_ - draft->position;
    if (draft->piece.is_last)
        file_.reset();
    if (draft->piece.item_size > 0)
        draft->task = ahead_.add([this, draft] { build(*draft); });
    drafts_.push_back(std::move(draft));
}

void Pieces::build(Draft& draft)
{
    job_.check();
    Buffers& buffers = *draft.buffers.emplace(buffers_);
    Piece& piece = draft.piece;
    buffers.input.resize(static_cast<std::size_t>(piece.size));
    piece.size =
        read_at(draft.file->descriptor.get(), draft.position, buffers.input, draft.file->url);
    const ByteView input = ByteView(buffers.input).first(static_cast<std::size_t>(piece.size));
    const bool is_whole = draft.position == 0 && piece.is_last;
    if (is_whole && compression_ != ZipCompression::no_compression && !looks_compressed(input)) {
        const Lending<Deflater>::Loan deflater(deflaters_);
        piece.is_deflated = deflater->compress(input, buffers.output);
    } else if (piece.is_deflated) {
        const Lending<Deflater>::Loan deflater(deflaters_);
        deflater->compress_part(input, piece.is_last, buffers.output);
    }
    if (piece.is_deflated)
        piece.crc = libdeflate_crc32(0, input.data(), input.size());
    piece.content = piece.is_deflated ? ByteView(buffers.output) : input;
    draft.file.reset();
}

} // namespace orv::archive
