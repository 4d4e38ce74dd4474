#pragma once

#include "Tarnwick/Model/AppModel.h"
#include "Tarnwick/Model/ComparisonModel.h"
#include "Tarnwick/Model/ExtensionSettings.h"
#include "Tarnwick/Model/TaskStatus.h"

#include <QQmlEngine>

/// The names in QML of the types that the model defines.
namespace tarnwick::views {

struct AppModelForeign {
    Q_GADGET
    QML_FOREIGN(tarnwick::AppModel)
    QML_NAMED_ELEMENT(AppModel)
    QML_UNCREATABLE("MainWindow is given one.")
};

struct ImageTaskListModelForeign {
    Q_GADGET
    QML_FOREIGN(tarnwick::ImageTaskListModel)
    QML_NAMED_ELEMENT(ImageTaskListModel)
    QML_UNCREATABLE("AppModel has one.")
};

struct ComparisonModelForeign {
    Q_GADGET
    QML_FOREIGN(tarnwick::ComparisonModel)
    QML_NAMED_ELEMENT(ComparisonModel)
    QML_UNCREATABLE("ComparisonLoader has one.")
};

struct ExtensionSettingsForeign {
    Q_GADGET
    QML_FOREIGN(tarnwick::ExtensionSettings)
    QML_NAMED_ELEMENT(ExtensionSettings)
    QML_UNCREATABLE("MainWindow is given one.")
};

/// A namespace, because QML sees the enumerators of a value type in no other way.
namespace TaskStatusForeign {
Q_NAMESPACE
QML_FOREIGN_NAMESPACE(tarnwick::TaskStatus)
QML_NAMED_ELEMENT(TaskStatus)
} // namespace TaskStatusForeign

struct ComparisonItemForeign {
    Q_GADGET
    QML_FOREIGN(tarnwick::ComparisonItem)
    QML_VALUE_TYPE(comparisonItem)
};

} // namespace tarnwick::views
