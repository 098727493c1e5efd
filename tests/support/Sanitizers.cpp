// What ThreadSanitizer passes over: the threading library is not built for it and hides how its threads hand work on,
// and its memory. For programs whose lists run in threads of that library. Frees of used memory are AddressSanitizer's
// to find. The C library's time zone has a lock that the detector does not see.
// What LeakSanitizer passes over: a thread of that library that is still on its way out of the last list when the
// process ends holds the list's observer; longer lives do not gather them. The message bus that the windows look for
// keeps the address that it did not find.

// NOLINTBEGIN(bugprone-reserved-identifier): the detectors' own names.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
  return "called_from_lib:libtbb.so.12\nrace_top:operator delete\nrace:tzset_internal\n";
}
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:tbb::detail::r1::observe\nleak:libdbus-1.so\n";
}
// NOLINTEND(bugprone-reserved-identifier)
