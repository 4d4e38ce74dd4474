#include "Process/Cage.h"

#include "Process/InChild.h"
#include "Process/Landlock.h"

#include <sys/prctl.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <thread>

namespace tarnwick {
namespace {

constexpr std::uint64_t mebi = std::uint64_t{1} << 20;
/// The program itself, its libraries and what the allocator sets aside.
constexpr std::uint64_t programSpace = 512 * mebi;
/// What glibc reserves for the allocations of a thread, used or not.
constexpr std::uint64_t arenaSpace = 64 * mebi;
/// The most that is added for the stack of a thread. It is as large as the user's limit, if there is one.
constexpr std::uint64_t largestStack = 64 * mebi;

rlimit64 current(int resource) {
    rlimit64 values{};
    return ::getrlimit64(static_cast<__rlimit_resource>(resource), &values) == 0
               ? values
               : rlimit64{RLIM64_INFINITY, RLIM64_INFINITY};
}

/// Twice the need, and the reserves of as many threads as there are processors. Reserves count although they
/// take no memory; that is why this bounds a runaway program, and nothing finer.
std::uint64_t addressSpace(std::int64_t need) {
    const auto stack = std::min<std::uint64_t>(current(RLIMIT_STACK).rlim_cur, largestStack);
    const std::uint64_t perThread = arenaSpace + stack;
    return programSpace + (std::thread::hardware_concurrency() + 1) * perThread +
           2 * static_cast<std::uint64_t>(need);
}

} // namespace

bool Cage::isWanted() {
    const char* value = std::getenv("TARNWICK_TOOL_CAGE");
    return value == nullptr || std::string_view(value) != "off";
}

Cage::Features Cage::features() {
    return isWanted() ? Features{Landlock::version(), CallFilter::isSupported()} : Features{};
}

Cage::Cage(const URL& program, const CageRules& rules) : ruleset_(Landlock::ruleset(program, rules.files)) {
    if (CallFilter::isSupported()) {
        filter_.emplace(rules.files.has_value());
    }
    limit(RLIMIT_CORE, 0);
    if (rules.memory > 0) {
        limit(RLIMIT_AS, addressSpace(rules.memory));
    }
    if (rules.largestFile > 0) {
        limit(RLIMIT_FSIZE, static_cast<std::uint64_t>(rules.largestFile));
    }
}

void Cage::limit(int resource, std::uint64_t value) {
    const auto highest = std::min<rlim64_t>(value, current(resource).rlim_max);
    limits_.push_back({resource, {highest, highest}});
}

TARNWICK_IN_CHILD int Cage::enter(const char* program) noexcept {
    const Limit* const limits = limits_.data();
    for (std::size_t i = 0; i < limits_.size(); ++i) {
        if (::syscall(SYS_prlimit64, 0, limits[i].resource, &limits[i].values, nullptr) != 0) {
            return errno;
        }
    }
    if (::syscall(SYS_prctl, PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        (ruleset_ && ::syscall(SYS_landlock_restrict_self, ruleset_.get(), 0) != 0)) {
        return errno;
    }
    return filter_ ? filter_->install(program) : 0;
}

} // namespace tarnwick
