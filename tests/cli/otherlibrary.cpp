

namespace mirel {

// A library that can be loaded but is no plugin.
extern "C" __attribute__((visibility("default"))) int notAnEntryPoint() { return 0; }

}  // namespace mirel
