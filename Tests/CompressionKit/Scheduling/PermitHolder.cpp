// permit-holder DIRECTORY KEY CAPACITY: takes a permit, says so, and keeps it until the process is killed.
#include "Scheduling/ExecutionPermit.h"

#include <unistd.h>

#include <cstdlib>
#include <iostream>

int main(int count, char** arguments) {
    if (count != 4) {
        return 2;
    }
    // It outlives a test that was itself killed, but not for long.
    ::alarm(300);
    const auto directory = tarnwick::URL::file(arguments[1]);
    const tarnwick::ExecutionPermit permit(directory, arguments[2], std::atoi(arguments[3]));
    std::cout << "held" << std::endl;
    ::pause();
}
