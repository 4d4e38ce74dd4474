// permit-holder DIRECTORY KEY CAPACITY: takes a permit, prints "held", and keeps it until the process is
// killed.
#include "Scheduling/ExecutionPermit.h"

#include <unistd.h>

#include <cstdlib>
#include <iostream>

int main(int count, char** arguments) {
    if (count != 4) {
        return 2;
    }
    // Ends even when the test was killed.
    ::alarm(300);
    const auto directory = tarnwick::URL::file(arguments[1]);
    const tarnwick::ExecutionPermit permit(directory, arguments[2], std::atoi(arguments[3]));
    std::cout << "held" << std::endl;
    ::pause();
}
