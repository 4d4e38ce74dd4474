#pragma once

#include <functional>
#include <string>

namespace tarnwick::test {

/// Runs the body in a child process without root's rights, so that file permissions count, and returns its
/// result. An exception is returned as "exception: " and its text, a crash as "signal ".
std::string unprivileged(const std::function<std::string()>& body);

} // namespace tarnwick::test
