int good(void)
{
    return 1;
}
