#include "Tarnwick/TarnwickApp.h"

#include "Engine/CompressionEngine.h"
#include "Scheduling/CompressionQueue.h"

namespace tarnwick {
namespace {

/// The default store and thresholds, the bundle's tools.
CompressionEngine makeEngine(const ApplicationBundle& bundle) {
    constexpr QualityThresholds thresholds;
    return {bundle.toolDirectory(), UndoStore(), thresholds.jpeg, thresholds.png, thresholds.gif};
}

} // namespace

TarnwickApp::TarnwickApp(const ApplicationBundle& bundle)
    : helper_(bundle.helperExecutable()), model_({CompressionQueue::shared(), notifications_, wake_, helper_,
                                                  chooser_, revealer_, clock_, alerts_},
                                                 makeEngine(bundle)),
      extensionSettings_({bundle.executable(), UserDirectories::fromEnvironment()}),
      finder_({launchServices_, defaults_, alerts_, extensionSettings_}, bundle, bundle.pluginKitDirectory()),
      window_({model_, chooser_, alerts_, extensionSettings_}),
      delegate_({window_, model_, alerts_, extensionSettings_}) {
    const MainWindowViewState* viewState = &window_.viewState();
    QObject::connect(viewState, &MainWindowViewState::finderEnableRequested, &delegate_,
                     [this] { finder_.enableFromMenu(); });
    QObject::connect(viewState, &MainWindowViewState::closeRequested, &delegate_,
                     &TarnwickAppDelegate::close);
}

} // namespace tarnwick
