#include "Engine/CompressionResult.h"

namespace tarnwick {

std::string_view rawValue(CompressionOutcome outcome) {
    switch (outcome) {
    case CompressionOutcome::replaced:
        return "replaced";
    case CompressionOutcome::converted:
        return "converted";
    case CompressionOutcome::skipped:
        break;
    }
    return "skipped";
}

double CompressionResult::savedRatio() const noexcept {
    return originalBytes == 0 ? 0 : static_cast<double>(savedBytes()) / static_cast<double>(originalBytes);
}

} // namespace tarnwick
