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
    std::uint64_t item_size; ///< of the whole item, at its opening
    bool is_last;            ///< of the item
    bool is_deflated;        ///< the same for all pieces of an item
    bool is_encrypted;       ///< likewise
    std::uint64_t size;      ///< of the source bytes
    std::uint32_t crc;       ///< of the source bytes; only if deflated
    ByteView content;
};

/// The content of a source tree, in pieces read, compressed and encrypted ahead of their use.
/// Memory does not grow with the size of the files.
///
/// Threading: one thread at a time.
class Pieces {
public:
    Pieces(SourceTree& tree, const PackingStyle& style, const Job& job);
    ~Pieces();

    /// The next piece in the order of the tree; every item has at least one. Null while it takes
    /// longer than a moment.
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
    std::optional<NewAesKeys> keys_;            // if all entries are encrypted
    std::optional<EntryEncryption> encryption_; // of the item handed out now

    std::size_t next_item_ = 0;
    std::shared_ptr<const OpenFile> file_; // with more pieces to come
    std::uint64_t file_position_ = 0;
    std::deque<std::shared_ptr<Draft>> drafts_;
    Ahead ahead_; // last: no thread may work on destroyed members
};

} // namespace orv::archive
