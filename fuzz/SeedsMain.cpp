// Writes the seed corpus of one fuzz target into the folder given.
#include "FuzzSupport.h"

#include <cstdio>

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <seed folder>\n", argv[0]);
        return 2;
    }
    fuzz::writeSeeds(argv[1]);
    return 0;
}
