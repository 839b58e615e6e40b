#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "hostapi/cnztplugininterface.h"

namespace mirel {

/// The file to load the plugin from: `chosen` when it is not empty, else the first of these that
/// exists: libMirelPlugin.so in the folder of the program's own executable, then in
/// ../lib/mirel, ../lib and the system's library folder relative to it (an installed program).
///
/// Errors   Error naming the file or the places that were searched.
std::filesystem::path findPlugin(const std::string& chosen);

/// A loaded and initialised plugin. Its texts belong to it and end with it.
class Plugin {
 public:
  /// Loads `file`, creates the plugin object and initialises it.
  ///
  /// Errors   Error naming the file: it cannot be loaded, lacks an entry point, creates no
  ///          object, or its initialisation fails (the plugin has then said why).
  explicit Plugin(const std::filesystem::path& file);

  /// Runs the task that the dialog parameters describe. The result says nothing about success:
  /// failures arrive as message boxes.
  bool execute() { return object->execute(); }

  std::string name() const { return pluginName; }
  std::string version() const { return pluginVersion; }

 private:
  struct CloseLibrary {
    void operator()(void* handle) const;
  };

  // Declared in this order: the object is destroyed by code that lies in the library.
  std::unique_ptr<void, CloseLibrary> library;
  std::unique_ptr<CNZTPluginInterface> object;
  std::string pluginName;
  std::string pluginVersion;
};

}  // namespace mirel
