#pragma once

#include <compare>

namespace tarnwick {

/// A point in time: the seconds since 2001-01-01 00:00:00 UTC, negative before.
class Date {
public:
    explicit constexpr Date(double secondsSinceReferenceDate) : seconds_(secondsSinceReferenceDate) {}

    /// The time of the system clock.
    static Date now();

    constexpr double secondsSinceReferenceDate() const noexcept { return seconds_; }
    constexpr double secondsSince1970() const noexcept { return seconds_ + referenceDateSince1970; }
    constexpr Date adding(double seconds) const noexcept { return Date(seconds_ + seconds); }
    /// Seconds from `earlier` to this date.
    constexpr double timeIntervalSince(Date earlier) const noexcept { return seconds_ - earlier.seconds_; }

    friend constexpr auto operator<=>(Date, Date) = default; // NOLINT(modernize-use-nullptr)

private:
    static constexpr double referenceDateSince1970 = 978'307'200;

    double seconds_;
};

} // namespace tarnwick
