/// A library that is no plug-in at all.
extern "C" int plainLibraryAnswer();

int plainLibraryAnswer()
{
    return 42;
}
