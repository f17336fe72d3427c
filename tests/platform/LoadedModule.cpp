// The library that the platform tests load.
extern "C" __attribute__((visibility("default"))) int DeftmapiTestAnswer()
{
    return 42;
}

extern "C" __attribute__((visibility("hidden"))) int DeftmapiTestHidden()
{
    return 0;
}
