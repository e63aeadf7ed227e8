#include <orv/utility/Error.hpp>

#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

namespace orv {
namespace {

/// An unplugged disk, a server out of reach, a FUSE volume whose program has ended.
bool is_volume_gone(int code)
{
    switch (code) {
    case ENOTCONN:
    case ECONNABORTED:
    case ECONNRESET:
    case ESHUTDOWN:
    case EHOSTDOWN:
    case EHOSTUNREACH:
    case ENODEV:
    case ESTALE:
        return true;
    default:
        return false;
    }
}

/// The meaning of a code whose own text says little to a person who copies a file; empty for all
/// others.
std::string_view meaning_of(int code)
{
    if (is_volume_gone(code))
        return "Its volume is not there any more";
    switch (code) {
    case ETIMEDOUT:
        return "Its volume does not answer";
    case EIO:
        return "Its volume failed";
    case EFBIG:
        return "The file is too big for this volume";
    case ENAMETOOLONG:
        return "The name is too long for this volume";
    default:
        return {};
    }
}

} // namespace

namespace {

Cause cause_of(int code)
{
    switch (code) {
    case EEXIST:
    case ENOTEMPTY:
        return Cause::taken;
    case ENOENT:
        return Cause::missing;
    case ENOTDIR:
    case EISDIR:
    case ELOOP: // a link where none is followed
        return Cause::wrong_kind;
    case EACCES:
    case EPERM:
        return Cause::denied;
    case EROFS:
        return Cause::read_only;
    case ENOSPC:
    case EDQUOT:
        return Cause::no_space;
    case EFBIG:
    case ENAMETOOLONG:
    case EMLINK:
    case EOVERFLOW:
        return Cause::too_large;
    case EINVAL: // such as a folder into itself
        return Cause::invalid;
    case ENOSYS:
    case EOPNOTSUPP:
    case EILSEQ: // a name that the volume cannot hold
    case EXDEV:
        return Cause::unsupported;
    case EBUSY:
    case ETXTBSY:
    case EAGAIN:
    case EDEADLK:
        return Cause::busy;
    case ENOMEM:
    case EMFILE:
    case ENFILE:
        return Cause::exhausted;
    case ENXIO:
    case ETIMEDOUT:
        return Cause::disconnected;
    case EIO:
    case EUCLEAN:
        return Cause::failed;
    default:
        return is_volume_gone(code) ? Cause::disconnected : Cause::none;
    }
}

} // namespace

struct Error::Content {
    std::string message;
    std::string sentence;
    std::optional<Url> path;
    std::optional<int> code;
    Kind kind = Kind::request;
    std::string reason = {};
    Cause cause = Cause::none; // beyond what the code tells
};

Error::Error(std::string text) : Error(Content{text, std::move(text), {}, {}, Kind::request}) {}

Error::Error(Content content) : content_(std::make_shared<const Content>(std::move(content))) {}

const std::string& Error::message() const noexcept
{
    return content_->message;
}

const std::string& Error::sentence() const noexcept
{
    return content_->sentence;
}

const std::string& Error::reason() const noexcept
{
    return content_->reason;
}

const std::optional<Url>& Error::path() const noexcept
{
    return content_->path;
}

std::optional<int> Error::code() const noexcept
{
    return content_->code;
}

Error::Kind Error::kind() const noexcept
{
    return content_->kind;
}

Cause Error::cause() const noexcept
{
    if (content_->cause != Cause::none || kind() != Kind::platform)
        return content_->cause;
    return cause_of(code().value_or(0));
}

Error Error::known_as(Cause cause) const
{
    Content content = *content_;
    content.cause = cause;
    return Error(std::move(content));
}

Error Error::at(const Url& path) const
{
    Content content = *content_;
    content.path = path;
    return Error(std::move(content));
}

Error Error::because_of(const Error& cause) const
{
    Content content = *content_;
    content.code = cause.code();
    content.kind = cause.kind();
    content.reason = cause.reason().empty() ? cause.sentence() : cause.reason();
    if (!content.path)
        content.path = cause.path();
    if (content.cause == Cause::none)
        content.cause = cause.cause();
    return Error(std::move(content));
}

Error Error::with_message(std::string text) const
{
    Content content = *content_;
    content.message = std::move(text);
    return Error(std::move(content));
}

Error Error::appending_error(const Error& cause) const
{
    Content content = *because_of(cause).content_;
    content.message.append(": ").append(cause.message());
    return Error(std::move(content));
}

Error error_msg(std::string_view sentence, std::string_view source, std::string_view signature,
                int line)
{
    std::string message(sentence);
    message.append(" (").append(source).append(", ").append(signature);
    message.append(", line ").append(std::to_string(line)).append(")");
    return Error(Error::Content{std::move(message), std::string(sentence), {}, {}, {}});
}

Error platform_error(int code, const Url& path)
{
    const std::string_view meaning = meaning_of(code);
    const std::string text = std::generic_category().message(code) + ".";
    const std::string sentence = meaning.empty() ? text : std::string(meaning) + ": " + text;
    return Error(Error::Content{sentence + " (" + path.path() + ")", sentence, path, code,
                                Error::Kind::platform});
}

Error database_error(int code, std::string_view text)
{
    const std::string sentence = "The database reports: " + std::string(text) + ".";
    return Error(Error::Content{sentence + " (SQLite code " + std::to_string(code) + ")",
                                sentence,
                                {},
                                code,
                                Error::Kind::database});
}

} // namespace orv
