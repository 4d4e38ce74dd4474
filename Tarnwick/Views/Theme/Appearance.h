#pragma once

#include <QtQml/qqmlregistration.h>

#include <QDBusVariant>
#include <QObject>
#include <QString>

namespace tarnwick {

/// How the desktop wants windows to look: light or dark, and with how much motion. The desktop portal's word
/// counts; without one, the application's palette and the variable TARNWICK_REDUCED_MOTION do. Lives on the
/// main thread, and needs a QGuiApplication.
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
