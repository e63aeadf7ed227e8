#pragma once

#include <orv/utility/Url.hpp>

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <optional>
#include <string>
#include <string_view>

namespace orv {

/// The location as Qt has it. Names that are no UTF-8 are kept.
///
/// Threading: any.
inline QUrl to_qurl(const Url& url)
{
    return url.empty() ? QUrl() : QUrl::fromEncoded(QByteArray::fromStdString(url.description()));
}

/// The location of a "file://" URL of this computer; no value for any other.
///
/// Threading: any.
inline std::optional<Url> from_qurl(const QUrl& url)
{
    return Url::from_uri(url.toEncoded().toStdString());
}

/// A name as Qt shows it. What is no UTF-8 in it is replaced.
inline QString to_qstring(std::string_view name)
{
    return QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
}

} // namespace orv
