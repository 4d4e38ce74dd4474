#include "Tarnwick/Views/Dialogs/QuickFileChooser.h"

#include <utility>

namespace tarnwick {

void QuickFileChooser::open(const QStringList& nameFilters, Callback callback) {
    nameFilters_ = nameFilters;
    callback_ = std::move(callback);
    emit openRequested();
}

void QuickFileChooser::finish(const QList<QUrl>& urls) {
    if (const Callback callback = std::exchange(callback_, nullptr)) {
        callback(urls);
    }
}

} // namespace tarnwick
