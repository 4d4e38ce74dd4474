#pragma once

#include <functional>
#include <string>
#include <utility>

namespace tarnwick::test {

/// A call by which the library reads or changes something on the disk, or starts a program.
struct SystemCall {
    std::string name;
    /// The path, or the path of the open file.
    std::string path;
    /// The new name of a rename or link, the target of a copy of attributes; else empty.
    std::string destination;
};

/// Observes such calls, those of several threads one after another, but not its own.
class SystemCallObserver {
public:
    virtual ~SystemCallObserver() = default;

    /// 0 lets the call proceed; an errno value makes it fail.
    virtual int before(const SystemCall& call) = 0;
    /// Not for calls that only read.
    virtual void after(const SystemCall& /*call*/, bool /*succeeded*/) {}
    /// Whether it observes calls that only read, too.
    virtual bool seesReading() const { return false; }
    /// A lock is held by another process, and the call is going to wait for it.
    virtual void waits() {}
};

/// Passes every such call of the program to the observer for a scope. One at a time.
class Observation {
public:
    explicit Observation(SystemCallObserver& observer);
    ~Observation();
    Observation(const Observation&) = delete;
    Observation& operator=(const Observation&) = delete;
};

/// Calls a function before each such call; a result other than 0 is the error of the call.
class Fault : public SystemCallObserver {
public:
    explicit Fault(std::function<int(const SystemCall&)> decide) : decide_(std::move(decide)) {}
    int before(const SystemCall& call) override { return decide_(call); }

private:
    std::function<int(const SystemCall&)> decide_;
    Observation observation_{*this};
};

} // namespace tarnwick::test
