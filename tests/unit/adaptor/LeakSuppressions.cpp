// Tells the leak checker of a sanitizer build which leaks of the adaptor are kept on purpose, as tests/lsan.supp does.

extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
    return "leak:LeakUnservedRow\n"
           "leak:NewMonitor\n"
           "leak:NewPCIHandle\n"
           "leak:mKeepDSPMacs\n"
           "leak:mPublishDSPInfo\n"
           "leak:SWITCH::CreatePorts\n";
}
