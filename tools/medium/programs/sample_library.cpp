/// Stands on the sample medium in the place of a library of the suite, or of a runtime library. It
/// only tells what it is. Built without the C runtime, whose place one of them takes.

extern "C" {

__declspec(dllexport) const char* SampleDescription() {
  return IMX_SAMPLE_NAME ": a stand-in on the Glimmerix sample medium";
}

/// Where the system enters the library when it loads it.
int __stdcall DllMainCRTStartup(void*, unsigned long, void*) {
  return 1;
}
}
