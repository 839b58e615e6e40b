#pragma once

namespace mirel {

/// The plugin class as the host sees it. The host calls through the virtual table: the order of
/// these operations is part of the interface.
class CNZTPluginInterface {
 public:
  virtual ~CNZTPluginInterface() = default;
  /// One action of the user in the plugin's dialog.
  virtual bool execute() = 0;
  /// Called once after creation; true when the plugin is usable.
  virtual bool initPlugin() = 0;
};

}  // namespace mirel
