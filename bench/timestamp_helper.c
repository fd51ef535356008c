// SPDX-License-Identifier: GPL-3.0-or-later
// Prints CLOCK_MONOTONIC in nanoseconds the moment it starts: used as a script's "#!" line to
// see when a launched script begins to run.
#include <stdio.h>
#include <time.h>

int main(void)
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    printf("%lld\n", (long long)now.tv_sec * 1000000000LL + now.tv_nsec);
    return 0;
}
