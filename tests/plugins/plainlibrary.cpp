// A library that is no plug-in at all.
extern "C" int plainLibrary()
{
    return 1;
}
