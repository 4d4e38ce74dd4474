#pragma once

#include <string>

namespace tarnwick::test {

/// Does something that a tool has no business to do, on the file where it concerns one. Returns -1, with
/// errno, when it is refused. FakeTool.cpp calls it.
long attempt(const std::string& deed, const std::string& file);

} // namespace tarnwick::test
