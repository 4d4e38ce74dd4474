#pragma once

namespace tarnwick {

/// The minimum ssimulacra2 scores of lossy results.
struct QualityThresholds {
    double jpeg = 60;
    double gif = 70;
    double png = 70;
};

} // namespace tarnwick
