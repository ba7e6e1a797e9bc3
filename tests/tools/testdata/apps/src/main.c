#include <stdio.h>

int add(int a, int b);
int mul(int a, int b);

int main(void)
{
    printf("sum=%d product=%d\n", add(2, 3), mul(2, 3));
    return 0;
}
