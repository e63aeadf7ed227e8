#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string_view>
#include <type_traits>
#include <variant>

struct sqlite3_stmt;

namespace orv {

/// Bytes other than text. A view: its bytes must outlive it.
struct Blob {
    std::string_view bytes;
};

/// The value of a placeholder; NULL by default. Text may hold any bytes.
///
/// Ownership: text and blobs are views, and their bytes must outlive the call.
using Argument = std::variant<std::monostate, std::int64_t, double, std::string_view, Blob>;

[[nodiscard]] inline Argument argument(const std::optional<std::int64_t>& value)
{
    return value ? Argument(*value) : Argument();
}

/// The arguments of one statement, in the order of its placeholders; a view for one call.
class Arguments {
public:
    Arguments() = default;
    Arguments(std::initializer_list<Argument> values) : values_(values.begin(), values.size()) {}
    // NOLINTBEGIN(google-explicit-constructor): a view
    template <class List>
    requires(std::is_convertible_v<const List&, std::span<const Argument>> &&
             !std::is_same_v<List, Arguments>) Arguments(const List& values)
        : values_(values)
    {
    }
    // NOLINTEND(google-explicit-constructor)

    [[nodiscard]] std::span<const Argument> values() const { return values_; }

private:
    std::span<const Argument> values_;
};

/// The current row of a query; valid inside the callback it is passed to.
///
/// A column goes by its place in the query's list of columns, or else in its result.
class Row {
public:
    Row(sqlite3_stmt* statement, std::span<const int> places) noexcept
        : statement_(statement), places_(places)
    {
    }

    /// SQLite converts a value of another type: NULL is 0, and the empty text.
    [[nodiscard]] std::int64_t integer(std::size_t column) const;
    [[nodiscard]] std::optional<std::int64_t> optional_integer(std::size_t column) const;
    [[nodiscard]] std::string_view text(std::size_t column) const;
    [[nodiscard]] bool is_null(std::size_t column) const;

private:
    [[nodiscard]] int place(std::size_t column) const;

    sqlite3_stmt* statement_;
    std::span<const int> places_;
};

} // namespace orv
