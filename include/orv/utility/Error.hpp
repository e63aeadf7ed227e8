#pragma once

#include <orv/utility/Url.hpp>

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace orv {

/// Why a request failed. A cheap value; it is also what the library throws.
///
/// `message()` is the whole text of the error. `sentence()` is what a person is shown, `reason()`
/// what is behind it, where there is more to say. `path()` and `code()` are there where they are
/// known, also where the text leaves them out.
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
    /// A sentence, too; empty where nothing is known that `sentence()` does not say.
    [[nodiscard]] const std::string& reason() const noexcept;
    [[nodiscard]] const std::optional<Url>& path() const noexcept;
    [[nodiscard]] std::optional<int> code() const noexcept;
    [[nodiscard]] Kind kind() const noexcept;

    /// The same error, told where it happened.
    Error at(const Url& path) const;

    /// The same error with the code and the reason, and if this one has none the path, of what
    /// caused it.
    Error because_of(const Error& cause) const;

    /// The same error, its message replaced by `text`; the sentence stays.
    Error with_message(std::string text) const;

    /// The same error, its message followed by that of `cause`; the sentence stays.
    Error appending_error(const Error& cause) const;

private:
    struct Content;
    explicit Error(Content content);

    std::shared_ptr<const Content> content_;

    friend Error error_msg(std::string_view, std::string_view, std::string_view, int);
    friend Error platform_error(int, const Url&);
    friend Error database_error(int, std::string_view);
};

/// That a request was cancelled. Not an `Error`, so that code which handles errors cannot swallow
/// it.
struct Exception {};

/// The error of a fixed sentence, its message naming the place that raised it: the source file
/// without its ending, the function's signature, and a line.
Error error_msg(std::string_view sentence, std::string_view source, std::string_view signature,
                int line);

/// The error of a failed system call on the item at `path`; `code` is its errno.
Error platform_error(int code, const Url& path);

/// The error of a failed database call; `code` is SQLite's extended result code.
Error database_error(int code, std::string_view text);

} // namespace orv
