#pragma once

#include <orv/utility/Cause.hpp>
#include <orv/utility/Url.hpp>

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace orv {

/// The reason a request failed. A cheap value, and the type the library throws.
///
/// `message()` is the whole text. `sentence()` is for people, `reason()` the cause behind it, if
/// there is more to say. `path()` and `code()` are known more often than the text mentions them.
class [[nodiscard]] Error : public std::exception {
public:
    /// Who gave `code()`: nobody, the operating system (an errno), or SQLite (an extended result
    /// code).
    enum class Kind { request, platform, database };

    /// An error whose message and sentence are both `text`.
    explicit Error(std::string text);

    [[nodiscard]] const char* what() const noexcept override { return message().c_str(); }
    [[nodiscard]] const std::string& message() const noexcept;
    [[nodiscard]] const std::string& sentence() const noexcept;
    /// A sentence, too; empty if `sentence()` says it all.
    [[nodiscard]] const std::string& reason() const noexcept;
    [[nodiscard]] const std::optional<Url>& path() const noexcept;
    [[nodiscard]] std::optional<int> code() const noexcept;
    [[nodiscard]] Kind kind() const noexcept;
    /// The cause for programs; see also `code()`.
    [[nodiscard]] Cause cause() const noexcept;

    /// The same error, told where it happened.
    Error at(const Url& path) const;

    /// The same error, known to programs as `cause`.
    Error known_as(Cause cause) const;

    /// The same error with the code and the reason of its cause, and with the path and the cause
    /// for programs if this one has none.
    Error because_of(const Error& cause) const;

    /// The same error, its message replaced by `text`; the sentence stays.
    Error with_message(std::string text) const;

    /// The same error with the message of `cause` behind its own; the sentence stays.
    Error appending_error(const Error& cause) const;

private:
    struct Content;
    explicit Error(Content content);

    std::shared_ptr<const Content> content_;

    friend Error error_msg(std::string_view, std::string_view, std::string_view, int);
    friend Error platform_error(int, const Url&);
    friend Error database_error(int, std::string_view);
};

/// The cancellation of a request. It is no `Error`, so no handler of errors can swallow it.
struct Exception {};

/// The error for a fixed sentence. Its message names the place of the error: the source file
/// without its ending, the function's signature, and a line.
Error error_msg(std::string_view sentence, std::string_view source, std::string_view signature,
                int line);

/// The error of a failed system call on the item at `path`; `code` is its errno.
Error platform_error(int code, const Url& path);

/// The error of a failed database call; `code` is SQLite's extended result code.
Error database_error(int code, std::string_view text);

} // namespace orv
