#include "Scheduling/ExecutionPermit.h"

#include "Foundation/CompressionError.h"
#include "Foundation/Directory.h"
#include "Foundation/FileLock.h"
#include "Foundation/FileSystemError.h"
#include "Foundation/SHA256.h"
#include "Scheduling/SystemCallInterrupter.h"

#include <fcntl.h>

#include <algorithm>
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

/// Waits in the kernel's queue, in the order of arrival; polling would let newcomers overtake. Only a signal
/// ends the wait, hence the SystemCallInterrupter.
void lockFile(const FileDescriptor& file, const URL& url, const std::stop_token& stop) {
    const SystemCallInterrupter interrupter(stop);
    throwIfStopped(stop);
    try {
        lock(file, url, [&] { throwIfStopped(stop); });
    } catch (const FileSystemError&) {
        throw CompressionError::fileOperation("无法锁定压缩中的文件");
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

FileDescriptor* firstFree(std::vector<FileDescriptor>& slots, const URL& directory) {
    try {
        const auto free = std::find_if(slots.begin(), slots.end(),
                                       [&](const FileDescriptor& slot) { return tryLock(slot, directory); });
        return free == slots.end() ? nullptr : &*free;
    } catch (const FileSystemError&) {
        throw CompressionError::fileOperation("无法获取压缩任务名额");
    }
}

FileDescriptor takeSlot(const URL& directory, int capacity, const std::stop_token& stop) {
    std::vector<FileDescriptor> slots = openSlots(directory, capacity);
    while (true) {
        throwIfStopped(stop);
        if (FileDescriptor* slot = firstFree(slots, directory)) {
            return std::move(*slot);
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
    const URL file = directory.appending("file-" + SHA256::hexDigest(key) + ".lock");
    fileDescriptor_ = openLock(file);
    // The file comes first, so that a wait for a busy file occupies no slot.
    lockFile(fileDescriptor_, file, stop);
    capacityDescriptor_ = takeSlot(directory, capacity, stop);
}

} // namespace tarnwick
