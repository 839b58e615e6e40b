#pragma once

#include <memory>

namespace mirel {

/// The plugin as a host knows it: a shared library, entry points and one object with three
/// virtual operations in this order. The name is the interface's own, so that the object is of
/// this type for checkers of types too.
class CNZTPluginInterface {
 public:
  virtual ~CNZTPluginInterface() = default;
  virtual bool execute() = 0;
  virtual bool initPlugin() = 0;
};

/// The library that the build made, loaded at the first call and kept.
void* pluginLibrary();

/// What one of its text entry points returns.
const char* pluginText(const char* entryPoint);

/// A new plugin object from `createPlugin`, not initialised.
std::unique_ptr<CNZTPluginInterface> createdPlugin();

}  // namespace mirel
