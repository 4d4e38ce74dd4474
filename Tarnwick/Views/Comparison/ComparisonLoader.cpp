#include "Tarnwick/Views/Comparison/ComparisonLoader.h"

#include "Inspection/ImageRendering.h"
#include "Tarnwick/QtSupport/QtConversions.h"
#include "Tarnwick/Views/Comparison/PicturePyramid.h"

#include <asio/bind_executor.hpp>

#include <optional>
#include <string>

namespace tarnwick {

namespace {

std::optional<std::string> hashOf(const QString& text) {
    return text.isEmpty() ? std::nullopt : std::optional(text.toStdString());
}

Picture withLevels(const DisplayImage& image) {
    return Picture(std::make_shared<const PicturePyramid>(image));
}

} // namespace

ComparisonLoader::ComparisonLoader(QObject* parent) : QObject(parent) {}

void ComparisonLoader::setAppModel(AppModel* model) {
    appModel_ = model;
    emit subjectChanged();
}

void ComparisonLoader::setTaskId(const QString& id) {
    taskId_ = id;
    emit subjectChanged();
}

void ComparisonLoader::componentComplete() {
    if (appModel_ == nullptr) {
        return;
    }
    connect(appModel_, &AppModel::comparisonReady, this, &ComparisonLoader::take);
    connect(appModel_, &AppModel::comparisonFailed, this, [this](const QString& id, const QString& message) {
        if (id == taskId_) {
            fail(message);
        }
    });
    appModel_->compare(taskId_);
}

void ComparisonLoader::take(const QString& taskID, const ComparisonItem& item) {
    if (taskID == taskId_ && status_ == Loading) {
        model_.setItem(item);
        read(item);
    }
}

void ComparisonLoader::read(const ComparisonItem& item) {
    const auto levels = [this](const std::exception_ptr& error, const ComparisonImages& images) {
        if (error != nullptr) {
            fail(tarnwick::errorText(error));
            return;
        }
        const auto body = [images] {
            return Pictures{withLevels(images.original), withLevels(images.compressed)};
        };
        ImageRendering::read(
            ReadingPriority::high, body,
            asio::bind_executor(mainThread_.executor(),
                                [this](const std::exception_ptr& failure, const Pictures& both) {
                                    if (failure == nullptr) {
                                        finish(both);
                                    } else {
                                        fail(tarnwick::errorText(failure));
                                    }
                                }));
    };
    ImageRendering::comparisonImages(fromQUrl(item.original), fromQUrl(item.compressed),
                                     hashOf(item.originalHash), hashOf(item.replacementHash),
                                     asio::bind_executor(mainThread_.executor(), levels));
}

void ComparisonLoader::finish(const Pictures& pictures) {
    pictures_ = pictures;
    status_ = Ready;
    emit statusChanged();
}

void ComparisonLoader::fail(const QString& message) {
    errorText_ = message;
    status_ = Failed;
    emit statusChanged();
}

} // namespace tarnwick
