#include "Tarnwick/Model/CompressionConfirmation.h"

#include "Foundation/Text.h"
#include "Tarnwick/Desktop/Dialogs.h"
#include "Tarnwick/Model/AppModel.h"
#include "Tarnwick/QtSupport/QtConversions.h"

#include <utility>

namespace tarnwick {
namespace {

QString nameOf(const QUrl& url) {
    return toQString(displayText(fromQUrl(url).lastPathComponent()));
}

QString question(const QList<QUrl>& urls) {
    return urls.size() == 1 ? QStringLiteral("要压缩“%1”吗？").arg(nameOf(urls.front()))
                            : QStringLiteral("要压缩这 %1 个文件吗？").arg(urls.size());
}

} // namespace

void CompressionConfirmation::open(const QList<QUrl>& urls, bool isAskedFor) {
    if (urls.isEmpty()) {
        return;
    }
    if (isAskedFor) {
        model_.add(urls);
    } else {
        waiting_ += urls;
        ask();
    }
}

void CompressionConfirmation::ask() {
    if (!asked_.isEmpty() || waiting_.isEmpty()) {
        return;
    }
    asked_ = std::exchange(waiting_, {});
    const Alert alert = {.message = question(asked_),
                         .informativeText = "图片会原地压缩，原图保留 4 小时，可随时恢复。",
                         .firstButton = "压缩",
                         .secondButton = "取消"};
    alerts_.show(alert, [this](bool isFirstButton) { handleAnswer(isFirstButton); });
}

void CompressionConfirmation::handleAnswer(bool isAgreed) {
    const QList<QUrl> answered = std::exchange(asked_, {});
    if (isAgreed) {
        model_.add(answered);
    }
    ask();
}

} // namespace tarnwick
