#pragma once

#include "archive/Deflate.hpp"
#include "archive/EntryEncryption.hpp"
#include "archive/Lending.hpp"
#include "archive/PackingStyle.hpp"
#include "archive/SourceTree.hpp"
#include "utility/Ahead.hpp"

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>

namespace orv::archive {

/// A part of an item's content as it will stand in the archive.
struct Piece {
    std::size_t item;        ///< its number in the source tree
    std::uint64_t item_size; ///< of the whole item, as it was when it was opened
    bool is_last;            ///< of the item
    bool is_deflated;        ///< the same for all pieces of an item
    bool is_encrypted;       ///< likewise
    std::uint64_t size;      ///< of what was read
    std::uint32_t crc;       ///< of what was read; only where deflated
    ByteView content;
};

/// The content of a source tree, in pieces that are read, compressed and encrypted ahead of their
/// use. Memory does not grow with the size of the files.
///
/// Threading: one thread at a time.
class Pieces {
public:
    Pieces(SourceTree& tree, const PackingStyle& style, const Job& job);
    ~Pieces();

    /// The piece that is next in the order of the tree, of which every item has at least one. Null
    /// while it takes longer than a moment.
    ///
    /// Errors: the platform's; `Exception` when cancelled.
    const Piece* front();

    void pop_front();

private:
    struct OpenFile;
    struct Buffers;
    struct Draft;

    void begin_more();
    void begin_item();
    void begin_file();
    void begin_piece();
    void read_unsized(Draft& draft);
    void build(Draft& draft);
    void pack(Draft& draft, ByteView input);
    void encrypt(Draft& draft, EntryEncryption& encryption);
    void encrypt_in_order(Draft& draft);
    [[nodiscard]] bool is_worth_deflating(const OpenFile& file);

    SourceTree& tree_;
    const ZipCompression compression_;
    const Job& job_;
    Lending<Deflater> deflaters_;
    Lending<Buffers> buffers_;
    std::optional<NewAesKeys> keys_;            // if all is encrypted
    std::optional<EntryEncryption> encryption_; // of the item whose pieces are handed out

    std::size_t next_item_ = 0;
    std::shared_ptr<const OpenFile> file_; // of which more pieces are to come
    std::uint64_t file_position_ = 0;
    std::deque<std::shared_ptr<Draft>> drafts_;
    Ahead ahead_; // last, so that nobody works on what is gone
};

} // namespace orv::archive
