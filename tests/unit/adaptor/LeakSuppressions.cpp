// Tells the leak checker of a sanitizer build which leaks of the adaptor are kept on purpose.

// A read of an unknown group makes a row that nobody gets.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
    return "leak:BM_ADAPTOR::IPMIAdaptor::ReadParams\n";
}
