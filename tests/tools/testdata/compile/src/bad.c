int bad(void)
{
    return undeclared;
}
