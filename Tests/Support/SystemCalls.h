#pragma once

#include <string>

namespace tarnwick::test {

/// A call by which the library changes something on the disk or starts a program.
struct SystemCall {
    std::string name;
    /// What it works on; for a descriptor, the path of the file behind it.
    std::string path;
    /// The new name of a rename or link, the receiver of a copy of attributes; else empty.
    std::string destination;
};

/// Sees such calls, those of several threads one after another. Those that it makes itself pass unseen.
class SystemCallObserver {
public:
    virtual ~SystemCallObserver() = default;

    /// 0 lets the call pass; an errno value is its failure.
    virtual int before(const SystemCall& call) = 0;
    virtual void after(const SystemCall& /*call*/, bool /*succeeded*/) {}
};

/// Shows the observer every such call of the program while this lives. One at a time.
class Observation {
public:
    explicit Observation(SystemCallObserver& observer);
    ~Observation();
    Observation(const Observation&) = delete;
    Observation& operator=(const Observation&) = delete;
};

} // namespace tarnwick::test
