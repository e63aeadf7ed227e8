#pragma once

#include <orv/utility/Error.hpp>

#include <source_location>
#include <string_view>

namespace orv {

/// The source file and the public method in the errors of one operation.
struct ErrorPlace {
    std::string_view source;
    std::string_view signature;

    /// The error of `sentence`, with its documented line.
    [[nodiscard]] Error operator()(std::string_view sentence, int line) const
    {
        return error_msg(sentence, source, signature, line);
    }

    /// The same with the caller's line.
    [[nodiscard]] Error
    operator()(std::string_view sentence,
               std::source_location where = std::source_location::current()) const
    {
        return (*this)(sentence, static_cast<int>(where.line()));
    }
};

} // namespace orv
