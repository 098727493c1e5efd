// What ThreadSanitizer passes over: the threading library is not built for it and hides how its threads hand work on,
// and its memory. For programs whose lists run in threads of that library. Frees of used memory are AddressSanitizer's
// to find. The C library's time zone has a lock that the detector does not see.

// NOLINTBEGIN(bugprone-reserved-identifier): the detector's own name.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
  return "called_from_lib:libtbb.so.12\nrace_top:operator delete\nrace:tzset_internal\n";
}
// NOLINTEND(bugprone-reserved-identifier)
