#include "plugin/loadedplugin.h"

#include <dlfcn.h>

#include <stdexcept>
#include <string>

namespace mirel {

void* pluginLibrary() {
  static void* library = dlopen(MIREL_PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) throw std::runtime_error(dlerror());
  return library;
}

namespace {

template <typename Function>
Function* symbol(const char* name) {
  void* found = dlsym(pluginLibrary(), name);
  if (found == nullptr) throw std::runtime_error(std::string("no symbol ") + name);
  return reinterpret_cast<Function*>(found);
}

}  // namespace

const char* pluginText(const char* entryPoint) { return symbol<const char*()>(entryPoint)(); }

std::unique_ptr<CNZTPluginInterface> createdPlugin() {
  return std::unique_ptr<CNZTPluginInterface>(symbol<CNZTPluginInterface*()>("createPlugin")());
}

}  // namespace mirel
