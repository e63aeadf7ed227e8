#pragma once

#include "utility/TextSearch.hpp"
#include "utility/Utf16Input.hpp"

#include <cstddef>
#include <vector>

namespace orv {

/// Looks for a keyword in contents that are read piece by piece, one after the other. A content is
/// text in UTF-16 if it begins with the mark of that, else in UTF-8; bytes that are no UTF-8 are
/// read as Latin-1. Memory does not grow with the content.
///
/// Threading: one thread.
class ContentSearch {
public:
    /// `search` must outlive this, and take stray bytes as Latin-1.
    explicit ContentSearch(const TextSearch& search);

    /// Reads no further than to the first place found. `check` is called before each reading and
    /// while one piece takes long. What both throw is passed on.
    [[nodiscard]] bool found_in(ReadBytes read, FunctionRef<void()> check = TextSearch::no_check);

private:
    void fill(ReadBytes read, FunctionRef<void()> check);
    [[nodiscard]] bool found_in_rest(ReadBytes read, FunctionRef<void()> check);
    void drop(std::size_t count);

    const TextSearch& search_;
    std::vector<char> text_; // in UTF-8
    std::size_t size_ = 0;   // of what text_ holds
    bool at_end_ = false;
};

} // namespace orv
