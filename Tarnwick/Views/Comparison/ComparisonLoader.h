#pragma once

#include "Tarnwick/Model/AppModel.h"
#include "Tarnwick/Model/ComparisonModel.h"
#include "Tarnwick/QtSupport/MainThreadExecutor.h"
#include "Tarnwick/Views/Comparison/Picture.h"

#include <QtQml/qqmlregistration.h>

#include <QObject>
#include <QPointer>
#include <QQmlParserStatus>
#include <QString>
#include <exception>
#include <memory>

namespace tarnwick {

/// Loads the two pictures of a row: asks the model for the files and reads them in the background. Lives on
/// the main thread.
class ComparisonLoader : public QObject, public QQmlParserStatus {
    Q_OBJECT
    QML_ELEMENT
    Q_INTERFACES(QQmlParserStatus)
    Q_PROPERTY(
        tarnwick::AppModel* appModel READ appModel WRITE setAppModel REQUIRED NOTIFY subjectChanged FINAL)
    Q_PROPERTY(QString taskId READ taskId WRITE setTaskId REQUIRED NOTIFY subjectChanged FINAL)
    Q_PROPERTY(tarnwick::ComparisonModel* model READ model CONSTANT FINAL)
    Q_PROPERTY(Status status READ status NOTIFY statusChanged FINAL)
    /// Why there are no pictures; empty unless loading failed.
    Q_PROPERTY(QString errorText READ errorText NOTIFY statusChanged FINAL)
    Q_PROPERTY(tarnwick::Picture original READ original NOTIFY statusChanged FINAL)
    Q_PROPERTY(tarnwick::Picture compressed READ compressed NOTIFY statusChanged FINAL)

public:
    enum Status { Loading, Ready, Failed };
    Q_ENUM(Status)

    struct Pictures {
        Picture original;
        Picture compressed;
    };

    explicit ComparisonLoader(QObject* parent = nullptr);

    AppModel* appModel() const noexcept { return appModel_; }
    void setAppModel(AppModel* model);
    const QString& taskId() const noexcept { return taskId_; }
    void setTaskId(const QString& id);
    ComparisonModel* model() noexcept { return &model_; }
    Status status() const noexcept { return status_; }
    const QString& errorText() const noexcept { return errorText_; }
    const Picture& original() const noexcept { return pictures_.original; }
    const Picture& compressed() const noexcept { return pictures_.compressed; }

    void classBegin() override {}
    /// Starts loading.
    void componentComplete() override;

signals:
    void subjectChanged();
    void statusChanged();

private:
    void take(const QString& taskID, const ComparisonItem& item);
    void read(const ComparisonItem& item);
    void finish(const Pictures& pictures);
    void fail(const QString& message);

    QPointer<AppModel> appModel_;
    QString taskId_;
    ComparisonModel model_;
    Status status_ = Loading;
    QString errorText_;
    Pictures pictures_;
    MainThreadContext mainThread_;
};

} // namespace tarnwick
