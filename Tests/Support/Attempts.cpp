#include "Support/Attempts.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <functional>
#include <map>
#include <thread>

namespace tarnwick::test {
namespace {

constexpr std::size_t twentyGigabytes = 20'000'000'000;
constexpr off_t twoMebibytes = 2 << 20;

int created(const char* file) {
    return ::open(file, O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
}

long forked() {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(0);
    }
    return child;
}

long mapped(std::size_t bytes) {
    void* const memory =
        ::mmap(nullptr, bytes, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    return memory == MAP_FAILED ? -1 : 0;
}

using Deeds = std::map<std::string, std::function<long(const char*)>>;

const Deeds& deeds() {
    static const Deeds all = {
        {"read", [](const char* file) { return ::open(file, O_RDONLY | O_CLOEXEC); }},
        {"write", [](const char* file) { return ::open(file, O_WRONLY | O_CLOEXEC); }},
        {"create", created},
        {"truncate", [](const char* file) { return ::truncate(file, 0); }},
        {"truncate-to-read", [](const char* file) { return ::open(file, O_RDONLY | O_TRUNC | O_CLOEXEC); }},
        {"truncate-only", [](const char* file) { return ::open(file, O_ACCMODE | O_TRUNC | O_CLOEXEC); }},
        {"remove", [](const char* file) { return ::unlink(file); }},
        {"protect", [](const char* file) { return ::chmod(file, 0); }},
        {"link", [](const char* file) { return ::symlink("/etc/passwd", file); }},
        {"fill", [](const char* file) { return ::pwrite(created(file), "x", 1, twoMebibytes); }},
        {"shell",
         [](const char* /*file*/) { return ::execl("/bin/sh", "sh", "-c", "printf done", nullptr); }},
        {"fork", [](const char* /*file*/) { return forked(); }},
        {"socket", [](const char* /*file*/) { return ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0); }},
        {"signal", [](const char* /*file*/) { return ::kill(::getppid(), 0); }},
        {"limit",
         [](const char* /*file*/) {
             return ::syscall(SYS_prlimit64, ::getppid(), RLIMIT_CORE, nullptr, nullptr);
         }},
        {"trace", [](const char* /*file*/) { return ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr); }},
        {"allocate", [](const char* /*file*/) { return mapped(twentyGigabytes); }},
        {"raise", [](const char* /*file*/) { return std::raise(0); }},
        {"thread", [](const char* /*file*/) { return std::jthread([] {}).joinable() ? 0 : -1; }},
    };
    return all;
}

} // namespace

long attempt(const std::string& deed, const std::string& file) {
    return deeds().at(deed)(file.c_str());
}

} // namespace tarnwick::test
