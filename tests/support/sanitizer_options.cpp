// Options of the address sanitizer that the tests depend on, so that they run alike under each
// command line. Nobody looks for this name in a build without the sanitizer.

extern "C" __attribute__((visibility("default"))) const char* __asan_default_options();

// A request for more memory than there is gets null, as everywhere else: files can ask for that.
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}
