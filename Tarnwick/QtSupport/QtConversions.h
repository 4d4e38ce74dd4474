#pragma once

#include "Foundation/URL.h"

#include <QString>
#include <QUrl>
#include <exception>
#include <string_view>

namespace tarnwick {

/// Ill-formed UTF-8 becomes U+FFFD.
QString toQString(std::string_view utf8);
/// Bytes that are not UTF-8 stay percent-encoded, so that fromQUrl() returns the same location.
QUrl toQUrl(const URL& url);
/// Not a file URL when Qt's is none or names another host.
URL fromQUrl(const QUrl& url);
/// The text for the user of an error that another thread caught.
QString errorText(const std::exception_ptr& error);

} // namespace tarnwick
