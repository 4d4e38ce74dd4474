#include "TarnwickFinderSync/ExtensionBundle.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileContents.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/Text.h"

#include <QByteArray>
#include <QXmlStreamReader>
#include <map>

namespace tarnwick {
namespace {

[[noreturn]] void refuse(const URL& location) {
    throw CompressionError::fileOperation("此处没有扩展程序包：" + displayText(location.path()));
}

/// Every key that has a string as its value, at any depth.
std::map<std::string, std::string> strings(const std::string& propertyList) {
    std::map<std::string, std::string> found;
    QXmlStreamReader reader(QByteArray::fromStdString(propertyList));
    std::string key;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement() && reader.name() == u"key") {
            key = reader.readElementText().toStdString();
        } else if (reader.isStartElement() && reader.name() == u"string") {
            found[key] = reader.readElementText().toStdString();
        }
    }
    return reader.hasError() ? std::map<std::string, std::string>() : found;
}

} // namespace

ExtensionBundle ExtensionBundle::at(const URL& location) {
    std::optional<std::string> information;
    try {
        information = readIfPresent(location.appending("Contents/Info.plist"));
    } catch (const FileSystemError&) {
        refuse(location);
    }
    auto values = strings(information.value_or(""));
    ExtensionBundle bundle = {location, values["CFBundleIdentifier"], values["CFBundleShortVersionString"]};
    if (bundle.identifier.empty() || bundle.version.empty()) {
        refuse(location);
    }
    return bundle;
}

URL applicationOfExtension(const URL& location) {
    const URL contents = location.deletingLastPathComponent().deletingLastPathComponent();
    return contents.appending("Linux/Tarnwick");
}

} // namespace tarnwick
