#pragma once

namespace tarnwick {

/// The least ssimulacra2 scores of lossy results.
struct QualityThresholds {
    /// JPEG, and every kind without one of its own.
    double general = 60;
    double gif = 70;
    double png = 70;
};

} // namespace tarnwick
