// The DLL's entry point: loading does no work, all state is static.
#ifdef _WIN32
extern "C" int __stdcall DllMain(void *, unsigned long, void *) {
    return 1;
}
#endif
