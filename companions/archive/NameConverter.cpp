#include "archive/NameConverter.hpp"

#include <new>

namespace orv::archive {

NameConverter::NameConverter(const char* encoding)
{
    UErrorCode status = U_ZERO_ERROR;
    converter_.reset(::ucnv_open(encoding, &status));
    if (converter_)
        ::ucnv_setToUCallBack(converter_.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                              &status);
    if (U_FAILURE(status))
        throw std::bad_alloc();
}

std::optional<icu::UnicodeString> NameConverter::decoded(const std::string& bytes) const
{
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString text(bytes.data(), static_cast<std::int32_t>(bytes.size()), converter_.get(),
                            status);
    return U_SUCCESS(status) ? std::optional(std::move(text)) : std::nullopt;
}

} // namespace orv::archive
