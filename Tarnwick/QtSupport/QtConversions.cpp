#include "Tarnwick/QtSupport/QtConversions.h"

#include "Foundation/CompressionError.h"

namespace tarnwick {

QString toQString(std::string_view utf8) {
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

QUrl toQUrl(const URL& url) {
    return url.scheme().empty() ? QUrl() : QUrl::fromEncoded(QByteArray::fromStdString(url.absoluteString()));
}

URL fromQUrl(const QUrl& url) {
    return URL::parse(url.toEncoded().toStdString()).value_or(URL());
}

QString errorText(const std::exception_ptr& error) {
    return toQString(errorDescription(error));
}

} // namespace tarnwick
