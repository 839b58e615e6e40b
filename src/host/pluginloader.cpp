#include "host/pluginloader.h"

#include <dlfcn.h>

#include <vector>

#include "base/error.h"

namespace mirel {

namespace {

constexpr const char* pluginFileName = "libMirelPlugin.so";

using Text = const char* (*)();
using Create = CNZTPluginInterface* (*)();

std::vector<std::filesystem::path> standardPlaces() {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
  if (error) return {};
  const auto prefix = program.parent_path();
  return {program / pluginFileName, prefix / "lib" / "mirel" / pluginFileName,
          prefix / "lib" / pluginFileName, prefix / MIREL_LIBDIR / "mirel" / pluginFileName};
}

template <typename Function>
Function entryPoint(void* library, const std::filesystem::path& file, const char* name) {
  void* address = dlsym(library, name);
  if (address == nullptr)
    throw Error(file.string() + " is not the Mirel plugin: it has no entry point " + name);
  return reinterpret_cast<Function>(address);
}

}  // namespace

std::filesystem::path findPlugin(const std::string& chosen) {
  std::error_code error;
  if (!chosen.empty()) {
    if (!std::filesystem::is_regular_file(chosen, error))
      throw Error("there is no plugin file " + chosen);
    return chosen;
  }
  std::string searched;
  for (const auto& place : standardPlaces()) {
    if (std::filesystem::is_regular_file(place, error)) return place;
    searched += (searched.empty() ? "" : ", ") + place.parent_path().string();
  }
  throw Error(std::string("cannot find the plugin ") + pluginFileName + " in " + searched,
              {Advice::Kind::givePlugin});
}

void Plugin::CloseLibrary::operator()(void* handle) const { dlclose(handle); }

Plugin::Plugin(const std::filesystem::path& file) {
  // An absolute name: a bare one would be looked up in the system's library folders.
  const std::string fullName = std::filesystem::absolute(file).string();
  library.reset(dlopen(fullName.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (!library) throw Error("cannot load the plugin " + file.string() + ": " + dlerror());
  const auto create = entryPoint<Create>(library.get(), file, "createPlugin");
  const auto getName = entryPoint<Text>(library.get(), file, "getPluginName");
  const auto getVersion = entryPoint<Text>(library.get(), file, "getPluginVersion");
  object.reset(create());
  if (!object) throw Error("the plugin " + file.string() + " did not create its object");
  if (!object->initPlugin())
    throw Error("the plugin " + file.string() + " cannot work with this program");
  pluginName = getName();
  pluginVersion = getVersion();
}

}  // namespace mirel
