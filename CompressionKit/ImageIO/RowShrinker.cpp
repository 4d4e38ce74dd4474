#include "ImageIO/RowShrinker.h"

#include "ImageIO/Bitmap.h"

#include <cstddef>

namespace tarnwick {
namespace {

std::uint8_t average(std::uint64_t sum, std::uint64_t weight) {
    return weight == 0 ? std::uint8_t{0} : static_cast<std::uint8_t>((sum + weight / 2) / weight);
}

} // namespace

RowShrinker::Sums RowShrinker::sumOf(std::span<const std::uint8_t> pixels) noexcept {
    Sums sums;
    for (std::size_t at = 0; at < pixels.size(); at += bytesPerPixel) {
        const std::uint64_t alpha = pixels[at + 3];
        sums.red += pixels[at] * alpha;
        sums.green += pixels[at + 1] * alpha;
        sums.blue += pixels[at + 2] * alpha;
        sums.alpha += alpha;
    }
    return sums;
}

void RowShrinker::Sums::add(const Sums& other, std::uint64_t weight) noexcept {
    red += other.red * weight;
    green += other.green * weight;
    blue += other.blue * weight;
    alpha += other.alpha * weight;
}

RowShrinker::RowShrinker(PixelSize from, PixelSize to, std::int64_t eighths)
    : givenWidth_(static_cast<std::uint64_t>(to.width * 8)),
      givenHeight_(static_cast<std::uint64_t>(to.height * 8)),
      shrunkWidth_(static_cast<std::uint64_t>(from.width * eighths)),
      shrunkHeight_(static_cast<std::uint64_t>(from.height * eighths)),
      across_(static_cast<std::size_t>(to.width)), area_(across_.size()), lacking_(shrunkHeight_) {}

void RowShrinker::add(std::span<const std::uint8_t> row, std::vector<std::uint8_t>& shrunk) {
    sumAcross(row);
    if (givenHeight_ < lacking_) {
        sumDown(givenHeight_);
        lacking_ -= givenHeight_;
        return;
    }
    const std::uint64_t rest = givenHeight_ - lacking_;
    sumDown(lacking_);
    appendAverages(shrunk);
    sumDown(rest);
    lacking_ = shrunkHeight_ - rest;
}

void RowShrinker::sumAcross(std::span<const std::uint8_t> row) {
    const std::uint8_t* pixel = row.data();
    std::uint64_t carried = 0;
    Sums next;
    for (Sums& sums : across_) {
        sums = next;
        next = {};
        const std::uint64_t lacking = shrunkWidth_ - carried;
        const std::uint64_t whole = lacking / givenWidth_;
        const std::uint64_t part = lacking % givenWidth_;
        sums.add(sumOf(std::span(pixel, whole * bytesPerPixel)), givenWidth_);
        pixel += whole * bytesPerPixel;
        carried = 0;
        if (part > 0) {
            const Sums shared = sumOf(std::span(pixel, bytesPerPixel));
            sums.add(shared, part);
            pixel += bytesPerPixel;
            carried = givenWidth_ - part;
            next.add(shared, carried);
        }
    }
}

void RowShrinker::sumDown(std::uint64_t weight) noexcept {
    for (std::size_t x = 0; x < area_.size(); ++x) {
        area_[x].add(across_[x], weight);
    }
}

void RowShrinker::appendAverages(std::vector<std::uint8_t>& shrunk) {
    const std::uint64_t weight = shrunkWidth_ * shrunkHeight_;
    for (Sums& sums : area_) {
        shrunk.insert(shrunk.end(), {average(sums.red, sums.alpha), average(sums.green, sums.alpha),
                                     average(sums.blue, sums.alpha), average(sums.alpha, weight)});
        sums = {};
    }
}

} // namespace tarnwick
