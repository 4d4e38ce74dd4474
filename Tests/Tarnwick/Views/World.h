#pragma once

#include "Engine/CompressionEngine.h"
#include "Process/Cancellation.h"
#include "Scheduling/CompressionQueue.h"
#include "Support/FakeTools.h"
#include "Support/TemporaryFolder.h"
#include "Tarnwick/Desktop/DesktopServices.h"
#include "Tarnwick/Desktop/SystemClock.h"
#include "Tarnwick/Model/AppModel.h"
#include "Tarnwick/Model/ExtensionSettings.h"
#include "Tarnwick/Views/Dialogs/QuickAlertPresenter.h"
#include "Tarnwick/Views/Dialogs/QuickFileChooser.h"

#include <QList>
#include <QObject>
#include <QQuickItem>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariantMap>
#include <QWindow>

namespace tarnwick::test {

/// A real model on real files with fake tools, for one window.
class World : public QObject {
    Q_OBJECT
    Q_PROPERTY(tarnwick::AppModel* model READ model CONSTANT)
    Q_PROPERTY(tarnwick::QuickFileChooser* chooser READ chooser CONSTANT)
    Q_PROPERTY(tarnwick::QuickAlertPresenter* alerts READ alerts CONSTANT)
    Q_PROPERTY(tarnwick::ExtensionSettings* extensionSettings READ extensionSettings CONSTANT)
    /// What a window needs, to be given to it when it is made.
    Q_PROPERTY(QVariantMap windowProperties READ windowProperties CONSTANT)
    /// The answers to alerts, "1" for the first button and "2" for the other.
    Q_PROPERTY(QString answers MEMBER answers_ NOTIFY answersChanged)
    /// The last file that was to be shown in the file manager.
    Q_PROPERTY(QString revealed MEMBER revealed_ NOTIFY revealedChanged)

public:
    World();

    AppModel* model() { return &model_; }
    QuickFileChooser* chooser() { return &chooser_; }
    QuickAlertPresenter* alerts() { return &alerts_; }
    ExtensionSettings* extensionSettings() { return &extensionSettings_; }
    QVariantMap windowProperties();

    /// A new picture file that the tools make smaller.
    Q_INVOKABLE QUrl picture(const QString& name) const;
    /// A file that is none.
    Q_INVOKABLE QUrl text(const QString& name) const;
    Q_INVOKABLE bool isOriginal(const QUrl& picture) const;
    /// Puts something else in the picture's place.
    Q_INVOKABLE void spoil(const QUrl& picture) const;
    /// Compressions wait in their first tool until they are released.
    Q_INVOKABLE void hold() const;
    Q_INVOKABLE void release() const;

    /// Installs these programs of file managers, and no others.
    Q_INVOKABLE void install(const QStringList& programs) const;
    Q_INVOKABLE bool isEnabled(const QString& fileManager) const;
    /// A file takes the place of this folder, so that entries in it cannot be written.
    Q_INVOKABLE void obstruct(const QString& folder) const;
    Q_INVOKABLE void openExtensionSettings() { extensionSettings_.showExtensionManagementInterface(); }
    Q_INVOKABLE void alert();

    /// Files that the user drags over the window, drops there, or takes away again.
    Q_INVOKABLE void dragOver(QWindow* window, const QList<QUrl>& files) const;
    Q_INVOKABLE void dragAway(QWindow* window) const;
    Q_INVOKABLE void drop(QWindow* window, const QList<QUrl>& files) const;
    /// Two clicks in quick succession; QtTest's own ones are told apart by their times.
    Q_INVOKABLE void doubleClick(QQuickItem* item, qreal x, qreal y);

signals:
    void revealedChanged();
    void answersChanged();

private:
    struct Notifications : DistributedNotifications {
        void post(NotificationName /*name*/) override {}
        Registration observe(NotificationName /*name*/, std::function<void()> /*handler*/) override {
            return {};
        }
    };
    struct Wake : WakeMonitor {
        Registration observeWake(std::function<void()> /*handler*/) override { return {}; }
    };
    struct Helper : HelperLauncher {
        void launch() override {}
    };
    struct Revealer : FileRevealer {
        explicit Revealer(World& owner) : world(owner) {}
        void reveal(const URL& file) override;
        World& world;
    };

    TemporaryFolder pictures_;
    TemporaryFolder home_;
    FakeTools tools_;
    Notifications notifications_;
    Wake wake_;
    Helper helper_;
    Revealer revealer_{*this};
    QuickFileChooser chooser_;
    QuickAlertPresenter alerts_;
    FileManagerMenus menus_{home_ / "Tarnwick",
                            {.data = home_ / "data",
                             .configuration = home_ / "config",
                             .systemConfiguration = {},
                             .executables = {home_ / "bin"},
                             .libraries = {}}};
    ExtensionSettings extensionSettings_{menus_};
    SystemClock clock_;
    Cancellation cancellation_;
    CompressionQueue queue_{2, home_ / "Locks"};
    AppModel model_;
    QString revealed_;
    QString answers_;
    quint64 clickTime_ = 1'000'000;
};

} // namespace tarnwick::test
