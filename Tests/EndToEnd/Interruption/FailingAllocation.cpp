#include "FailingAllocation.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string_view>

namespace tarnwick::test {
namespace {

constexpr std::size_t page = 4096;
/// Counts down to the allocation that fails; none when negative.
std::atomic<int> allocations = -1;
int traceFile = -1;

} // namespace

void failAllocation(const std::string& trace, int number) {
    traceFile = ::open(trace.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    allocations = number;
}

} // namespace tarnwick::test

// In a file of their own, where the compiler cannot inline one without the other.
void* operator new(std::size_t size) {
    using namespace tarnwick::test;
    constexpr std::string_view line = "allocation\t\t\tfailed\n";
    if (size >= page && allocations > 0 && --allocations == 0 &&
        ::write(traceFile, line.data(), line.size()) > 0) {
        throw std::bad_alloc();
    }
    void* const memory = std::malloc(size);
    return memory != nullptr ? memory : throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return std::malloc(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
