#pragma once

#include "utility/TextSearch.hpp"
#include "utility/Utf16Input.hpp"

#include <cstddef>
#include <vector>

namespace orv {

/// Looks for a keyword in content read piece by piece. The content is UTF-16 if it begins with a
/// byte-order mark, else UTF-8; bytes outside UTF-8 count as Latin-1. Memory does not grow with the
/// content.
///
/// Threading: one thread.
class ContentSearch {
public:
    /// `search` must outlive this, and take stray bytes as Latin-1.
    explicit ContentSearch(const TextSearch& search);

    /// Stops at the first match. Calls `check` before each reading and while one piece takes long.
    /// Exceptions of both pass through.
    [[nodiscard]] bool found_in(ReadBytes read, FunctionRef<void()> check = TextSearch::no_check);

private:
    void fill(ReadBytes read, FunctionRef<void()> check);
    [[nodiscard]] bool found_in_rest(ReadBytes read, FunctionRef<void()> check);
    void drop(std::size_t count);

    const TextSearch& search_;
    std::vector<char> text_; // in UTF-8
    std::size_t size_ = 0;   // within text_
    bool at_end_ = false;
};

} // namespace orv
