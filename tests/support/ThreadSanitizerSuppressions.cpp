// GLib, GMime and the system's dynamic loader (which character set conversions call) are not built with the thread
// sanitizer. It does not see their locks and takes the memory that they hand from thread to thread for a race.

extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions()
{
    return "called_from_lib:libglib-2.0.so\n"
           "called_from_lib:libgobject-2.0.so\n"
           "called_from_lib:libgmime-3.0.so\n"
           "race:ld-linux\n";
}
