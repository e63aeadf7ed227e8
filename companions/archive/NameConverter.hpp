#pragma once

#include <memory>
#include <optional>
#include <string>

#include <unicode/ucnv.h>
#include <unicode/unistr.h>

namespace orv::archive {

/// Reads names in one encoding.
class NameConverter {
public:
    /// `encoding` is a name in ICU.
    explicit NameConverter(const char* encoding);

    /// The text; no value if a part of `bytes` is no character of the encoding.
    [[nodiscard]] std::optional<icu::UnicodeString> decoded(const std::string& bytes) const;

private:
    struct Close {
        void operator()(UConverter* converter) const noexcept { ::ucnv_close(converter); }
    };
    std::unique_ptr<UConverter, Close> converter_;
};

} // namespace orv::archive
