#pragma once

#include <QtQml/qqmlregistration.h>

#include <QDBusVariant>
#include <QObject>
#include <QString>

namespace tarnwick {

/// The desktop's preferences for windows: light or dark, and reduced motion. They come from the desktop
/// portal; without one, from the application's palette. The variable TARNWICK_REDUCED_MOTION also reduces
/// motion. Lives on the main thread and needs a QGuiApplication.
class Appearance : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool dark READ isDark NOTIFY darkChanged FINAL)
    Q_PROPERTY(bool reducedMotion READ hasReducedMotion NOTIFY reducedMotionChanged FINAL)

public:
    explicit Appearance(QObject* parent = nullptr);

    bool isDark() const noexcept { return dark_; }
    bool hasReducedMotion() const noexcept { return reducedMotion_; }

    bool eventFilter(QObject* watched, QEvent* event) override;

signals:
    void darkChanged();
    void reducedMotionChanged();

private slots:
    void takeSetting(const QString& group, const QString& key, const QDBusVariant& value);

private:
    void listenToPortal();
    void ask(const QString& group, const QString& key);
    void update();

    enum class Scheme { unknown, dark, light };
    Scheme portalScheme_ = Scheme::unknown;
    bool portalStillness_ = false;
    bool animationsOff_ = false;
    bool dark_ = false;
    bool reducedMotion_ = false;
};

} // namespace tarnwick
