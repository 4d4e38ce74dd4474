#include "Foundation/Environment.h"
#include "TarnwickFinderSync/Registrar.h"

int main(int argc, char** argv) {
    tarnwick::prepareEnvironment();
    return tarnwick::runRegistrar({argv + (argc > 0 ? 1 : 0), argv + argc},
                                  tarnwick::UserDirectories::fromEnvironment());
}
