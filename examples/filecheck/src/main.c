#include "util.h"

#include <stdio.h>

int main(void)
{
    /* TODO: read the limit from the command line */
    printf("%d\n", clamp(42, 0, 10));
    return 0;
}
