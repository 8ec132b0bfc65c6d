// Options of the address sanitizer, in every fuzz target alike. Nobody looks for this name in a
// build without the sanitizer.

extern "C" __attribute__((visibility("default"))) const char* __asan_default_options();

// Files can ask for much memory. More than this is refused, as by a machine that has no more.
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1:max_allocation_size_mb=256";
}
