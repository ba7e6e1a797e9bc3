int mul(int a, int b)
{
    return a * b;
}
