#include "Process/MachineLimits.h"

#include "Foundation/FileContents.h"
#include "Foundation/FileSystemError.h"

#include <sched.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::MachineLimits {
namespace {

constexpr auto unlimited = std::numeric_limits<std::int64_t>::max();
constexpr std::size_t maximumBytes = 65'536;

std::string text(const URL& file) {
    try {
        const Bytes bytes = readFilePrefix(file, maximumBytes);
        return {bytes.begin(), bytes.end()};
    } catch (const FileSystemError&) {
        return {};
    }
}

std::optional<std::int64_t> number(std::string_view word) {
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    return error == std::errc() && end != word.data() ? std::optional(value) : std::nullopt;
}

std::optional<std::int64_t> numberIn(const URL& file) {
    return number(text(file));
}

/// The number after the first occurrence of the word `key`, as in "MemAvailable:   1234 kB".
std::optional<std::int64_t> numberAfter(std::string_view key, const URL& file) {
    std::istringstream words(text(file));
    for (std::string word; words >> word;) {
        if (word == key && words >> word) {
            return number(word);
        }
    }
    return std::nullopt;
}

/// The folders of the control groups that this process is in, from its own up to the root. `controller` is
/// one controller of cgroup version 1, such as "cpu"; empty for version 2.
std::vector<URL> groups(const URL& root, std::string_view controller, const URL& mount) {
    std::istringstream lines(text(root.appending("proc/self/cgroup")));
    std::string path;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t first = line.find(':');
        const std::size_t second = line.find(':', first + 1);
        if (second == std::string::npos) {
            continue;
        }
        const std::string controllers = "," + line.substr(first + 1, second - first - 1) + ",";
        if (controllers.find("," + std::string(controller) + ",") != std::string::npos) {
            path = line.substr(second + 1);
        }
    }
    // In a container the path may be that of the machine outside, of which only the last folder is here.
    std::vector<URL> folders;
    for (; path.size() > 1; path.resize(path.rfind('/'))) {
        folders.push_back(mount.appending(path.substr(1)));
    }
    folders.push_back(mount);
    return folders;
}

std::vector<URL> unifiedGroups(const URL& root) {
    std::vector<URL> folders = groups(root, "", root.appending("sys/fs/cgroup"));
    const auto hybrid = groups(root, "", root.appending("sys/fs/cgroup/unified"));
    folders.insert(folders.end(), hybrid.begin(), hybrid.end());
    return folders;
}

std::vector<URL> ownGroups(const URL& root, std::string_view controller) {
    return groups(root, controller, root.appending("sys/fs/cgroup/" + std::string(controller)));
}

/// The processor time allowed per period as a number of processors, rounded up. Both in microseconds.
std::int64_t quota(std::optional<std::int64_t> time, std::optional<std::int64_t> period) {
    const bool isLimited = time && period && *time > 0 && *period > 0;
    return isLimited ? (*time - 1) / *period + 1 : unlimited;
}

std::int64_t groupProcessors(const URL& root) {
    std::int64_t least = unlimited;
    for (const URL& group : unifiedGroups(root)) {
        std::istringstream words(text(group.appending("cpu.max")));
        std::string time;
        std::string period;
        words >> time >> period;
        least = std::min(least, quota(number(time), number(period)));
    }
    for (const URL& group : ownGroups(root, "cpu")) {
        least = std::min(least, quota(numberIn(group.appending("cpu.cfs_quota_us")),
                                      numberIn(group.appending("cpu.cfs_period_us"))));
    }
    return least;
}

/// The bytes that a group may still use. Its usage includes cached files; the kernel can reclaim the inactive
/// ones, so they count as free.
std::int64_t remainingMemory(std::optional<std::int64_t> limit, std::optional<std::int64_t> used,
                             std::optional<std::int64_t> reclaimable) {
    if (!limit || !used) {
        return unlimited;
    }
    return std::max<std::int64_t>(0, *limit - *used + std::min(*used, reclaimable.value_or(0)));
}

/// The least limit of the groups.
std::int64_t groupTotal(const URL& root) {
    std::int64_t least = unlimited;
    for (const URL& group : unifiedGroups(root)) {
        least = std::min(least, numberIn(group.appending("memory.max")).value_or(unlimited));
    }
    for (const URL& group : ownGroups(root, "memory")) {
        least = std::min(least, numberIn(group.appending("memory.limit_in_bytes")).value_or(unlimited));
    }
    return least;
}

std::int64_t groupMemory(const URL& root) {
    std::int64_t least = unlimited;
    for (const URL& group : unifiedGroups(root)) {
        least =
            std::min(least, remainingMemory(numberIn(group.appending("memory.max")),
                                            numberIn(group.appending("memory.current")),
                                            numberAfter("inactive_file", group.appending("memory.stat"))));
    }
    for (const URL& group : ownGroups(root, "memory")) {
        least = std::min(least,
                         remainingMemory(numberIn(group.appending("memory.limit_in_bytes")),
                                         numberIn(group.appending("memory.usage_in_bytes")),
                                         numberAfter("total_inactive_file", group.appending("memory.stat"))));
    }
    return least;
}

/// A number of kibibytes in /proc/meminfo, in bytes.
std::int64_t memoryNamed(std::string_view key, const URL& root) {
    constexpr std::int64_t kibi = 1'024;
    const auto kibibytes = numberAfter(key, root.appending("proc/meminfo"));
    return kibibytes ? *kibibytes * kibi : unlimited;
}

int schedulableProcessors() {
    cpu_set_t set;
    CPU_ZERO(&set);
    return ::sched_getaffinity(0, sizeof(set), &set) == 0 ? CPU_COUNT(&set) : 1;
}

} // namespace

int processors(const URL& root) {
    return static_cast<int>(std::clamp<std::int64_t>(groupProcessors(root), 1, schedulableProcessors()));
}

std::int64_t totalMemory(const URL& root) {
    return std::min(memoryNamed("MemTotal:", root), groupTotal(root));
}

std::int64_t availableMemory(const URL& root) {
    return std::min(memoryNamed("MemAvailable:", root), groupMemory(root));
}

} // namespace tarnwick::MachineLimits
