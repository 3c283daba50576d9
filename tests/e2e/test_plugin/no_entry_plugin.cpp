// A shared library that is no box plug-in: it lacks gPlugin_exec. The
// emulator must refuse it.

extern "C" __attribute__((visibility("default"))) int somethingElse(int value)
{
    return value + 1;
}
