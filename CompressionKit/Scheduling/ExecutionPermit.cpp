#include "Scheduling/ExecutionPermit.h"

#include "Foundation/CompressionError.h"
#include "Foundation/DurableDirectory.h"
#include "Foundation/SHA256.h"
#include "Scheduling/Interruption.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace tarnwick {
namespace {

constexpr auto slotPollInterval = std::chrono::milliseconds(50);

FileDescriptor openLock(const URL& url) {
    FileDescriptor file(::open(url.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!file) {
        throw CompressionError::fileOperation("无法创建压缩任务锁");
    }
    return file;
}

void throwIfStopped(const std::stop_token& stop) {
    if (stop.stop_requested()) {
        throw std::system_error(std::make_error_code(std::errc::operation_canceled));
    }
}

/// A blocking flock queues in the kernel, in the order of arrival; polling would let newcomers overtake. Only
/// a signal ends its waiting, hence the Interruption.
void lockFile(const FileDescriptor& file, const std::stop_token& stop) {
    const Interruption interruption(stop);
    throwIfStopped(stop);
    while (::flock(file.get(), LOCK_EX) != 0) {
        if (errno != EINTR) {
            throw CompressionError::fileOperation("无法锁定压缩中的文件");
        }
        throwIfStopped(stop);
    }
}

std::vector<FileDescriptor> openSlots(const URL& directory, int capacity) {
    std::vector<FileDescriptor> slots;
    slots.reserve(static_cast<std::size_t>(capacity));
    for (int index = 0; index < capacity; ++index) {
        slots.push_back(openLock(directory.appending("slot-" + std::to_string(index) + ".lock")));
    }
    return slots;
}

bool tryLockSlot(const FileDescriptor& slot) {
    if (::flock(slot.get(), LOCK_EX | LOCK_NB) == 0) {
        return true;
    }
    if (errno != EWOULDBLOCK && errno != EINTR) {
        throw CompressionError::fileOperation("无法获取压缩任务名额");
    }
    return false;
}

FileDescriptor takeSlot(std::vector<FileDescriptor> slots, const std::stop_token& stop) {
    while (true) {
        throwIfStopped(stop);
        for (FileDescriptor& slot : slots) {
            if (tryLockSlot(slot)) {
                return std::move(slot);
            }
        }
        std::this_thread::sleep_for(slotPollInterval);
    }
}

} // namespace

ExecutionPermit::ExecutionPermit(const URL& directory, const std::string& key, int capacity,
                                 const std::stop_token& stop) {
    if (capacity < 0) {
        std::abort();
    }
    createDurably(directory);
    fileDescriptor_ = openLock(directory.appending("file-" + SHA256::hexDigest(key) + ".lock"));
    // The file comes first, so that whoever waits for a busy file occupies no slot.
    lockFile(fileDescriptor_, stop);
    capacityDescriptor_ = takeSlot(openSlots(directory, capacity), stop);
}

} // namespace tarnwick
