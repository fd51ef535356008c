// SPDX-License-Identifier: GPL-3.0-or-later
// Child of the hot key benchmark: writes the monotonic clock, in nanoseconds, to the file named
// by its argument as the very first thing it does.
#include <stdio.h>
#include <time.h>

int main(int argc, char** argv)
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    if (argc < 2)
        return 2;
    FILE* file = fopen(argv[1], "w");
    if (!file)
        return 1;
    fprintf(file, "%lld\n", (long long)now.tv_sec * 1000000000LL + now.tv_nsec);
    return fclose(file) == 0 ? 0 : 1;
}
