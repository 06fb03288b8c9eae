// Qt's reader of JSON never frees an object or a list whose name comes a second time.
extern "C" const char* __lsan_default_suppressions() // NOLINT: the sanitizer's own name
{
    return "leak:libQt5Core.so";
}
