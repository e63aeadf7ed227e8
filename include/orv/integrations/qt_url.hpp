#pragma once

#include <orv/utility/Url.hpp>

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <optional>
#include <string>
#include <string_view>

namespace orv {

/// The location as a QUrl. Keeps names outside UTF-8.
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

/// A name as a QString. Replaces bytes outside UTF-8.
inline QString to_qstring(std::string_view name)
{
    return QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
}

} // namespace orv
