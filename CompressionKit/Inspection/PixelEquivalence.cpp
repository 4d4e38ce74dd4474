#include "Inspection/PixelEquivalence.h"

#include "Foundation/CompressionError.h"
#include "Foundation/FileSystemError.h"
#include "ImageIO/Bitmap.h"
#include "ImageIO/ImageSource.h"
#include "Inspection/PixelBands.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace tarnwick {
namespace {

using Band = std::span<const std::uint8_t>;

bool bytesEqual(Band a, Band b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

/// Calls `judge(referenceAlpha, candidateAlpha)` for each pixel. False at the first pixel that fails.
template <typename Judge>
bool everyAlpha(Band reference, Band candidate, Judge judge) {
    for (std::size_t i = 3; i < reference.size(); i += 4) {
        if (!judge(int{reference[i]}, int{candidate[i]})) {
            return false;
        }
    }
    return true;
}

/// Compares the current images of both readers, which have this size.
bool bandsPass(FrameReader& a, FrameReader& b, std::int64_t width, std::int64_t height,
               const BandCheck& check) {
    BandWalk walkA(width, height);
    BandWalk walkB(width, height);
    while (walkA.next() && walkB.next()) {
        if (!ImageLimits::areRenderable(width, walkA.rows())) {
            return false;
        }
        a.readRows(walkA.buffer());
        b.readRows(walkB.buffer());
        premultiply(walkA.buffer());
        premultiply(walkB.buffer());
        if (!check(walkA.buffer(), walkB.buffer())) {
            return false;
        }
    }
    return true;
}

bool sameSize(const ImageInfo& a, const ImageInfo& b) {
    return a.width == b.width && a.height == b.height;
}

/// Runs a comparison. False for a file that cannot be opened or decoded.
template <typename Comparison>
bool falseOnFailure(Comparison comparison) {
    try {
        return comparison();
    } catch (const CompressionError&) {
        return false;
    } catch (const FileSystemError&) {
        return false;
    }
}

/// How far a quantizer changed the alpha channel.
class AlphaStatistics {
public:
    /// False when this pixel alone disqualifies the candidate.
    bool add(int reference, int candidate) {
        const bool opaqueBecameTranslucent = reference == 255 && candidate < 192;
        const bool transparentBecameVisible = reference == 0 && candidate > 2;
        if (opaqueBecameTranslucent || transparentBecameVisible) {
            return false;
        }
        if (reference != 0 || candidate != 0) {
            count(reference, candidate);
        }
        return true;
    }

    bool isAcceptable() const {
        if (count_ == 0) {
            return true;
        }
        if (!(sumReferenceAlpha_ > 0)) {
            return sumCandidateAlpha_ == 0;
        }
        const auto pixels = static_cast<double>(count_);
        return sumAbsDifference_ / pixels <= 2.0 && sumSquaredDifference_ / pixels <= 36.0 &&
               static_cast<double>(largeDeviations_) / pixels <= 0.005 &&
               std::abs(sumCandidateAlpha_ - sumReferenceAlpha_) / sumReferenceAlpha_ <= 0.01;
    }

private:
    void count(int reference, int candidate) {
        const int difference = std::abs(reference - candidate);
        ++count_;
        largeDeviations_ += difference >= 33 ? 1 : 0;
        sumAbsDifference_ += difference;
        sumSquaredDifference_ += difference * difference;
        sumReferenceAlpha_ += reference;
        sumCandidateAlpha_ += candidate;
    }

    std::int64_t count_ = 0;
    std::int64_t largeDeviations_ = 0;
    double sumAbsDifference_ = 0;
    double sumSquaredDifference_ = 0;
    double sumReferenceAlpha_ = 0;
    double sumCandidateAlpha_ = 0;
};

} // namespace

bool pixelBandsEqual(const URL& reference, const URL& candidate, const BandCheck& check) {
    return falseOnFailure([&] {
        const auto a = ImageSource::open(reference);
        const auto b = ImageSource::open(candidate);
        if (!sameSize(a->info(), b->info())) {
            return false;
        }
        const auto framesA = a->frames();
        const auto framesB = b->frames();
        return framesA->next() && framesB->next() &&
               bandsPass(*framesA, *framesB, a->info().width, a->info().height, check);
    });
}

bool pixelsEqual(const URL& reference, const URL& candidate) {
    return pixelBandsEqual(reference, candidate, bytesEqual);
}

bool alphaDeviationWithin(const URL& reference, const URL& candidate, std::uint8_t tolerance) {
    return pixelBandsEqual(reference, candidate, [tolerance](Band a, Band b) {
        return everyAlpha(a, b, [tolerance](int r, int c) { return std::abs(r - c) <= int{tolerance}; });
    });
}

bool quantizedAlphaWithin(const URL& reference, const URL& candidate) {
    AlphaStatistics statistics;
    const bool everyPixelPassed = pixelBandsEqual(reference, candidate, [&statistics](Band a, Band b) {
        return everyAlpha(a, b, [&statistics](int r, int c) { return statistics.add(r, c); });
    });
    return everyPixelPassed && statistics.isAcceptable();
}

bool gifFramesEqual(const URL& a, const URL& b) {
    return falseOnFailure([&] {
        const auto sourceA = ImageSource::open(a);
        const auto sourceB = ImageSource::open(b);
        const ImageInfo& info = sourceA->info();
        if (info.imageCount != sourceB->info().imageCount || !sameSize(info, sourceB->info())) {
            return false;
        }
        const auto framesA = sourceA->frames();
        const auto framesB = sourceB->frames();
        for (std::int64_t i = 0; i < info.imageCount; ++i) {
            if (!framesA->next() || !framesB->next() ||
                !bandsPass(*framesA, *framesB, info.width, info.height, bytesEqual)) {
                return false;
            }
        }
        return true;
    });
}

} // namespace tarnwick
