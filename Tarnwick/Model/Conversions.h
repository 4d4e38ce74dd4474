#pragma once

#include "Foundation/URL.h"

#include <QString>
#include <QUrl>
#include <string_view>

namespace tarnwick {

/// Ill-formed UTF-8 becomes U+FFFD.
QString toQString(std::string_view utf8);
/// Bytes that are no UTF-8 stay percent-encoded, so that fromQUrl() gives the same location back.
QUrl toQUrl(const URL& url);
/// Not a file URL when Qt's is none or names another host.
URL fromQUrl(const QUrl& url);

} // namespace tarnwick
